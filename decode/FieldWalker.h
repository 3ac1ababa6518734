/// @file
/// Turns the bytes of a frame into named fields, as the tables describe them.
#pragma once

#include "TalvexDecode.h"
#include "TalvexRecords.h"
#include "decode/FieldTable.h"

#include <span>
#include <vector>

namespace trace_view {

/// Makes the fields of @p rows in their order. Reads bytes behind the 64 of @p msg as 0.
/// @param swapBytes  true: the ECU's numbers are big endian
std::vector<mcDecodeField> makeFields(std::span<const FieldRow> rows, const msgBuf& msg, bool swapBytes);

}  // namespace trace_view
