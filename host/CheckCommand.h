/// @file
/// `talvex check`.
#pragma once

#include "host/ExitCode.h"
#include "host/MemoryOptions.h"

namespace host {

/// Compares an image file with the memory of an ECU.
[[nodiscard]] ExitCode runCheck(const MemoryOptions& options);

}  // namespace host
