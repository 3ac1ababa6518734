// From variables to a running measurement and back.
#include "tests/xcp/XcpTestSupport.h"
#include "transport/StopFlag.h"

using namespace xcp_test;

namespace {

/// Two variables of 4 bytes in ODTs of 6: the second one runs over into a second ODT.
class XcpMeasurement : public XcpTest {
protected:
    XcpMeasurement() { cfg.xcp.daqProperties = 1; }
    void TearDown() override { stopFlag().setStopTransmit(false); }

    std::uint32_t prepares() { return task().prepareMeasurement(variables); }
    std::uint32_t starts() {
        EXPECT_EQ(prepares(), 0U);
        ecu.clearSent();
        return task().startMeasurement();
    }
    void hasModeAndClock() {
        supports("e0 dc");
        cfg.xcp.daqListMode = 0;
        cfg.xcp.daqListPrescaler = 2;
        cfg.xcp.events[5].maxDaqList = 1;
        cfg.xcp.events[5].priority = 9;
    }

    std::vector<mcMeasureVariable> variables = {variable("a", 0x1000, 4, 5), variable("b", 0x2000, 4, 5)};
};

using XcpPrepare = XcpMeasurement;
using XcpStart = XcpMeasurement;

}  // namespace

TEST_F(XcpPrepare, SendsNothingWithoutSupportedCommands) {
    EXPECT_EQ(prepares(), 0U);
    EXPECT_TRUE(sent().empty());
    ASSERT_EQ(task().m_daq.m_daqLists.size(), 1U);
    EXPECT_EQ(task().m_daq.m_daqLists[0].odts.size(), 2U);
}

TEST_F(XcpPrepare, AsksForFactsInOrder) {
    supports("da d9 d7");
    ecu.answers("da", {"ff 01 04 00 03 00 00 00"});
    ecu.answers("d9", {"ff 01 06 01 06 00 00 00"});
    ecu.answers("d7 ..", {"ff 00 01 00 0a 06 03"});
    ecu.answers("d7 00 01 00", {"fe 22"});
    EXPECT_EQ(prepares(), 0U);
    EXPECT_EQ(sent(), Texts({"da", "d9", "d7 00 00 00", "d7 00 01 00", "d7 00 02 00"}));
    EXPECT_EQ(live().maxDaq, 4);
    EXPECT_EQ(live().events.count(0), 1U);
    EXPECT_EQ(live().events.count(1), 0U);
    EXPECT_EQ(live().events[2].timeCycle, 10);
}

// The number of an event has 8 bits in the command function; the count that the ECU tells has 16.
TEST_F(XcpPrepare, EventsAbove255AreAskedForUnderTheirLowEightBits) {
    supports("d7");
    cfg.xcp.maxEventChannel = 258;
    EXPECT_EQ(prepares(), 0U);
    const Texts frames = sent();
    ASSERT_EQ(frames.size(), 258U);
    EXPECT_EQ(Texts(frames.end() - 3, frames.end()), Texts({"d7 00 ff 00", "d7 00 00 00", "d7 00 01 00"}));
    EXPECT_EQ(live().events.size(), 256U);
}

TEST_F(XcpPrepare, RefusedFactsHaveTheirCodesAndAnEmptyPlan) {
    supports("da d9");
    EXPECT_EQ(prepares(), 0U);
    ecu.answersOnce("da", {"fe 20"});
    EXPECT_EQ(prepares(), 16U);
    EXPECT_TRUE(task().m_daq.m_daqLists.empty());
    ecu.answersOnce("d9", {"fe 20"});
    EXPECT_EQ(prepares(), 17U);
}

TEST_F(XcpPrepare, WithEveryVariableRefusedThePlanIsEmpty) {
    EXPECT_EQ(prepares(), 0U);
    variables = {variable("a", 0x1000, 0)};
    EXPECT_EQ(prepares(), 18U);
    EXPECT_TRUE(task().m_daq.m_daqLists.empty());
    variables = {};
    EXPECT_EQ(prepares(), 18U);
    EXPECT_EQ(host.plans().size(), 1U);
}

TEST_F(XcpPrepare, ThatFailsShowsNoPlanAndLeavesTheTimetable) {
    supports("da d9");
    task().m_pollScheduler->assign({variable("before", 0x1000, 1, 0, 70)});
    ecu.answersOnce("da", {"fe 20"});
    EXPECT_EQ(prepares(), 16U);
    ecu.answersOnce("d9", {"fe 20"});
    EXPECT_EQ(prepares(), 17U);
    variables = {variable("none", 0x1000, 0)};
    EXPECT_EQ(prepares(), 18U);
    EXPECT_TRUE(host.plans().empty());
    ASSERT_EQ(task().m_pollScheduler->m_groups.size(), 1U);
    EXPECT_EQ(task().m_pollScheduler->m_groups.begin()->first, 70);
}

TEST_F(XcpPrepare, VariableOutsideEverySegmentIsWarnedOfAndPlanned) {
    cfg.dataSegments = {segment(0x1000, 3), segment(0x2000, 16)};
    EXPECT_EQ(prepares(), 0U);
    EXPECT_EQ(host.logTexts(3), Texts{"Ignore measure variable:a address out of memory segment range"});
    ASSERT_EQ(task().m_daq.m_daqLists.size(), 1U);
    EXPECT_EQ(task().m_daq.m_daqLists[0].odts.at(0).entries.at(0).name, "a");
    EXPECT_TRUE(task().m_pollScheduler->m_groups.empty());
}

TEST_F(XcpPrepare, ShowsThePlan) {
    EXPECT_EQ(prepares(), 0U);
    ASSERT_EQ(host.plans().size(), 1U);
    EXPECT_EQ(host.plans()[0].cfg.ecuName, "ecu");
    EXPECT_EQ(host.plans()[0].plan, (DaqFinishedNames{{5, {{0, {"a", "b"}}}}}));
    callBacks.daqInfoFun = nullptr;
    startsAnew();
    EXPECT_EQ(prepares(), 0U);
}

TEST_F(XcpPrepare, VariableWithAPeriodIsPolled) {
    variables[0].period = 50;
    EXPECT_EQ(prepares(), 0U);
    ASSERT_EQ(task().m_pollScheduler->m_groups.count(50), 1U);
    EXPECT_EQ(task().m_pollScheduler->m_groups[50].variables.front().name, "a");
    EXPECT_EQ(task().m_daq.m_daqLists[0].odts.size(), 1U);
}

TEST_F(XcpPrepare, PollPeriodPollsEverythingAndSendsNothing) {
    cfg.xcp.pollPeriodMs = 100;
    supports("da d9 d7 dc");
    EXPECT_EQ(prepares(), 0U);
    EXPECT_EQ(task().m_pollScheduler->m_groups.size(), 1U);
    EXPECT_EQ(task().m_pollScheduler->m_groups[100].variables.size(), 2U);
    EXPECT_EQ(task().startMeasurement(), 0U);
    task().stopMeasurement();
    EXPECT_TRUE(sent().empty());
    EXPECT_TRUE(host.plans().empty());
    EXPECT_TRUE(task().m_pollScheduler->m_groups.empty());
}

TEST_F(XcpPrepare, PollPeriodLeavesOutWhatIsRejected) {
    cfg.xcp.pollPeriodMs = 100;
    variables.insert(variables.begin(), variable("none", 0x1000, 0));
    EXPECT_EQ(prepares(), 0U);
    Texts polled;
    for (const mcMeasureVariable& one : task().m_pollScheduler->m_groups[100].variables) {
        polled.push_back(one.name);
    }
    EXPECT_EQ(polled, Texts({"a", "b"}));
    variables = {variable("none", 0x1000, 0)};
    EXPECT_EQ(prepares(), 18U);
}

TEST_F(XcpStart, DynamicListsAreAllocatedWrittenSelectedAndStarted) {
    hasModeAndClock();
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(sent(), Texts({"d6", "d5 00 01 00", "d4 00 00 00 02", "d3 00 00 00 00 02", "d3 00 00 00 01 01",
                             "e2 00 00 00 00 00", "e1 ff 04 00 00 10 00 00", "e1 ff 02 00 00 20 00 00",
                             "e2 00 00 00 01 00", "e1 ff 02 00 02 20 00 00", "e0 00 00 00 05 00 02 09",
                             "de 02 00 00", "dc", "dd 01"}));
}

TEST_F(XcpStart, DynamicListsOfABigEndianEcu) {
    hasModeAndClock();
    cfg.xcp.byteOrder = 1;
    variables[1].type = 3;
    variables[1].addressExtension = 7;
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(sent(), Texts({"d6", "d5 00 00 01", "d4 00 00 00 02", "d3 00 00 00 00 02", "d3 00 00 00 01 01",
                             "e2 00 00 00 00 00", "e1 ff 04 00 00 00 10 00", "e1 03 02 07 00 00 20 00",
                             "e2 00 00 00 01 00", "e1 03 02 07 00 00 20 02", "e0 00 00 00 00 05 02 09",
                             "de 02 00 00", "dc", "dd 01"}));
}

TEST_F(XcpStart, SeveralListsGoThroughEachStepInAscendingOrder) {
    cfg.xcp.maxDaq = 0;
    variables[1].event = 6;
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(sent(),
              Texts({"d6", "d5 00 02 00", "d4 00 00 00 01", "d4 00 01 00 01", "d3 00 00 00 00 01",
                     "d3 00 01 00 00 01", "e2 00 00 00 00 00", "e1 ff 04 00 00 10 00 00", "e2 00 01 00 00 00",
                     "e1 ff 04 00 00 20 00 00", "de 02 00 00", "de 02 01 00", "dd 01"}));
}

TEST_F(XcpStart, EcuIsGivenTenMillisecondsForEachListAndForTheStart) {
    cfg.xcp.maxDaq = 0;
    variables[1].event = 6;
    EXPECT_EQ(starts(), 0U);
    const auto end = std::chrono::steady_clock::now();
    EXPECT_TRUE(ecu.showed("de 02 00 00"));
    const std::vector<support::SentFrame> frames = ecu.sent();
    ASSERT_GE(frames.size(), 3U);
    const auto last = frames.end() - 1;
    for (const auto gap :
         {(last - 1)->moment - (last - 2)->moment, last->moment - (last - 1)->moment, end - last->moment}) {
        EXPECT_GE(gap, std::chrono::milliseconds(10));
    }
}

TEST_F(XcpStart, StaticListsAreClearedAndWritten) {
    cfg.xcp.daqProperties = 0;
    cfg.xcp.minDaq = 2;
    variables.pop_back();
    ecu.answers("de ..", {"ff 0a"});
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(sent(), Texts({"e3 00 00 00", "e3 00 01 00", "e2 00 00 00 00 00", "e1 ff 04 00 00 10 00 00",
                             "de 02 00 00", "dd 01"}));
    EXPECT_EQ(live().daqListInfo[0].firstPid, 10);
}

TEST_F(XcpStart, StaticListsOfABigEndianEcu) {
    cfg.xcp.daqProperties = 0;
    cfg.xcp.minDaq = 1;
    cfg.xcp.byteOrder = 1;
    supports("e0");
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(sent(), Texts({"e3 00 00 00", "e2 00 00 00 00 00", "e1 ff 04 00 00 00 10 00",
                             "e1 ff 02 00 00 00 20 00", "e2 00 00 00 01 00", "e1 ff 02 00 00 00 20 02",
                             "e0 00 00 00 00 05 00 00", "de 02 00 00", "dd 01"}));
}

TEST_F(XcpStart, StaticWithoutPredefinedListsClearsNone) {
    cfg.xcp.daqProperties = 0xFE;
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(ecu.count("e3 .."), 0U);
    EXPECT_EQ(ecu.count("d6"), 0U);
}

TEST_F(XcpStart, OneMinDaqOfABigEndianEcuClears256Lists) {
    supports("da");
    cfg.xcp.byteOrder = 1;
    ecu.answers("da", {"ff 00 00 00 00 00 01 00"});
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(ecu.count("e3 .."), 256U);
    EXPECT_TRUE(ecu.showed("e3 00 00 ff"));
}

TEST_F(XcpStart, FirstPidReachesThePlanOfBothKindsOfLists) {
    for (const std::uint8_t properties : std::vector<std::uint8_t>{0, 1}) {
        startsAnew();
        cfg.xcp.daqProperties = properties;
        ecu.answers("de ..", {"ff 0a"});
        EXPECT_EQ(starts(), 0U);
        EXPECT_EQ(task().m_daq.m_daqLists[0].firstPid, 10);
        EXPECT_EQ(task().m_daq.m_daqLists[0].lastPid, 11);
    }
}

// 7 bytes fit into no ODT of 6, so list 1 has none. Selected, it ends at its first PID; the start then counts
// its ODTs.
TEST_F(XcpStart, StaticListWithoutOdtsEndsAtItsFirstPidUntilItStarts) {
    supports("dc");
    cfg.xcp.daqProperties = 0;
    cfg.xcp.packMode = 0;
    cfg.xcp.maxDaq = 2;
    variables = {variable("large", 0x1000, 7, 5), variable("six", 0x2000, 6, 5)};
    ecu.answers("de ..", {"ff 0a"});
    std::uint8_t selected = 0;
    ecu.answersBy("dc", [&](const std::string&) {
        selected = task().m_daq.m_daqLists.at(1).lastPid;
        return Texts{"ff"};
    });
    EXPECT_EQ(starts(), 0U);
    EXPECT_TRUE(task().m_daq.m_daqLists.at(1).odts.empty());
    EXPECT_EQ(selected, 10);
    EXPECT_EQ(task().m_daq.m_daqLists.at(1).lastPid, 9);
}

TEST_F(XcpStart, RefusedSelectKeepsTheConfiguredFirstPid) {
    cfg.xcp.daqProperties = 0;
    cfg.xcp.daqListInfo[0].firstPid = 30;
    ecu.answers("de ..", {"fe 22"});
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(task().m_daq.m_daqLists[0].firstPid, 30);
    EXPECT_EQ(task().m_daq.m_daqLists[0].lastPid, 31);
}

TEST_F(XcpStart, RefusedWriteIsPolledUnderItsNameAndTheOthersGoOn) {
    hasModeAndClock();
    cfg.xcp.events[5].timeCycle = 20;
    cfg.xcp.events[5].timeUnit = 6;
    ecu.answers("e1 ff 02 00 00 20 00 00", {"fe 22"});
    EXPECT_EQ(starts(), 0U);
    EXPECT_TRUE(ecu.showed("e1 ff 02 00 00 20 00 00"));
    EXPECT_TRUE(ecu.showed("e1 ff 02 00 02 20 00 00"));
    ASSERT_EQ(task().m_pollScheduler->m_groups.count(20), 1U);
    const mcMeasureVariable& polled = task().m_pollScheduler->m_groups[20].variables.front();
    EXPECT_EQ(polled.name, "b");
    const AddressBlock block(polled);  // the variable's own fields are packed: no reference to them
    EXPECT_EQ(block.address, 0x2000U);
    EXPECT_EQ(block.size, 2U);
}

TEST_F(XcpStart, RefusedWriteOfAFastEventIsPolledEachSecond) {
    cfg.xcp.events[5].maxDaqList = 1;
    cfg.xcp.events[5].timeCycle = 10;
    cfg.xcp.events[5].timeUnit = 3;
    ecu.answers("e1 ..", {"fe 22"});
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(task().m_pollScheduler->m_groups[1000].variables.size(), 3U);
}

// 255 s are 0x3E418 ms.
TEST_F(XcpStart, RefusedWriteOfASlowEventHasTheLowSixteenBitsOfItsPeriod) {
    cfg.xcp.events[5].maxDaqList = 1;
    cfg.xcp.events[5].timeCycle = 255;
    cfg.xcp.events[5].timeUnit = 9;
    ecu.answers("e1 ..", {"fe 22"});
    EXPECT_EQ(starts(), 0U);
    ASSERT_EQ(task().m_pollScheduler->m_groups.size(), 1U);
    EXPECT_EQ(task().m_pollScheduler->m_groups.begin()->first, 58'392);
}

TEST_F(XcpStart, RefusedStartIsTheOnlyFailureThatCounts) {
    ecu.answersByDefault({"fe 22"});
    EXPECT_EQ(starts(), 15U);
    EXPECT_FALSE(task().m_daq.m_daqLists.empty());
    ecu.answers("dd 01", {"ff"});
    EXPECT_EQ(task().startMeasurement(), 0U);
}

TEST_F(XcpStart, EmptyPlanSendsNothing) {
    EXPECT_EQ(task().startMeasurement(), 0U);
    EXPECT_TRUE(sent().empty());
    variables[0].period = variables[1].period = 50;
    EXPECT_EQ(starts(), 0U);
    EXPECT_TRUE(sent().empty());
    task().stopMeasurement();
    EXPECT_TRUE(sent().empty());
}

// SET_DAQ_LIST_MODE and START_STOP_DAQ_LIST make entries that a plan would read as facts of the host.
TEST_F(XcpStart, SecondStartPlansLikeTheFirst) {
    supports("e0");
    cfg.xcp.maxDaq = 0;
    variables[1].event = 6;
    EXPECT_EQ(starts(), 0U);
    const Texts first = sent();
    task().stopMeasurement();
    EXPECT_EQ(sent(), Texts{"dd 00"});
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(sent(), first);
    EXPECT_TRUE(task().m_pollScheduler->m_groups.empty());
}

TEST_F(XcpStart, EntriesOfTheHostOutliveAStart) {
    hasModeAndClock();
    cfg.xcp.daqListInfo[0].maxOdtEntries = 6;
    EXPECT_EQ(starts(), 0U);
    EXPECT_EQ(prepares(), 0U);
    EXPECT_EQ(live().events[5].priority, 9);
    EXPECT_EQ(live().daqListInfo[0].maxOdtEntries, 6);
}

TEST_F(XcpStart, StopFlagLeavesTheRemainingListsUnselected) {
    cfg.xcp.maxDaq = 0;
    variables[1].event = 6;
    ecu.answersBy("de 02 00 00", [](const std::string&) {
        stopFlag().setStopTransmit(true);
        return Texts{"ff"};
    });
    EXPECT_EQ(starts(), 15U);
    EXPECT_EQ(ecu.count("de .."), 1U);
    EXPECT_EQ(ecu.count("dd .."), 0U);
}

TEST_F(XcpMeasurement, StopSendsOneFrameAndForgetsAll) {
    variables.push_back(variable("c", 0x3000, 1, 5, 50));
    EXPECT_EQ(starts(), 0U);
    ecu.clearSent();
    ecu.answers("dd 00", {"fe 20"});
    task().stopMeasurement();
    EXPECT_EQ(sent(), Texts{"dd 00"});
    EXPECT_TRUE(task().m_daq.m_daqLists.empty());
    EXPECT_TRUE(task().m_pollScheduler->m_groups.empty());
}

TEST_F(XcpMeasurement, EventPeriodOfEachUnit) {
    const std::vector<double> factors = {0.000001, 0.00001, 0.0001, 0.001,       0.01,       0.1,       1,
                                         10,       100,     1000,   0.000000001, 0.00000001, 0.0000001, 1};
    for (std::size_t unit = 0; unit < factors.size(); ++unit) {
        XcpEventCfg& event = live().events[static_cast<std::uint16_t>(unit)];
        event.timeCycle = 10;
        event.timeUnit = static_cast<std::uint8_t>(unit);
        EXPECT_DOUBLE_EQ(task().eventPeriodMs(static_cast<std::uint16_t>(unit)), 10 * factors[unit]) << unit;
    }
}

TEST_F(XcpMeasurement, EventWithoutACycleHasThePollPeriodOrASecond) {
    live().events[1].timeUnit = 6;
    EXPECT_DOUBLE_EQ(task().eventPeriodMs(1), 1000);
    EXPECT_DOUBLE_EQ(task().eventPeriodMs(99), 1000);
    live().pollPeriodMs = 70;
    EXPECT_DOUBLE_EQ(task().eventPeriodMs(1), 70);
    EXPECT_DOUBLE_EQ(task().eventPeriodMs(99), 70);
}

TEST_F(XcpMeasurement, FramesGoOrStayByTheirFirstByte) {
    cfg.xcp.daqListCanIds = {{0, 0x300}};
    task();
    for (const char* frame : {"ff 01", "fe 20", "fd 05", "fc 01", "fb 01", "05 01", "fa 00", ""}) {
        ecu.sends(frame);
        ecu.sendsOn(0x300, frame);
    }
    EXPECT_FALSE(task().processDaqFrames());
    Texts left;
    for (const msgBuf& frame : task().m_frames) {
        left.push_back(std::to_string(frame.id) + ":" + support::hexText(frame.data.data(), 1));
    }
    EXPECT_EQ(left, Texts({"2:ff", "2:fe", "2:fb", "768:ff", "768:fe", "768:fb"}));
    EXPECT_TRUE(host.measured().empty());
}

TEST_F(XcpMeasurement, EventFrameIsAnalysedAndOnlyThat) {
    task();
    ecu.setHostTag(9);
    ecu.sends("fd 05");
    task().processDaqFrames();
    const std::vector<support::Decoded> decoded = host.decoded();
    ASSERT_EQ(decoded.size(), 1U);
    EXPECT_EQ(decoded[0].hostTag, 9U);
    EXPECT_EQ(decoded[0].message.command, 5);
    EXPECT_THAT(decoded[0].message.name, testing::StartsWith("Event "));
    EXPECT_TRUE(task().m_frames.empty());
}

TEST_F(XcpMeasurement, CyclesOfDaqFramesBecomeValues) {
    EXPECT_EQ(starts(), 0U);
    ecu.sends("00 01 02 03 04 05 06", 100);
    ecu.sends("01 07 08", 110);
    EXPECT_FALSE(task().processDaqFrames());
    ecu.sends("00 11 12 13 14 15 16", 200);
    ecu.sends("01 17 18", 210);
    ecu.sends("00 00 00 00 00 00 00", 300);
    EXPECT_FALSE(task().processDaqFrames());
    EXPECT_TRUE(task().m_frames.empty());
    EXPECT_EQ(host.measured().size(), 2U);
    Texts values;
    for (const support::Measured& call : host.measured()) {
        EXPECT_EQ(call.ecuName, "ecu");
        EXPECT_EQ(call.kind, 2);
        EXPECT_TRUE(call.rejected.empty());
        for (const mcMeasureVariableValue& value : call.values) {
            values.push_back(std::to_string(value.time) + ":" + value.name + "=" +
                             support::hexText(value.data));
        }
    }
    EXPECT_EQ(values,
              Texts({"100:a=01 02 03 04", "100:b=05 06 07 08", "200:a=11 12 13 14", "200:b=15 16 17 18"}));
}

TEST_F(XcpMeasurement, ValuesAreDeliveredWithTheObjectUnlocked) {
    EXPECT_EQ(starts(), 0U);
    bool free = false;
    host.onEvent([&](const std::string& entry) {
        if (entry.rfind("measure", 0) == 0) {
            free = support::isFree(task().m_mutex);
        }
    });
    for (const char* frame : {"00 01 02 03 04 05 06", "01 07 08", "00 00 00 00 00 00 00"}) {
        ecu.sends(frame);
    }
    task().processDaqFrames();
    EXPECT_TRUE(free);
}

TEST_F(XcpMeasurement, WithoutAFunctionFramesAreStillTakenApart) {
    callBacks.measureFun = nullptr;
    EXPECT_EQ(starts(), 0U);
    for (const char* frame : {"00 01 02 03 04 05 06", "01 07 08", "00 00 00 00 00 00 00"}) {
        ecu.sends(frame);
    }
    EXPECT_FALSE(task().processDaqFrames());
    EXPECT_TRUE(task().m_frames.empty());
}
