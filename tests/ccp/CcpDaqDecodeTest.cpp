#include "ccp/CcpDaq.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

namespace {

using daq_test::entry;
using daq_test::frame;
using daq_test::odt;
using daq_test::text;

using CcpDaqDecodeDto = daq_test::DecodeTest<CCP_MOUDLE::CcpDaq>;

TEST_F(CcpDaqDecodeDto, ValuesComeOneCycleLateWithTheTimeOfTheirOwnCycle) {
    list(0, 4, {odt({entry("b", 0, 0, 2), entry("a", 0, 2, 1)})}, {"b", "a"});
    EXPECT_EQ(decodes(frame(100, {4, 1, 2, 3, 0, 0, 0, 0})), "");
    EXPECT_EQ(decodes(frame(200, {4, 5, 6, 7, 0, 0, 0, 0})), "a@100=3 b@100=1,2");
    EXPECT_EQ(decodes(frame(300, {4, 8, 9, 10, 0, 0, 0, 0})), "a@200=7 b@200=5,6");
}

TEST_F(CcpDaqDecodeDto, PiecesOfSeveralOdtsAreJoined) {
    list(0, 4, {odt({entry("a", 0, 0, 2)}), odt({entry("a", 1, 0, 2), entry("b", 0, 2, 1)})}, {"a", "b"});
    decodes(frame(100, {4, 1, 2}));
    decodes(frame(101, {5, 3, 4, 9}));
    EXPECT_EQ(decodes(frame(200, {4, 1, 2})), "a@100=1,2,3,4 b@100=9");
}

TEST_F(CcpDaqDecodeDto, AnIncompleteCycleIsDroppedWithoutAMessage) {
    list(0, 4, {odt({entry("a", 0, 0, 1)}), odt({entry("b", 0, 0, 1)})}, {"a", "b"});
    decodes(frame(100, {4, 1}));
    EXPECT_EQ(decodes(frame(200, {4, 2})), "");
    decodes(frame(201, {5, 3}));
    EXPECT_EQ(decodes(frame(300, {4, 4})), "a@200=2 b@200=3");
}

TEST_F(CcpDaqDecodeDto, TwoListsShareTheTimeOfTheLastFirstOdt) {
    list(0, 4, {odt({entry("a", 0, 0, 1)})}, {"a"});
    list(1, 8, {odt({entry("b", 0, 0, 1)})}, {"b"});
    decodes(frame(100, {4, 1}));
    decodes(frame(150, {8, 2}));
    EXPECT_EQ(decodes(frame(200, {4, 1})), "a@150=1");
    EXPECT_EQ(decodes(frame(250, {8, 2})), "b@200=2");
}

TEST_F(CcpDaqDecodeDto, APidOutsideEveryListIsFiledAsOdtZeroOfListZero) {
    list(0, 4, {odt({entry("a", 0, 0, 1)})}, {"a"});
    EXPECT_EQ(decodes(frame(90, {99, 7})), "");
    ASSERT_EQ(m_daq.m_fragments[0].size(), 1U);
    EXPECT_EQ(m_daq.m_fragments[0][0].data, std::vector<std::uint8_t>{7});
    EXPECT_EQ(m_daq.m_cycleStart, 0U);
    EXPECT_EQ(decodes(frame(100, {4, 1})), "a@0=7") << "before the first cycle the time is still 0";
}

TEST_F(CcpDaqDecodeDto, APidOutsideEveryListIsLostWithoutAListZero) {
    list(1, 4, {odt({entry("a", 0, 0, 1)})}, {"a"});
    EXPECT_EQ(decodes(frame(90, {99, 7})), "");
    EXPECT_TRUE(m_daq.m_fragments[0].empty());
}

TEST_F(CcpDaqDecodeDto, TheLowestListWinsWhereRangesOverlap) {
    list(3, 4, {odt({entry("a", 0, 0, 1)})}, {"a"});
    list(7, 4, {odt({entry("b", 0, 0, 1)})}, {"b"});
    decodes(frame(100, {4, 1}));
    EXPECT_EQ(decodes(frame(200, {4, 1})), "a@100=1");
}

TEST_F(CcpDaqDecodeDto, AListWhosePidsRunOver255IsNeverFound) {
    list(1, 250, std::vector<DaqOdtPlan>(7, odt({entry("a", 0, 0, 1)})), {"a"});
    ASSERT_EQ(m_daq.m_daqLists.at(1).lastPid, 0);
    for (int i = 0; i < 512; ++i) {
        EXPECT_EQ(decodes(frame(100, {i & 0xFF, 1})), "") << "PID " << (i & 0xFF);
    }
    EXPECT_TRUE(m_daq.m_fragments[1].empty());
    EXPECT_EQ(m_daq.m_cycleStart, 0U);
}

/// Each list puts together what is its own, so a variable that runs over the end of one comes in halves.
TEST_F(CcpDaqDecodeDto, AVariableOverTwoListsComesInHalves) {
    list(0, 4, {odt({entry("a", 0, 0, 1), entry("b", 0, 1, 2)})}, {"a"});
    list(1, 8, {odt({entry("b", 1, 0, 2)})}, {"b"});
    decodes(frame(100, {4, 1, 2, 3}));
    decodes(frame(101, {8, 4, 5}));
    EXPECT_EQ(decodes(frame(200, {4, 1, 2, 3})), "a@101=1 b@101=2,3");
    EXPECT_EQ(decodes(frame(201, {8, 4, 5})), "b@200=4,5");
}

TEST_F(CcpDaqDecodeDto, AListInWhichNoVariableEndsYieldsNothing) {
    list(0, 4, {odt({entry("a", 0, 0, 2)})}, {});
    list(1, 8, {odt({entry("a", 1, 0, 2)})}, {"a"});
    decodes(frame(100, {4, 1, 2}));
    decodes(frame(101, {8, 3, 4}));
    EXPECT_EQ(decodes(frame(200, {4, 1, 2})), "");
    EXPECT_EQ(decodes(frame(201, {8, 3, 4})), "a@200=3,4");
}

TEST_F(CcpDaqDecodeDto, AShortFrameYieldsWhatTheRecordHoldsThere) {
    list(0, 4, {odt({entry("a", 0, 0, 1), entry("b", 0, 1, 2)})}, {"a", "b"});
    msgBuf shortFrame = frame(100, {4, 1, 2, 3});
    shortFrame.length = 1;
    decodes(shortFrame);
    EXPECT_EQ(decodes(shortFrame), "a@100=1 b@100=2,3");
    EXPECT_EQ(decodes(frame(300, {4})), "a@100=1 b@100=2,3");
    EXPECT_EQ(decodes(frame(400, {4})), "a@300=0 b@300=0,0");
}

TEST_F(CcpDaqDecodeDto, AnEntryBehindTheRecordReadsZeros) {
    list(0, 4, {odt({entry("a", 0, 62, 3), entry("b", 0, 250, 2)})}, {"a", "b"});
    msgBuf full = frame(100, {4});
    full.data[63] = 9;
    full.length = 64;
    decodes(full);
    EXPECT_EQ(decodes(full), "a@100=9,0,0 b@100=0,0");
}

TEST(CcpDaqExtractOdt, YieldsTheEntriesWithTheirBytes) {
    CCP_MOUDLE::CcpDaq daq;
    daq.m_daqLists[2].odts = {odt({}), odt({entry("a", 1, 0, 2), entry("b", 0, 2, 1)})};
    const std::array<std::uint8_t, 63> payload{1, 2, 3};
    const auto entries = daq.extractOdt(payload.data(), 2, 1);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(text(entries[0]), "a#1@0:2");
    EXPECT_EQ(entries[0].data, (std::vector<std::uint8_t>{1, 2}));
    EXPECT_EQ(entries[1].data, std::vector<std::uint8_t>{3});
    EXPECT_TRUE(daq.extractOdt(payload.data(), 2, 0).empty());
    EXPECT_TRUE(daq.extractOdt(payload.data(), 2, 2).empty());
    EXPECT_TRUE(daq.extractOdt(payload.data(), 3, 0).empty());
}

}  // namespace
