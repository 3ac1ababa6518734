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

struct SimPlan {
    std::vector<std::size_t> buses;  ///< those to simulate, as indices of the configuration
    std::optional<Endpoint> listen;
    std::vector<BridgePlan> bridges;
};

/// @throws HostError (ExitCode::usage) that says what is wrong and what is allowed
[[nodiscard]] SimPlan planSim(const SimOptions& options, const Config& config);

}  // namespace host
