/// @file
/// Opening the bus that an URL names.
#pragma once

#include "host/CanBus.h"
#include "host/ConfigRecords.h"

#include <cstddef>
#include <memory>
#include <string>

namespace host {

/// Which frames a receiver needs.
enum class BusScope {
    ecus,       ///< those of the ECUs of the bus and those that the host sends them
    everything  ///< all, such as for a trace
};

/// Opens the bus with index @p busIndex of @p config at @p url. Where the system can filter, the receiver
/// gets what @p scope says, and nothing else.
/// @throws HostError ExitCode::usage for an URL that is none; ExitCode::bus with the bus, the reason and what
///         to do
/// @throws ConfigError if an ECU cannot be simulated as it is described
[[nodiscard]] std::unique_ptr<CanBus> openBus(const std::string& url, const Config& config,
                                              std::size_t busIndex, BusScope scope,
                                              CanBus::Receiver receiver);

/// Opens the bus outside that the simulated one with index @p busIndex is bridged to, with all its frames.
/// @throws HostError as openBus(), and ExitCode::usage for "sim:", which is no bus outside
[[nodiscard]] std::unique_ptr<CanBus> openOutsideBus(const std::string& url, const Config& config,
                                                     std::size_t busIndex, CanBus::Receiver receiver);

}  // namespace host
