/// @file
/// What `talvex sim` is asked to do, checked against the configuration.
#pragma once

#include "host/ConfigRecords.h"
#include "host/Endpoint.h"
#include "host/SimCommand.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// A bus of the configuration and the bus outside that it is bridged to.
struct BridgePlan {
    std::size_t bus = 0;  ///< index of the configuration
    std::string url;
};

/// What is simulated, and how others get at it.
struct SimPlan {
    std::vector<std::size_t> buses;  ///< those to simulate, as indices of the configuration
    std::optional<Endpoint> listen;  ///< where the server listens; nothing for no server
    std::vector<BridgePlan> bridges;
};

/// The name that clients know a bus by besides its own: "can0" for channel 1. Nothing if another bus of the
/// configuration is called that.
/// @param bus  index of the configuration
[[nodiscard]] std::optional<std::string> aliasOf(const Config& config, std::size_t bus);

/// Checks what the command line says and finds its buses.
/// @throws HostError (ExitCode::usage) that says what is wrong and what is allowed
[[nodiscard]] SimPlan planSim(const SimOptions& options, const Config& config);

}  // namespace host
