/// @file
/// `talvex demo`.
#pragma once

#include "host/ExitCode.h"

#include <optional>
#include <string>

namespace host {

struct DemoOptions {
    std::string config = "examples/demo.toml";
    std::optional<double> seconds;  ///< of measuring, instead of what the configuration says
    bool noColour = false;
};

/// Runs the demo: output on standard output, mistakes of the configuration on standard error.
[[nodiscard]] ExitCode runDemo(const DemoOptions& options);

}  // namespace host
