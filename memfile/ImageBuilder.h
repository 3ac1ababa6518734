#pragma once

#include "TalvexRecords.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <span>

namespace memfile {

/// Joins records to the blocks of an image. Room is taken with the length of the text in mind, so that a
/// block of many megabytes seldom moves, and what was taken too much is given back when the block is
/// complete.
class ImageBuilder {
public:
    /// Adds the bytes of one record: to the last block if that ends exactly at @p address (in 32 bits, so a
    /// block that ends at 0xFFFFFFFF is continued at 0), else as a new block at the end of the list. No other
    /// block than the last is looked at. A record without bytes can add a block without bytes.
    ///
    /// @param textLeft  characters that are still to come, as far as known; 0 if unknown
    void addRecord(std::uint32_t address, std::span<const std::uint8_t> bytes, std::size_t textLeft);

    /// @return the blocks in the order of their first records; the builder is empty afterwards
    std::list<mem_buf> finish();

private:
    void trimLast();

    std::list<mem_buf> m_blocks;
};

}  // namespace memfile
