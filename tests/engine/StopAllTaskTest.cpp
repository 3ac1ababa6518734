#include "tests/engine/EngineTest.h"
#include "transport/StopFlag.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using engine_test::EngineTest;
using engine_test::Journal;
using engine_test::offersDaq;
using engine_test::variable;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const char* const kRefused = "log 3 callback sndFun is nullptr or isStopTransmit";

class StopAllTask : public EngineTest {
protected:
    /// Stops until a result of @p command has come: one stop can pass unseen on a machine that is busy.
    void stopsUntil(const std::string& head) {
        do {
            stopAllTask();
        } while (count(head) == 0);
    }
};

TEST_F(StopAllTask, WritesOneLineAndBlocksForItsTime) {
    const auto begin = std::chrono::steady_clock::now();
    stopAllTask();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
    EXPECT_THAT(m_host.journal(), ElementsAre("log 3 stopTaskCmd"));
}

TEST_F(StopAllTask, WritesItsLineOnTheThreadOfTheCaller) {
    std::thread::id writer;
    m_host.onEvent([&](const std::string&) { writer = std::this_thread::get_id(); });
    stopAllTask();
    m_host.onEvent({});
    EXPECT_EQ(writer, std::this_thread::get_id());
}

TEST_F(StopAllTask, EndsACommandInItsMiddleWithItsFailure) {
    m_a.isSilent();
    EcuConnect({"a"});
    ASSERT_TRUE(support::waitFor([this] { return m_a.count("ff 00") == 1; }));
    stopsUntil("task 1");
    EXPECT_EQ(count("task 1 3 [Connect failed, ]"), 1U);
    EXPECT_EQ(count("log 4 Connect error: 3"), 1U);
}

TEST_F(StopAllTask, EndsACommandThatRepeatsWithoutLimit) {
    m_cfgA.xcp.t1 = 2;
    m_cfgA.xcp.retryCount = -1;
    configure();
    m_a.isSilent();
    EcuConnect({"a"});
    ASSERT_TRUE(support::waitFor([this] { return m_a.count("ff 00") > 3; }));
    stopsUntil("task 1");
    EXPECT_EQ(count("task 1 3"), 1U);
}

TEST_F(StopAllTask, EndsAWaitBetweenRepeats) {
    m_cfgA.xcp.retryCount = 1;
    m_cfgA.xcp.retryDelayMs = 60000;
    configure();
    m_a.answers("ff 00", {"fe 31"});
    EcuConnect({"a"});
    ASSERT_TRUE(support::waitFor([this] { return m_a.count("ff 00") == 2; }));
    stopsUntil("task 1");
    EXPECT_EQ(count("task 1 3"), 1U);
}

TEST_F(StopAllTask, DropsTheQueue) {
    m_a.isSilent();
    EcuConnect({"a"});
    ASSERT_TRUE(support::waitFor([this] { return m_a.count("ff 00") == 1; }));
    EcuConnect({"b"});
    SetCalPage("b", true);
    stopsUntil("task 1");
    settles();
    EXPECT_EQ(count("task 1"), 2U);
    EXPECT_EQ(count("task 9"), 0U);
    EXPECT_EQ(m_b.count("ff 00"), 0U);
}

TEST_F(StopAllTask, KeepsConnectionAndMeasurement) {
    measuring();
    stopAllTask();
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isEcuConnect("a"));
    EXPECT_TRUE(isMeasureing());
    EXPECT_EQ(count("task"), 0U);
    EXPECT_EQ(count("log 2"), 0U);
}

TEST_F(StopAllTask, TheEngineGoesOnAfterIt) {
    connected();
    stopAllTask();
    EXPECT_EQ(resultOf(8, [] { CalibrationVar("a", variable(), {1}); }).result, 0);
    EXPECT_EQ(m_a.count("f0 01 01"), 1U);
}

TEST_F(StopAllTask, ThePollingGoesOnAfterIt) {
    connected();
    ASSERT_EQ(resultOf(5, [] { StartMeasurement({}); }).result, 0);
    stopAllTask();
    m_cfgA.xcp.t1 = 0;
    configure();
    EcuConnect({"a"});
    EXPECT_TRUE(shows("task 3 0 [ecu:a-Recive msg timeout]"));
}

TEST_F(StopAllTask, MayBeCalledByTwoThreadsAtOnce) {
    {
        const std::jthread other([] { stopAllTask(); });
        stopAllTask();
    }
    EXPECT_EQ(count("log 3 stopTaskCmd"), 2U);
    connected();
}

/// The 100 ms of a stop, held for as long as a test wants them.
class StopRaised : public EngineTest {
protected:
    void TearDown() override { stopFlag().setStopTransmit(false); }

    /// Measures "b" by DAQ, with a keep-alive of "a" each millisecond, and raises the flag in the delivery of
    /// the value 11 of "b": that is the last thing that the worker does in a turn.
    void raisedAtTheEndOfATurn() {
        m_cfgA.xcp.statusPeriodMs = 1;
        offersDaq(m_cfgB);
        configure();
        connected({"a", "b"});
        ASSERT_EQ(resultOf(5, [] { StartMeasurement({{"b", {variable()}}}); }).result, 0);
        m_host.clear();
        m_host.onEvent([](const std::string& entry) {
            if (entry == "measure b 2 [v=11] []") {
                stopFlag().setStopTransmit(true);
            }
        });
        m_b.sends("00 11", 100);
        m_b.sends("00 22", 200);
        ASSERT_TRUE(support::waitFor([] { return stopFlag().isStopped(); }));
    }
};

TEST_F(StopRaised, SendsAreRefusedWithALine) {
    connected();
    // The flag goes up while the ECU is asked for the first of three variables.
    m_a.answersBy("f5 ..", [](const std::string&) {
        stopFlag().setStopTransmit(true);
        return support::ScriptedEcu::Responses{"fe 24"};
    });
    MeasureVars("a", {variable("u", 6), variable("v", 6), variable("w", 6)});
    ASSERT_TRUE(shows("task 7"));
    EXPECT_THAT(m_host.journal(),
                ElementsAre("log 2 Measure variables ecu(a)", "snd f6 00 00 00 00 10 00 00", "snd f5 06",
                            "log 4 readData failed, var: u, total: 6,read: 0", kRefused,
                            "log 4 readData failed, var: v, total: 6,read: 1", "log 4 连接已断开",
                            "log 4 readData failed, var: w, total: 6,read: 1", "measure a 0 [u=, v=, w=] []",
                            "log 1 Task cmd result:(0) Measurement vars success;;",
                            "task 7 0 [Measurement vars success, ]"));
}

TEST_F(StopRaised, CommandsWaitUntilItIsOver) {
    connected();
    stopFlag().setStopTransmit(true);
    MeasureVars("ghost", {});
    passes(std::chrono::milliseconds(50));
    // A stop of its own drops what waits; so the command must still be there to be dropped.
    stopAllTask();
    settles();
    EXPECT_EQ(count("task 7"), 0U);
    EXPECT_EQ(count("log 2"), 0U);
}

TEST_F(StopRaised, TheIdleWorkerSendsNothingSoThatNoLinkIsLost) {
    raisedAtTheEndOfATurn();
    const std::size_t sent = m_a.count("fd");
    passes(std::chrono::milliseconds(50));
    EXPECT_EQ(m_a.count("fd"), sent);
    stopFlag().setStopTransmit(false);
    EXPECT_TRUE(support::waitFor([&] { return m_a.count("fd") > sent + 2; }));
    EXPECT_THAT(m_host.logTexts(3), IsEmpty());
    EXPECT_THAT(m_host.logTexts(4), IsEmpty());
}

TEST_F(StopRaised, DaqFramesWaitUntilItIsOver) {
    raisedAtTheEndOfATurn();
    m_b.sends("00 33", 300);
    passes(std::chrono::milliseconds(50));
    EXPECT_EQ(count("measure b 2"), 1U);
    stopFlag().setStopTransmit(false);
    EXPECT_TRUE(shows("measure b 2 [v=22] []"));
}

TEST_F(StopRaised, ThePollingThreadIdlesUntilItIsOver) {
    m_cfgA.xcp.t1 = 5;
    measuring();
    // The read that meets the flag ends as a loss, long past its budget when the flag goes down.
    m_a.answersBy("f4 ..", [](const std::string&) {
        stopFlag().setStopTransmit(true);
        return support::ScriptedEcu::Responses{};
    });
    ASSERT_TRUE(support::waitFor([] { return stopFlag().isStopped(); }));
    passes(std::chrono::milliseconds(100));
    EXPECT_EQ(count("task 3"), 0U);
    stopFlag().setStopTransmit(false);
    EXPECT_TRUE(shows("task 3 0 [ecu:a-Recive msg timeout]"));
}

}  // namespace
