/// @file
/// A look at the file of a library before it is loaded: the loader's own messages do not tell a user much.
#pragma once

#include <string>

namespace seedkey {

/// @throws SeedKeyFailure if the file is not there, is no shared library of this system, or has another word
///         size than this program
void requireLoadable(const std::string& path);

}  // namespace seedkey
