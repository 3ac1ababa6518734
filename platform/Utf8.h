/// @file
/// UTF-8 where the system's functions for narrow text take another code.
#pragma once

#include <filesystem>
#include <string>

namespace platform {

/// @return the path that @p path spells in UTF-8; an empty one, which no file has, if Windows cannot name it
/// so
std::filesystem::path pathFromUtf8(const std::string& path);

/// Shows UTF-8 text in the console that the standard error stream goes to, in one write.
/// @return false if nothing was written, because the stream takes the bytes as they are: always but for a
/// Windows
///         console
bool writeToErrorConsole(const std::string& text);

}  // namespace platform
