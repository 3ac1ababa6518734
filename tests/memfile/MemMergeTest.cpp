#include "TalvexMemory.h"
#include "tests/memfile/Blocks.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

mcMemoryInfo segment(std::uint32_t address, std::uint32_t length) {
    mcMemoryInfo info;
    info.address = address;
    info.length = length;
    return info;
}

std::string report(const std::string& from, const std::string& to) {
    return "指定地址区间无hex内容: 0x" + from + " - 0x" + to + "\n";
}

/// What a merge gives, and what it said.
struct Merged {
    std::list<mem_buf> blocks;
    std::string said;
};

Merged merge(const std::list<mem_buf>& blocks, const std::vector<mcMemoryInfo>& segments) {
    Merged merged;
    merged.said = stderrOf([&] { merged.blocks = MergeMemByAddr(blocks, segments); });
    return merged;
}

const std::list<mem_buf> kImage{{0x2000, {0x20, 0x21, 0x22, 0x23}}, {0x1000, {0x10, 0x11, 0x12, 0x13}}};

}  // namespace

TEST(MemMerge, WithoutSegmentsThereIsNothingAndNothingIsSaid) {
    const auto merged = merge(kImage, {});
    EXPECT_THAT(merged.blocks, IsEmpty());
    EXPECT_EQ(merged.said, "");
}

TEST(MemMerge, WithoutBlocksEverySegmentIsReported) {
    const auto merged = merge({}, {segment(0x1000, 0x100), segment(0xABCDEF00, 0x10)});
    EXPECT_THAT(merged.blocks, IsEmpty());
    EXPECT_EQ(merged.said, report("1000", "10ff") + report("abcdef00", "abcdef0f"));
}

TEST(MemMerge, OrdersBySegmentFirstAndByBlockSecond) {
    const auto merged = merge(kImage, {segment(0x1002, 2), segment(0x1000, 0x2000)});
    EXPECT_THAT(merged.blocks,
                ElementsAre(block(0x1002, {0x12, 0x13}), block(0x2000, {0x20, 0x21, 0x22, 0x23}),
                            block(0x1000, {0x10, 0x11, 0x12, 0x13})));
    EXPECT_EQ(merged.said, "");
}

TEST(MemMerge, ClipsAtBothEnds) {
    EXPECT_THAT(merge(kImage, {segment(0x1001, 2)}).blocks, ElementsAre(block(0x1001, {0x11, 0x12})));
    EXPECT_THAT(merge(kImage, {segment(0x0FFE, 3)}).blocks, ElementsAre(block(0x1000, {0x10})));
    EXPECT_THAT(merge(kImage, {segment(0x1003, 0x10)}).blocks, ElementsAre(block(0x1003, {0x13})));
}

TEST(MemMerge, ABlockInTwoSegmentsStandsTwice) {
    EXPECT_THAT(merge(kImage, {segment(0x1000, 3), segment(0x1002, 2)}).blocks,
                ElementsAre(block(0x1000, {0x10, 0x11, 0x12}), block(0x1002, {0x12, 0x13})));
}

TEST(MemMerge, NeighboursAndGapsStayAsTheyAre) {
    const std::list<mem_buf> blocks{{0x10, {1}}, {0x11, {2}}, {0x13, {3}}};
    EXPECT_THAT(merge(blocks, {segment(0x10, 4)}).blocks,
                ElementsAre(block(0x10, {1}), block(0x11, {2}), block(0x13, {3})));
}

TEST(MemMerge, ASegmentWithoutContentIsReportedAndTheNextOneStillCounts) {
    const auto merged = merge(kImage, {segment(0x1004, 0xFFC), segment(0x1000, 1)});
    EXPECT_THAT(merged.blocks, ElementsAre(block(0x1000, {0x10})));
    EXPECT_EQ(merged.said, report("1004", "1fff"));
}

TEST(MemMerge, ABlockWithoutBytesCountsAsContent) {
    const auto merged = merge({{0x1010, {}}}, {segment(0x1000, 0x100)});
    EXPECT_THAT(merged.blocks, ElementsAre(block(0x1010, {})));
    EXPECT_EQ(merged.said, "");
}

TEST(MemMerge, ASegmentOfLengthZeroIsReportedWithAnEndAheadOfItsStart) {
    EXPECT_EQ(merge(kImage, {segment(0x3000, 0)}).said, report("3000", "2fff"));
    EXPECT_EQ(merge({}, {segment(0, 0)}).said, report("0", "ffffffff"));
}

TEST(MemMerge, LeavesItsInputAlone) {
    auto blocks = kImage;
    merge(blocks, {segment(0x1001, 2)});
    EXPECT_THAT(blocks, ElementsAre(block(0x2000, {0x20, 0x21, 0x22, 0x23}),
                                    block(0x1000, {0x10, 0x11, 0x12, 0x13})));
}
