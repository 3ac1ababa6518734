/// @file
/// Writing to whoever may not read.
#pragma once

#include <cstddef>
#include <functional>

namespace host {

/// Whether it is of no use any more to wait for a reader.
using GiveUp = std::function<bool()>;

/// Writes @p size bytes to @p file. A pipe whose reader stands still is waited for as long as it takes; once
/// @p giveUp says so, the reader has a second left.
/// @return bytes written; fewer than @p size after an error, which is in errno: ETIMEDOUT if it gave up
[[nodiscard]] std::size_t writePatiently(int file, const char* data, std::size_t size, const GiveUp& giveUp);

}  // namespace host
