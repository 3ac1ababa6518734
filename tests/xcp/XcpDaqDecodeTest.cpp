#include "xcp/XcpDaq.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

namespace {

using daq_test::entry;
using daq_test::frame;
using daq_test::odt;
using daq_test::text;

using XcpDaqDecodeDto = daq_test::DecodeTest<XCP_MOUDLE::XcpDaq>;

TEST_F(XcpDaqDecodeDto, ValuesComeOneCycleLateWithTheTimeOfTheirOwnCycle) {
    list(0, 4, {odt({entry("b", 0, 0, 2), entry("a", 0, 2, 1)})}, {"b", "a"});
    EXPECT_EQ(decodes(frame(100, {4, 1, 2, 3})), "");
    EXPECT_EQ(decodes(frame(200, {4, 5, 6, 7})), "a@100=3 b@100=1,2");
    EXPECT_EQ(decodes(frame(300, {4, 8, 9, 10})), "a@200=7 b@200=5,6");
}

TEST_F(XcpDaqDecodeDto, PiecesOfSeveralOdtsAreJoined) {
    list(0, 4, {odt({entry("a", 0, 0, 2)}), odt({entry("a", 1, 0, 2), entry("b", 0, 2, 1)})}, {"a", "b"});
    EXPECT_EQ(decodes(frame(100, {4, 1, 2})), "");
    EXPECT_EQ(decodes(frame(101, {5, 3, 4, 9})), "");
    EXPECT_EQ(decodes(frame(200, {4, 1, 2})), "a@100=1,2,3,4 b@100=9");
}

TEST_F(XcpDaqDecodeDto, ACycleWithAMissingFrameIsDroppedWithoutAMessage) {
    list(0, 4, {odt({entry("a", 0, 0, 1)}), odt({entry("b", 0, 0, 1)})}, {"a", "b"});
    decodes(frame(100, {4, 1}));
    EXPECT_EQ(decodes(frame(200, {4, 2})), "");
    decodes(frame(201, {5, 3}));
    EXPECT_EQ(decodes(frame(300, {4, 4})), "a@200=2 b@200=3");
}

TEST_F(XcpDaqDecodeDto, AMissingPieceShortensAValueIfAllNamesCame) {
    list(0, 4, {odt({entry("a", 0, 0, 1)}), odt({entry("a", 1, 0, 1)}), odt({entry("a", 2, 0, 1)})}, {"a"});
    decodes(frame(100, {4, 1}));
    decodes(frame(101, {6, 3}));
    EXPECT_EQ(decodes(frame(200, {4, 1})), "a@100=1,3");
}

TEST_F(XcpDaqDecodeDto, AFrameThatCameTwiceIsUsedOnce) {
    list(0, 4, {odt({entry("a", 0, 0, 1)}), odt({entry("a", 1, 0, 1)})}, {"a"});
    decodes(frame(100, {4, 1}));
    decodes(frame(101, {5, 2}));
    decodes(frame(102, {5, 7}));
    EXPECT_EQ(decodes(frame(200, {4, 1})), "a@100=1,2");
}

TEST_F(XcpDaqDecodeDto, TwoVariablesOfOneNameNeverYieldAValue) {
    list(0, 4, {odt({entry("a", 0, 0, 1), entry("a", 0, 1, 1)})}, {"a", "a"});
    for (std::uint64_t time = 100; time < 105; ++time) {
        EXPECT_EQ(decodes(frame(time, {4, 1, 2})), "");
    }
}

TEST_F(XcpDaqDecodeDto, AVariableOverTwoListsIsDeliveredInPartsIfTheFirstListFinishesAnother) {
    list(0, 4, {odt({entry("x", 0, 0, 1), entry("a", 0, 1, 1)})}, {"x"});
    list(1, 5, {odt({entry("a", 1, 0, 1)})}, {"a"});
    decodes(frame(100, {4, 1, 2}));
    decodes(frame(101, {5, 3}));
    EXPECT_EQ(decodes(frame(200, {4, 1, 2})), "a@101=2 x@101=1");
    EXPECT_EQ(decodes(frame(201, {5, 3})), "a@200=3");
}

TEST_F(XcpDaqDecodeDto, AVariableOverTwoListsLosesItsFirstBytesIfTheFirstListFinishesNone) {
    list(0, 4, {odt({entry("a", 0, 0, 1)})}, {});
    list(1, 5, {odt({entry("a", 1, 0, 1)})}, {"a"});
    decodes(frame(100, {4, 2}));
    decodes(frame(101, {5, 3}));
    EXPECT_EQ(decodes(frame(200, {4, 2})), "");
    EXPECT_EQ(decodes(frame(201, {5, 3})), "a@200=3");
}

TEST_F(XcpDaqDecodeDto, TwoListsShareTheTimeOfTheLastFirstOdt) {
    list(0, 4, {odt({entry("a", 0, 0, 1)})}, {"a"});
    list(1, 8, {odt({entry("b", 0, 0, 1)})}, {"b"});
    decodes(frame(100, {4, 1}));
    decodes(frame(150, {8, 2}));
    EXPECT_EQ(decodes(frame(200, {4, 1})), "a@150=1");
    EXPECT_EQ(decodes(frame(250, {8, 2})), "b@200=2");
}

TEST_F(XcpDaqDecodeDto, AnAbsoluteNumberOfNoListCountsAsOdtZeroOfListZero) {
    list(0, 4, {odt({entry("a", 0, 0, 1)}), odt({entry("b", 0, 0, 1)})}, {"a", "b"});
    EXPECT_EQ(decodes(frame(90, {99, 7})), "");
    ASSERT_EQ(m_daq.m_fragments[0].size(), 1U);
    EXPECT_EQ(text(m_daq.m_fragments[0][0]), "a@0:1");
    EXPECT_EQ(m_daq.m_fragments[0][0].data, std::vector<std::uint8_t>{7});
    EXPECT_EQ(m_daq.m_cycleStart, 0U);
    EXPECT_EQ(decodes(frame(100, {4, 1})), "") << "b is missing";
}

TEST_F(XcpDaqDecodeDto, WithAllFirstPidsAtZeroOnlyNumberZeroIsRecognised) {
    list(0, 0, {odt({entry("a", 0, 0, 1)}), odt({entry("b", 0, 0, 1)})}, {"a"});
    m_daq.m_daqLists[0].lastPid = 0;
    decodes(frame(100, {0, 1}));
    decodes(frame(101, {1, 5}));
    EXPECT_EQ(decodes(frame(200, {0, 2})), "a@100=1") << "number 1 came as a repeated ODT 0";
}

TEST_F(XcpDaqDecodeDto, TheLowestListWinsWhereRangesOverlap) {
    list(3, 4, {odt({entry("a", 0, 0, 1)})}, {"a"});
    list(7, 4, {odt({entry("b", 0, 0, 1)})}, {"b"});
    decodes(frame(100, {4, 1}));
    EXPECT_EQ(decodes(frame(200, {4, 1})), "a@100=1");
}

TEST_F(XcpDaqDecodeDto, AListWithoutOdtsAtNumberZeroMatchesEveryNumber) {
    list(0, 0, {}, {});
    list(1, 4, {odt({entry("a", 0, 0, 1)})}, {"a"});
    ASSERT_EQ(m_daq.m_daqLists[0].lastPid, 255);
    decodes(frame(100, {4, 1}));
    EXPECT_EQ(decodes(frame(200, {4, 1})), "");
}

struct IdFieldRow {
    std::uint8_t keyByte;
    std::initializer_list<int> firstOfList2;
    std::initializer_list<int> laterOfList2;
};

TEST_F(XcpDaqDecodeDto, RelativeNumbersNameTheirListLittleEndian) {
    const IdFieldRow kRows[] = {
        {0x40, {0, 2, 11, 12}, {1, 2, 13}},
        {0x80, {0, 2, 0, 11, 12}, {1, 2, 0, 13}},
        {0xC0, {0, 0xEE, 2, 0, 11, 12}, {1, 0xEE, 2, 0, 13}},
    };
    for (const IdFieldRow& row : kRows) {
        m_daq = {};
        m_daq.m_keyByte = row.keyByte;
        list(2, 77, {odt({entry("a", 0, 0, 2)}), odt({entry("b", 0, 0, 1)})}, {"a", "b"});
        decodes(frame(100, row.firstOfList2));
        decodes(frame(101, row.laterOfList2));
        EXPECT_EQ(decodes(frame(200, row.firstOfList2)), "a@100=11,12 b@100=13") << int{row.keyByte};
    }
}

TEST_F(XcpDaqDecodeDto, RelativeWordListNumbersHaveSixteenBits) {
    m_daq.m_keyByte = 0x80;
    list(0x0102, 0, {odt({entry("a", 0, 0, 1)})}, {"a"});
    decodes(frame(100, {0, 0x02, 0x01, 9}));
    EXPECT_EQ(decodes(frame(200, {0, 0x02, 0x01, 9})), "a@100=9");
    m_daq.m_keyByte = 0xC0;
    EXPECT_EQ(decodes(frame(300, {0, 0, 0x02, 0x01, 9})), "a@200=9");
}

TEST_F(XcpDaqDecodeDto, AnUnknownListYieldsNothingAndMakesItsEntry) {
    m_daq.m_keyByte = 0x40;
    EXPECT_EQ(decodes(frame(100, {0, 9, 1})), "");
    EXPECT_TRUE(m_daq.m_fragments.at(9).empty());
    EXPECT_EQ(m_daq.m_cycleStart, 100U);
}

TEST_F(XcpDaqDecodeDto, AnUnknownOdtOfAListYieldsNoPieces) {
    m_daq.m_keyByte = 0x40;
    list(0, 0, {odt({entry("a", 0, 0, 1)})}, {"a"});
    decodes(frame(100, {0, 0, 5}));
    decodes(frame(101, {1, 0, 6}));
    EXPECT_EQ(decodes(frame(200, {0, 0, 5})), "a@100=5");
}

TEST_F(XcpDaqDecodeDto, CounterAndTimestampOfTheFirstOdtAreSkipped) {
    m_daq.m_daqListMode = 0x18;
    m_daq.m_timestampMode = 0x0A;
    list(0, 4, {odt({entry("a", 0, 0, 1)}), odt({entry("b", 0, 0, 1)})}, {"a", "b"});
    decodes(frame(100, {4, 0xC0, 0x11, 0x22, 1}));
    decodes(frame(101, {5, 2}));
    EXPECT_EQ(decodes(frame(200, {4, 0xC1, 0x33, 0x44, 1})), "a@100=1 b@100=2");
}

TEST_F(XcpDaqDecodeDto, TheCounterOfAlignedNumbersStandsInTheSpareByte) {
    m_daq.m_keyByte = 0xC0;
    m_daq.m_daqListMode = 0x08;
    list(2, 0, {odt({entry("a", 0, 0, 1)})}, {"a"});
    decodes(frame(100, {0, 0x55, 2, 0, 7}));
    EXPECT_EQ(decodes(frame(200, {0, 0x56, 2, 0, 7})), "a@100=7");
}

TEST_F(XcpDaqDecodeDto, AnEntryBehindTheFramesLengthIsLeftOut) {
    list(0, 4, {odt({entry("a", 0, 0, 2), entry("b", 0, 2, 2)})}, {"a"});
    msgBuf shortFrame = frame(100, {4, 1, 2, 3, 4});
    shortFrame.length = 4;
    decodes(shortFrame);
    EXPECT_EQ(decodes(shortFrame), "a@100=1,2") << "of b only one byte is there";
}

TEST_F(XcpDaqDecodeDto, AFrameShorterThanItsHeaderWrapsAndYieldsZeros) {
    m_daq.m_keyByte = 0x80;
    list(0, 0, {odt({entry("a", 0, 0, 2), entry("b", 0, 250, 3)})}, {"a", "b"});
    EXPECT_EQ(decodes(frame(100, {0})), "");
    EXPECT_EQ(decodes(frame(200, {0})), "a@100=0,0 b@100=0,0,0");
}

TEST_F(XcpDaqDecodeDto, TheLongestHeaderOfAnEmptyFrameReadsZerosBehindTheRecord) {
    m_daq.m_keyByte = 0x80;
    m_daq.m_daqListMode = 0x18;
    m_daq.m_timestampMode = 7;
    list(0, 0, {odt({entry("a", 0, 50, 20)})}, {"a"});
    msgBuf empty = frame(100, {});
    empty.data[63] = 0xAB;
    empty.length = 0;
    decodes(empty);
    // The header is 3 + 1 + 7 bytes, so byte 63 stands 2 bytes into the entry.
    EXPECT_EQ(decodes(empty), "a@100=0,0,171,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0");
}

TEST_F(XcpDaqDecodeDto, ALengthAboveTheRecordReadsZerosBehindIt) {
    list(0, 4, {odt({entry("a", 0, 62, 3)})}, {"a"});
    msgBuf longFrame = frame(100, {4});
    longFrame.data[63] = 9;
    longFrame.length = 80;
    decodes(longFrame);
    EXPECT_EQ(decodes(longFrame), "a@100=9,0,0");
}

TEST_F(XcpDaqDecodeDto, AFrameOfSixtyFourBytesIsReadToItsEnd) {
    list(0, 4, {odt({entry("a", 0, 0, 62), entry("b", 0, 62, 1)})}, {"a", "b"});
    msgBuf full = frame(100, {4});
    full.data[63] = 0x5A;
    full.length = 64;
    decodes(full);
    const auto values = m_daq.decodeDto(full);
    ASSERT_EQ(values.size(), 2U);
    EXPECT_EQ(values[0].data, std::vector<std::uint8_t>(62));
    EXPECT_EQ(values[1].data, std::vector<std::uint8_t>{0x5A});
}

TEST_F(XcpDaqDecodeDto, APredefinedListUnderANumberOfItsOwnDeliversNothing) {
    m_daq.m_keyByte = 0x40;
    m_daq.m_daqLists[4] = {1, 0, 0, 0, {odt({entry("a", 0, 0, 1)})}, 1};
    m_daq.m_finishedNames[1][0] = {"a"};
    for (std::uint64_t time = 100; time < 104; ++time) {
        EXPECT_EQ(decodes(frame(time, {0, 4, 1})), "");
    }
}

TEST(XcpDaqDecodeOdtPayload, CutsTheEntriesThatTheLengthReaches) {
    XCP_MOUDLE::XcpDaq daq;
    daq.m_daqLists[2].odts = {odt({entry("a", 0, 0, 2), entry("b", 0, 2, 1), entry("c", 0, 3, 2)})};
    const std::uint8_t payload[] = {1, 2, 3, 4};
    const auto entries = daq.decodeOdtPayload(payload, 4, 2, 0);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].name, "a");
    EXPECT_EQ(entries[0].data, (std::vector<std::uint8_t>{1, 2}));
    EXPECT_EQ(entries[1].data, std::vector<std::uint8_t>{3});
    EXPECT_TRUE(daq.decodeOdtPayload(payload, 4, 2, 1).empty());
    EXPECT_TRUE(daq.decodeOdtPayload(payload, 4, 1, 0).empty());
}

TEST(XcpDaqDecodeOdtPayload, AnEntryWithoutBytesNeedsOnlyItsOffset) {
    XCP_MOUDLE::XcpDaq daq;
    daq.m_daqLists[0].odts = {odt({entry("a", 0, 4, 0), entry("b", 0, 5, 0)})};
    const std::uint8_t payload[] = {1, 2, 3, 4};
    const auto entries = daq.decodeOdtPayload(payload, 4, 0, 0);
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].name, "a");
}

}  // namespace
