#include "ccp/CcpDaq.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

namespace {

using daq_test::copied;
using daq_test::text;
using daq_test::variable;

/// Plans with ODTs of 7 bytes in pieces over the lists that a test describes.
class CcpDaqPlanLists : public daq_test::PlanTest<CCP_MOUDLE::CcpDaq> {
protected:
    CcpDaqPlanLists() {
        m_cfg.protoType = 0;
        m_cfg.ccp.packMode = 2;
        m_cfg.ccp.daqListLimit = 3;
    }

    void list(std::uint16_t number, std::uint8_t odtCount, std::uint8_t firstPid = 0,
              std::vector<std::uint8_t> events = {}) {
        m_cfg.ccp.daqLists[number] = {number, odtCount, firstPid, 0, std::move(events)};
    }
};

TEST(CcpDaqConfigure, CopiesTheDaqFactsAndLeavesThoseOfXcp) {
    EcuProtoCfg cfg;
    cfg.maxCto = 20;
    cfg.maxDto = 64;
    cfg.ccp.firstDaqList = 0x0102;
    cfg.ccp.daqListLimit = 0x0304;
    cfg.ccp.packMode = 2;
    cfg.ccp.daqLists[5].odtCount = 9;
    cfg.ccp.events[6] = {50, 7};
    cfg.xcp.maxOdtEntrySizeDaq = 77;
    CCP_MOUDLE::CcpDaq daq;
    daq.m_listConfigs[1].odtCount = 1;
    daq.configure(cfg);
    EXPECT_EQ(daq.m_maxCto, 20);
    EXPECT_EQ(daq.m_firstDaqList, 2);
    EXPECT_EQ(daq.m_daqListLimit, 4);
    EXPECT_EQ(daq.m_packMode, 2U);
    EXPECT_EQ(daq.m_listConfigs.size(), 1U);
    EXPECT_EQ(daq.m_listConfigs.at(5).odtCount, 9);
    EXPECT_EQ(daq.m_events.at(6).number, 6);
    EXPECT_EQ(daq.m_events.at(6).cycle, 50);
    EXPECT_EQ(daq.m_events.at(6).maxLists, 0);
    EXPECT_EQ(daq.m_maxDto, 8);
    EXPECT_EQ(daq.m_maxOdtEntrySize, 6);
}

TEST_F(CcpDaqPlanLists, FillsTheListsThatTheEcuOffers) {
    list(0, 1, 10);
    list(1, 2, 20);
    plans({variable("a", 10, 3), variable("b", 2, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:7] 1:e3[a#1@0:3 b@3:2]");
    EXPECT_EQ(names(), "e3{0: 1:a b}");
    EXPECT_EQ(polled(), "");
    const DaqListPlan& plan = m_daq.m_daqLists.at(1);
    EXPECT_EQ(plan.firstPid, 20);
    EXPECT_EQ(plan.lastPid, 20);
    EXPECT_EQ(plan.maxOdt, 2);
    EXPECT_EQ(plan.predefined, 0);
    EXPECT_TRUE(m_daq.m_eventVars.at(3).empty());
}

TEST_F(CcpDaqPlanLists, TheLastPidComesFromTheOdtsThatWerePlanned) {
    list(0, 9, 250);
    plans({variable("a", 49, 3)});
    EXPECT_EQ(m_daq.m_daqLists.at(0).odts.size(), 7U);
    EXPECT_EQ(m_daq.m_daqLists.at(0).lastPid, 0) << "250 + 7 - 1 in 8 bits";
}

TEST_F(CcpDaqPlanLists, AListWithoutOdtsEndsAheadOfItsFirstPid) {
    list(0, 0, 10);
    list(1, 0, 0);
    list(2, 1, 20);
    plans({variable("a", 1, 3)});
    EXPECT_EQ(lists(), "0:e3[] 1:e3[] 2:e3[a@0:1]");
    EXPECT_EQ(m_daq.m_daqLists.at(0).lastPid, 9);
    EXPECT_EQ(m_daq.m_daqLists.at(1).lastPid, 255);
}

TEST_F(CcpDaqPlanLists, BeginsAtTheFirstListOfTheConfiguration) {
    m_cfg.ccp.firstDaqList = 2;
    list(0, 5);
    list(2, 5);
    plans({variable("a", 1, 3)});
    EXPECT_EQ(lists(), "2:e3[a@0:1]");
}

TEST_F(CcpDaqPlanLists, UnlimitedChangesNothing) {
    list(0, 1);
    m_cfg.ccp.daqListLimit = 1;
    plans({variable("a", 10, 3)}, true);
    EXPECT_EQ(lists(), "0:e3[a@0:7]");
    EXPECT_EQ(polled(), "a:3");
}

TEST_F(CcpDaqPlanLists, WhatDoesNotFitIsPolledWithoutAPeriodOfItsOwn) {
    m_cfg.ccp.daqListLimit = 1;
    m_cfg.ccp.events[3] = {50, 6};
    list(0, 1);
    plans({variable("a", 7, 3), variable("b", 2, 3), variable("p", 1, 3, 20)});
    EXPECT_EQ(polled(), "p:1 b:2");
    EXPECT_EQ(copied(m_daq.m_pollVars[1].period), 0);
    EXPECT_EQ(text(m_daq.m_eventVars.at(3)), "b:2");
}

TEST_F(CcpDaqPlanLists, WithoutALimitUnknownNumbersMakeEmptyListsUpTo124) {
    m_cfg.ccp.daqListLimit = 0;
    for (std::uint16_t number = 0; number < 3; ++number) {
        list(number, 1);
    }
    plans({variable("a", 22, 3)});
    EXPECT_EQ(m_daq.m_daqLists.size(), 124U);
    EXPECT_EQ(m_daq.m_daqLists.rbegin()->first, 123);
    EXPECT_EQ(text(m_daq.m_daqLists.at(2).odts), "a#2@0:7");
    EXPECT_EQ(m_daq.m_daqLists.at(3).maxOdt, 0);
    EXPECT_TRUE(m_daq.m_daqLists.at(3).odts.empty());
    EXPECT_EQ(m_daq.m_daqLists.at(3).lastPid, 255);
    EXPECT_EQ(m_daq.m_listConfigs.size(), 124U);
    EXPECT_EQ(polled(), "a:1");
}

TEST_F(CcpDaqPlanLists, NumbersFrom124OnAreNotUsed) {
    m_cfg.ccp.daqListLimit = 200;
    m_cfg.ccp.firstDaqList = 123;
    list(123, 1);
    list(124, 1);
    plans({variable("a", 7, 3), variable("b", 7, 3)});
    EXPECT_EQ(lists(), "123:e3[a@0:7]");
    EXPECT_EQ(polled(), "b:7");
}

TEST_F(CcpDaqPlanLists, AListOfAnotherEventIsPassedOver) {
    list(0, 1, 0, {9});
    list(1, 1, 0, {4, 3});
    plans({variable("a", 1, 3)});
    EXPECT_EQ(lists(), "1:e3[a@0:1]");
    EXPECT_EQ(names(), "e3{1:a}");
}

TEST_F(CcpDaqPlanLists, AListPassedOverForOneEventIsLostForTheNext) {
    m_cfg.ccp.daqListLimit = 1;
    list(0, 1, 0, {5});
    plans({variable("a", 1, 3), variable("b", 1, 5)});
    EXPECT_EQ(lists(), "");
    EXPECT_EQ(names(), "e3{} e5{}");
    EXPECT_EQ(polled(), "a:1 b:1");
}

TEST_F(CcpDaqPlanLists, ALaterEventGetsTheListsThatAreLeft) {
    list(0, 1);
    list(1, 1);
    plans({variable("b", 1, 5), variable("a", 1, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:1] 1:e5[b@0:1]");
}

TEST_F(CcpDaqPlanLists, AnEventAbove255GoesOnlyToAListThatNamesNone) {
    list(0, 1, 0, {3});
    list(1, 1);
    plans({variable("a", 1, 0x103)});
    EXPECT_EQ(lists(), "1:e259[a@0:1]");
}

TEST_F(CcpDaqPlanLists, AnEventWithoutVariablesTakesNoList) {
    list(0, 1);
    m_daq.configure(m_cfg);
    m_daq.m_eventVars[2] = {};
    m_daq.m_eventVars[3] = {variable("a", 1, 3)};
    m_daq.planLists(false);
    EXPECT_EQ(lists(), "0:e3[a@0:1]");
    EXPECT_EQ(names(), "e2{} e3{0:a}");
}

TEST_F(CcpDaqPlanLists, ATooLargeVariableRunsThroughEveryList) {
    m_cfg.ccp.packMode = 0;
    for (std::uint16_t number = 0; number < 3; ++number) {
        list(number, 1, static_cast<std::uint8_t>(10 * number));
    }
    plans({variable("large", 7, 3), variable("a", 6, 3)});
    EXPECT_EQ(lists(), "0:e3[a@0:6] 1:e3[] 2:e3[]");
    EXPECT_EQ(polled(), "large:7");
}

TEST_F(CcpDaqPlanLists, AnInvalidPackModeEndsInPolling) {
    m_cfg.ccp.packMode = 7;
    list(0, 1);
    plans({variable("a", 1, 3), variable("b", 1, 3)});
    EXPECT_EQ(lists(), "0:e3[] 1:e3[] 2:e3[]");
    EXPECT_EQ(polled(), "a:1 b:1");
}

TEST_F(CcpDaqPlanLists, ASecondStartPlansLikeTheFirst) {
    list(0, 1, 10);
    const std::vector<mcMeasureVariable> variables{variable("a", 9, 3), variable("b", 4, 5)};
    plans(variables);
    const std::string first = lists() + names() + polled();
    plans(variables);
    EXPECT_EQ(lists() + names() + polled(), first);
    EXPECT_EQ(first, "0:e3[a@0:7] 1:e3[] 2:e3[]e3{0: 1: 2:} e5{}a:2 b:4");
}

}  // namespace
