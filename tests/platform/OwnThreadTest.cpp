#include "platform/OwnThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using platform::OwnThread;

TEST(OwnThread, RunsItsBodyOnAnotherThreadThanItsStarter) {
    std::atomic<bool> done = false;
    std::thread::id runner;
    OwnThread thread;
    thread.start([&] {
        runner = std::this_thread::get_id();
        done = true;
        done.notify_all();
    });
    done.wait(false);
    thread.join();
    EXPECT_NE(runner, std::thread::id());
    EXPECT_NE(runner, std::this_thread::get_id());
}

TEST(OwnThread, JoinReturnsOnlyBehindABodyThatHasBegun) {
    std::atomic<bool> begun = false;
    std::atomic<bool> joins = false;
    bool returned = false;
    OwnThread thread;
    thread.start([&] {
        begun = true;
        begun.notify_all();
        joins.wait(false);
        returned = true;
    });
    begun.wait(false);
    joins = true;
    joins.notify_all();
    thread.join();
    EXPECT_TRUE(returned);
}

TEST(OwnThread, StartsAgainBehindAJoin) {
    std::atomic<int> runs = 0;
    OwnThread thread;
    for (int round = 0; round < 3; ++round) {
        thread.start([&] {
            ++runs;
            runs.notify_all();
        });
        runs.wait(round);
        thread.join();
    }
    EXPECT_EQ(runs, 3);
}

TEST(OwnThread, JoinOfOneThatWasNeverStartedReturnsAtOnce) {
    OwnThread thread;
    thread.join();
    thread.join();
    std::atomic<bool> ran = false;
    thread.start([&] {
        ran = true;
        ran.notify_all();
    });
    ran.wait(false);
    thread.join();
    EXPECT_TRUE(ran);
}

TEST(OwnThread, ManyRunBesideEachOther) {
    constexpr int kCount = 20;
    std::atomic<int> waiting = 0;
    OwnThread threads[kCount];
    for (OwnThread& thread : threads) {
        thread.start([&waiting] {
            ++waiting;
            waiting.notify_all();
            for (int seen = waiting; seen < kCount; seen = waiting) {
                waiting.wait(seen);
            }
        });
    }
    for (int seen = waiting; seen < kCount; seen = waiting) {
        waiting.wait(seen);
    }
    for (OwnThread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(waiting, kCount);
}
