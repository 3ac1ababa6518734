#include "xcp/XcpDaq.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

namespace {

using daq_test::text;
using daq_test::variable;

constexpr std::uint8_t kAbsolute = 0x00;
constexpr std::uint8_t kRelativeByte = 0x40;
constexpr std::uint8_t kRelativeWord = 0x80;
constexpr std::uint8_t kAligned = 0xC0;

/// Packs one list: 8-byte frames, absolute ODT numbers and no ODT limit unless a test says otherwise.
class XcpDaqPack : public daq_test::PackTest<XCP_MOUDLE::XcpDaq> {
protected:
    std::string packs(std::vector<mcMeasureVariable> variables, std::uint8_t budget = 0,
                      std::uint8_t odtLimit = 0, bool unlimited = false) {
        return packsWithin(std::move(variables), unlimited, budget, odtLimit);
    }
};

using XcpDaqPackMode0 = daq_test::PackModeTest<XcpDaqPack, 0>;
using XcpDaqPackMode1 = daq_test::PackModeTest<XcpDaqPack, 1>;
using XcpDaqPackMode2 = daq_test::PackModeTest<XcpDaqPack, 2>;

TEST_F(XcpDaqPackMode0, AVariableThatDoesNotFitTheRestClosesTheOdt) {
    EXPECT_EQ(packs({variable("a", 4), variable("b", 2), variable("c", 4)}), "a@0:4 b@4:2 | c@0:4");
    EXPECT_EQ(names(), "a b c");
    EXPECT_EQ(left(), "");
}

TEST_F(XcpDaqPackMode0, NoLaterVariableIsTriedInItsPlace) {
    EXPECT_EQ(packs({variable("a", 4), variable("b", 4), variable("c", 2)}), "a@0:4 | b@0:4 c@4:2");
}

TEST_F(XcpDaqPackMode0, AVariableThatWouldExactlyFillAnEmptyOdtIsSkipped) {
    EXPECT_EQ(packs({variable("full", 7), variable("six", 6)}), "six@0:6");
    EXPECT_EQ(left(), "full:7");
    EXPECT_EQ(names(), "six");
}

TEST_F(XcpDaqPackMode0, ManySmallOnesMayFillAnOdtExactly) {
    EXPECT_EQ(packs({variable("a", 4), variable("b", 3), variable("c", 1)}), "a@0:4 b@4:3 | c@0:1");
}

TEST_F(XcpDaqPackMode0, SkippedVariablesComeBackAtTheEnd) {
    EXPECT_EQ(packs({variable("x", 8), variable("a", 1), variable("y", 7), variable("b", 2)}), "a@0:1 b@1:2");
    EXPECT_EQ(left(), "x:8 y:7");
}

TEST_F(XcpDaqPackMode0, ASpentBudgetSkipsTheRestInItsOrder) {
    EXPECT_EQ(packs({variable("x", 9), variable("a", 4), variable("b", 4), variable("c", 2)}, 1), "a@0:4");
    EXPECT_EQ(left(), "x:9 b:4 c:2");
}

TEST_F(XcpDaqPackMode0, AVariableTooLargeForTheFirstOdtAloneIsSkippedThere) {
    // A timestamp of 4 bytes leaves 3 bytes in the first ODT and 7 in the later ones.
    m_daq.m_daqListMode = 0x10;
    m_daq.m_timestampMode = 4;
    EXPECT_EQ(packs({variable("a", 4), variable("b", 2), variable("c", 2), variable("d", 4)}),
              "b@0:2 | c@0:2 d@2:4");
    EXPECT_EQ(left(), "a:4");
}

TEST_F(XcpDaqPackMode0, NothingFitsIfAllAreTooLargeForTheFirstOdt) {
    m_daq.m_daqListMode = 0x10;
    m_daq.m_timestampMode = 4;
    EXPECT_EQ(packs({variable("a", 4), variable("b", 3)}), "");
    EXPECT_EQ(left(), "a:4 b:3");
}

TEST_F(XcpDaqPackMode0, AHeaderLargerThanTheFrameWrapsTheRoomInEightBits) {
    // The limit makes frames of 3 bytes, so the first ODT has 3 - 5 = 254 bytes of room.
    m_daq.m_daqListMode = 0x10;
    m_daq.m_timestampMode = 4;
    EXPECT_EQ(packs({variable("a", 254), variable("b", 253)}, 0, 2), "b@0:253");
    EXPECT_EQ(left(), "a:254");
}

TEST_F(XcpDaqPackMode0, ALargeVariableOfAnySizeIsSkipped) {
    EXPECT_EQ(packs({variable("a", 256), variable("b", 0xFFFFFFFF), variable("c", 6)}), "c@0:6");
    EXPECT_EQ(left(), "a:256 b:4294967295");
}

TEST_F(XcpDaqPackMode1, EveryByteIsAnEntry) {
    EXPECT_EQ(packs({variable("a", 4)}), "a@0:1 a#1@1:1 a#2@2:1 a#3@3:1");
    EXPECT_EQ(names(), "a");
    ASSERT_EQ(m_odts[0].entries.size(), 4U);
    EXPECT_EQ(m_odts[0].entries[0].address, 0x1000U);
    EXPECT_EQ(m_odts[0].entries[3].address, 0x1003U);
}

TEST_F(XcpDaqPackMode1, AVariableRunsOverTheEndOfAnOdt) {
    EXPECT_EQ(packs({variable("a", 6), variable("b", 2)}),
              "a@0:1 a#1@1:1 a#2@2:1 a#3@3:1 a#4@4:1 a#5@5:1 b@6:1 | b#1@0:1");
}

TEST_F(XcpDaqPackMode1, AVariableAboveTheCapacityOfTheListIsSkipped) {
    EXPECT_EQ(packs({variable("a", 8), variable("b", 1)}, 1), "b@0:1");
    EXPECT_EQ(left(), "a:8");
    EXPECT_EQ(packs({variable("a", 7)}, 1), "a@0:1 a#1@1:1 a#2@2:1 a#3@3:1 a#4@4:1 a#5@5:1 a#6@6:1");
}

TEST_F(XcpDaqPackMode1, TheOrdinalOfAPieceWrapsAfter256) {
    m_daq.m_maxDto = 64;
    packs({variable("a", 300)});
    ASSERT_EQ(m_odts.size(), 5U);
    EXPECT_EQ(m_odts[4].entries[3].fragment, 255);
    EXPECT_EQ(m_odts[4].entries[4].fragment, 0);
    EXPECT_EQ(m_odts[4].entries[4].address, 0x1100U);
    EXPECT_EQ(m_odts[4].size, 48);
}

TEST_F(XcpDaqPackMode1, WhatNoNumberOfOdtsCouldHoldIsSkippedAlsoWithoutABudget) {
    EXPECT_EQ(packs({variable("huge", 0xFFFFFFFF), variable("large", 65281), variable("b", 1)}), "b@0:1");
    EXPECT_EQ(left(), "huge:4294967295 large:65281");
    packs({variable("a", 65280)});
    EXPECT_EQ(left(), "");
}

TEST_F(XcpDaqPackMode2, PiecesFillEachOdt) {
    EXPECT_EQ(packs({variable("a", 4), variable("b", 10)}), "a@0:4 b@4:3 | b#1@0:7");
    EXPECT_EQ(names(), "a b");
    EXPECT_EQ(m_odts[0].entries[1].address, 0x1000U);
    EXPECT_EQ(m_odts[1].entries[0].address, 0x1003U);
    EXPECT_EQ(m_odts[0].size, 7);
    EXPECT_EQ(m_odts[1].size, 7);
}

TEST_F(XcpDaqPackMode2, TheFirstOdtIsMarked) {
    packs({variable("a", 15)});
    ASSERT_EQ(m_odts.size(), 3U);
    EXPECT_EQ(m_odts[0].isFirst, 1);
    EXPECT_EQ(m_odts[1].isFirst, 0);
    EXPECT_EQ(m_odts[2].isFirst, 0);
}

TEST_F(XcpDaqPackMode2, AnEntryCarriesTheFieldsOfItsVariable) {
    mcMeasureVariable a = variable("a", 2);
    a.type = 17;
    a.addressExtension = 3;
    a.address = 0xFFFFFFFF;
    packs({a});
    const DaqOdtEntry& made = m_odts[0].entries[0];
    EXPECT_EQ(made.type, 17);
    EXPECT_EQ(made.addressExtension, 3);
    EXPECT_EQ(made.address, 0xFFFFFFFFU);
    EXPECT_TRUE(made.data.empty());
}

TEST_F(XcpDaqPackMode2, AVariableAboveTheCapacityOfTheListIsSkippedAndTheNextOneTried) {
    EXPECT_EQ(packs({variable("a", 15), variable("b", 3)}, 2), "b@0:3");
    EXPECT_EQ(left(), "a:15");
    EXPECT_EQ(names(), "b");
}

TEST_F(XcpDaqPackMode2, AVariableOfExactlyTheCapacityFillsTheList) {
    EXPECT_EQ(packs({variable("a", 14), variable("b", 1)}, 2), "a@0:7 | a#1@0:7");
    EXPECT_EQ(left(), "b:1");
}

TEST_F(XcpDaqPackMode2, TheCapacityCountsWhatIsLeftOfTheList) {
    // 3 + 7 bytes are left behind a; b needs 11, c fits, d finds 1 + 0.
    EXPECT_EQ(
        packs({variable("a", 4), variable("b", 11), variable("c", 9), variable("d", 2), variable("e", 1)}, 2),
        "a@0:4 c@4:3 | c#1@0:6 e@6:1");
    EXPECT_EQ(left(), "b:11 d:2");
    EXPECT_EQ(names(), "a c e");
}

TEST_F(XcpDaqPackMode2, TheFirstOdtsHeaderLessensTheCapacity) {
    m_daq.m_daqListMode = 0x08;
    EXPECT_EQ(packs({variable("a", 14), variable("b", 13)}, 2), "b@0:6 | b#1@0:7");
    EXPECT_EQ(left(), "a:14");
}

TEST_F(XcpDaqPackMode2, UnlimitedLiftsTheBudget) {
    EXPECT_EQ(packs({variable("a", 15)}, 1, 0, true), "a@0:7 | a#1@0:7 | a#2@0:1");
}

TEST_F(XcpDaqPackMode2, AVariableOfMoreThan255BytesIsNeverBegun) {
    m_daq.m_maxDto = 64;
    packs({variable("a", 256), variable("b", 255), variable("c", 300), variable("d", 0xFFFFFFFF)});
    EXPECT_EQ(names(), "b");
    EXPECT_EQ(left(), "a:256 c:300 d:4294967295");
    EXPECT_EQ(text(m_odts), "b@0:63 | b#1@0:63 | b#2@0:63 | b#3@0:63 | b#4@0:3");
}

TEST_F(XcpDaqPack, AVariableWithoutBytesIsAnEntryWithoutBytesInEveryMode) {
    for (const std::uint32_t mode : {0U, 1U, 2U}) {
        m_daq.m_packMode = mode;
        m_names.clear();
        EXPECT_EQ(packs({variable("none", 0), variable("b", 1)}), "none@0:0 b@0:1") << mode;
        EXPECT_EQ(names(), "none b") << mode;
    }
}

TEST_F(XcpDaqPack, OfNothingMakesNoOdt) {
    EXPECT_EQ(packs({}), "");
}

TEST_F(XcpDaqPack, APackModeAboveTwoPlacesNothingAndEnds) {
    for (const std::uint32_t mode : {3U, 0xFFFFFFFFU}) {
        m_daq.m_packMode = mode;
        EXPECT_EQ(packs({variable("a", 1), variable("b", 1)}), "") << mode;
        EXPECT_EQ(packs({variable("a", 1), variable("b", 1)}, 2), "") << mode;
        EXPECT_EQ(left(), "a:1 b:1");
    }
}

struct LimitRow {
    std::uint16_t maxDto;
    std::uint8_t odtLimit;
    std::size_t laterBytes;
};

TEST_F(XcpDaqPackMode2, TheOdtLimitCutsTheFrameIfTheFrameHoldsIt) {
    // With absolute ODT numbers; a limit that does not fit behind them counts as none.
    constexpr LimitRow kRows[] = {{8, 6, 6},  {8, 7, 7},    {8, 0, 7},    {8, 8, 7},   {8, 1, 1},
                                  {64, 6, 6}, {64, 63, 63}, {64, 64, 63}, {264, 0, 7}, {255, 254, 254}};
    for (const LimitRow& row : kRows) {
        m_daq.m_maxDto = row.maxDto;
        std::vector<mcMeasureVariable> bytes(600, variable("v", 1));
        packs(bytes, 0, row.odtLimit);
        ASSERT_GE(m_odts.size(), 2U);
        EXPECT_EQ(m_odts[0].entries.size(), row.laterBytes) << row.maxDto << " " << int{row.odtLimit};
        EXPECT_EQ(m_odts[1].entries.size(), row.laterBytes) << row.maxDto << " " << int{row.odtLimit};
    }
}

struct HeaderRow {
    std::uint8_t keyByte;
    std::uint8_t listMode;
    std::uint8_t timestampMode;
    std::uint8_t firstBytes;
    std::uint8_t laterBytes;
};

TEST_F(XcpDaqPackMode2, HeadersLessenTheRoomOfAnOdt) {
    // Frames of 16 bytes less identification field, counter (0x08) and timestamp (0x10) of the first ODT.
    constexpr HeaderRow kRows[] = {
        {kAbsolute, 0x00, 4, 15, 15},     {kAbsolute, 0x08, 4, 14, 15},     {kAbsolute, 0x10, 4, 11, 15},
        {kAbsolute, 0x18, 4, 10, 15},     {kRelativeByte, 0x00, 4, 14, 14}, {kRelativeByte, 0x08, 4, 13, 14},
        {kRelativeByte, 0x10, 2, 12, 14}, {kRelativeByte, 0x18, 2, 11, 14}, {kRelativeWord, 0x00, 4, 13, 13},
        {kRelativeWord, 0x08, 4, 12, 13}, {kRelativeWord, 0x10, 1, 12, 13}, {kRelativeWord, 0x18, 1, 11, 13},
        {kAligned, 0x00, 4, 12, 12},      {kAligned, 0x08, 4, 12, 12},      {kAligned, 0x10, 4, 8, 12},
        {kAligned, 0x18, 4, 8, 12},       {0x3F, 0xE7, 4, 15, 15},          {kAbsolute, 0x10, 0xF8, 15, 15},
        {kAbsolute, 0x10, 0x0C, 11, 15},
    };
    m_daq.m_maxDto = 16;
    for (const HeaderRow& row : kRows) {
        m_daq.m_keyByte = row.keyByte;
        m_daq.m_daqListMode = row.listMode;
        m_daq.m_timestampMode = row.timestampMode;
        packs({variable("a", 100)});
        EXPECT_EQ(m_odts[0].size, row.firstBytes) << testing::PrintToString(row.keyByte) << int{row.listMode};
        EXPECT_EQ(m_odts[1].size, row.laterBytes) << testing::PrintToString(row.keyByte) << int{row.listMode};
    }
}

TEST_F(XcpDaqPackMode2, AlignedNumbersInEightByteFramesLeaveFourBytes) {
    m_daq.m_keyByte = kAligned;
    EXPECT_EQ(packs({variable("a", 6)}), "a@0:4 | a#1@0:2");
}

TEST_F(XcpDaqPackMode2, ATimestampOfFourBytesLeavesThreeInTheFirstOdt) {
    m_daq.m_daqListMode = 0x10;
    m_daq.m_timestampMode = 0x04;
    EXPECT_EQ(packs({variable("a", 10), variable("b", 1)}), "a@0:3 | a#1@0:7 | b@0:1");
}

TEST_F(XcpDaqPackMode2, AHeaderAsLargeAsTheFrameEndsWithoutAnOdt) {
    m_daq.m_keyByte = kAligned;
    m_daq.m_maxDto = 4;
    EXPECT_EQ(packs({variable("a", 1), variable("b", 1)}), "");
    EXPECT_EQ(packs({variable("a", 1), variable("b", 1)}, 3), "");
    EXPECT_EQ(left(), "a:1 b:1");
}

TEST_F(XcpDaqPackMode2, AHeaderLargerThanTheFrameWrapsTheRoomInEightBits) {
    // The first ODT has 4 - 8 = 252 bytes of room, the later ones have none.
    m_daq.m_keyByte = kAligned;
    m_daq.m_daqListMode = 0x10;
    m_daq.m_timestampMode = 4;
    m_daq.m_maxDto = 4;
    EXPECT_EQ(packs({variable("a", 250), variable("b", 5), variable("c", 1)}), "a@0:250 b@250:2");
    EXPECT_EQ(left(), "b:3 c:1");
    EXPECT_EQ(m_variables[0].fragment, 1);
    EXPECT_EQ(names(), "a");
}

TEST_F(XcpDaqPackMode2, VariablesSkippedAheadOfAnOdtWithoutRoomGoBehindTheRest) {
    m_daq.m_keyByte = kAligned;
    m_daq.m_daqListMode = 0x10;
    m_daq.m_timestampMode = 4;
    m_daq.m_maxDto = 4;
    EXPECT_EQ(packs({variable("x", 256), variable("a", 252), variable("b", 5)}), "a@0:252");
    EXPECT_EQ(left(), "b:5 x:256");
}

}  // namespace
