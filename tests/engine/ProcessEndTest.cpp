#include "tests/engine/EngineTest.h"
#include "tests/support/ThreadCount.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#if defined(__unix__)
#include <unistd.h>
#endif

#if GTEST_HAS_DEATH_TEST && defined(__unix__)

namespace {

using engine_test::EngineTest;
using engine_test::offersDaq;
using engine_test::variable;
using support::threadCount;

std::size_t g_threadsBefore = 0;
std::atomic<bool> g_ended = false;

/// Runs behind the end of the engine, because it was registered ahead of its beginning.
void checkEnded() {
    g_ended = true;
    if (!support::waitFor([] { return threadCount() <= g_threadsBefore; }, std::chrono::seconds(10))) {
        std::fputs("threads are left\n", stderr);
        std::_Exit(3);
    }
}

/// A process of its own that ends while the engine is at work.
class ProcessEnd : public EngineTest {
protected:
    /// The engine of this process is not touched: only the child's is.
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    /// Begins a child: it ends by a signal if it has not ended by itself in time.
    void begins() {
        alarm(120);
        g_threadsBefore = threadCount();
        std::atexit(checkEnded);
        EngineTest::SetUp();
        m_host.onEvent([](const std::string& entry) {
            if (g_ended) {
                std::fprintf(stderr, "called behind its end: %s\n", entry.c_str());
                std::_Exit(4);
            }
        });
    }

    /// Ends the child, as a return from main does, if @p isAtWork.
    [[noreturn]] static void ends(bool isAtWork) { std::exit(isAtWork ? 0 : 5); }
};

TEST_F(ProcessEnd, WithoutACommandIsOrdinary) {
    EXPECT_EXIT(
        {
            begins();
            ends(!isConnectEcu());
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessEnd, WhileEcusAreConnectedSendsNothingMore) {
    EXPECT_EXIT(
        {
            begins();
            connected({"a", "b"});
            ends(isConnectEcu());
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessEnd, WhileAMeasurementPolls) {
    EXPECT_EXIT(
        {
            begins();
            measuring();
            ends(static_cast<bool>(shows("measure a 1")));
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessEnd, WhileDaqFramesAreTurnedIntoValues) {
    EXPECT_EXIT(
        {
            begins();
            offersDaq(m_cfgA);
            configure();
            connected();
            resultOf(5, [] { StartMeasurement({{"a", {variable()}}}); });
            for (std::uint64_t time = 0; time < 2000; ++time) {
                m_a.sends("00 11", time);
            }
            ends(static_cast<bool>(shows("measure a 2")));
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessEnd, WhileACommandRepeatsWithoutLimit) {
    EXPECT_EXIT(
        {
            begins();
            m_cfgA.xcp.t1 = 2;
            m_cfgA.xcp.retryCount = -1;
            configure();
            m_a.isSilent();
            EcuConnect({"a"});
            ends(support::waitFor([this] { return m_a.count("ff 00") > 3; }));
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessEnd, WhileACommandRepeatsWithoutLimitAndALongPause) {
    EXPECT_EXIT(
        {
            begins();
            m_cfgA.xcp.retryCount = -1;
            m_cfgA.xcp.retryDelayMs = 3600000;
            configure();
            m_a.answers("ff 00", {"fe 31"});
            EcuConnect({"a"});
            ends(support::waitFor([this] { return m_a.count("ff 00") == 2; }));
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessEnd, WhileACommandWaitsForALongTime) {
    EXPECT_EXIT(
        {
            begins();
            m_a.isSilent();
            EcuConnect({"a"});
            ends(support::waitFor([this] { return m_a.count("ff 00") == 1; }));
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessEnd, WhileAnEcuSaysThatItIsBusy) {
    EXPECT_EXIT(
        {
            begins();
            m_a.answers("ff 00", {"fe 10", "fe 10", "fe 10"});
            EcuConnect({"a"});
            ends(support::waitFor([this] { return m_a.count("ff 00") == 1; }));
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessEnd, WhileTheQueueIsFull) {
    EXPECT_EXIT(
        {
            begins();
            m_a.isSilent();
            EcuConnect({"a"});
            const bool waits = support::waitFor([this] { return m_a.count("ff 00") == 1; });
            for (int i = 0; i < 101; ++i) {
                MeasureVars("b", {variable()});
            }
            ends(waits && count("log 3 Command queue full(100)") == 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessEnd, WhileALostLinkIsReported) {
    EXPECT_EXIT(
        {
            begins();
            m_cfgA.xcp.t1 = 2;
            measuring();
            m_a.isSilent();
            ends(static_cast<bool>(shows("task 3")));
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace

#else

TEST(ProcessEnd, NeedsChildProcesses) {
    GTEST_SKIP() << "no child processes here";
}

#endif
