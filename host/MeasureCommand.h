/// @file
/// `talvex measure`.
#pragma once

#include "host/ExitCode.h"
#include "host/LinkOptions.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// What `talvex measure` was asked for.
struct MeasureOptions {
    LinkOptions link;
    std::vector<std::string> names;  ///< as selectVariables() reads them; empty: all
    std::optional<double> seconds;   ///< how long; none: until Ctrl-C
    std::uint16_t periodMs = 0;      ///< not 0: all is polled in this period, milliseconds
    std::string csv;                 ///< file for a table of values, "-" is standard output; empty: none
    bool failOnLoss = false;
};

/// Measures, and shows or writes what comes.
/// @return ExitCode::interrupted if Ctrl-C ended it, ExitCode::dataLost ahead of that if something was lost
///         and `failOnLoss` is set
[[nodiscard]] ExitCode runMeasure(const MeasureOptions& options);

}  // namespace host
