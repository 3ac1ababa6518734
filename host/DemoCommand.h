/// @file
/// `talvex demo`.
#pragma once

#include "host/ExitCode.h"

#include <optional>
#include <string>

namespace host {

struct DemoOptions {
    std::string config = "examples/demo.toml";
    std::optional<double> seconds;     ///< of measuring, instead of what the configuration says
    std::optional<std::string> trace;  ///< file for a log of every frame, in the form of `candump -L`
    bool noColour = false;
};

/// Runs the demo: output on standard output, mistakes of the configuration on standard error.
[[nodiscard]] ExitCode runDemo(const DemoOptions& options);

}  // namespace host
