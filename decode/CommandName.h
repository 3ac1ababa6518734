/// @file
/// Short names of frames by their first byte.
#pragma once

#include <cstdint>
#include <string>

namespace trace_view {

/// The short name of a frame of either protocol; see `talvex_interface::getCommandName`.
std::string commandName(std::uint8_t code, std::uint8_t subCode, bool fromSlave);

}  // namespace trace_view
