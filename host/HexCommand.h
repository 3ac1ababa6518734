/// @file
/// `talvex hex`: image files, offline.
#pragma once

#include "host/ExitCode.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

/// Each sub-command reads its own.
struct HexOptions {
    std::vector<std::string> files;       ///< input, in the order given
    std::string out;                      ///< merge, crop, convert
    std::string overlap = "error";        ///< merge: or "first" or "last"
    std::vector<std::string> ranges;      ///< crop: as parseHexRange() reads them
    std::optional<std::string> fill;      ///< crop: as parseFillByte() reads it
    std::optional<std::string> checksum;  ///< info: a name of hexChecksumNames()
    bool json = false;
};

/// Data on standard output, messages on standard error. All return ExitCode::failed for a file that is not
/// in order, ExitCode::usage for an argument that is not, and leave no output that is not whole.
[[nodiscard]] ExitCode runHexInfo(const HexOptions& options);
[[nodiscard]] ExitCode runHexMerge(const HexOptions& options);
[[nodiscard]] ExitCode runHexCrop(const HexOptions& options);
[[nodiscard]] ExitCode runHexConvert(const HexOptions& options);

/// @return 9 if the two files differ
[[nodiscard]] ExitCode runHexCompare(const HexOptions& options);

}  // namespace host
