#include "engine/ProtoThread.h"
#include "tests/engine/EngineTest.h"
#include "tests/support/ThreadCount.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <limits>

namespace {

using engine_test::EngineTest;
using engine_test::Journal;
using engine_test::polls;
using engine_test::variable;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const char* const kLostA = "task 3 0 [ecu:a-Recive msg timeout]";
const char* const kLostB = "task 3 0 [ecu:b-Recive msg timeout]";

/// A budget that a test waits for; the others are out of reach.
constexpr std::uint16_t kBudgetMs = 200;

class PollingThread : public EngineTest {
protected:
    void TearDown() override {
        if (m_z != nullptr) {
            goesOn();
            resultOf(2, [] { EcuDisconnect(); });
            m_host.onEvent({});
        }
    }

    /// Connects both ECUs and measures "b" alone, by polling each millisecond: its values show the turns.
    void measuringBoth() {
        m_cfgA.supportedCmds.insert(0xF4);
        polls(m_cfgB);
        configure();
        connected({"a", "b"});
        ASSERT_EQ(resultOf(5, [] { StartMeasurement({{"b", {variable()}}}); }).result, 0);
        m_host.clear();
    }

    /// Gives "a" a keep-alive each millisecond and a time-out of @p timeoutMs.
    void watches(std::uint16_t timeoutMs, std::int32_t retryCount = 0) {
        m_cfgA.xcp.t1 = timeoutMs;
        m_cfgA.xcp.retryCount = retryCount;
        m_cfgA.xcp.statusPeriodMs = 1;
    }

    /// Waits until the polling thread has gone through all ECUs from now on, as "b" shows.
    void wholeTurn() {
        const std::size_t before = count("measure b 1");
        EXPECT_TRUE(support::waitFor([&] { return count("measure b 1") >= before + 3; }));
    }

    /// Lets "a" fall silent until the polling thread has seen it, and answer again until it has seen that.
    void passingLoss() {
        m_a.isSilent();
        keepAlives();
        wholeTurn();
        m_a.speaks();
        keepAlives();
        wholeTurn();
    }

    /// Waits for two more GET_STATUS for "a".
    void keepAlives() {
        const std::size_t before = m_a.count("fd");
        EXPECT_TRUE(support::waitFor([&] { return m_a.count("fd") >= before + 2; }));
    }

    /// Connects "a", "b" and "z" and polls "z" alone. The polling thread comes to "z" last in each turn and
    /// is kept there until the test lets it go on, so that it looks at the others only when the test wants
    /// it.
    void measuringHeld() {
        m_z = new support::ScriptedEcu(m_host, {0, 0x300, 0x301});
        EcuProtoCfg pacer = m_z->config(engine_test::kLongMs);
        pacer.ecuName = "z";
        pacer.xcp.statusPeriodMs = 0;
        polls(pacer);
        m_cfgA.xcp.t3 = m_cfgB.xcp.t3 = 1;
        setProtoCfgs({m_cfgA, m_cfgB, pacer});
        connected({"a", "b", "z"});
        m_host.onEvent([this](const std::string& entry) {
            if (entry.rfind("measure z 1", 0) == 0) {
                const int turn = ++m_turns;
                support::waitFor([this, turn] { return m_allowed >= turn; });
            }
        });
        startsPacer();
        ASSERT_TRUE(support::waitFor([this] { return m_turns == 1; }));
    }

    void startsPacer() {
        ASSERT_EQ(resultOf(5, [] { StartMeasurement({{"z", {variable()}}}); }).result, 0);
    }

    /// Lets the turn that is held end, and holds the next one.
    void nextTurn() {
        const int held = m_turns;
        m_allowed = held;
        ASSERT_TRUE(support::waitFor([&] { return m_turns > held; }));
    }

    /// Holds no turn any more.
    void goesOn() { m_allowed = std::numeric_limits<int>::max(); }

    /// Loses the link to "a" or "b" at once, whatever its budget: PROGRAM_START has a time-out of its own.
    void losesLink(const std::string& name) {
        (name == "a" ? m_a : m_b).answers("d2", {});
        resultOf(9, [&] { EarseEcu(name, mcMemCode); });
    }

    /// Connects ECUs anew, as configured by now.
    void comeBack(const std::vector<std::string>& names) {
        configure();
        connected(names);
    }

    /// Lets a loss of "a" be reported, throws the disconnect behind it away, and connects "a" and "b" anew.
    void losesLinkWithoutADisconnect() {
        m_cfgA.xcp.t1 = kBudgetMs;
        measuringHeld();
        losesLink("a");
        m_b.holdsBack();
        MeasureVars("b", {variable()});
        ASSERT_TRUE(support::waitFor([this] { return m_b.count("f6 ..") == 1; }));
        goesOn();
        ASSERT_TRUE(shows(kLostA));
        for (std::size_t i = 0; i < ProtoThread::kQueueLimit; ++i) {
            MeasureVars("ghost", {});
        }
        // The report comes ahead of its disconnect. Only with that the queue takes one command too many.
        ASSERT_TRUE(shows("log 3 Command queue full"));
        stopAllTask();
        m_b.releases();
        comeBack({"a", "b"});
        ASSERT_TRUE(isMeasureing());
    }

    support::ScriptedEcu* m_z = nullptr;  ///< lives as long as the process, like the other ECUs
    std::atomic<int> m_turns = 0;         ///< turns that have come to "z"
    std::atomic<int> m_allowed = 0;       ///< turns that may go on behind "z"
};

TEST_F(PollingThread, DeliversPolledValuesWithKind1) {
    m_a.answers("f4 01 00 00 00 10 00 00", {"ff 2a"});
    measuring();
    ASSERT_TRUE(shows("measure a 1"));
    const support::Measured measured = m_host.measured().at(0);
    EXPECT_EQ(measured.ecuName, "a");
    EXPECT_EQ(measured.kind, 1);
    ASSERT_EQ(measured.values.size(), 1U);
    EXPECT_EQ(measured.values.at(0).name, "v");
    EXPECT_THAT(measured.values.at(0).data, ElementsAre(0x2A));
    EXPECT_THAT(measured.rejected, IsEmpty());
}

TEST_F(PollingThread, GoesOnWhileTheWorkerRunsACommand) {
    measuringBoth();
    m_a.holdsBack();
    MeasureVars("a", {variable()});
    ASSERT_TRUE(support::waitFor([this] { return m_a.count("f4 ..") == 1; }));
    const std::size_t before = count("measure b 1");
    EXPECT_TRUE(support::waitFor([&] { return count("measure b 1") > before + 3; }));
    EXPECT_EQ(count("task 7"), 0U);
    m_a.releases();
    EXPECT_TRUE(shows("task 7 0"));
}

TEST_F(PollingThread, ReportsALostLinkAndTheQueuedDisconnectRuns) {
    watches(20);
    measuringBoth();
    m_a.isSilent();
    ASSERT_TRUE(shows("task 2 0"));
    const Journal journal = m_host.journal();
    EXPECT_THAT(journal, Contains("log 1 Task cmd result:(0) ecu:a-Recive msg timeout;"));
    EXPECT_THAT(journal, Contains(kLostA));
    EXPECT_THAT(journal, Contains("log 2 Disconnect ecu(a)"));
    EXPECT_THAT(journal, Contains("log 2 Disconnect ecu(b)"));
    EXPECT_FALSE(isConnectEcu());
    EXPECT_FALSE(isMeasureing());
    EXPECT_FALSE(isEcuConnect("a"));
    EXPECT_FALSE(isEcuConnect("b"));
    EXPECT_EQ(m_b.count("fe"), 1U);
}

TEST_F(PollingThread, ReportsALossOnceAndThenIsGone) {
    watches(20);
    measuringBoth();
    m_a.isSilent();
    ASSERT_TRUE(shows("task 2 0"));
    const std::size_t polled = m_b.count("f4 ..");
    settles();
    EXPECT_EQ(count("task 3"), 1U);
    EXPECT_EQ(count("task 2"), 1U);
    EXPECT_EQ(m_b.count("f4 .."), polled);
}

TEST_F(PollingThread, EndsBehindItsReportWithoutWaitingForTheDisconnect) {
    watches(20);
    measuringBoth();
    const std::size_t threads = support::threadCount();
    if (threads == 0) {
        GTEST_SKIP() << "threads cannot be counted here";
    }
    std::atomic<bool> released = false;
    m_host.onEvent([&](const std::string& entry) {
        if (entry == "log 3 Send GetStatus failed.") {
            support::waitFor([&] { return released.load(); });
        }
    });
    m_a.isSilent();
    ASSERT_TRUE(shows("task 3"));
    EXPECT_TRUE(support::waitFor([&] { return support::threadCount() == threads - 1; }));
    EXPECT_EQ(count("task 2"), 0U);
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isMeasureing());
    released = true;
    EXPECT_TRUE(shows("task 2 0"));
    m_host.onEvent({});
}

TEST_F(PollingThread, NamesOnlyTheLostEcusWithTheirDetails) {
    watches(20);
    measuringBoth();
    m_a.isSilent();
    ASSERT_TRUE(shows("task 3"));
    const std::vector<support::TaskResult> results = m_host.taskResults();
    EXPECT_EQ(results.at(0).command, 3U);
    EXPECT_EQ(results.at(0).result, 0);
    EXPECT_THAT(results.at(0).details, ElementsAre("ecu:a-Recive msg timeout"));
}

TEST_F(PollingThread, NamesAllEcusWhoseBudgetsHaveRunOutInOneReport) {
    m_cfgA.xcp.t1 = m_cfgB.xcp.t1 = kBudgetMs;
    measuringHeld();
    losesLink("a");
    nextTurn();
    losesLink("b");
    passes(std::chrono::milliseconds(kBudgetMs));
    goesOn();
    ASSERT_TRUE(shows("task 3"));
    EXPECT_EQ(count("task 3 0 [ecu:a-Recive msg timeout, ecu:b-Recive msg timeout]"), 1U);
    EXPECT_TRUE(shows("task 2 0"));
    EXPECT_EQ(m_z->count("fe"), 1U);
}

TEST_F(PollingThread, ALossIsReportedAtItsFirstLookIfAnEarlierOneHasUsedUpItsBudget) {
    m_cfgB.xcp.t1 = kBudgetMs;
    measuringHeld();
    losesLink("a");
    nextTurn();
    passes(std::chrono::milliseconds(kBudgetMs));
    losesLink("b");
    const int held = m_turns;
    goesOn();
    ASSERT_TRUE(shows(kLostB));
    EXPECT_EQ(m_turns, held + 1);
}

TEST_F(PollingThread, LossesThatTakeTurnsDoNotStartTheClockAgain) {
    measuringHeld();
    losesLink("a");
    nextTurn();
    passes(std::chrono::milliseconds(kBudgetMs));
    losesLink("b");
    m_cfgA.xcp.t1 = kBudgetMs;
    comeBack({"a"});
    nextTurn();
    comeBack({"b"});
    losesLink("a");
    const int held = m_turns;
    goesOn();
    ASSERT_TRUE(shows(kLostA));
    EXPECT_EQ(m_turns, held + 1);
}

TEST_F(PollingThread, ALinkThatComesBackBeforeItsBudgetRanOutCausesNoReport) {
    // The link looks lost after 50 ms of silence and would be reported a second later.
    watches(50, 20);
    measuringBoth();
    passingLoss();
    settles();
    EXPECT_EQ(count("task 3"), 0U);
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isMeasureing());
}

TEST_F(PollingThread, ALinkThatCameBackStartsItsBudgetAnew) {
    watches(50, 20);
    measuringBoth();
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);
    while (std::chrono::steady_clock::now() < end) {
        passingLoss();
    }
    settles();
    EXPECT_EQ(count("task 3"), 0U);
    EXPECT_TRUE(isConnectEcu());
}

TEST_F(PollingThread, TwoLossesAreReportedEach) {
    watches(20);
    for (int loss = 0; loss < 2; ++loss) {
        m_a.speaks();
        measuringBoth();
        m_a.isSilent();
        ASSERT_TRUE(shows("task 2 0"));
        EXPECT_EQ(count(kLostA), 1U);
        EXPECT_FALSE(isConnectEcu());
    }
}

TEST_F(PollingThread, AFreshStartClearsAnEarlierLoss) {
    watches(20);
    measuringBoth();
    m_a.isSilent();
    ASSERT_TRUE(shows("task 2 0"));
    m_a.speaks();
    measuringBoth();
    wholeTurn();
    EXPECT_EQ(count("task 3"), 0U);
    EXPECT_TRUE(isMeasureing());
}

TEST_F(PollingThread, ALossBehindAFreshStartIsReportedThoughNoDisconnectFollowedTheFirst) {
    losesLinkWithoutADisconnect();
    startsPacer();
    losesLink("a");
    EXPECT_TRUE(shows(kLostA));
}

TEST_F(PollingThread, AFreshStartSetsTheClockOfALossBack) {
    losesLinkWithoutADisconnect();
    losesLink("a");
    const int before = m_turns;
    startsPacer();
    ASSERT_TRUE(shows(kLostA));
    EXPECT_GT(m_turns, before + 1);
}

TEST_F(PollingThread, ADeadLinkIsNotNoticedWithoutAMeasurement) {
    watches(5);
    configure();
    connected();
    m_a.isSilent();
    ASSERT_TRUE(support::waitFor([this] { return count("log 3 Send GetStatus failed.") > 30; }));
    EXPECT_EQ(count("task"), 0U);
    EXPECT_TRUE(isConnectEcu());
}

TEST_F(PollingThread, ALostEcuRefusesToSend) {
    watches(5);
    configure();
    connected();
    m_a.isSilent();
    ASSERT_TRUE(shows("log 4 连接已断开"));
    const std::size_t sent = m_a.sentFrames().size();
    EXPECT_EQ(resultOf(8, [] { CalibrationVar("a", variable(), {1}); }).result, 0);
    EXPECT_EQ(m_a.sentFrames().size(), sent);
    EXPECT_THAT(m_host.journal(), Contains("log 4 SET_MTA failed"));
}

TEST_F(PollingThread, ALostPolledReadIsReportedToo) {
    m_cfgA.xcp.t1 = 20;
    measuring();
    ASSERT_TRUE(shows("measure a 1"));
    m_a.isSilent();
    ASSERT_TRUE(shows("task 2 0"));
    EXPECT_EQ(count(kLostA), 1U);
}

TEST_F(PollingThread, AnEcuWithoutATimeOutIsLostFromItsConnectOn) {
    m_cfgA.xcp.t1 = 0;
    polls(m_cfgB);
    configure();
    connected({"b"});
    EXPECT_EQ(resultOf(1, [] { EcuConnect({"a"}); }).result, 3);
    ASSERT_EQ(resultOf(5, [] { StartMeasurement({{"b", {variable()}}}); }).result, 0);
    ASSERT_TRUE(shows("task 2 0"));
    EXPECT_EQ(count(kLostA), 1U);
}

}  // namespace
