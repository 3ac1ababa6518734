#pragma once

#include "memfile/PageSplit.h"

#include <ostream>
#include <vector>

namespace memfile {

/// Writes @p runs as Motorola S-records: S3 lines of 32 bytes counted from each run's start, also for
/// addresses that fewer bytes could hold, and an S7 line behind all. There is no header and no record count.
void writeSrec(std::ostream& stream, const std::vector<PageRun>& runs);

}  // namespace memfile
