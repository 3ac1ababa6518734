#pragma once

#include "TalvexRecords.h"

#include <cstdint>
#include <list>
#include <span>
#include <vector>

namespace memfile {

/// A run of bytes within one page of 64 KiB: all its addresses have the same upper 16 bits. The bytes belong
/// to the block it was cut from.
struct PageRun {
    std::uint32_t address;
    std::span<const std::uint8_t> bytes;
};

/// Cuts blocks at each boundary of 64 KiB, in their order. A block that passes 0xFFFFFFFF goes on at 0; one
/// without bytes yields nothing.
std::vector<PageRun> splitIntoPages(const std::list<mem_buf>& blocks);

}  // namespace memfile
