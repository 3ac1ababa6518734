#include "engine/BaseThread.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using support::waitFor;

/// Counts what a thread does.
class CountingThread : public BaseThread {
public:
    ~CountingThread() override { end(); }

    void onStart() override {
        ++m_starts;
        m_turnsAtStart = m_turns.load();
        m_starter = std::this_thread::get_id();
    }

    void run() override {
        m_runner = std::this_thread::get_id();
        ++m_turns;
        std::this_thread::yield();
    }

    void onStop() override { ++m_stops; }

    using BaseThread::end;

    std::atomic<int> m_starts = 0;
    std::atomic<int> m_stops = 0;
    std::atomic<int> m_turns = 0;
    std::atomic<int> m_turnsAtStart = -1;
    std::atomic<std::thread::id> m_starter;
    std::atomic<std::thread::id> m_runner;
};

TEST(BaseThreadStart, DoesNothingByItself) {
    const CountingThread thread;
    EXPECT_EQ(thread.m_starts, 0);
    EXPECT_EQ(thread.m_turns, 0);
}

TEST(BaseThreadStart, CallsOnStartAheadOfTheFirstTurnOnTheStartersThread) {
    CountingThread thread;
    thread.start();
    EXPECT_EQ(thread.m_starts, 1);
    EXPECT_EQ(thread.m_turnsAtStart, 0);
    EXPECT_EQ(thread.m_starter.load(), std::this_thread::get_id());
}

TEST(BaseThreadStart, RunsTurnsOnAThreadOfItsOwn) {
    CountingThread thread;
    thread.start();
    EXPECT_TRUE(waitFor([&] { return thread.m_turns > 3; }));
    EXPECT_NE(thread.m_runner.load(), std::this_thread::get_id());
}

TEST(BaseThreadStart, ASecondOneDoesNothing) {
    CountingThread thread;
    thread.start();
    thread.start();
    EXPECT_EQ(thread.m_starts, 1);
}

TEST(BaseThreadStart, OfManyAtOnceStartsOneThread) {
    CountingThread thread;
    {
        std::vector<std::jthread> starters;
        for (int i = 0; i < 8; ++i) {
            starters.emplace_back([&] { thread.start(); });
        }
    }
    EXPECT_EQ(thread.m_starts, 1);
}

TEST(BaseThreadEnd, EndsTheTurnsWithoutCallingOnStop) {
    CountingThread thread;
    thread.start();
    ASSERT_TRUE(waitFor([&] { return thread.m_turns > 0; }));
    thread.end();
    const int turns = thread.m_turns;
    std::this_thread::yield();
    EXPECT_EQ(thread.m_turns, turns);
    EXPECT_EQ(thread.m_stops, 0);
}

TEST(BaseThreadEnd, LetsNoNewThreadStart) {
    CountingThread thread;
    thread.end();
    thread.start();
    EXPECT_EQ(thread.m_starts, 0);
}

TEST(BaseThreadEnd, TwiceIsHarmless) {
    CountingThread thread;
    thread.start();
    thread.end();
    thread.end();
}

}  // namespace
