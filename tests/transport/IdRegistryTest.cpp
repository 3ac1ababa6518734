#include "transport/IdRegistry.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

TEST(IdRegistry, NothingIsWantedAtFirst) {
    IdRegistry registry;
    EXPECT_FALSE(registry.isWanted(0));
    EXPECT_FALSE(registry.isWanted(2));
}

TEST(IdRegistry, RegisteredIdIsWantedUntilReleased) {
    IdRegistry registry;
    registry.registerIds({2, 0x1FFFFFFF});
    EXPECT_TRUE(registry.isWanted(2));
    EXPECT_TRUE(registry.isWanted(0x1FFFFFFF));
    EXPECT_FALSE(registry.isWanted(3));
    registry.releaseIds({2});
    EXPECT_FALSE(registry.isWanted(2));
    EXPECT_TRUE(registry.isWanted(0x1FFFFFFF));
}

TEST(IdRegistry, IdRegisteredTwiceStaysWantedUntilTheSecondRelease) {
    IdRegistry registry;
    registry.registerIds({2});
    registry.registerIds({2, 3});
    registry.releaseIds({2, 3});
    EXPECT_TRUE(registry.isWanted(2));
    EXPECT_FALSE(registry.isWanted(3));
    registry.releaseIds({2});
    EXPECT_FALSE(registry.isWanted(2));
}

TEST(IdRegistry, ReleaseOfAnUnknownIdChangesNothing) {
    IdRegistry registry;
    registry.releaseIds({2});
    registry.registerIds({2});
    EXPECT_TRUE(registry.isWanted(2));
}

TEST(IdRegistry, FlagBitsMakeAnotherIdentifier) {
    IdRegistry registry;
    registry.registerIds({0x80000002});
    EXPECT_FALSE(registry.isWanted(2));
    EXPECT_TRUE(registry.isWanted(0x80000002));
}

TEST(IdRegistry, LookUpsRunBesideRegistrations) {
    IdRegistry registry;
    registry.registerIds({1});
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < 3; ++i) {
        threads.emplace_back([&registry, i] {
            for (std::uint32_t round = 0; round < 200; ++round) {
                registry.registerIds({10 + i});
                EXPECT_TRUE(registry.isWanted(1));
                registry.releaseIds({10 + i});
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(registry.isWanted(10));
}
