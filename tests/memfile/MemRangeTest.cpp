#include "memfile/MemRange.h"

#include "tests/memfile/Blocks.h"

namespace {

struct Row {
    const char* what;
    mem_buf given;
    std::uint32_t start;
    std::uint32_t length;
    std::uint32_t address;  ///< of the part
    Bytes bytes;            ///< of the part
};

const Bytes kFour{1, 2, 3, 4};

const Row kHits[] = {
    {"same", {0x100, kFour}, 0x100, 4, 0x100, kFour},
    {"inside the block", {0x100, kFour}, 0x101, 2, 0x101, {2, 3}},
    {"around the block", {0x100, kFour}, 0x0F0, 0x100, 0x100, kFour},
    {"over the block's start", {0x100, kFour}, 0x0FF, 3, 0x100, {1, 2}},
    {"over the block's end", {0x100, kFour}, 0x103, 3, 0x103, {4}},
    {"first byte only", {0x100, kFour}, 0x0FF, 2, 0x100, {1}},
    {"all addresses but the last", {0x100, kFour}, 0, 0xFFFFFFFF, 0x100, kFour},
    {"at the last address", {0xFFFFFFFC, kFour}, 0xFFFFFFFE, 2, 0xFFFFFFFE, {3, 4}},
    {"block without bytes at the start", {0x100, {}}, 0x100, 4, 0x100, {}},
    {"block without bytes inside", {0x102, {}}, 0x100, 4, 0x102, {}},
    {"block without bytes at 0 ends at the last address", {0, {}}, 0x100, 4, 0x100, {}},
    {"range of length 0 in the block", {0x100, kFour}, 0x102, 0, 0x102, {}},
    {"range of length 0 at 0 ends at the last address", {0x100, kFour}, 0, 0, 0x100, kFour},
    {"range that wraps, from inside the block", {0x100, kFour}, 0x102, 0xFFFFFFF0, 0x102, {3, 4}},
    {"range that wraps to just below its start", {0x100, kFour}, 0x102, 0xFFFFFFFF, 0x102, {3, 4}},
    {"block that wraps, from its start", {0xFFFFFFFE, kFour}, 0xFFFFFFFE, 1, 0xFFFFFFFE, kFour},
    {"block that wraps, in a range that ends behind it",
     {0xFFFFFFFE, kFour},
     0xFFFFFFF0,
     16,
     0xFFFFFFFE,
     kFour},
};

const Row kMisses[] = {
    {"ahead", {0x100, kFour}, 0x0FC, 4, 0, {}},
    {"behind", {0x100, kFour}, 0x104, 4, 0, {}},
    {"block without bytes behind the range", {0x104, {}}, 0x100, 4, 0, {}},
    {"block without bytes ahead of the range", {0x100, {}}, 0x101, 4, 0, {}},
    {"range of length 0 ahead of the block", {0x100, kFour}, 0x0FF, 0, 0, {}},
    {"range of length 0 behind the block", {0x100, kFour}, 0x104, 0, 0, {}},
    {"range that wraps ahead of the block", {0xFFFFFFF8, kFour}, 0xFFFFFFF0, 32, 0, {}},
    {"range at the wrapped end of a block", {0xFFFFFFFE, kFour}, 0, 2, 0, {}},
    {"range inside a block that wraps", {0xFFFFFFFE, kFour}, 0xFFFFFFFF, 1, 0, {}},
};

}  // namespace

TEST(MemRange, FindsThePartOfABlockThatLiesInARange) {
    for (const Row& row : kHits) {
        SCOPED_TRACE(row.what);
        const auto part = cutToRange(row.given, row.start, row.length);
        ASSERT_TRUE(part);
        EXPECT_EQ(part->address, row.address);
        EXPECT_EQ(part->data, row.bytes);
    }
}

TEST(MemRange, FindsNothingInARangeBesideTheBlock) {
    for (const Row& row : kMisses) {
        EXPECT_FALSE(cutToRange(row.given, row.start, row.length)) << row.what;
    }
}

TEST(MemRange, AnOverlapIsAViewOfTheBlock) {
    const mem_buf given{0x100, kFour};
    const auto overlap = memfile::overlapWithRange(given, 0x102, 1);
    ASSERT_TRUE(overlap);
    EXPECT_EQ(overlap->bytes.data(), given.data.data() + 2);
    EXPECT_EQ(overlap->bytes.size(), 1U);
}

TEST(MemRange, WhateverTheAddressesOnlyBytesOfTheBlockComeOut) {
    const std::uint32_t corners[] = {0, 1, 2, 3, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFD, 0xFFFFFFFE, 0xFFFFFFFF};
    for (std::size_t size = 0; size < 5; ++size) {
        for (const std::uint32_t address : corners) {
            const mem_buf given{address, countingBytes(size)};
            for (const std::uint32_t start : corners) {
                for (const std::uint32_t length : corners) {
                    const auto overlap = memfile::overlapWithRange(given, start, length);
                    if (overlap && !overlap->bytes.empty()) {
                        const auto offset = overlap->bytes.data() - given.data.data();
                        ASSERT_EQ(overlap->address, address + static_cast<std::uint32_t>(offset));
                        ASSERT_LE(static_cast<std::size_t>(offset) + overlap->bytes.size(), size);
                    }
                }
            }
        }
    }
}
