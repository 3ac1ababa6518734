#include "platform/OwnThread.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>

using platform::OwnThread;

namespace {

/// Counts what threads have reached. Not an atomic to wait for: that of the C++ library of mingw-w64 looks at
/// the value ahead of its lock, so that it can sleep through the only call.
class Count {
public:
    void up() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_value;
        m_changed.notify_all();
    }

    /// Waits until it is @p least or more.
    void awaits(int least) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this, least] { return m_value >= least; });
    }

    [[nodiscard]] int value() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_value;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_value = 0;
};

}  // namespace

TEST(OwnThread, RunsItsBodyOnAnotherThreadThanItsStarter) {
    Count done;
    std::thread::id runner;
    OwnThread thread;
    thread.start([&] {
        runner = std::this_thread::get_id();
        done.up();
    });
    done.awaits(1);
    thread.join();
    EXPECT_NE(runner, std::thread::id());
    EXPECT_NE(runner, std::this_thread::get_id());
}

TEST(OwnThread, JoinReturnsOnlyBehindABodyThatHasBegun) {
    Count begun;
    Count joins;
    bool returned = false;
    OwnThread thread;
    thread.start([&] {
        begun.up();
        joins.awaits(1);
        returned = true;
    });
    begun.awaits(1);
    joins.up();
    thread.join();
    EXPECT_TRUE(returned);
}

TEST(OwnThread, StartsAgainBehindAJoin) {
    Count runs;
    OwnThread thread;
    for (int round = 1; round <= 3; ++round) {
        thread.start([&] { runs.up(); });
        runs.awaits(round);
        thread.join();
    }
    EXPECT_EQ(runs.value(), 3);
}

TEST(OwnThread, JoinOfOneThatWasNeverStartedReturnsAtOnce) {
    OwnThread thread;
    thread.join();
    thread.join();
    Count runs;
    thread.start([&] { runs.up(); });
    runs.awaits(1);
    thread.join();
    EXPECT_EQ(runs.value(), 1);
}

TEST(OwnThread, ManyRunBesideEachOther) {
    constexpr int kCount = 20;
    Count waiting;
    OwnThread threads[kCount];
    for (OwnThread& thread : threads) {
        thread.start([&] {
            waiting.up();
            waiting.awaits(kCount);
        });
    }
    waiting.awaits(kCount);
    for (OwnThread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(waiting.value(), kCount);
}
