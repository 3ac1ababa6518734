/// @file
/// `talvex plan`: what a measurement will be, without an ECU.
#pragma once

#include "host/ExitCode.h"

#include <string>
#include <vector>

namespace host {

/// Command line of `plan`.
struct PlanOptions {
    std::string config = "examples/demo.toml";
    std::vector<std::string> ecus;       ///< names; empty: all that the variables belong to, else all
    std::vector<std::string> variables;  ///< as `findVariable` takes them; empty: all of the configuration
    bool unlimited = false;              ///< XCP: DAQ lists take ODTs without limit
    bool json = false;
};

/// Plans, and prints the plan on standard output.
[[nodiscard]] ExitCode runPlan(const PlanOptions& options);

}  // namespace host
