/// @file
/// `talvex sim`: the ECUs of a configuration, simulated for others to talk to.
#pragma once

#include "host/ExitCode.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

/// Limits of the running time, seconds.
inline constexpr double kLeastSimSeconds = 0.1;
inline constexpr double kMostSimSeconds = 86'400.0 * 365.0;

/// What the command line says.
struct SimOptions {
    std::string config = "examples/demo.toml";  ///< file
    std::optional<std::string> listen;          ///< HOST:PORT of the socketcand server
    std::vector<std::string> bridges;           ///< NAME=URL, bus of the configuration and bus outside
    std::vector<std::string> busNames;          ///< buses to simulate; empty: all
    std::optional<std::string> trace;           ///< file for every frame
    std::optional<double> seconds;              ///< running time; nothing: until it is interrupted
    bool json = false;                          ///< one object a line on standard output
};

/// Data (with `json` one object a line) on standard output, messages on standard error.
/// @return 0 when the time is over, 130 when it is interrupted, 4 when a bus fails
[[nodiscard]] ExitCode runSim(const SimOptions& options);

}  // namespace host
