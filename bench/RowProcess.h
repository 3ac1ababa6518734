/// @file
/// Runs one row in a process of its own.
#pragma once

#include "bench/Harness.h"

namespace bench {

/// Longest time a row may take with all its attempts, seconds.
inline constexpr unsigned kRowLimitSeconds = 600;

/// Measures @p row in a child process, on the processors it asks for and with an idle second thread alive. To
/// be called while the calling process has one thread. A child that dies or takes too long is a failure.
Result measureInOwnProcess(const Row& row);

}  // namespace bench
