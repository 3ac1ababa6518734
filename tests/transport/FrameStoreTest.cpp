#include "transport/FrameStore.h"

#include "tests/support/TestHost.h"
#include "tests/transport/TransportTestSupport.h"
#include "transport/IdRegistry.h"

#include <thread>

#include <gtest/gtest.h>

using namespace transport_test;

namespace {

void receivesMany(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        receives(2, "01", i);
    }
}

}  // namespace

TEST(FrameStore, FramesComeOutOldestFirstAndOnlyOnce) {
    registerIds({2});
    receives(2, "01");
    receives(2, "02");
    EXPECT_EQ(text(takeFrames(0, 2, false)), "2:01 | 2:02");
    EXPECT_TRUE(takeFrames(0, 2, false).empty());
}

TEST(FrameStore, ListOf4096FramesIsComplete) {
    registerIds({2});
    receivesMany(4096);
    const std::list<msgBuf> taken = takeFrames(0, 2, false);
    EXPECT_EQ(taken.size(), 4096U);
    EXPECT_EQ(taken.front().time, 0U);
}

TEST(FrameStore, ListAt4096LosesItsOldestFrameWithTheNext) {
    registerIds({2});
    receivesMany(4097);
    const std::list<msgBuf> taken = takeFrames(0, 2, false);
    EXPECT_EQ(taken.size(), 4096U);
    EXPECT_EQ(taken.front().time, 1U);
    EXPECT_EQ(taken.back().time, 4096U);
}

TEST(FrameStore, FrameOnAnotherChannelHasAListOfItsOwn) {
    registerIds({2});
    receives(2, "01", 0, 0);
    receives(2, "02", 0, 7);
    EXPECT_EQ(text(takeFrames(0, 2, false)), "2:01");
    EXPECT_EQ(text(takeFrames(7, 2, false)), "2:02");
}

TEST(FrameStore, EraseDropsTheListsOfOneChannelOnly) {
    registerIds({2, 3});
    receives(2, "01");
    receives(3, "01");
    receives(2, "01", 0, 7);
    frameStore().erase(0, {2});
    EXPECT_TRUE(takeFrames(0, 2, false).empty());
    EXPECT_EQ(takeFrames(0, 3, false).size(), 1U);
    EXPECT_EQ(takeFrames(7, 2, false).size(), 1U);
}

TEST(FrameStore, WaitingTakeReturnsEmptyIfNothingComes) {
    registerIds({2});
    EXPECT_TRUE(takeFrames(0, 2, true).empty());
}

TEST(FrameStore, WaitingTakeFindsAFrameThatAnotherThreadBrings) {
    registerIds({2});
    std::thread bus([] { receives(2, "05"); });
    std::list<msgBuf> taken;
    EXPECT_TRUE(support::waitFor([&taken] { return !(taken = takeFrames(0, 2, true)).empty(); }));
    bus.join();
    EXPECT_EQ(text(taken), "2:05");
}

TEST(FrameStore, ManyThreadsLoseNoFrame) {
    registerIds({2});
    std::vector<std::thread> buses;
    for (int i = 0; i < 4; ++i) {
        buses.emplace_back([] { receivesMany(500); });
    }
    std::size_t taken = 0;
    EXPECT_TRUE(support::waitFor([&taken] { return (taken += takeFrames(0, 2, true).size()) == 2000; }));
    for (std::thread& bus : buses) {
        bus.join();
    }
}
