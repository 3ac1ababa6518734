#pragma once

#include "TalvexRecords.h"

#include <istream>
#include <list>

/// Reads Intel HEX records from @p stream to its end. Lines that aren't records, or whose head holds no
/// digits, are skipped; nothing is reported. Checksums aren't looked at, and an end record ends nothing.
///
/// @return the blocks in file order
/// @throws std::out_of_range  a record is cut such that a field would start behind the end of the line
std::list<mem_buf> ParseHexStream(std::istream& stream);
