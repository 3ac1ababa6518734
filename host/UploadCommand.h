/// @file
/// `talvex upload`.
#pragma once

#include "host/ExitCode.h"
#include "host/MemoryOptions.h"

namespace host {

/// Reads memory of an ECU into an image file.
[[nodiscard]] ExitCode runUpload(const MemoryOptions& options);

}  // namespace host
