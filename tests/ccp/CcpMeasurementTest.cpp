// From variables to values.
#include "tests/ccp/CcpTestSupport.h"

using namespace ccp_test;

namespace {

class CcpMeasurement : public CcpTest {
protected:
    CcpMeasurement() {
        cfg.ccp.packMode = 0;
        cfg.ccp.daqListLimit = 2;
        cfg.ccp.daqLists[0].odtCount = 2;
        cfg.ccp.daqLists[0].firstPid = 0x10;
        cfg.ccp.daqLists[1].odtCount = 1;
        cfg.ccp.daqLists[1].firstPid = 0x20;
        cfg.ccp.prescaler = 0x0102;
    }

    /// ODT 0 of list 0 with a (4) and b (2), ODT 1 with c (4); d of event 1 in list 1.
    std::vector<mcMeasureVariable> variables() {
        return {variable("a", 0x1000, 4), variable("b", 0x2000, 2), variable("c", 0x3000, 4),
                variable("d", 0x4000, 1, 1)};
    }
};

}  // namespace

TEST_F(CcpMeasurement, StartWritesEveryListThenStartsThemWithOtherLastOdts) {
    ASSERT_EQ(task().prepareMeasurement(variables()), 0U);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(task().startMeasurement(), 0U);
    EXPECT_EQ(sent(), (Texts{
                          "15 ## 00 00 00",
                          "16 ## 04 00 00 10 00 00",
                          "15 ## 00 00 04",
                          "16 ## 02 00 00 20 00 00",
                          "15 ## 00 01 00",
                          "16 ## 04 00 00 30 00 00",
                          "06 ## 02 00 11 00 02 01",  // last PID
                          "15 ## 01 00 00",
                          "16 ## 01 00 00 40 00 00",
                          "06 ## 02 01 20 01 02 01",
                          "06 ## 01 00 01 00 02 01",  // index of the last ODT
                          "06 ## 01 01 00 01 02 01",
                      }));
}

TEST_F(CcpMeasurement, StopStopsEveryListWithItsLastPidThenAllIfSupported) {
    supports("08");
    task().prepareMeasurement(variables());
    task().stopMeasurement();
    EXPECT_EQ(sent(), (Texts{"06 ## 00 00 11 00 02 01", "06 ## 00 01 20 01 02 01", "08 ## 00"}));
    EXPECT_TRUE(task().m_daq.m_daqLists.empty());
    task().stopMeasurement();
    EXPECT_TRUE(sent().empty());
}

TEST_F(CcpMeasurement, StopWithoutTheCommandForAllStopsTheListsAlone) {
    task().prepareMeasurement(variables());
    task().stopMeasurement();
    EXPECT_EQ(sent(), (Texts{"06 ## 00 00 11 00 02 01", "06 ## 00 01 20 01 02 01"}));
}

TEST_F(CcpMeasurement, EventAbove255IsStartedAndStoppedByItsLowEightBits) {
    ASSERT_EQ(task().prepareMeasurement({variable("a", 0x1000, 1, 0x103)}), 0U);
    task().startMeasurement();
    task().stopMeasurement();
    EXPECT_EQ(sent(), (Texts{"15 ## 00 00 00", "16 ## 01 00 00 10 00 00", "06 ## 02 00 10 03 02 01",
                             "06 ## 01 00 00 03 02 01", "06 ## 00 00 10 03 02 01"}));
}

TEST_F(CcpMeasurement, StopEmptiesTheTimetableWithAndWithoutAPollPeriod) {
    for (const std::uint16_t period : {std::uint16_t{0}, std::uint16_t{50}}) {
        SCOPED_TRACE(period);
        startsAnew();
        cfg.ccp.pollPeriodMs = period;
        task().prepareMeasurement({variable("a", 0x1000, 4), variable("slow", 0x20, 2, 0, 10)});
        ASSERT_FALSE(task().m_pollScheduler->m_groups.empty());
        task().stopMeasurement();
        EXPECT_TRUE(task().m_pollScheduler->m_groups.empty());
    }
}

TEST_F(CcpMeasurement, RefusedPointerLeavesTheOdtWithItsLine) {
    ecu.answersInTurn("15 ..", {{"ff 31 @1"}, {"ff 22 @1"}, {"ff 22 @1"}});
    task().prepareMeasurement(variables());
    task().startMeasurement();
    EXPECT_EQ(host.logTexts(4), Texts{"CCP SetDaqPtr failed"});
    EXPECT_TRUE(task().m_pollScheduler->m_groups.empty());
    EXPECT_EQ(ecu.count("16 .."), 3U);  // a, c, d
}

TEST_F(CcpMeasurement, RefusedWriteSendsItsPieceToPollingAndLeavesTheOdt) {
    cfg.ccp.events[0] = {20, 6};
    ecu.answersInTurn("16 ..", {{"ff 22 @1"}, {"ff 22 @1"}});
    task().prepareMeasurement(variables());
    task().startMeasurement();
    EXPECT_EQ(host.logTexts(4), Texts{"CCP WriteDaq failed"});
    const auto& groups = task().m_pollScheduler->m_groups;
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_EQ(groups.begin()->first, 20);
    EXPECT_EQ(groups.begin()->second.variables.front().name, "a");
    EXPECT_EQ(ecu.count("16 .."), 4U);  // a twice, c, d
}

TEST_F(CcpMeasurement, PollPeriodMakesStartAndStopDoNothing) {
    cfg.ccp.pollPeriodMs = 50;
    EXPECT_EQ(task().prepareMeasurement(variables()), 0U);
    EXPECT_EQ(task().startMeasurement(), 0U);
    EXPECT_EQ(task().m_pollScheduler->m_groups.at(50).variables.size(), 4U);
    task().stopMeasurement();
    EXPECT_TRUE(sent().empty());
}

TEST_F(CcpMeasurement, NoVariableLeftIsCode18) {
    EXPECT_EQ(task().prepareMeasurement({variable("zero", 1, 0)}), 18U);
}

TEST_F(CcpMeasurement, SizesAreAskedForListsInTheTableOnlyAndAFailureKeepsTheConfigured) {
    cfg.ccp.queryDaqSizes = 1;
    cfg.ccp.daqListLimit = 4;
    ecu.answersInTurn("14 ..", {{"ff 00 @1 07 30"}, {"ff 10 @1"}, {"ff 10 @1"}, {"ff 10 @1"}});
    cfg.ccp.daqLists[3].odtCount = 5;
    task().prepareMeasurement(variables());
    EXPECT_EQ(sent(), (Texts{"14 ## 00 00 02 00 00 00", "14 ## 01 00 02 00 00 00", "14 ## 01 00 02 00 00 00",
                             "14 ## 01 00 02 00 00 00", "14 ## 03 00 02 00 00 00"}));
    EXPECT_EQ(task().m_cfg.ccp.daqLists[0].odtCount, 7);
    EXPECT_EQ(task().m_cfg.ccp.daqLists[0].firstPid, 0x30);
    EXPECT_EQ(task().m_cfg.ccp.daqLists[1].odtCount, 1);
}

TEST_F(CcpMeasurement, PlanIsShownToTheHost) {
    task().prepareMeasurement(variables());
    ASSERT_EQ(host.plans().size(), 1U);
    EXPECT_EQ(host.plans()[0].plan.at(0).at(0), (std::list<std::string>{"a", "b", "c"}));
}

TEST_F(CcpMeasurement, DaqFramesBecomeValuesOneCycleLate) {
    task().prepareMeasurement(variables());
    task().startMeasurement();
    host.clear();
    ecu.sends("20 07", 100);
    ecu.sends("20 08", 200);
    EXPECT_TRUE(task().processDaqFrames());
    ASSERT_EQ(host.measured().size(), 1U);
    const support::Measured measured = host.measured()[0];
    EXPECT_EQ(measured.kind, 2);
    EXPECT_EQ(measured.values[0].name, "d");
    EXPECT_EQ(measured.values[0].time, 100U);
    EXPECT_EQ(measured.values[0].data, std::vector<std::uint8_t>{7});
}

TEST_F(CcpMeasurement, ValuesAreDeliveredWithTheObjectUnlocked) {
    task().prepareMeasurement({variable("a", 0x1000, 1)});
    bool free = false;
    host.onEvent([&](const std::string& entry) {
        if (entry.starts_with("measure")) {
            free = support::isFree(task().m_mutex);
        }
    });
    ecu.sends("10 07");
    ecu.sends("10 08");
    task().processDaqFrames();
    EXPECT_TRUE(free);
}

TEST_F(CcpMeasurement, FrameWithFirstByte253IsADaqFrameAndAnswersStay) {
    task().prepareMeasurement({variable("a", 0x1000, 1)});
    ecu.sends("fd 01");
    ecu.sends("fe 01");
    ecu.sends("ff 00 00");
    task().processDaqFrames();
    EXPECT_EQ(task().m_frames.size(), 2U);
}

TEST_F(CcpMeasurement, ReadOfFiveBytesGoesByShortUpAndOfSixByUpload) {
    supports("0f");
    hasMemory();
    mcMeasureVariableValue value;
    EXPECT_EQ(task().readVariable(variable("a", 0x10, 5), value), 0);
    EXPECT_EQ(sent(), Texts{"0f ## 05 00 10 00 00 00"});
    EXPECT_EQ(value.data, support::countingBytes(5, 0x10));
    EXPECT_EQ(task().readVariable(variable("a", 0x10, 6), value), 0);
    EXPECT_EQ(sent(), (Texts{"02 ## 00 00 10 00 00 00", "04 ## 05 00 00 00 00 00", "04 ## 01 00"}));
    EXPECT_EQ(value.data, support::countingBytes(6, 0x10));
}

TEST_F(CcpMeasurement, ReadFailuresHaveTheirCodes) {
    struct Row {
        const char* refused;
        std::uint32_t size;
        bool shortUp;
        std::int32_t code;
    };
    for (const Row& row : std::vector<Row>{{"00", 0, false, 31},
                                           {"0f ..", 4, true, 38},
                                           {"02 ..", 4, false, 37},
                                           {"04 ..", 9, false, 31}}) {
        startsAnew();
        cfg.supportedCmds.clear();
        if (row.shortUp) {
            supports("0f");
        }
        support::ScriptedEcu& reading = ecu;
        reading.answersInTurn(row.refused, {{"ff 33 @1"}});
        mcMeasureVariableValue value;
        EXPECT_EQ(task().readVariable(variable("a", 0x10, row.size), value), row.code);
        EXPECT_TRUE(value.name.empty());
    }
}

TEST_F(CcpMeasurement, OneShotReadKeepsTheGoodOnesAndNamesTheRejected) {
    supports("0f");
    hasMemory();
    ecu.answersInTurn("0f ..", {{"ff 33 @1"}});
    task().m_cfg.ccp.retryCount = 1;
    task().readVariables({variable("none", 1, 0), variable("good", 0x20, 2)});
    ASSERT_EQ(host.measured().size(), 1U);
    EXPECT_EQ(host.measured()[0].kind, 0);
    EXPECT_EQ(host.measured()[0].rejected, Texts{"none"});
    EXPECT_EQ(host.measured()[0].values.size(), 1U);
}

TEST_F(CcpMeasurement, PolledValuesComeWithKindOne) {
    supports("0f");
    hasMemory();
    task().prepareMeasurement({variable("slow", 0x20, 2, 0, 10)});
    task().pollTick();
    ASSERT_EQ(host.measured().size(), 1U);
    EXPECT_EQ(host.measured()[0].kind, 1);
    EXPECT_EQ(host.measured()[0].values[0].name, "slow");
}

TEST_F(CcpMeasurement, EventPeriodFallsBackToThePollPeriodAndThenToASecond) {
    cfg.ccp.events[1] = {10, 6};
    cfg.ccp.events[2] = {0, 6};
    EXPECT_DOUBLE_EQ(task().eventPeriod(1), 10);
    EXPECT_DOUBLE_EQ(task().eventPeriod(2), 1000);
    task().m_cfg.ccp.pollPeriodMs = 70;
    EXPECT_DOUBLE_EQ(task().eventPeriod(9), 70);
}

TEST_F(CcpMeasurement, ListsWithoutOdtsAreStartedAndStoppedAsWell) {
    cfg.ccp.daqListLimit = 0;
    cfg.ccp.daqLists.clear();
    cfg.ccp.daqLists[0].odtCount = 1;
    cfg.ccp.packMode = 2;
    task().prepareMeasurement({variable("a", 0x1000, 8)});
    task().startMeasurement();
    EXPECT_EQ(ecu.count("06 .."), 2U * 124);
    EXPECT_EQ(ecu.count("15 .."), 1U);
    EXPECT_TRUE(ecu.showed("06 ?? 02 01 ff 00 02 01")) << "the PID ahead of the first";
    EXPECT_TRUE(ecu.showed("06 ?? 01 01 ff 00 02 01")) << "one ODT less than none";
    EXPECT_EQ(task().m_pollScheduler->m_groups.at(1000).variables.front().name, "a");
}

TEST_F(CcpMeasurement, StartIgnoresThatListsAreRefused) {
    ecu.answers("06 ..", {"ff 10 @1"});
    task().prepareMeasurement(variables());
    EXPECT_EQ(task().startMeasurement(), 0U);
    EXPECT_EQ(ecu.count("06 .."), 4U * 3);
    EXPECT_TRUE(host.logTexts(4).empty());
}

/// The cycle counts as milliseconds whatever its unit says, cut to whole ones.
TEST_F(CcpMeasurement, RefusedElementOfAFastEventIsPolledOnceASecond) {
    cfg.ccp.events[0] = {10, 3};
    ecu.answersInTurn("16 ..", {{"ff 22 @1"}, {"ff 22 @1"}});
    task().prepareMeasurement(variables());
    task().startMeasurement();
    ASSERT_EQ(task().m_pollScheduler->m_groups.size(), 1U);
    EXPECT_EQ(task().m_pollScheduler->m_groups.begin()->first, 1000);
}

TEST_F(CcpMeasurement, PeriodOfARefusedElementIsCutAndNotRounded) {
    cfg.ccp.events[0] = {19, 5};  // 1.9 ms
    ecu.answersInTurn("16 ..", {{"ff 22 @1"}, {"ff 22 @1"}});
    task().prepareMeasurement(variables());
    task().startMeasurement();
    ASSERT_EQ(task().m_pollScheduler->m_groups.size(), 1U);
    EXPECT_EQ(task().m_pollScheduler->m_groups.begin()->first, 1);
}

TEST_F(CcpMeasurement, SizesAreAskedFromTheFirstListOn) {
    cfg.ccp.queryDaqSizes = 1;
    cfg.ccp.firstDaqList = 1;
    task().prepareMeasurement({variable("a", 0x1000, 1)});
    EXPECT_EQ(sent(), Texts{"14 ## 01 00 02 00 00 00"});
}

TEST_F(CcpMeasurement, SizesOfTheEcuDecideThePlan) {
    cfg.ccp.queryDaqSizes = 1;
    ecu.answersInTurn("14 ..", {{"ff 00 @1 01 30"}, {"ff 00 @1 00 00"}});
    task().prepareMeasurement(variables());
    EXPECT_EQ(task().m_daq.m_daqLists.at(0).firstPid, 0x30);
    EXPECT_EQ(task().m_daq.m_daqLists.at(0).odts.size(), 1U);
    EXPECT_EQ(task().m_pollScheduler->m_groups.at(1000).variables.size(), 2U) << "c and d";
}

TEST_F(CcpMeasurement, SizesAreNotAskedWhereAllIsPolled) {
    cfg.ccp.queryDaqSizes = 1;
    cfg.ccp.pollPeriodMs = 50;
    EXPECT_EQ(task().prepareMeasurement(variables()), 0U);
    EXPECT_TRUE(sent().empty());
    EXPECT_TRUE(host.plans().empty());
}

TEST_F(CcpMeasurement, PlanIsShownWithTheConfigurationOfTheTaskItselfAndTheSizesOfTheEcu) {
    static const EcuProtoCfg* shown = nullptr;
    cfg.ccp.queryDaqSizes = 1;
    ecu.answersInTurn("14 ..", {{"ff 00 @1 07 30"}, {"ff 00 @1 05 40"}});
    task().prepareMeasurement(variables());
    ASSERT_EQ(host.plans().size(), 1U);
    EXPECT_EQ(host.plans()[0].cfg.ccp.daqLists.at(0).odtCount, 7);
    EXPECT_EQ(host.plans()[0].cfg.ccp.daqLists.at(0).firstPid, 0x30);
    EXPECT_EQ(host.plans()[0].cfg.ccp.daqLists.at(1).odtCount, 5);
    startsAnew();
    callBacks.daqInfoFun = [](const EcuProtoCfg* own, const DaqFinishedNames*) { shown = own; };
    task().prepareMeasurement(variables());
    EXPECT_EQ(shown, &task().m_cfg);
}

TEST_F(CcpMeasurement, FramesOfAListsOwnIdentifierAreDaqFramesWhateverTheirFirstByte) {
    cfg.ccp.daqLists[0].canId = 0x77;
    cfg.ccp.daqLists[0].firstPid = 0xFF;
    task().prepareMeasurement({variable("a", 0x1000, 1)});
    host.clear();
    ecu.sendsOn(0x77, "ff 07", 100);
    ecu.sendsOn(0x77, "ff 08", 200);
    task().processDaqFrames();
    ASSERT_EQ(host.measured().size(), 1U);
    EXPECT_EQ(host.measured()[0].values[0].data, std::vector<std::uint8_t>{7});
    EXPECT_TRUE(task().m_frames.empty());
}

TEST_F(CcpMeasurement, EmptyFramesAreRemoved) {
    task().prepareMeasurement({variable("a", 0x1000, 1)});
    ecu.sends("");
    EXPECT_TRUE(task().processDaqFrames());
    EXPECT_TRUE(task().m_frames.empty());
}

TEST_F(CcpMeasurement, ShortUpThatBringsLessIsAShorterValue) {
    supports("0f");
    ecu.answers("0f ..", {"ff 00 @1 11 22"});
    mcMeasureVariableValue value;
    EXPECT_EQ(task().readVariable(variable("a", 0x10, 4), value), 0);
    EXPECT_EQ(value.name, "a");
    EXPECT_EQ(value.data, support::bytes("11 22"));
    EXPECT_GT(value.time, 0U);
}

TEST_F(CcpMeasurement, ReadOfOneByteWithoutShortUpIsAnUpload) {
    hasMemory();
    mcMeasureVariableValue value;
    EXPECT_EQ(task().readVariable(variable("a", 0x10, 1), value), 0);
    EXPECT_EQ(sent(), (Texts{"02 ## 00 00 10 00 00 00", "04 ## 01 00"}));
}

TEST_F(CcpMeasurement, ReadThatBringsNothingCallsNobody) {
    supports("0f");
    refuses("0f ..");
    EXPECT_TRUE(task().readVariables({variable("a", 0x10, 4)}).empty());
    EXPECT_TRUE(host.measured().empty());
}

TEST_F(CcpMeasurement, SecondPrepareForgetsThePlanOfTheFirst) {
    task().prepareMeasurement(variables());
    EXPECT_EQ(task().prepareMeasurement({variable("none", 1, 0)}), 18U);
    EXPECT_TRUE(task().m_daq.m_daqLists.empty());
    task().stopMeasurement();
    EXPECT_TRUE(sent().empty());
}
