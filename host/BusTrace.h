/// @file
/// Frames of a bus as lines of a log.
#pragma once

#include "host/CandumpLog.h"
#include "sim/Frame.h"

#include <cstdint>
#include <string>

namespace host {

/// Log readers know a bus by the name of an interface: "can0".
[[nodiscard]] std::string interfaceName(std::uint8_t channel);

/// @p frame as a log holds it.
/// @param timeUs  when it was on the bus, microseconds
[[nodiscard]] LoggedFrame loggedFrame(const sim::Frame& frame, const std::string& interface,
                                      std::uint64_t timeUs);

}  // namespace host
