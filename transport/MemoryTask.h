/// @file
/// What the memory operations of both protocols share: progress, images from files, uploads of several
/// ranges, the walk over a range for checksums.
#pragma once

#include "TalvexRecords.h"

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

/// Commands as `memResultFun` reports them.
enum MemReport : std::uint32_t {
    kMemUploadResult = 10,
    kMemUploadPercent = 12,
    kMemDownloadPercent = 13,
};

using MemResultFun = decltype(CallBackFuns::memResultFun);

/// @return @p done of @p total in percent, at most 100, cut to a whole number after the division.
///         @p total is not 0
std::uint32_t percentInRange(std::uint32_t done, std::uint32_t total);

/// The same computed in floating point, as it is reported between ranges and for downloads: it can differ by
/// one, and hosts have seen both since ever.
std::uint32_t percentOfAll(std::uint32_t done, std::uint32_t total);

/// Calls @p report with @p command and `percentOfAll`, if it is set and @p total is not 0.
void reportPercent(MemResultFun report, std::uint32_t command, std::uint32_t done, std::uint32_t total);

/// Counts @p came bytes of a range and reports `percentInRange` with 12, if all there is to it is given.
void reportRangeProgress(MemResultFun report, std::uint32_t came, const std::uint32_t* total,
                         std::uint32_t* done);

/// @return the blocks of a memory file. A file that makes the reader throw counts as one without a block, so
///         that a truncated line does not end the host's process.
std::list<mem_buf> readImage(const std::string& path);

/// @return the bytes of @p blocks in all, in 32 bits
std::uint32_t totalBytes(const std::list<mem_buf>& blocks);

/// Reads one range. @return a result code
using RangeUpload = std::function<std::uint32_t(const mcMemoryInfo& range, std::vector<mcMemoryData>* results,
                                                const std::uint32_t* total, std::uint32_t* done)>;

/// Reads @p ranges with @p upload and reports progress and the final result through @p report.
/// @param results  gets the bytes; may be null
/// @return a result code: 26 without ranges, the first failure of @p upload, else 0
std::uint32_t uploadRanges(const std::vector<mcMemoryInfo>& ranges, const RangeUpload& upload,
                           std::vector<mcMemoryData>* results, MemResultFun report);

/// Reads the bytes of one range in steps, from where the MTA stands.
/// @param stepSize  most bytes of a step
/// @param readStep  stores at most the wanted bytes and returns how many came; 0 ends the reading, a short
/// step
///                  does not
/// @return 34 if nothing came, else 0: a range that was read in part counts as read
std::uint32_t uploadSteps(
    const mcMemoryInfo& range, std::size_t stepSize,
    const std::function<std::size_t(std::uint8_t* destination, std::size_t wanted)>& readStep,
    std::vector<mcMemoryData>* results, const std::uint32_t* total, std::uint32_t* done, MemResultFun report);

/// Checks an image range by range until one fails.
/// @param noRange  the result if there is no range
/// @return 28 without a block, else the first result of @p checkRange that is not 0, else 0
std::uint32_t checkRanges(const std::list<mem_buf>& blocks, const std::vector<mcMemoryInfo>& ranges,
                          std::uint32_t noRange,
                          const std::function<std::uint32_t(const mcMemoryInfo&)>& checkRange);

/// One BUILD_CHECKSUM step of a range.
struct ChecksumStep {
    std::uint32_t address;     ///< first address
    std::uint32_t length;      ///< bytes
    const std::uint8_t* data;  ///< the image's bytes
};

/// Walks the parts of @p blocks that lie inside @p range in steps of its checksum block size.
/// @param onPart  called with the first address of each part
/// @param onStep  called for each step; a result other than 0 ends the walk
/// @return the first result of @p onStep that is not 0, else 0; 0 at once if the range's `checksumType` is 0
std::uint32_t walkChecksums(const mcMemoryInfo& range, const std::list<mem_buf>& blocks,
                            const std::function<void(std::uint32_t address)>& onPart,
                            const std::function<std::uint32_t(const ChecksumStep& step)>& onStep);

/// @return the entry of a check: the ECU's checksum beside the local one of kind @p kind
/// @param ecuChecksum  the ECU's bytes, already cut to the width of the kind
mcMemoryData checksumEntry(const ChecksumStep& step, std::int32_t kind,
                           std::vector<std::uint8_t> ecuChecksum);

/// @return the @p width low bytes of @p value, least significant first
std::vector<std::uint8_t> littleEndianBytes(std::uint32_t value, std::size_t width);
