// Images laid over the memory of an ECU.

#include "host/MemoryPlan.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <vector>

namespace {

using host::MemoryPart;
using host::MemoryPlan;
using host::PartKind;
using host::planImage;
using ::testing::ElementsAre;

using Bytes = std::vector<std::uint8_t>;

const MemoryPart kLow{PartKind::flash, 0, 0x100, 0x10};
const MemoryPart kNext{PartKind::flash, 1, 0x110, 0x10};

// RAM, pages and flash.
host::EcuRecord ecu(bool ccp) {
    host::EcuRecord record;
    record.ccp = ccp;
    record.segments.resize(3);
    record.segments[0] = {host::SegmentKind::ram, 0x1000, 0x10};
    record.segments[1] = {host::SegmentKind::calibration, 0x2000, 0x20};
    record.segments[1].referenceAddress = ccp ? 0x3000 : 0x2000;
    record.segments[2] = {host::SegmentKind::flash, 0x4000, 0x40};
    return record;
}

std::vector<PartKind> kindsOf(const std::vector<MemoryPart>& parts) {
    std::vector<PartKind> kinds;
    for (const MemoryPart& part : parts) {
        kinds.push_back(part.kind);
    }
    return kinds;
}

TEST(MemoryPlan, BlockInsideOfASegmentStaysWhole) {
    const MemoryPlan plan = planImage({{0x104, Bytes{1, 2, 3}}}, {kLow});
    ASSERT_EQ(plan.blocks.size(), 1U);
    EXPECT_EQ(plan.blocks[0].block.address, 0x104U);
    EXPECT_EQ(plan.blocks[0].block.data, (Bytes{1, 2, 3}));
    EXPECT_EQ(plan.blocks[0].part, 0U);
    EXPECT_TRUE(plan.outside.empty());
    EXPECT_EQ(host::plannedBytes(plan, 0), 3U);
}

TEST(MemoryPlan, BlockOverTwoSegmentsIsCutWhereTheyMeet) {
    const MemoryPlan plan = planImage({{0x10E, Bytes{1, 2, 3, 4}}}, {kNext, kLow});
    ASSERT_EQ(plan.blocks.size(), 2U);
    EXPECT_EQ(plan.blocks[0].block.data, (Bytes{1, 2}));
    EXPECT_EQ(plan.blocks[0].part, 1U);
    EXPECT_EQ(plan.blocks[1].block.address, 0x110U);
    EXPECT_EQ(plan.blocks[1].block.data, (Bytes{3, 4}));
    EXPECT_EQ(plan.blocks[1].part, 0U);
}

TEST(MemoryPlan, WhatReachesOverBothEndsIsOutside) {
    const MemoryPlan plan = planImage({{0xFF, Bytes(0x22, 7)}}, {kLow});
    ASSERT_EQ(plan.outside.size(), 2U);
    EXPECT_EQ(plan.outside[0].first, 0xFFU);
    EXPECT_EQ(plan.outside[0].last, 0xFFU);
    EXPECT_EQ(plan.outside[1].first, 0x110U);
    EXPECT_EQ(plan.outside[1].last, 0x120U);
    EXPECT_EQ(host::plannedBytes(plan, 0), 0x10U);
}

TEST(MemoryPlan, TheLastByteOfTheAddressSpaceIsAPlace) {
    const MemoryPart top{PartKind::flash, 0, 0xFFFFFFF0, 0x10};
    const MemoryPlan plan = planImage({{0xFFFFFFEF, Bytes(0x11, 1)}}, {top});
    ASSERT_EQ(plan.blocks.size(), 1U);
    EXPECT_EQ(plan.blocks[0].block.data.size(), 0x10U);
    ASSERT_EQ(plan.outside.size(), 1U);
    EXPECT_EQ(plan.outside[0].last, 0xFFFFFFEFU);
}

TEST(MemoryPlan, PiecesMakeAnImageAgain) {
    const MemoryPlan plan =
        planImage({{0x100, Bytes{1}}, {0x118, Bytes{2}}, {0x500, Bytes{3}}}, {kLow, kNext});
    const std::list<mem_buf> image = host::plannedImage(plan);
    ASSERT_EQ(image.size(), 2U);
    EXPECT_EQ(image.back().address, 0x118U);
}

TEST(MemoryPlan, PagesOfXcpAreReachedByTheirOwnBit) {
    EXPECT_THAT(kindsOf(host::partsReached(ecu(false), mcMemDataWorking)),
                ElementsAre(PartKind::ram, PartKind::workingPage));
    EXPECT_THAT(kindsOf(host::partsReached(ecu(false), mcMemDataReference)),
                ElementsAre(PartKind::ram, PartKind::referencePage));
}

TEST(MemoryPlan, PagesOfCcpAreReachedByEitherBitAndCodeComesFirst) {
    EXPECT_THAT(kindsOf(host::partsReached(ecu(true), mcMemDataReference | mcMemCode)),
                ElementsAre(PartKind::flash, PartKind::ram, PartKind::workingPage, PartKind::referencePage));
}

TEST(MemoryPlan, RamGoesAlongWithThePageThatIsAskedFor) {
    EXPECT_EQ(host::memTypeOf({PartKind::ram}), mcMemDataWorking);
    EXPECT_EQ(host::memTypeOf({PartKind::ram, PartKind::referencePage}), mcMemDataReference);
    EXPECT_EQ(host::memTypeOf({PartKind::flash}), mcMemCode);
}

TEST(MemoryPlan, WordsOfTheCommandLineNameTheKinds) {
    EXPECT_THAT(host::partKindWords(), ElementsAre("ram", "working", "reference", "code"));
    EXPECT_THAT(host::partKindsOf({"code", "working"}), ElementsAre(PartKind::workingPage, PartKind::flash));
    EXPECT_EQ(host::bytesIn(host::partsOf(ecu(false), {PartKind::flash, PartKind::ram})), 0x50U);
}

}  // namespace
