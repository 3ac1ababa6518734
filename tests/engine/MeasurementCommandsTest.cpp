#include "tests/engine/EngineTest.h"
#include "tests/support/ThreadCount.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>

namespace {

using engine_test::EngineTest;
using engine_test::Journal;
using engine_test::offersDaq;
using engine_test::polls;
using engine_test::variable;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class StartMeasurementCommand : public EngineTest {
protected:
    /// Connects "a" and "b", both with DAQ.
    void connectedWithDaq() {
        offersDaq(m_cfgA);
        offersDaq(m_cfgB);
        configure();
        connected({"b", "a"});
    }
};

TEST_F(StartMeasurementCommand, ReportsItsBeginningThenStartsAndReportsTheEnd) {
    offersDaq(m_cfgA);
    configure();
    connected();
    EXPECT_THAT(
        journalOf(5,
                  [] {
                      StartMeasurement({{"a", {variable()}}});
                  }),
        ElementsAre("log 1 Task cmd result:(0) ", "task 4 0", "log 2 Start measurement ecu(a)", "plan a",
                    "snd e2 00 00 00 00 00", "snd e1 ff 01 00 00 10 00 00", "snd de 02 00 00", "snd dd 01",
                    "log 2 PollingThread started", "log 1 Task cmd result:(0) Start measurement success;;",
                    "task 5 0 [Start measurement success, ]"));
    EXPECT_TRUE(isMeasureing());
}

TEST_F(StartMeasurementCommand, WithAnEmptyMapStillMeasuresAndStartsThePollingThread) {
    EXPECT_THAT(journalOf(5, [] { StartMeasurement({}); }),
                ElementsAre("log 1 Task cmd result:(0) ", "task 4 0", "log 2 PollingThread started",
                            "log 1 Task cmd result:(0) Start measurement success;;",
                            "task 5 0 [Start measurement success, ]"));
    EXPECT_TRUE(isMeasureing());
}

TEST_F(StartMeasurementCommand, GoesThroughTheConnectedEcusInTheOrderOfTheirNames) {
    polls(m_cfgA);
    polls(m_cfgB);
    m_cfgA.xcp.pollPeriodMs = m_cfgB.xcp.pollPeriodMs = 60000;
    configure();
    connected({"b", "a"});
    const Journal journal = journalOf(5, [] {
        StartMeasurement({{"b", {variable()}}, {"a", {variable()}}});
    });
    EXPECT_EQ(m_host.logTexts(2),
              (Journal{"Start measurement ecu(a)", "Start measurement ecu(b)", "PollingThread started"}));
    EXPECT_THAT(journal, Contains("task 5 0 [Start measurement success, ]"));
}

TEST_F(StartMeasurementCommand, NamesEveryConnectedEcuThoughItStartsOnlyTheWantedOnes) {
    connectedWithDaq();
    journalOf(5, [] { StartMeasurement({{"b", {variable()}}}); });
    EXPECT_EQ(m_host.logTexts(2),
              (Journal{"Start measurement ecu(a)", "Start measurement ecu(b)", "PollingThread started"}));
    EXPECT_THAT(m_a.sentFrames(), ElementsAre("ff 00"));
    EXPECT_EQ(m_b.count("dd 01"), 1U);
}

TEST_F(StartMeasurementCommand, IgnoresNamesWithoutATaskObject) {
    connected();
    const Journal journal = journalOf(5, [] { StartMeasurement({{"ghost", {variable()}}}); });
    EXPECT_THAT(journal, Contains("task 5 0 [Start measurement success, ]"));
    EXPECT_THAT(journal, Not(Contains("log 2 Start measurement ecu(ghost)")));
}

TEST_F(StartMeasurementCommand, AFailedPreparationIsNamedAndTheStopHandlerRuns) {
    connected();
    EXPECT_THAT(
        journalOf(5,
                  [] {
                      StartMeasurement({{"a", {variable("v", 0)}}});
                  }),
        ElementsAre("log 1 Task cmd result:(0) ", "task 4 0", "log 2 Start measurement ecu(a)",
                    "log 3 Ignore measure variable:v address size is 0",
                    "log 4 Set DAQ failed: 校验变量地址失败 - CheckMeasureVar", "log 2 PollingThread stopped",
                    "log 2 StopMeasurement ecu(a)", "log 4 Task cmd result:(18) Start measurement failed;;",
                    "task 5 18 [Start measurement failed, ]"));
    EXPECT_FALSE(isMeasureing());
}

TEST_F(StartMeasurementCommand, AFailedStartIsNamedAndTheStopHandlerRuns) {
    offersDaq(m_cfgA);
    configure();
    connected();
    m_a.answers("dd 01", {"fe 2a"});
    EXPECT_THAT(journalOf(5,
                          [] {
                              StartMeasurement({{"a", {variable()}}});
                          }),
                ElementsAre("log 1 Task cmd result:(0) ", "task 4 0", "log 2 Start measurement ecu(a)",
                            "plan a", "snd e2 00 00 00 00 00", "snd e1 ff 01 00 00 10 00 00",
                            "snd de 02 00 00", "snd dd 01", "log 3 DAQ configuration not valid",
                            "log 4 Start measurement (a) failed: 指令发收失败 - StartStopSynch",
                            "log 2 PollingThread stopped", "log 2 StopMeasurement ecu(a)", "snd dd 00",
                            "log 4 Task cmd result:(15) Start measurement failed;;",
                            "task 5 15 [Start measurement failed, ]"));
    EXPECT_FALSE(isMeasureing());
}

TEST_F(StartMeasurementCommand, WhenOneEcuOfTwoFailsTheFirstHasStartedAndBothAreStopped) {
    connectedWithDaq();
    m_b.answers("dd 01", {"fe 2a"});
    const Journal journal = journalOf(5, [] {
        StartMeasurement({{"a", {variable()}}, {"b", {variable()}}});
    });
    EXPECT_EQ(m_host.logTexts(2),
              (Journal{"Start measurement ecu(a)", "Start measurement ecu(b)", "PollingThread stopped",
                       "StopMeasurement ecu(a)", "StopMeasurement ecu(b)"}));
    EXPECT_EQ(journal.back(), "task 5 15 [Start measurement failed, ]");
    EXPECT_EQ(m_a.count("dd 01"), 1U);
    EXPECT_EQ(m_a.count("dd 00"), 1U);
    EXPECT_EQ(m_b.count("dd 00"), 1U);
    EXPECT_FALSE(isMeasureing());
}

TEST_F(StartMeasurementCommand, TheFirstFailureKeepsTheEcusBehindItFromStarting) {
    connectedWithDaq();
    journalOf(5, [] { StartMeasurement({{"a", {variable("v", 0)}}, {"b", {variable()}}}); });
    EXPECT_EQ(m_b.count("dd 01"), 0U);
    EXPECT_THAT(m_host.logTexts(2), Not(Contains("Start measurement ecu(b)")));
}

TEST_F(StartMeasurementCommand, AFailedStartEndsARunningMeasurement) {
    measuring();
    const support::TaskResult result = resultOf(5, [] { StartMeasurement({{"a", {variable("v", 0)}}}); });
    EXPECT_EQ(result.result, 18);
    EXPECT_FALSE(isMeasureing());
    const std::size_t polled = m_a.count("f4 ..");
    settles();
    EXPECT_EQ(m_a.count("f4 .."), polled);
}

TEST_F(StartMeasurementCommand, TwiceRestartsThePollingThread) {
    measuring();
    const std::size_t threads = support::threadCount();
    const support::TaskResult result = resultOf(5, [] { StartMeasurement({{"a", {variable()}}}); });
    EXPECT_EQ(result.result, 0);
    EXPECT_TRUE(isMeasureing());
    EXPECT_TRUE(support::waitFor([&] { return support::threadCount() == threads; }));
    m_host.clear();
    EXPECT_TRUE(shows("measure a 1"));
}

TEST_F(StartMeasurementCommand, TheOldPollingGoesOnUntilAllEcusHaveStarted) {
    offersDaq(m_cfgB);
    measuring();
    connected({"b"});
    std::atomic<bool> polled = false;
    m_b.answersBy("dd 01", [&](const std::string&) {
        const std::size_t before = m_a.count("f4 ..");
        polled = support::waitFor([&] { return m_a.count("f4 ..") > before; }, std::chrono::seconds(10));
        return support::ScriptedEcu::Responses{"ff"};
    });
    const auto start = [] { StartMeasurement({{"a", {variable()}}, {"b", {variable()}}}); };
    EXPECT_EQ(resultOf(5, start).result, 0);
    EXPECT_TRUE(polled);
}

TEST_F(StartMeasurementCommand, DaqValuesComeWithKind2AndThePlanIsShown) {
    offersDaq(m_cfgA);
    configure();
    connected();
    journalOf(5, [] { StartMeasurement({{"a", {variable()}}}); });
    ASSERT_EQ(m_host.plans().size(), 1U);
    EXPECT_EQ(m_host.plans().at(0).cfg.ecuName, "a");
    const std::list<std::string> names{"v"};
    EXPECT_EQ(m_host.plans().at(0).plan.at(1).at(0), names);
    m_host.clear();
    m_a.sends("00 11", 100);
    m_a.sends("00 22", 200);
    m_a.sends("00 33", 300);
    ASSERT_TRUE(shows("measure a 2 [v=22] []"));
    EXPECT_THAT(m_host.journal(), ElementsAre("measure a 2 [v=11] []", "measure a 2 [v=22] []"));
}

TEST_F(StartMeasurementCommand, WithoutItThereIsNoPollingThread) {
    const std::size_t before = support::threadCount();
    if (before == 0) {
        GTEST_SKIP() << "threads cannot be counted here";
    }
    connected({"a", "b"});
    EXPECT_EQ(support::threadCount(), before + 1);
    ASSERT_EQ(resultOf(5, [] { StartMeasurement({}); }).result, 0);
    EXPECT_EQ(support::threadCount(), before + 2);
    ASSERT_EQ(resultOf(6, [] { StopMeasurement(); }).result, 0);
    EXPECT_TRUE(support::waitFor([&] { return support::threadCount() == before + 1; }));
}

using StopMeasurementCommand = EngineTest;

TEST_F(StopMeasurementCommand, StopsAllEcusInTheOrderOfTheirNames) {
    offersDaq(m_cfgA);
    configure();
    connected({"b", "a"});
    ASSERT_EQ(resultOf(5, [] { StartMeasurement({{"a", {variable()}}}); }).result, 0);
    EXPECT_THAT(
        journalOf(6, [] { StopMeasurement(); }),
        ElementsAre("log 2 PollingThread stopped", "log 2 StopMeasurement ecu(a)", "snd dd 00",
                    "log 2 StopMeasurement ecu(b)", "log 1 Task cmd result:(0) Stop measurement success;;",
                    "task 6 0 [Stop measurement success, ]"));
    EXPECT_FALSE(isMeasureing());
    EXPECT_TRUE(isConnectEcu());
}

TEST_F(StopMeasurementCommand, SaysThatThePollingStoppedThoughNoneRan) {
    EXPECT_THAT(
        journalOf(6, [] { StopMeasurement(); }),
        ElementsAre("log 2 PollingThread stopped", "log 1 Task cmd result:(0) Stop measurement success;;",
                    "task 6 0 [Stop measurement success, ]"));
}

TEST_F(StopMeasurementCommand, TwiceIsHarmless) {
    measuring();
    EXPECT_EQ(resultOf(6, [] { StopMeasurement(); }).result, 0);
    EXPECT_EQ(resultOf(6, [] { StopMeasurement(); }).result, 0);
}

TEST_F(StopMeasurementCommand, TheMeasurementCanBeStartedAgain) {
    measuring();
    ASSERT_EQ(resultOf(6, [] { StopMeasurement(); }).result, 0);
    ASSERT_EQ(resultOf(5, [] { StartMeasurement({{"a", {variable()}}}); }).result, 0);
    m_host.clear();
    EXPECT_TRUE(shows("measure a 1 [v=00] []"));
}

class MeasureVarsCommand : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        m_cfgA.supportedCmds = {0xF4};
        configure();
        m_a.answers("f4 01 00 00 00 10 00 00", {"ff 2a"});
    }
};

TEST_F(MeasureVarsCommand, DeliversTheValuesWithKind0) {
    connected();
    EXPECT_THAT(journalOf(7, [] { MeasureVars("a", {variable()}); }),
                ElementsAre("log 2 Measure variables ecu(a)", "snd f4 01 00 00 00 10 00 00",
                            "measure a 0 [v=2a] []", "log 1 Task cmd result:(0) Measurement vars success;;",
                            "task 7 0 [Measurement vars success, ]"));
}

TEST_F(MeasureVarsCommand, NamesWhatWasRejectedAndSucceeds) {
    connected();
    EXPECT_THAT(
        journalOf(7,
                  [] {
                      MeasureVars("a", {variable("x", 0), variable()});
                  }),
        ElementsAre("log 2 Measure variables ecu(a)", "log 3 Ignore measure variable:x address size is 0",
                    "snd f4 01 00 00 00 10 00 00", "measure a 0 [v=2a] [x]",
                    "log 1 Task cmd result:(0) Measurement vars success;;",
                    "task 7 0 [Measurement vars success, ]"));
}

TEST_F(MeasureVarsCommand, AFailedReadSucceedsAllTheSame) {
    connected();
    m_a.answers("f4 ..", {"fe 24"});
    EXPECT_THAT(journalOf(7, [] { MeasureVars("a", {variable("w", 2)}); }),
                ElementsAre("log 2 Measure variables ecu(a)", "snd f4 02 00 00 00 10 00 00",
                            "log 3 The memory location is not accessible.",
                            "log 4 readData failed, var: w, total: 2,read: 1", "measure a 0 [w=] []",
                            "log 1 Task cmd result:(0) Measurement vars success;;",
                            "task 7 0 [Measurement vars success, ]"));
}

TEST_F(MeasureVarsCommand, ForAnUnknownEcuGivesZeroWithNoLineBeyondTheFirst) {
    EXPECT_THAT(journalOf(7, [] { MeasureVars("ghost", {variable()}); }),
                ElementsAre("log 2 Measure variables ecu(ghost)",
                            "log 1 Task cmd result:(0) Measurement vars success;;",
                            "task 7 0 [Measurement vars success, ]"));
}

class CalibrationCommand : public EngineTest {};

TEST_F(CalibrationCommand, WritesTheVariable) {
    connected();
    EXPECT_THAT(journalOf(8,
                          [] {
                              CalibrationVar("a", variable(), {0x2A, 0x2B});
                          }),
                ElementsAre("log 2 Calibration variables ecu(a)", "snd f6 00 00 00 00 10 00 00",
                            "snd f0 02 2a 2b", "log 1 Task cmd result:(0) Calibration vars success;a;",
                            "task 8 0 [Calibration vars success, a]"));
}

TEST_F(CalibrationCommand, AWriteThatTheEcuRefusedGivesZeroAndTheLogTells) {
    connected();
    m_a.answers("f6 ..", {"fe 22"});
    EXPECT_THAT(journalOf(8, [] { CalibrationVar("a", variable(), {0x2A}); }),
                ElementsAre("log 2 Calibration variables ecu(a)", "snd f6 00 00 00 00 10 00 00",
                            "log 3 Command syntax valid but command parameter(s) out of range.",
                            "log 4 SET_MTA failed", "log 1 Task cmd result:(0) Calibration vars success;a;",
                            "task 8 0 [Calibration vars success, a]"));
}

TEST_F(CalibrationCommand, OfAnUnknownEcuGivesTwoWithoutAMessage) {
    EXPECT_THAT(journalOf(8, [] { CalibrationVar("ghost", variable(), {0x2A}); }),
                ElementsAre("log 2 Calibration variables ecu(ghost)",
                            "log 4 Task cmd result:(2) Calibration vars failed;ghost;",
                            "task 8 2 [Calibration vars failed, ghost]"));
}

}  // namespace
