/// @file
/// Blocks of several files as one image.
#pragma once

#include "host/HexFile.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

namespace host {

/// Addresses, both ends included.
struct HexRange {
    std::uint32_t first = 0;
    std::uint32_t last = 0;
};

/// Bytes in @p range: 1 to 2^32.
[[nodiscard]] inline std::uint64_t lengthOf(const HexRange& range) {
    return std::uint64_t{range.last} - range.first + 1;
}

/// A block and where it comes from.
struct HexPiece {
    const mem_buf* block;  ///< not owned, not empty
    std::size_t file;      ///< index
};

/// Addresses that two blocks hold.
struct HexOverlap {
    HexRange range;
    std::size_t fileBelow;  ///< of the block that begins at the lower address; of two that begin at the same
                            ///< address the earlier
    std::size_t fileAbove;
};

/// All blocks, in the order of the files.
[[nodiscard]] std::vector<HexPiece> piecesOf(const std::vector<HexFile>& files);

/// Overlaps by rising address. Every address that is held twice is in one; none if all blocks are apart.
[[nodiscard]] std::vector<HexOverlap> overlapsOf(std::vector<HexPiece> pieces);

/// One image of @p pieces: where two hold an address, the earlier counts.
/// @return blocks by rising address, apart from each other by at least one byte
[[nodiscard]] std::list<mem_buf> joined(const std::vector<HexPiece>& pieces);

[[nodiscard]] std::uint64_t bytesIn(const std::list<mem_buf>& blocks);

}  // namespace host
