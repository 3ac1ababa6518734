/// @file
/// Memory images: Intel HEX and Motorola S-record files in and out, and images cut to memory segments.
/// The forms for hosts that can't take a list across the boundary, and the checksums, stand in TalvexPlain.h.
///
/// All functions are stateless and callable from any thread. Messages go to the standard error stream, each
/// in one write; no function logs.
#pragma once

#include "TalvexExport.h"
#include "TalvexRecords.h"

#include <list>
#include <string>
#include <vector>

/// Reads an image. The name alone chooses the format, and its case counts: ".s19" and ".mot" are S-records,
/// ".hex" is Intel HEX, any other ending (".HEX", ".S19") gives an empty list without a message.
///
/// The reader is forgiving. Blocks come in file order, neither sorted nor tested for overlap; records that
/// continue the block before them join it. Intel HEX checksums aren't looked at, records behind the end
/// record count, and a faulty line is skipped without a word. An S-record with a wrong checksum is reported
/// and dropped; one that is too short or holds no digits where some belong is reported and ends the reading.
///
/// @return the blocks read, up to the fault that ended the reading; empty, with a message, if the file can't
///         be opened or has length 0
/// @throws std::out_of_range  the path has fewer than 4 characters (and names a file that isn't empty), or an
///         Intel HEX line is cut such that a field would start behind its end
TALVEX_API std::list<mem_buf> ParseMemFile(const std::string& path);

/// Writes an image, as S-records (S3, S7) if @p path ends in ".s19" or ".mot" in any case, else as Intel HEX.
/// Blocks are written as they stand, neither sorted nor joined, in lines of at most 32 bytes.
///
/// @return false, with a message, if the file can't be opened for writing; true otherwise, also if writing
///         failed later (a full disk isn't noticed)
TALVEX_API bool SaveToHexFile(const std::list<mem_buf>& blocks, const std::string& path);

/// Cuts an image to segments: for each segment in order, the part of each block in order that lies inside.
/// Nothing is joined; a block that lies in two segments stands in the result twice. A segment without any
/// content is reported on the standard error stream. Of @p segments only `address` and `length` are read.
///
/// @return new blocks; the input stays as it was
TALVEX_API std::list<mem_buf> MergeMemByAddr(const std::list<mem_buf>& blocks,
                                             const std::vector<mcMemoryInfo>& segments);
