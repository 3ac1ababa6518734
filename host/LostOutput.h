/// @file
/// Files that the program was asked to write and could not.
#pragma once

#include <string>
#include <vector>

namespace host {

/// Notes that @p file could not be written whole, for the end of the sub-command. Any thread.
void noteLostFile(const std::string& file);

/// The files noted so far, each once. Any thread.
[[nodiscard]] std::vector<std::string> lostFiles();

}  // namespace host
