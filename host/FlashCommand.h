/// @file
/// `talvex flash`.
#pragma once

#include "host/ExitCode.h"
#include "host/MemoryOptions.h"

namespace host {

/// Erases the flash of an ECU, programs an image file into it and compares both.
[[nodiscard]] ExitCode runFlash(const MemoryOptions& options);

}  // namespace host
