#include "TalvexPlain.h"
#include "tests/memfile/Blocks.h"
#include "tests/support/TempFolder.h"

#include <cstddef>
#include <stdexcept>

namespace {

constexpr std::uint32_t kUntouched = 0xDEADBEEF;

mcMemRange range(std::uint32_t address, std::uint32_t length) {
    return {0xEE, length, 0xEE, address};
}

/// Reads ranges of a file whose blocks are AA AB .. AF at 0x1000, 01 02 at 0x1008 and 99 at 0x3000.
class MemFilePlain : public testing::Test {
protected:
    ~MemFilePlain() override { DeleteMemBuff(m_buffers.data(), static_cast<std::int32_t>(m_buffers.size())); }

    void read(const std::vector<mcMemRange>& ranges) {
        m_buffers.assign(ranges.size(), nullptr);
        m_sizes.assign(ranges.size(), kUntouched);
        ParseMemFileNewBuff(m_path.c_str(), ranges.data(), static_cast<std::int32_t>(ranges.size()),
                            m_buffers.data(), m_sizes.data());
    }

    Bytes bytes(std::size_t i) const { return {m_buffers[i], m_buffers[i] + m_sizes[i]}; }

    support::TempFolder m_folder;
    std::string m_path = m_folder.file("image.hex",
                                       ":06100000AAABACADAEAF00\n"
                                       ":02100800010200\n"
                                       ":013000009900\n");
    std::vector<std::uint8_t*> m_buffers;
    std::vector<std::uint32_t> m_sizes;
};

}  // namespace

TEST(MemRangeRecord, HasTheLayoutThatHostsLayOut) {
    EXPECT_EQ(sizeof(mcMemRange), 10U);
    EXPECT_EQ(offsetof(mcMemRange, length), 1U);
    EXPECT_EQ(offsetof(mcMemRange, address), 6U);
}

TEST_F(MemFilePlain, ARangeInsideABlockGetsExactlyItsBytes) {
    read({range(0x1001, 3)});
    EXPECT_EQ(bytes(0), (Bytes{0xAB, 0xAC, 0xAD}));
}

TEST_F(MemFilePlain, EachRangeGetsItsOwnBufferInOrder) {
    read({range(0x3000, 1), range(0x1000, 6), range(0x1000, 6)});
    EXPECT_EQ(bytes(0), (Bytes{0x99}));
    EXPECT_EQ(bytes(1), (Bytes{0xAA, 0xAB, 0xAC, 0xAD, 0xAE, 0xAF}));
    EXPECT_EQ(bytes(2), bytes(1));
    EXPECT_NE(m_buffers[1], m_buffers[2]);
}

TEST_F(MemFilePlain, OfTwoBlocksInARangeOnlyTheFirstCounts) {
    read({range(0x1004, 0x100)});
    EXPECT_EQ(bytes(0), (Bytes{0xAE, 0xAF}));
}

TEST_F(MemFilePlain, ABlockWithoutBytesCountsAsTheFirstOfItsRange) {
    m_path = m_folder.file("hollow.hex", ":00100400EC\n:02100800AABB81\n");
    read({range(0x1000, 0x100)});
    EXPECT_NE(m_buffers[0], nullptr);
    EXPECT_EQ(m_sizes[0], 0U);
}

TEST_F(MemFilePlain, ARangeThatBeginsAheadOfItsBlockGetsABufferThatBeginsAtTheBlock) {
    read({range(0x0FF0, 0x12)});
    EXPECT_EQ(bytes(0), (Bytes{0xAA, 0xAB}));
}

TEST_F(MemFilePlain, ARangeWithoutABlockGetsNullAndItsSizeStaysUntouched) {
    read({range(0x2000, 0x100), range(0x1006, 2), range(0x3000, 1)});
    EXPECT_EQ(m_buffers[0], nullptr);
    EXPECT_EQ(m_sizes[0], kUntouched);
    EXPECT_EQ(m_buffers[1], nullptr);
    EXPECT_EQ(m_sizes[1], kUntouched);
    EXPECT_EQ(m_sizes[2], 1U);
}

TEST_F(MemFilePlain, WithoutAFileEveryPointerBecomesNullAndEverySizeStays) {
    const mcMemRange ranges[] = {range(0x1000, 6), range(0x3000, 1)};
    std::uint8_t host = 0;
    std::uint8_t* buffers[] = {&host, &host};
    std::uint32_t sizes[] = {kUntouched, 7};
    const std::string missing = m_folder.path("missing.hex");
    EXPECT_EQ(stderrOf([&] { ParseMemFileNewBuff(missing.c_str(), ranges, 2, buffers, sizes); }),
              "无法打开文件: " + missing + "\n");
    EXPECT_EQ(buffers[0], nullptr);
    EXPECT_EQ(buffers[1], nullptr);
    EXPECT_EQ(sizes[0], kUntouched);
    EXPECT_EQ(sizes[1], 7U);
}

TEST_F(MemFilePlain, ACountBelowOneWritesNothing) {
    const mcMemRange one = range(0x1000, 6);
    std::uint8_t host = 0;
    std::uint8_t* buffer = &host;
    std::uint32_t size = kUntouched;
    for (const std::int32_t count : {0, -1, INT32_MIN}) {
        ParseMemFileNewBuff(m_path.c_str(), &one, count, &buffer, &size);
        EXPECT_EQ(buffer, &host);
        EXPECT_EQ(size, kUntouched);
    }
}

TEST_F(MemFilePlain, NullArraysWriteNothingAndANullPathIsAFileThatCannotBeOpened) {
    const mcMemRange one = range(0x1000, 6);
    std::uint8_t host = 0;
    std::uint8_t* buffer = &host;
    std::uint32_t size = kUntouched;
    ParseMemFileNewBuff(m_path.c_str(), nullptr, 1, &buffer, &size);
    ParseMemFileNewBuff(m_path.c_str(), &one, 1, nullptr, &size);
    ParseMemFileNewBuff(m_path.c_str(), &one, 1, &buffer, nullptr);
    EXPECT_EQ(buffer, &host);
    EXPECT_EQ(size, kUntouched);
    EXPECT_EQ(stderrOf([&] { ParseMemFileNewBuff(nullptr, &one, 1, &buffer, &size); }), "无法打开文件: \n");
    EXPECT_EQ(buffer, nullptr);
}

TEST_F(MemFilePlain, ARangeOfLengthZeroInABlockGetsABufferWithoutBytes) {
    read({range(0x1002, 0)});
    EXPECT_NE(m_buffers[0], nullptr);
    EXPECT_EQ(m_sizes[0], 0U);
}

TEST_F(MemFilePlain, ARangeOfLengthZeroAtAddressZeroReachesOverAllAddresses) {
    read({range(0, 0)});
    EXPECT_EQ(bytes(0), (Bytes{0xAA, 0xAB, 0xAC, 0xAD, 0xAE, 0xAF}));
}

TEST_F(MemFilePlain, ARangeThatWrapsIsJudgedByItsWrappedEndAndGetsNoMoreThanTheBlock) {
    read({range(0x1002, 0xFFFFFFFF), range(0x2000, 0xFFFFF000)});
    EXPECT_EQ(bytes(0), (Bytes{0xAC, 0xAD, 0xAE, 0xAF}));
    EXPECT_EQ(m_buffers[1], nullptr);  // ends at 0xFFF, ahead of all blocks, though it passes over 0x3000
}

TEST_F(MemFilePlain, ATruncatedLineThrowsAheadOfAnyOutput) {
    const std::string cut = m_folder.file("cut.hex", ":1");
    const mcMemRange one = range(0x1000, 6);
    std::uint8_t host = 0;
    std::uint8_t* buffer = &host;
    std::uint32_t size = kUntouched;
    EXPECT_THROW(ParseMemFileNewBuff(cut.c_str(), &one, 1, &buffer, &size), std::out_of_range);
    EXPECT_EQ(buffer, &host);
    EXPECT_EQ(size, kUntouched);
}

TEST_F(MemFilePlain, DeletingTwiceFreesNothingTheSecondTime) {
    read({range(0x1000, 6), range(0x2000, 1), range(0x3000, 1)});
    DeleteMemBuff(m_buffers.data(), 3);
    EXPECT_EQ(m_buffers, (std::vector<std::uint8_t*>{nullptr, nullptr, nullptr}));
    DeleteMemBuff(m_buffers.data(), 3);
    EXPECT_EQ(m_buffers, (std::vector<std::uint8_t*>{nullptr, nullptr, nullptr}));
}

TEST_F(MemFilePlain, DeletingFreesNoMoreThanTheCount) {
    read({range(0x1000, 6), range(0x3000, 1)});
    DeleteMemBuff(m_buffers.data(), 1);
    EXPECT_EQ(m_buffers[0], nullptr);
    EXPECT_EQ(bytes(1), (Bytes{0x99}));
}

TEST_F(MemFilePlain, DeletingNothingDoesNothing) {
    read({range(0x1000, 6)});
    DeleteMemBuff(nullptr, 1);
    DeleteMemBuff(m_buffers.data(), 0);
    DeleteMemBuff(m_buffers.data(), -1);
    EXPECT_EQ(bytes(0).size(), 6U);
}
