/// @file
/// `talvex erase`.
#pragma once

#include "host/ExitCode.h"
#include "host/MemoryOptions.h"

namespace host {

/// Erases the flash of an ECU.
[[nodiscard]] ExitCode runErase(const MemoryOptions& options);

}  // namespace host
