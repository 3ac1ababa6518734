/// @file
/// The part of a block of memory that lies in a range of addresses.
#pragma once

#include "TalvexRecords.h"

#include <cstdint>
#include <optional>
#include <span>

namespace memfile {

/// A part of a block: its first address, and a view of its bytes that lives as long as the block.
struct Overlap {
    std::uint32_t address;
    std::span<const std::uint8_t> bytes;
};

/// Finds the part of @p block that lies in the @p length bytes from @p start.
///
/// Ends are computed and compared in 32 bits, and are the last address inside. So a range of length 0 ends
/// ahead of its start, but one at address 0 ends at 0xFFFFFFFF and takes in everything; a range or block that
/// wraps is judged by its wrapped end. Whatever comes out, the bytes are bytes of the block.
///
/// @return nothing if they have no address in common. A block without bytes that starts in the range gives a
///         part without bytes
std::optional<Overlap> overlapWithRange(const mem_buf& block, std::uint32_t start, std::uint32_t length);

}  // namespace memfile

/// Copies the part of @p block that lies in the @p length bytes from @p start, as overlapWithRange finds it.
/// @return nothing if they have no address in common
std::optional<mem_buf> cutToRange(const mem_buf& block, std::uint32_t start, std::uint32_t length);
