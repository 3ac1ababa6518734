/// @file
/// `talvex decode`.
#pragma once

#include "host/ExitCode.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

struct DecodeOptions {
    std::string log;                    ///< file, or "-" for standard input
    std::vector<std::string> xcpPairs;  ///< as "600:601,be"
    std::vector<std::string> ccpPairs;
    std::optional<std::string> config;  ///< whose ECUs are looked for, too; without any pair kDefaultConfig
    bool json = false;
    bool stats = false;       ///< a table at the end instead of a line for each frame
    bool timeDeltas = false;  ///< the times of the log count from the line before
    bool noColour = false;
};

/// Decodes a log: data on standard output, complaints and a summary on standard error. Lines that are no
/// frame are complained about and skipped; the exit code tells of them.
[[nodiscard]] ExitCode runDecode(const DecodeOptions& options);

}  // namespace host
