/// @file
/// Counts the allocations of the bench program.
#pragma once

#include <cstdint>

namespace bench {

/// @return how often the calling thread has called `operator new` so far
std::uint64_t allocations();

}  // namespace bench
