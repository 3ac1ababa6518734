#include "memfile/MemRange.h"

#include <algorithm>

namespace memfile {

namespace {

/// First address that a block (first to last) and a range have in common, by tests in 32 bits.
std::optional<std::uint32_t> firstCommon(std::uint32_t blockFirst, std::uint32_t blockLast,
                                         std::uint32_t rangeFirst, std::uint32_t rangeLast) {
    if (rangeFirst >= blockFirst && rangeFirst <= blockLast) {
        return rangeFirst;
    }
    if (rangeFirst > blockFirst || blockFirst > rangeLast) {
        return std::nullopt;
    }
    return blockFirst;
}

}  // namespace

std::optional<Overlap> overlapWithRange(const mem_buf& block, std::uint32_t start, std::uint32_t length) {
    const std::uint32_t rangeLast = start + length - 1;
    const auto blockLast = static_cast<std::uint32_t>(block.address + block.data.size() - 1);
    const auto first = firstCommon(block.address, blockLast, start, rangeLast);
    if (!first) {
        return std::nullopt;
    }
    const std::uint32_t size = std::min(blockLast, rangeLast) - *first + 1;
    const std::span<const std::uint8_t> bytes(block.data);
    const auto behind = bytes.subspan(std::min<std::size_t>(*first - block.address, bytes.size()));
    return Overlap{*first, behind.first(std::min<std::size_t>(size, behind.size()))};
}

}  // namespace memfile

std::optional<mem_buf> cutToRange(const mem_buf& block, std::uint32_t start, std::uint32_t length) {
    const auto overlap = memfile::overlapWithRange(block, start, length);
    if (!overlap) {
        return std::nullopt;
    }
    return mem_buf{overlap->address, {overlap->bytes.begin(), overlap->bytes.end()}};
}
