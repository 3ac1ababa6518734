#pragma once

#include <string>

namespace memfile {

/// Writes a message, its line end included, to the standard error stream in one write, so that messages of
/// several threads don't mix within a line.
void writeStderr(const std::string& message);

}  // namespace memfile
