#pragma once

#include "TalvexRecords.h"

#include <istream>
#include <list>

/// Reads Motorola S-records S1, S2 and S3 from @p stream; all other lines are skipped. A record with a wrong
/// checksum, or with no digits in its checksum field, is reported and dropped. A record too short for its
/// count, or with no digits in its address or data, is reported and ends the reading. Reports go to the
/// standard error stream, with the number of the line, counted from 1 over all lines.
///
/// @return the blocks in file order, up to the record that ended the reading
std::list<mem_buf> ParseSrecStream(std::istream& stream);
