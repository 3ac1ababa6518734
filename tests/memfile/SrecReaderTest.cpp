#include "memfile/SrecReader.h"

#include "tests/memfile/Blocks.h"

#include <sstream>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// What a text gives, and what the reader said about it.
struct Parsed {
    std::list<mem_buf> blocks;
    std::string said;
};

Parsed parse(const std::string& text) {
    Parsed parsed;
    parsed.said = stderrOf([&] {
        std::istringstream stream(text);
        parsed.blocks = ParseSrecStream(stream);
    });
    return parsed;
}

const Bytes kData{0xAA, 0xBB};
const std::string kAt1000 = "S1051000AABB85\n";
const std::string kAt2000 = "S1052000AABB75\n";
const std::string kAt3000 = "S1053000AABB65\n";

}  // namespace

TEST(SrecReader, ReadsAddressesOfTwoThreeAndFourBytes) {
    const auto parsed = parse("S1051000AABB85\nS206012345AABB2B\nS30780001000AABB03\n");
    EXPECT_THAT(parsed.blocks,
                ElementsAre(block(0x1000, kData), block(0x12345, kData), block(0x80001000, kData)));
    EXPECT_EQ(parsed.said, "");
}

TEST(SrecReader, JoinsRecordsThatFollowEachOther) {
    EXPECT_THAT(parse("S1051000AABB85\nS1051002CCDD3F\n").blocks,
                ElementsAre(block(0x1000, {0xAA, 0xBB, 0xCC, 0xDD})));
}

TEST(SrecReader, KeepsTheOrderOfTheFile) {
    EXPECT_THAT(parse(kAt3000 + kAt1000 + kAt3000).blocks,
                ElementsAre(block(0x3000, kData), block(0x1000, kData), block(0x3000, kData)));
}

TEST(SrecReader, AGapOfOneByteStartsABlock) {
    EXPECT_THAT(parse(kAt1000 + "S1051003CCDD3E\n").blocks,
                ElementsAre(block(0x1000, kData), block(0x1003, {0xCC, 0xDD})));
}

TEST(SrecReader, ARecordThatOverlapsTheLastBlockStartsABlock) {
    EXPECT_THAT(parse(kAt1000 + "S1051001CCDD40\n").blocks,
                ElementsAre(block(0x1000, kData), block(0x1001, {0xCC, 0xDD})));
}

TEST(SrecReader, OnlyTheLastBlockIsContinued) {
    EXPECT_THAT(parse(kAt1000 + kAt2000 + "S1051002CCDD3F\n").blocks,
                ElementsAre(block(0x1000, kData), block(0x2000, kData), block(0x1002, {0xCC, 0xDD})));
}

TEST(SrecReader, HeadersCountsAndEndRecordsAreSkippedAndEndNothing) {
    const auto parsed = parse(
        "S00600004844521B\nS4\nS5030001FB\nS6\nS70500000000FA\nS804000000FB\nS9030000FC\nSA\n" + kAt1000);
    EXPECT_THAT(parsed.blocks, ElementsAre(block(0x1000, kData)));
    EXPECT_EQ(parsed.said, "");
}

TEST(SrecReader, LinesThatAreNoRecordsAreSkippedWithoutAWord) {
    const auto parsed = parse("\nS\nX1051000AABB85\ns1051000AABB85\n S1051000AABB85\n:02100000AABB89\n");
    EXPECT_THAT(parsed.blocks, IsEmpty());
    EXPECT_EQ(parsed.said, "");
}

TEST(SrecReader, ReadsDigitsOfBothCases) {
    EXPECT_THAT(parse("S1051000aAbB85\n").blocks, ElementsAre(block(0x1000, kData)));
}

TEST(SrecReader, WhatStandsBehindTheChecksumDoesNotMatter) {
    EXPECT_THAT(parse("S1051000AABB85 trailing\n").blocks, ElementsAre(block(0x1000, kData)));
}

TEST(SrecReader, ARecordWithoutDataAddsABlockWithoutBytes) {
    EXPECT_THAT(parse("S1031000EC\n").blocks, ElementsAre(block(0x1000, {})));
}

TEST(SrecReader, TheLongestRecordHas252Bytes) {
    std::string line = "S1FF0000";
    for (int i = 0; i < 252; ++i) {
        line += "00";
    }
    EXPECT_THAT(parse(line + "00\n").blocks, ElementsAre(block(0, Bytes(252))));
}

TEST(SrecReader, AWrongChecksumDropsOneLineAndNamesItByItsNumberOverAllLines) {
    const auto parsed = parse("S00600004844521B\n\n" + kAt1000 + "S1052000AABB76\n" + kAt3000);
    EXPECT_THAT(parsed.blocks, ElementsAre(block(0x1000, kData), block(0x3000, kData)));
    EXPECT_EQ(parsed.said, "行4: 校验和错误\n");
}

TEST(SrecReader, AChecksumFieldWithoutADigitDropsOneLineAndReadingGoesOn) {
    const auto parsed = parse("S1052000AABBZZ\n" + kAt1000);
    EXPECT_THAT(parsed.blocks, ElementsAre(block(0x1000, kData)));
    EXPECT_EQ(parsed.said, "行1: 校验和解析失败\n");
}

TEST(SrecReader, AShortLineEndsTheReadingAndKeepsWhatCameAhead) {
    const auto parsed = parse(kAt1000 + "S1052000AABB7\n" + kAt3000);
    EXPECT_THAT(parsed.blocks, ElementsAre(block(0x1000, kData)));
    EXPECT_EQ(parsed.said, "行2: 数据不足，无法解析\n");
}

TEST(SrecReader, ABareMarkIsAShortLine) {
    EXPECT_EQ(parse("S1").said, "行1: 数据不足，无法解析\n");
    EXPECT_EQ(parse("S10").said, "行1: 数据不足，无法解析\n");
    EXPECT_EQ(parse("S1ZZ").said, "行1: 地址解析失败\n行1: 数据解析失败\n行1: 校验和解析失败\n");
}

TEST(SrecReader, AnAddressWithoutADigitGivesAChainOfMessagesAndEndsTheReading) {
    const auto parsed = parse(kAt1000 + "S10520ZZAABB75\n" + kAt3000);
    EXPECT_THAT(parsed.blocks, ElementsAre(block(0x1000, kData)));
    EXPECT_EQ(parsed.said, "行2: 地址解析失败\n行2: 数据解析失败\n行2: 校验和解析失败\n");
}

TEST(SrecReader, AnAddressWithoutADigitAheadOfNoDataGivesTwoMessages) {
    const auto parsed = parse("S103ZZ00FC\n" + kAt1000);
    EXPECT_THAT(parsed.blocks, IsEmpty());
    EXPECT_EQ(parsed.said, "行1: 地址解析失败\n行1: 校验和解析失败\n");
}

TEST(SrecReader, DataWithoutADigitGivesTwoMessagesAndEndsTheReading) {
    const auto parsed = parse(kAt1000 + "S1052000AAZZ75\n" + kAt3000);
    EXPECT_THAT(parsed.blocks, ElementsAre(block(0x1000, kData)));
    EXPECT_EQ(parsed.said, "行2: 数据解析失败\n行2: 校验和解析失败\n");
}

TEST(SrecReader, ACountBelowTheAddressWrapsAndEndsInADataFailure) {
    EXPECT_EQ(parse("S1021000\n").said, "行1: 数据解析失败\n行1: 校验和解析失败\n");
    EXPECT_EQ(parse("S30180001000\n").said, "行1: 数据解析失败\n行1: 校验和解析失败\n");
    EXPECT_EQ(parse("S1001000AABB\n").said, "行1: 数据解析失败\n行1: 校验和解析失败\n");
}

TEST(SrecReader, ACountThatWrapsIsARecordIfTheLineIsLongEnough) {
    // Count 2 less 2 address bytes less 1 is 255 data bytes. 02 + 10 and 255 zeros sum to 12.
    const auto parsed = parse("S1021000" + std::string(510, '0') + "ED\n");
    EXPECT_THAT(parsed.blocks, ElementsAre(block(0x1000, Bytes(255))));
    EXPECT_EQ(parsed.said, "");
}

TEST(SrecReader, ACountWithoutADigitIsZero) {
    // Count 0: 253 data bytes, which the line doesn't hold.
    EXPECT_EQ(parse("S1ZZ1000AABB85\n").said, "行1: 数据解析失败\n行1: 校验和解析失败\n");
}

TEST(SrecReader, FieldsOfOneDigitCount) {
    // "5G" is 5, "1G" is 1, "AG" is 0x0A: 05 + 01 + 00 + 0A + BB = CB, complement 34.
    const auto parsed = parse("S15G1G00AGBB34\n");
    EXPECT_THAT(parsed.blocks, ElementsAre(block(0x0100, {0x0A, 0xBB})));
    EXPECT_EQ(parsed.said, "");
}

TEST(SrecReader, WhiteSpaceAheadOfAFieldIsSkippedAndNotCountedSoDigitsAreReadTwice) {
    // At index 8 stands " A", scanned as "AB" over the next field; at index 10 stands "BB".
    // 05 + 10 + 00 + AB + BB = 17B, complement 84.
    const auto parsed = parse("S1051000 ABB84\n");
    EXPECT_EQ(parsed.said, "");
    EXPECT_THAT(parsed.blocks, ElementsAre(block(0x1000, {0xAB, 0xBB})));
}

TEST(SrecReader, AZeroByteIsNoDigit) {
    const auto parsed = parse(std::string("S1051000AA\0B85\n", 15));
    EXPECT_THAT(parsed.blocks, IsEmpty());
    EXPECT_EQ(parsed.said, "行1: 数据解析失败\n行1: 校验和解析失败\n");
}

TEST(SrecReader, ACarriageReturnIsNoPartOfTheLine) {
    EXPECT_THAT(parse("S1051000AABB85\r\n").blocks, ElementsAre(block(0x1000, kData)));
    EXPECT_EQ(parse("S1051000AABB8\r\n").said, "行1: 数据不足，无法解析\n");
}

TEST(SrecReader, AChecksumOfOneDigitAtTheEndOfTheLineIsRead) {
    // A blank ahead of the last field leaves it one digit: 05 + 10 + 00 + AA + 38 = F7, complement 08.
    EXPECT_THAT(parse("S1051000AA38 8\n").blocks, ElementsAre(block(0x1000, {0xAA, 0x38})));
}
