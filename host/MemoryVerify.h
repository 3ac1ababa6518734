/// @file
/// Whether an ECU holds what an image holds.
#pragma once

#include "host/ExitCode.h"
#include "host/MemoryLink.h"
#include "host/MemoryPlan.h"
#include "host/MemoryPrint.h"

namespace host {

/// Compares the blocks of @p plan with the ECU: by checksum, or by reading where there is none. Prints each
/// block, and the first byte that differs.
/// @return ExitCode::done or ExitCode::different
/// @throws HostError
[[nodiscard]] ExitCode verifyPlan(const EcuRecord& ecu, const MemoryPlan& plan, MemoryLink& link,
                                  MemoryPrint& print);

}  // namespace host
