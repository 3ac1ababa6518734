#include "memfile/IntelHexReader.h"

#include "tests/memfile/Blocks.h"

#include <sstream>
#include <stdexcept>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::list<mem_buf> parse(const std::string& text) {
    std::istringstream stream(text);
    return ParseHexStream(stream);
}

const std::string kDataAt1000 = ":02100000AABB89\n";
const Bytes kData{0xAA, 0xBB};

}  // namespace

TEST(IntelHexReader, ReadsADataRecord) {
    EXPECT_THAT(parse(kDataAt1000), ElementsAre(block(0x1000, kData)));
}

TEST(IntelHexReader, ReadsDigitsOfBothCases) {
    EXPECT_THAT(parse(":02abCd00AabB00\n"), ElementsAre(block(0xABCD, kData)));
}

TEST(IntelHexReader, JoinsRecordsThatFollowEachOther) {
    EXPECT_THAT(parse(kDataAt1000 + ":01100200CC21\n"), ElementsAre(block(0x1000, {0xAA, 0xBB, 0xCC})));
}

TEST(IntelHexReader, KeepsTheOrderOfTheFileAndOverlaps) {
    EXPECT_THAT(parse(":012000000100\n:011000000200\n:022000000304\n"),
                ElementsAre(block(0x2000, {1}), block(0x1000, {2}), block(0x2000, {3, 4})));
}

TEST(IntelHexReader, OnlyTheLastBlockIsContinued) {
    EXPECT_THAT(parse(":011000000100\n:012000000200\n:011001000300\n"),
                ElementsAre(block(0x1000, {1}), block(0x2000, {2}), block(0x1001, {3})));
}

TEST(IntelHexReader, AGapOfOneByteStartsABlock) {
    EXPECT_THAT(parse(":011000000100\n:011002000200\n"), ElementsAre(block(0x1000, {1}), block(0x1002, {2})));
}

TEST(IntelHexReader, LinearAddressesAreTheUpperHalf) {
    EXPECT_THAT(parse(":02000004800179\n" + kDataAt1000), ElementsAre(block(0x80011000, kData)));
}

TEST(IntelHexReader, SegmentAddressesCountInSixteens) {
    EXPECT_THAT(parse(":02000002F0000C\n" + kDataAt1000), ElementsAre(block(0xF1000, kData)));
}

TEST(IntelHexReader, TheLaterBaseOfEitherKindCounts) {
    EXPECT_THAT(parse(":0200000480017A\n:020000021000EC\n" + kDataAt1000),
                ElementsAre(block(0x11000, kData)));
    EXPECT_THAT(parse(":020000021000EC\n:0200000480017A\n" + kDataAt1000),
                ElementsAre(block(0x80011000, kData)));
}

TEST(IntelHexReader, ABaseThatCannotBeReadStays) {
    EXPECT_THAT(parse(":0200000480017A\n:02000004ZZ\n:02000002\tx\n:02000004\n" + kDataAt1000),
                ElementsAre(block(0x80011000, kData)));
}

TEST(IntelHexReader, ABaseRecordByItselfStartsNoBlock) {
    EXPECT_THAT(parse(":01FFFF000100\n:020000040001F9\n:010000000200\n"), ElementsAre(block(0xFFFF, {1, 2})));
}

TEST(IntelHexReader, ARecordThatPassesTheEndOfItsPageRunsOn) {
    EXPECT_THAT(parse(":02FFFF00010200\n:020000040001F9\n:010001000300\n"),
                ElementsAre(block(0xFFFF, {1, 2, 3})));
}

TEST(IntelHexReader, AddressesWrapIn32Bits) {
    EXPECT_THAT(parse(":02000004FFFFFC\n:01FFFF000100\n:020000040000FA\n:010000000200\n"),
                ElementsAre(block(0xFFFFFFFF, {1, 2})));
}

TEST(IntelHexReader, AnEndRecordEndsNothing) {
    EXPECT_THAT(parse(":00000001FF\n" + kDataAt1000), ElementsAre(block(0x1000, kData)));
}

TEST(IntelHexReader, OtherTypesAreIgnored) {
    EXPECT_THAT(parse(":0400000300001234B5\n:0400000500001234B3\n:02100006AABB83\n:021000FFAABB8A\n"),
                IsEmpty());
}

TEST(IntelHexReader, AWrongOrMissingChecksumDoesNotMatter) {
    EXPECT_THAT(parse(":02100000AABB00\n:02100200AABB\n"),
                ElementsAre(block(0x1000, {0xAA, 0xBB, 0xAA, 0xBB})));
}

TEST(IntelHexReader, LinesThatAreNoRecordsAreSkippedWithoutAWord) {
    const auto said = stderrOf([] {
        EXPECT_THAT(parse("\n\r\n; comment\nS1051000AABB85\n :02100000AABB89\n" + kDataAt1000),
                    ElementsAre(block(0x1000, kData)));
    });
    EXPECT_EQ(said, "");
}

TEST(IntelHexReader, AHeadFieldWithoutADigitSkipsTheLine) {
    EXPECT_THAT(parse(":ZZ100000AABB89\n:02ZZZZ00AABB89\n:021000ZZAABB89\n:-1100000AABB89\n:02-100000AABB\n"),
                IsEmpty());
}

TEST(IntelHexReader, HeadFieldsAreScannedInsideTheirColumns) {
    EXPECT_THAT(parse(": 1100000AA00\n"), ElementsAre(block(0x1000, {0xAA})));
    EXPECT_THAT(parse(":1G100000AA00\n"), ElementsAre(block(0x1000, {0xAA})));
    EXPECT_THAT(parse(":01  1200AA00\n"), ElementsAre(block(0x12, {0xAA})));
    EXPECT_THAT(parse(":010x1200AA00\n"), ElementsAre(block(0, {0xAA})));
    EXPECT_THAT(parse(":0112G400AA00\n"), ElementsAre(block(0x12, {0xAA})));
    EXPECT_THAT(parse(":011000 0AA00\n"), ElementsAre(block(0x1000, {0xAA})));
    EXPECT_THAT(parse(":0110000GAA00\n"), ElementsAre(block(0x1000, {0xAA})));
    EXPECT_THAT(parse(":  100000AA00\n"), IsEmpty());
}

TEST(IntelHexReader, DataEndsAtTheFirstFieldWithoutADigitAndWhatCameAheadIsKept) {
    EXPECT_THAT(parse(":04100000AAZZBBCC00\n"), ElementsAre(block(0x1000, {0xAA})));
    EXPECT_THAT(parse(":04100000AA\n"), ElementsAre(block(0x1000, {0xAA})));
    EXPECT_THAT(parse(":04100000ZZ\n"), ElementsAre(block(0x1000, {})));
}

TEST(IntelHexReader, DataFieldsAreScannedOneByOne) {
    EXPECT_THAT(parse(":051000001G 2A30xBB00\n"), ElementsAre(block(0x1000, {0x01, 0x02, 0xA3, 0x00, 0xBB})));
}

TEST(IntelHexReader, ACountAboveTheTextTakesTheChecksumAsData) {
    EXPECT_THAT(parse(":10100000AABB89\n"), ElementsAre(block(0x1000, {0xAA, 0xBB, 0x89})));
}

TEST(IntelHexReader, ARecordWithoutDataAddsABlockWithoutBytes) {
    EXPECT_THAT(parse(":00100000F0\n"), ElementsAre(block(0x1000, {})));
    EXPECT_THAT(parse(kDataAt1000 + ":00100200EE\n"), ElementsAre(block(0x1000, kData)));
}

TEST(IntelHexReader, TheLongestRecordHas255Bytes) {
    std::string line = ":FF000000";
    for (int i = 0; i < 256; ++i) {
        line += "5A";
    }
    EXPECT_THAT(parse(line), ElementsAre(block(0, Bytes(255, 0x5A))));
}

TEST(IntelHexReader, AZeroByteIsNoDigit) {
    EXPECT_THAT(parse(std::string(":02100000AA\0B89\n", 16)), ElementsAre(block(0x1000, {0xAA})));
    EXPECT_THAT(parse(std::string(":02100000AAB\0"
                                  "89\n",
                                  16)),
                ElementsAre(block(0x1000, {0xAA, 0x0B})));
}

TEST(IntelHexReader, AFieldThatStartsAtTheEndOfTheLineFailsAndOneBehindItThrows) {
    struct Row {
        const char* line;
        bool throws;
    };
    const Row rows[] = {
        {":", false},          {":1", true},         {":10", false},         {":100", true},
        {":1001", true},       {":10012", true},     {":100123", false},     {":1001230", true},
        {":10012300", false},  {":100123001", true}, {":1001230012", false}, {":00012300", false},
        {":0001230", false},   {":0000020", false},  {":02000002", false},   {":0200004", true},
        {":020000041", false}, {":Z", false},        {":1ZZ", false},
    };
    for (const Row& row : rows) {
        if (row.throws) {
            EXPECT_THROW(parse(row.line), std::out_of_range) << row.line;
        } else {
            EXPECT_NO_THROW(parse(row.line)) << row.line;
        }
    }
}

TEST(IntelHexReader, ACarriageReturnIsNoPartOfTheLine) {
    EXPECT_THAT(parse(":02100000AABB89\r\n:02100200\r\n"), ElementsAre(block(0x1000, kData)));
    EXPECT_THROW(parse(":1\r\n"), std::out_of_range);
}
