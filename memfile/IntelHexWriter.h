#pragma once

#include "memfile/PageSplit.h"

#include <ostream>
#include <vector>

namespace memfile {

/// Writes @p runs as Intel HEX: an upper address line for each run, even if the one before it had the same
/// upper address, its bytes in lines of 32 counted from the run's start, and an end line behind all.
void writeIntelHex(std::ostream& stream, const std::vector<PageRun>& runs);

}  // namespace memfile
