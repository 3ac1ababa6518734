/// @file
/// How many threads the process has.
#pragma once

#include <cstddef>

namespace support {

/// Threads of this process, with those that a sanitizer runs beside the first one that a program starts: a
/// count taken before any other thread counts them too. 0 where the system does not tell.
std::size_t threadCount();

}  // namespace support
