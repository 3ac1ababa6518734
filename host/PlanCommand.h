/// @file
/// `talvex plan`: what a measurement will be, without an ECU.
#pragma once

#include "host/ExitCode.h"
#include "host/LinkOptions.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// Command line of `plan`.
struct PlanOptions {
    LinkOptions link;
    std::vector<std::string> names;  ///< variables as `selectVariables` takes them
    std::uint16_t periodMs = 0;      ///< not 0: all are polled in this period, milliseconds
    bool unlimited = false;          ///< XCP: DAQ lists take ODTs without limit
};

/// Plans, and prints the plan on standard output.
[[nodiscard]] ExitCode runPlan(const PlanOptions& options);

}  // namespace host
