/// @file
/// `talvex read`: values of variables.
#pragma once

#include "host/ExitCode.h"
#include "host/LinkOptions.h"

#include <string>
#include <vector>

namespace host {

struct ReadOptions {
    LinkOptions link;
    std::vector<std::string> names;  ///< as `findVariable` takes them
    bool raw = false;                ///< the bytes too
};

/// Reads each variable and prints it. One that cannot be read is told of, and the others are read all the
/// same.
/// @return ExitCode::done, or the one of the first that could not be read
[[nodiscard]] ExitCode runRead(const ReadOptions& options);

}  // namespace host
