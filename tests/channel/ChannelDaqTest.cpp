// What DAQ commands keep of their answers, and what they do to the plan.
#include "tests/channel/ChannelTestSupport.h"

using namespace channel_test;

namespace {

class ChannelDaq : public ChannelTest {
protected:
    std::map<std::uint16_t, XcpDaqListCfg>& lists() { return object().m_cfg.xcp.daqListInfo; }

    /// Lets a command time out: from now on nothing goes out.
    void losesLink() {
        isSilent();
        ASSERT_EQ(xcpGetStatus(slave, bytes(), size()), kNoAnswer);
        ecu.clearSent();
    }
};

}  // namespace

TEST_F(ChannelDaq, ListInfoIsKept) {
    ecu.answers("d8 ..", {"ff 05 03 07 34 12"});
    EXPECT_EQ(xcpGetDaqListInfo(slave, 0x102, bytes(), size()), kSuccess);
    const XcpDaqListCfg& list = lists().at(0x102);
    EXPECT_EQ(list.listNumber, 0x102U);
    EXPECT_EQ(list.properties, 5U);
    EXPECT_EQ(list.maxOdt, 3U);
    EXPECT_EQ(list.maxOdtEntries, 7U);
    EXPECT_EQ(list.event, 0x1234U);
    EXPECT_EQ(list.fixedEvent, 255U);
}

TEST_F(ChannelDaq, ListInfoTwiceOnOneListLeavesOneEntry) {
    ecu.answersInTurn("d8 ..", {{"ff 05 03 07 34 12"}, {"ff 06 04 08 35 12"}});
    xcpGetDaqListInfo(slave, 2, bytes(), size());
    xcpGetDaqListInfo(slave, 2, bytes(), size());
    ASSERT_EQ(lists().size(), 1U);
    EXPECT_EQ(lists().at(2).properties, 6U);
    EXPECT_EQ(lists().at(2).maxOdt, 4U);
}

TEST_F(ChannelDaq, ListInfoLeavesWhatItDoesNotTell) {
    XcpDaqListCfg& known = lists()[2];
    known.firstPid = 0x1C;
    known.mode = 0x12;
    known.prescaler = 5;
    known.priority = 6;
    known.fixedEvent = 7;
    ecu.answers("d8 ..", {"ff 05 03 07 34 12"});
    EXPECT_EQ(xcpGetDaqListInfo(slave, 2, bytes(), size()), kSuccess);
    EXPECT_EQ(lists().at(2).maxOdt, 3U);
    EXPECT_EQ(lists().at(2).firstPid, 0x1CU);
    EXPECT_EQ(lists().at(2).mode, 0x12U);
    EXPECT_EQ(lists().at(2).prescaler, 5U);
    EXPECT_EQ(lists().at(2).priority, 6U);
    EXPECT_EQ(lists().at(2).fixedEvent, 7U);
}

// The event of an answer is never swapped, the list number of the request is.
TEST_F(ChannelDaq, FixedEventOfListInfoIsReadLittleEndianFromABigEndianEcu) {
    proto.byteOrder = 1;
    startsAnew();
    ecu.answers("d8 00 01 02", {"ff 00 00 00 34 12"});
    EXPECT_EQ(xcpGetDaqListInfo(slave, 0x102, bytes(), size()), kSuccess);
    EXPECT_EQ(lists().at(0x102).event, 0x1234U);
}

TEST_F(ChannelDaq, RefusedListInfoKeepsNothing) {
    ecu.answers("d8 ..", {"fe 22"});
    EXPECT_EQ(xcpGetDaqListInfo(slave, 2, bytes(), size()), 0x22U);
    EXPECT_TRUE(lists().empty());
}

TEST_F(ChannelDaq, ShortListInfoReadsZeros) {
    ecu.answers("d8 ..", {"ff 05"});
    EXPECT_EQ(xcpGetDaqListInfo(slave, 2, bytes(), size()), kSuccess);
    EXPECT_EQ(lists().at(2).properties, 5U);
    EXPECT_EQ(lists().at(2).maxOdt, 0U);
    EXPECT_EQ(lists().at(2).event, 0U);
}

TEST_F(ChannelDaq, ListModeIsKept) {
    ecu.answers("df ..", {"ff 12 00 00 34 12 05 06"});
    EXPECT_EQ(xcpGetDaqListMode(slave, 2, bytes(), size()), kSuccess);
    const XcpDaqListCfg& list = lists().at(2);
    EXPECT_EQ(list.listNumber, 2U);
    EXPECT_EQ(list.mode, 0x12U);
    EXPECT_EQ(list.event, 0x1234U);
    EXPECT_EQ(list.prescaler, 5U);
    EXPECT_EQ(list.priority, 6U);
}

// Direction, counter, timestamp and PID off are the list's mode; selected, running and resume are its state.
TEST_F(ChannelDaq, ListModeKeepsFourBitsOfTheAnswerAndTheOthersOfWhatWasThere) {
    lists()[2].mode = 0x00;
    ecu.answers("df ..", {"ff ff 00 00 00 00 00 00"});
    xcpGetDaqListMode(slave, 2, bytes(), size());
    EXPECT_EQ(lists().at(2).mode, 0x3AU);
    lists()[2].mode = 0xFF;
    ecu.answers("df ..", {"ff 00 00 00 00 00 00 00"});
    xcpGetDaqListMode(slave, 2, bytes(), size());
    EXPECT_EQ(lists().at(2).mode, 0xC5U);
}

TEST_F(ChannelDaq, EventOfListModeIsReadLittleEndianFromABigEndianEcu) {
    proto.byteOrder = 1;
    startsAnew();
    ecu.answers("df 00 01 02", {"ff 00 00 00 34 12 00 00"});
    EXPECT_EQ(xcpGetDaqListMode(slave, 0x102, bytes(), size()), kSuccess);
    EXPECT_EQ(lists().at(0x102).event, 0x1234U);
}

TEST_F(ChannelDaq, ListModeAndListInfoShareTheirEntry) {
    ecu.answers("d8 ..", {"ff 05 03 07 34 12"});
    ecu.answers("df ..", {"ff 10 00 00 78 56 05 06"});
    xcpGetDaqListInfo(slave, 2, bytes(), size());
    xcpGetDaqListMode(slave, 2, bytes(), size());
    ASSERT_EQ(lists().size(), 1U);
    EXPECT_EQ(lists().at(2).properties, 5U);
    EXPECT_EQ(lists().at(2).maxOdt, 3U);
    EXPECT_EQ(lists().at(2).event, 0x5678U);
}

TEST_F(ChannelDaq, RefusedListModeKeepsNothing) {
    ecu.answers("df ..", {"fe 22"});
    EXPECT_EQ(xcpGetDaqListMode(slave, 2, bytes(), size()), 0x22U);
    EXPECT_TRUE(lists().empty());
}

TEST_F(ChannelDaq, StartOfAListKeepsItsFirstPid) {
    ecu.answers("de ..", {"ff 1c"});
    EXPECT_EQ(xcpStartStopDaqList(slave, 2, 3, bytes(), size()), kSuccess);
    EXPECT_EQ(lists().at(3).firstPid, 0x1CU);
}

TEST_F(ChannelDaq, FreeAndClearForgetThePlan) {
    object().m_daq.m_daqLists[1];
    EXPECT_EQ(xcpFreeDaqLists(slave, bytes(), size()), kSuccess);
    EXPECT_TRUE(object().m_daq.m_daqLists.empty());
    object().m_daq.m_daqLists[1];
    EXPECT_EQ(xcpClearDaqList(slave, 1, bytes(), size()), kSuccess);
    EXPECT_TRUE(object().m_daq.m_daqLists.empty());
}

TEST_F(ChannelDaq, PlanIsForgottenAheadOfTheCommandsThatTakeItsListsAway) {
    const std::vector<std::pair<const char*, std::function<void()>>> rows = {
        {"snd d6", [this] { xcpFreeDaqLists(slave, bytes(), size()); }},
        {"snd e3 00 01 00", [this] { xcpClearDaqList(slave, 1, bytes(), size()); }},
    };
    for (const auto& [frame, command] : rows) {
        SCOPED_TRACE(frame);
        std::vector<std::size_t> plannedAtSend;
        host.onEvent([&, sending = frame](const std::string& entry) {
            if (entry == sending) {
                plannedAtSend.push_back(object().m_daq.m_daqLists.size());
            }
        });
        object().m_daq.m_daqLists[1];
        command();
        EXPECT_EQ(plannedAtSend, std::vector<std::size_t>{0});
    }
}

TEST_F(ChannelDaq, PlanIsForgottenAlsoWhenTheEcuRefuses) {
    ecu.answersByDefault({"fe 22"});
    object().m_daq.m_daqLists[1];
    EXPECT_EQ(xcpFreeDaqLists(slave, bytes(), size()), 0x22U);
    EXPECT_TRUE(object().m_daq.m_daqLists.empty());
    object().m_daq.m_daqLists[1];
    EXPECT_EQ(xcpClearDaqList(slave, 1, bytes(), size()), 0x22U);
    EXPECT_TRUE(object().m_daq.m_daqLists.empty());
}

TEST_F(ChannelDaq, PlanIsForgottenAlsoOnALostLink) {
    losesLink();
    object().m_daq.m_daqLists[1];
    EXPECT_EQ(xcpFreeDaqLists(slave, bytes(), size()), kNoAnswer);
    EXPECT_TRUE(object().m_daq.m_daqLists.empty());
    object().m_daq.m_daqLists[1];
    EXPECT_EQ(xcpClearDaqList(slave, 1, bytes(), size()), kNoAnswer);
    EXPECT_TRUE(object().m_daq.m_daqLists.empty());
    EXPECT_EQ(sent(), Texts{});
}

TEST_F(ChannelDaq, StartAndStopTellThePlannerWhatIsKnown) {
    lists()[5].firstPid = 7;
    EXPECT_EQ(xcpStartStopDaqList(slave, 2, 6, bytes(), size()), kSuccess);
    EXPECT_EQ(object().m_daq.m_listInfo.at(5).firstPid, 7U);
    lists()[8].firstPid = 9;
    EXPECT_EQ(xcpStartStopSynch(slave, 1, bytes(), size()), kSuccess);
    EXPECT_EQ(object().m_daq.m_listInfo.at(8).firstPid, 9U);
}

TEST_F(ChannelDaq, StartAndStopTellThePlannerAlsoWhenTheEcuRefuses) {
    ecu.answersByDefault({"fe 22"});
    lists()[5].firstPid = 7;
    EXPECT_EQ(xcpStartStopDaqList(slave, 2, 6, bytes(), size()), 0x22U);
    EXPECT_EQ(object().m_daq.m_listInfo.at(5).firstPid, 7U);
    lists()[8].firstPid = 9;
    EXPECT_EQ(xcpStartStopSynch(slave, 1, bytes(), size()), 0x22U);
    EXPECT_EQ(object().m_daq.m_listInfo.at(8).firstPid, 9U);
}

TEST_F(ChannelDaq, StartAndStopTellThePlannerAlsoOnALostLink) {
    losesLink();
    lists()[5].firstPid = 7;
    EXPECT_EQ(xcpStartStopDaqList(slave, 2, 6, bytes(), size()), kNoAnswer);
    EXPECT_EQ(object().m_daq.m_listInfo.at(5).firstPid, 7U);
    lists()[8].firstPid = 9;
    EXPECT_EQ(xcpStartStopSynch(slave, 1, bytes(), size()), kNoAnswer);
    EXPECT_EQ(object().m_daq.m_listInfo.at(8).firstPid, 9U);
    EXPECT_EQ(sent(), Texts{});
}

// The answer to START_STOP_DAQ_LIST comes behind the telling.
TEST_F(ChannelDaq, PlannerLearnsAFirstPidWithTheNextStart) {
    ecu.answers("de ..", {"ff 1c"});
    xcpStartStopDaqList(slave, 2, 3, bytes(), size());
    EXPECT_FALSE(object().m_daq.m_listInfo.contains(3));
    xcpStartStopSynch(slave, 1, bytes(), size());
    EXPECT_EQ(object().m_daq.m_listInfo.at(3).firstPid, 0x1CU);
}

TEST_F(ChannelDaq, FactsOfTheEcuAreKept) {
    ecu.answers("da", {"ff 11 34 12 07 00 02 40"});
    ecu.answers("d9", {"ff 01 07 02 06 0a 34 12"});
    ecu.answers("dc", {"ff 00 01 02 78 56 34 12"});
    EXPECT_EQ(xcpGetDaqProcessorInfo(slave, bytes(), size()), kSuccess);
    EXPECT_EQ(xcpGetDaqResolutionInfo(slave, bytes(), size()), kSuccess);
    EXPECT_EQ(xcpGetDaqClock(slave, bytes(), size()), kSuccess);
    const XcpCfg& xcp = object().m_cfg.xcp;
    EXPECT_EQ(xcp.maxDaq, 0x1234U);
    EXPECT_EQ(xcp.minDaq, 2U);
    EXPECT_EQ(xcp.maxOdtEntrySizeDaq, 7U);
    EXPECT_EQ(xcp.timestampTicks, 0x1234U);
    EXPECT_EQ(xcp.clockTimestamp, 0x12345678U);
}
