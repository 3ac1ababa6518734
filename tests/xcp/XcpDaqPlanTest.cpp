#include "xcp/XcpDaq.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

namespace {

using daq_test::copied;
using daq_test::frame;
using daq_test::text;
using daq_test::variable;

/// Plans with ODTs of 7 bytes in pieces, and no limit of list numbers unless a test says otherwise.
class XcpDaqPlanLists : public daq_test::PlanTest<XCP_MOUDLE::XcpDaq> {
protected:
    XcpDaqPlanLists() {
        m_cfg.xcp.packMode = 2;
        m_cfg.xcp.maxOdtEntrySizeDaq = 7;
        m_cfg.xcp.maxDaq = 0;
    }

    XcpDaqListCfg& listInfo(std::uint16_t list, std::uint8_t maxOdt, std::uint8_t firstPid = 0) {
        XcpDaqListCfg& info = m_cfg.xcp.daqListInfo[list];
        info.maxOdt = maxOdt;
        info.maxOdtEntries = 7;
        info.firstPid = firstPid;
        return info;
    }

    void predefines(std::uint16_t list, std::uint8_t event, std::uint8_t maxOdt, std::uint8_t firstPid = 0) {
        listInfo(list, maxOdt, firstPid).fixedEvent = event;
    }

    void event(std::uint16_t number, std::uint8_t maxLists, std::uint8_t cycle = 10) {
        m_cfg.xcp.events[number].maxDaqList = maxLists;
        m_cfg.xcp.events[number].timeCycle = cycle;
    }
};

/// A configuration with a value of its own in each of the DAQ facts.
EcuProtoCfg configOfFacts() {
    EcuProtoCfg cfg;
    cfg.maxCto = 20;
    cfg.maxDto = 300;
    cfg.xcp.maxOdtEntrySizeDaq = 9;
    cfg.xcp.minDaq = 0x0105;
    cfg.xcp.maxDaq = 0x0207;
    cfg.xcp.packMode = 1;
    cfg.xcp.timestampMode = 0x2C;
    cfg.xcp.daqListMode = 0x18;
    cfg.xcp.daqKeyByte = 0xC0;
    cfg.xcp.daqProperties = 0x11;
    cfg.xcp.daqListInfo[3].maxOdt = 4;
    cfg.xcp.events[6].timeCycle = 50;
    cfg.xcp.events[6].timeUnit = 7;
    cfg.xcp.events[6].maxDaqList = 2;
    return cfg;
}

/// Expects the facts of configOfFacts, but for the events.
void expectFacts(const XCP_MOUDLE::XcpDaq& daq) {
    EXPECT_EQ(daq.m_maxCto, 20);
    EXPECT_EQ(daq.m_maxDto, 300);
    EXPECT_EQ(daq.m_maxOdtEntrySize, 9);
    EXPECT_EQ(daq.m_firstDaqList, 5);
    EXPECT_EQ(daq.m_daqListLimit, 7);
    EXPECT_EQ(daq.m_packMode, 1U);
    EXPECT_EQ(daq.m_timestampMode, 0x2C);
    EXPECT_EQ(daq.m_daqListMode, 0x18);
    EXPECT_EQ(daq.m_keyByte, 0xC0);
    EXPECT_EQ(daq.m_daqProperties, 0x11);
    EXPECT_EQ(daq.m_listInfo.at(3).maxOdt, 4);
}

TEST(XcpDaqConfigure, CopiesTheDaqFacts) {
    XCP_MOUDLE::XcpDaq daq;
    daq.configure(configOfFacts());
    expectFacts(daq);
    EXPECT_EQ(daq.m_events.at(6).number, 6);
    EXPECT_EQ(daq.m_events.at(6).cycle, 50);
    EXPECT_EQ(daq.m_events.at(6).maxLists, 2);
}

TEST(XcpDaqConfigure, KeepsAnEventThatIsGoneFromTheConfiguration) {
    EcuProtoCfg cfg;
    cfg.xcp.events[6].timeCycle = 50;
    XCP_MOUDLE::XcpDaq daq;
    daq.configure(cfg);
    cfg.xcp.events.clear();
    cfg.xcp.events[7].timeCycle = 20;
    daq.configure(cfg);
    EXPECT_EQ(daq.m_events.size(), 2U);
    EXPECT_EQ(daq.m_events.at(6).cycle, 50);
}

TEST(XcpDaqReset, LeavesTheFactsAndTheStartOfTheCycle) {
    XCP_MOUDLE::XcpDaq daq;
    daq.configure(configOfFacts());
    daq.decodeDto(frame(77, {0}));
    daq.reset();
    expectFacts(daq);
    EXPECT_EQ(daq.m_cycleStart, 77U);
}

TEST_F(XcpDaqPlanLists, OneListForAnEventWithoutLimits) {
    plans({variable("a", 4, 3), variable("b", 4, 3), variable("c", 1, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:4 b@4:3 | b#1@0:1 c@1:1]");
    EXPECT_EQ(names(), "e3{0:a b c}");
    EXPECT_EQ(polled(), "");
    const DaqListPlan& plan = m_daq.m_daqLists.at(0);
    EXPECT_EQ(plan.firstPid, 0);
    EXPECT_EQ(plan.lastPid, 0);
    EXPECT_EQ(plan.maxOdt, 0);
    EXPECT_EQ(plan.predefined, 0);
    EXPECT_TRUE(m_daq.m_eventVars.at(3).empty());
}

TEST_F(XcpDaqPlanLists, ListNumbersRunOnOverAscendingEvents) {
    plans({variable("late", 1, 300), variable("a", 1, 2), variable("b", 1, 7)});
    EXPECT_EQ(lists(), "0:e2[a@0:1] 1:e7[b@0:1] 2:e300[late@0:1]");
    EXPECT_EQ(names(), "e2{0:a} e7{1:b} e300{2:late}");
}

TEST_F(XcpDaqPlanLists, TheCapacityOfAListIsItsMaxOdt) {
    listInfo(0, 1, 40);
    listInfo(1, 2, 60);
    plans({variable("a", 7, 3), variable("b", 14, 3), variable("c", 1, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:7] 1:e3[b@0:7 | b#1@0:7] 2:e3[c@0:1]");
    EXPECT_EQ(m_daq.m_daqLists.at(0).firstPid, 40);
    EXPECT_EQ(m_daq.m_daqLists.at(0).maxOdt, 1);
    EXPECT_EQ(m_daq.m_daqLists.at(1).firstPid, 60);
    EXPECT_EQ(m_daq.m_daqLists.at(1).maxOdt, 2);
    EXPECT_EQ(names(), "e3{0:a 1:b 2:c}");
}

TEST_F(XcpDaqPlanLists, TheOdtLimitOfAListComesFromItsDescription) {
    listInfo(0, 1).maxOdtEntries = 2;
    plans({variable("a", 2, 3), variable("b", 7, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:2] 1:e3[b@0:7]");
}

TEST_F(XcpDaqPlanLists, UnlimitedLiftsTheOdtLimitOfAList) {
    listInfo(0, 1);
    plans({variable("a", 14, 3), variable("b", 7, 3)}, true);
    EXPECT_EQ(lists(), "0:e3[a@0:7 | a#1@0:7 | b@0:7]");
    EXPECT_EQ(m_daq.m_daqLists.at(0).maxOdt, 1);
}

TEST_F(XcpDaqPlanLists, TheLimitOfListNumbersEndsPlanningAndTheRestIsPolled) {
    m_cfg.xcp.maxDaq = 1;
    listInfo(0, 1);
    event(3, 9, 25);
    plans({variable("a", 7, 3), variable("b", 1, 3), variable("c", 1, 4)});
    EXPECT_EQ(lists(), "0:e3[a@0:7]");
    EXPECT_EQ(names(), "e3{0:a} e4{}");
    EXPECT_EQ(polled(), "b:1 c:1");
    EXPECT_EQ(copied(m_daq.m_pollVars[0].period), 25);
    EXPECT_EQ(copied(m_daq.m_pollVars[1].period), 100);
    EXPECT_EQ(text(m_daq.m_eventVars.at(3)), "b:1");
    EXPECT_EQ(copied(m_daq.m_eventVars.at(3)[0].period), 25);
}

TEST_F(XcpDaqPlanLists, AnEventTakesNoMoreListsThanItCanDrive) {
    for (std::uint16_t list = 0; list < 4; ++list) {
        listInfo(list, 1);
    }
    event(3, 2, 50);
    plans({variable("a", 7, 3), variable("b", 7, 3), variable("c", 7, 3), variable("d", 7, 5)});
    EXPECT_EQ(lists(), "0:e3[a@0:7] 1:e3[b@0:7] 2:e5[d@0:7]");
    EXPECT_EQ(polled(), "c:7");
    EXPECT_EQ(copied(m_daq.m_pollVars[0].period), 50);
}

TEST_F(XcpDaqPlanLists, AnEventThatDrivesNoListLeavesItsVariablesUnplanned) {
    event(3, 0, 20);
    plans({variable("a", 1, 3), variable("b", 1, 4)});
    EXPECT_EQ(lists(), "0:e4[b@0:1]");
    EXPECT_EQ(names(), "e3{} e4{0:b}");
    EXPECT_EQ(polled(), "a:1");
    EXPECT_EQ(copied(m_daq.m_pollVars[0].period), 20);
}

TEST_F(XcpDaqPlanLists, ThePollingPeriodIsTheBareCycleWhateverItsUnit) {
    event(3, 0, 20);
    m_cfg.xcp.events[3].timeUnit = 9;
    plans({variable("a", 1, 3)});
    EXPECT_EQ(copied(m_daq.m_pollVars[0].period), 20);
}

TEST_F(XcpDaqPlanLists, PolledVariablesStandAheadOfThoseLeftOver) {
    event(3, 0);
    plans({variable("left", 1, 3), variable("asked", 1, 3, 5)});
    EXPECT_EQ(polled(), "asked:1 left:1");
    EXPECT_EQ(copied(m_daq.m_pollVars[0].period), 5);
}

TEST_F(XcpDaqPlanLists, ATooLargeVariableRunsThroughListsWithoutOdtsUpToTheLimit) {
    m_cfg.xcp.packMode = 0;
    m_cfg.xcp.maxDaq = 4;
    plans({variable("large", 7, 3), variable("six", 6, 3)});
    EXPECT_EQ(lists(), "0:e3[six@0:6] 1:e3[] 2:e3[] 3:e3[]");
    EXPECT_EQ(names(), "e3{0:six 1: 2: 3:}");
    EXPECT_EQ(polled(), "large:7");
    EXPECT_EQ(copied(m_daq.m_pollVars[0].period), 100);
}

TEST_F(XcpDaqPlanLists, ATooLargeVariableOfAnUnknownEventRunsThroughAHundredLists) {
    m_cfg.xcp.packMode = 0;
    plans({variable("large", 7, 3), variable("b", 1, 4)});
    EXPECT_EQ(m_daq.m_daqLists.size(), 101U);
    EXPECT_TRUE(m_daq.m_daqLists.at(99).odts.empty());
    EXPECT_EQ(text(m_daq.m_daqLists.at(100).odts), "b@0:1");
}

TEST_F(XcpDaqPlanLists, SkippedVariablesAreOfferedToEachLaterList) {
    listInfo(0, 1);
    listInfo(1, 2);
    plans({variable("a", 8, 3), variable("b", 3, 3), variable("c", 5, 3)});
    EXPECT_EQ(lists(), "0:e3[b@0:3] 1:e3[a@0:7 | a#1@0:1 c@1:5]");
    EXPECT_EQ(names(), "e3{0:b 1:a c}");
}

TEST_F(XcpDaqPlanLists, WithAHeaderAsLargeAsTheFrameEndsInPolling) {
    m_cfg.maxDto = 1;
    m_cfg.xcp.maxDaq = 2;
    plans({variable("a", 1, 3), variable("b", 2, 3)});
    EXPECT_EQ(lists(), "0:e3[] 1:e3[]");
    EXPECT_EQ(polled(), "a:1 b:2");
}

TEST_F(XcpDaqPlanLists, AnInvalidPackModeEndsInPolling) {
    m_cfg.xcp.packMode = 3;
    m_cfg.xcp.maxDaq = 2;
    plans({variable("a", 1, 3)});
    EXPECT_EQ(lists(), "0:e3[] 1:e3[]");
    EXPECT_EQ(polled(), "a:1");
}

TEST_F(XcpDaqPlanLists, WhatIsBegunInOneListMayRunOnIntoTheNext) {
    // The first ODT has 252 bytes of room by the wrap, the later ones have none.
    m_cfg.maxDto = 4;
    m_cfg.xcp.daqKeyByte = 0xC0;
    m_cfg.xcp.daqListMode = 0x10;
    m_cfg.xcp.timestampMode = 4;
    plans({variable("a", 250, 3), variable("b", 5, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:250 b@250:2] 1:e3[b#1@0:3]");
    EXPECT_EQ(names(), "e3{0:a 1:b}");
}

TEST_F(XcpDaqPlanLists, AFirstHeaderAboveTheFrameMakesRoomForALargeWholeVariable) {
    // Frames of 3 bytes with a first header of 5: the room of the first ODT wraps to 254 bytes.
    m_cfg.xcp.packMode = 0;
    m_cfg.xcp.maxOdtEntrySizeDaq = 2;
    m_cfg.xcp.daqListMode = 0x10;
    m_cfg.xcp.timestampMode = 4;
    m_cfg.xcp.maxDaq = 1;
    plans({variable("a", 100, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:100]");
    EXPECT_EQ(names(), "e3{0:a}");
    EXPECT_EQ(polled(), "");
}

TEST_F(XcpDaqPlanLists, EmptiesTheNamesOfAnEarlierPlan) {
    plans({variable("a", 1, 3)});
    plans({variable("b", 1, 4)});
    EXPECT_EQ(names(), "e4{0:b}");
}

TEST_F(XcpDaqPlanLists, ASecondStartPlansLikeTheFirst) {
    listInfo(0, 1, 10);
    listInfo(1, 1, 20);
    const std::vector<mcMeasureVariable> variables{variable("a", 7, 3), variable("b", 4, 3),
                                                   variable("c", 4, 5)};
    plans(variables);
    const std::string first = lists() + names() + polled();
    m_daq.configure(m_cfg);
    plans(variables);
    EXPECT_EQ(lists() + names() + polled(), first);
}

TEST_F(XcpDaqPlanLists, AListThatIsPlannedAlreadyGetsNewOdtsForTheOldOnes) {
    listInfo(0, 2);
    plans({variable("a", 7, 3)});
    m_daq.assignVariables({variable("b", 14, 3), variable("c", 7, 3)});
    m_daq.planLists(false);
    // One ODT of the two is taken, so b goes to the next list, and c replaces a.
    EXPECT_EQ(lists(), "0:e3[c@0:7] 1:e3[b@0:7 | b#1@0:7]");
    EXPECT_EQ(names(), "e3{0:c 1:b}");
}

TEST_F(XcpDaqPlanLists, AListThatIsFullIsPassedOverAndCountsAsOneOfTheEvents) {
    listInfo(0, 1);
    event(3, 1);
    plans({variable("a", 7, 3)});
    m_daq.assignVariables({variable("b", 1, 3)});
    m_daq.planLists(false);
    EXPECT_EQ(lists(), "0:e3[a@0:7]");
    EXPECT_EQ(names(), "e3{}");
    EXPECT_EQ(polled(), "b:1");
}

class XcpDaqPredefinedList : public XcpDaqPlanLists {};

TEST_F(XcpDaqPredefinedList, IsTheFirstOneWhoseFixedEventIsTheEvent) {
    predefines(4, 3, 1);
    predefines(2, 3, 1);
    predefines(6, 5, 1);
    plans({variable("a", 1, 3), variable("b", 1, 9)});
    m_daq.m_eventVars[3] = {};
    m_daq.m_eventVars[0x103] = {};
    EXPECT_EQ(m_daq.eventToFixedList(), (std::map<std::uint16_t, std::uint16_t>{{3, 2}}));
}

TEST_F(XcpDaqPredefinedList, TakesItsEventsVariables) {
    predefines(0, 3, 2, 16);
    plans({variable("a", 9, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:7 | a#1@0:2]");
    EXPECT_EQ(m_daq.m_daqLists.at(0).predefined, 1);
    EXPECT_EQ(m_daq.m_daqLists.at(0).firstPid, 16);
    EXPECT_EQ(names(), "e3{0:a}");
}

TEST_F(XcpDaqPredefinedList, WithANumberOfItsOwnStandsThereButItsNamesStandUnderTheRunningNumber) {
    predefines(4, 3, 2);
    plans({variable("a", 9, 3), variable("b", 1, 5)});
    // The running number is not used up either: event 5 gets it.
    EXPECT_EQ(lists(), "0:e5[b@0:1] 4:e3[a@0:7 | a#1@0:2]");
    EXPECT_EQ(names(), "e3{0:a} e5{0:b}");
    EXPECT_TRUE(m_daq.isCycleComplete(4, {}));
    EXPECT_FALSE(m_daq.isCycleComplete(4, {{"a", {}}}));
}

TEST_F(XcpDaqPredefinedList, ThatIsFullEndsTheEvent) {
    predefines(0, 3, 1);
    plans({variable("a", 7, 3), variable("b", 1, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:7]");
    EXPECT_EQ(polled(), "b:1");
}

TEST_F(XcpDaqPredefinedList, IsAppendedToAndTheFirstNewOdtCountsAsFirstAllTheSame) {
    predefines(0, 3, 3);
    plans({variable("a", 7, 3)});
    m_daq.assignVariables({variable("b", 8, 3)});
    m_daq.planLists(false);
    EXPECT_EQ(lists(), "0:e3[a@0:7 | b@0:7 | b#1@0:1]");
    const std::vector<DaqOdtPlan>& odts = m_daq.m_daqLists.at(0).odts;
    EXPECT_EQ(odts[0].isFirst, 1);
    EXPECT_EQ(odts[1].isFirst, 1);
    EXPECT_EQ(odts[2].isFirst, 0);
}

TEST_F(XcpDaqPredefinedList, GetsNothingThatIsTooLargeForItsFirstOdtThoughItsLaterOnesCouldHoldIt) {
    predefines(0, 3, 3);
    m_cfg.xcp.packMode = 0;
    m_cfg.xcp.daqListInfo[0].maxOdtEntries = 0;
    m_cfg.xcp.daqListMode = 0x10;
    m_cfg.xcp.timestampMode = 2;
    // 5 bytes of room in the first ODT, 7 in the later ones.
    plans({variable("a", 4, 3), variable("b", 6, 3), variable("c", 6, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:4]");
    EXPECT_EQ(polled(), "b:6 c:6");
}

TEST_F(XcpDaqPredefinedList, ThatCanTakeNothingMoreEndsTheEvent) {
    m_cfg.xcp.packMode = 0;
    predefines(0, 3, 0);
    plans({variable("a", 1, 3), variable("large", 7, 3), variable("b", 1, 4)});
    EXPECT_EQ(lists(), "0:e4[b@0:1]") << "event 4 replaces list 0, as the running number was not used up";
    EXPECT_EQ(polled(), "large:7");
}

TEST_F(XcpDaqPredefinedList, OfEvent255IsAnyListWithoutAFixedEvent) {
    // 255 is what a description holds that names no event.
    listInfo(7, 1);
    plans({variable("a", 7, 255), variable("b", 7, 255)});
    EXPECT_EQ(lists(), "7:e255[a@0:7]");
    EXPECT_EQ(m_daq.m_daqLists.at(7).predefined, 1);
    EXPECT_EQ(polled(), "b:7");
}

TEST_F(XcpDaqPredefinedList, IsNeverThatOfAnEventAbove255) {
    predefines(4, 3, 1);
    plans({variable("a", 1, 0x103)});
    EXPECT_EQ(lists(), "0:e259[a@0:1]");
}

class XcpDaqFirstPids : public XcpDaqPlanLists {};

TEST_F(XcpDaqFirstPids, ComeIntoThePlanWithTheNextConfigure) {
    plans({variable("a", 9, 3), variable("b", 1, 4)});
    m_cfg.xcp.daqListInfo[0].firstPid = 20;
    m_cfg.xcp.daqListInfo[1].firstPid = 22;
    m_daq.configure(m_cfg);
    EXPECT_EQ(m_daq.m_daqLists.at(0).firstPid, 20);
    EXPECT_EQ(m_daq.m_daqLists.at(0).lastPid, 21);
    EXPECT_EQ(m_daq.m_daqLists.at(1).firstPid, 22);
    EXPECT_EQ(m_daq.m_daqLists.at(1).lastPid, 22);
}

TEST_F(XcpDaqFirstPids, OfAListWithoutADescriptionAreZero) {
    plans({variable("a", 9, 3), variable("b", 1, 4)});
    m_cfg.xcp.daqListInfo[1].firstPid = 22;
    m_daq.configure(m_cfg);
    EXPECT_EQ(m_daq.m_daqLists.at(0).firstPid, 0);
    EXPECT_EQ(m_daq.m_daqLists.at(0).lastPid, 1);
    EXPECT_EQ(m_daq.m_listInfo.count(0), 1U);
}

TEST_F(XcpDaqFirstPids, StayZeroWithoutAnyDescription) {
    plans({variable("a", 9, 3)});
    m_daq.m_daqLists.at(0).firstPid = 7;
    m_daq.configure(m_cfg);
    EXPECT_EQ(m_daq.m_daqLists.at(0).firstPid, 7);
    EXPECT_EQ(m_daq.m_daqLists.at(0).lastPid, 0);
}

TEST_F(XcpDaqFirstPids, WrapInEightBits) {
    m_cfg.xcp.packMode = 0;
    m_cfg.xcp.maxDaq = 2;
    plans({variable("a", 6, 3), variable("b", 6, 3), variable("large", 7, 3)});
    m_cfg.xcp.daqListInfo[0].firstPid = 255;
    m_cfg.xcp.daqListInfo[1].firstPid = 0;
    m_daq.configure(m_cfg);
    EXPECT_EQ(m_daq.m_daqLists.at(0).lastPid, 0);
    EXPECT_EQ(m_daq.m_daqLists.at(1).lastPid, 255) << "a list without ODTs";
}

}  // namespace
