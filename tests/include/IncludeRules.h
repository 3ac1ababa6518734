/// @file
/// The floors of the project: which folder may include which, and the few files that look sideways. The rules
/// are pure functions over the texts of the files, so that they are tested on made-up trees as well.
#pragma once

#include <map>
#include <string>
#include <vector>

/// Path of a file below the root of the project, with "/", to its text.
using SourceTree = std::map<std::string, std::string>;

/// Reads the C and C++ files of the folders that have rules, from the project at @p root.
SourceTree readSourceTree(const std::string& root);

/// @return the text without comments; strings stay, and so do line ends
std::string withoutComments(const std::string& text);

/// All breaches of the rules, one line of text each, ordered by file and line; a circle of includes comes
/// last and names its files in order.
std::vector<std::string> breaches(const SourceTree& tree);
