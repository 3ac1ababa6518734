// The plain header in a translation unit of C11, linked with the shared library.

#include "tests/system/PlainHeaderFromC.h"

#include <TalvexSDK.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

TEST(PlainHeaderFromC, FreshEngineIsNeitherConnectedNorMeasuring) {
    EXPECT_EQ(stateSeenFromC(), 0);
}

// A connect without a name succeeds, and from then on the engine counts as connected.
TEST(PlainHeaderFromC, SeesAConnectThatCameFromCpp) {
    EcuConnect({});
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (stateSeenFromC() == 0 && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    EXPECT_EQ(stateSeenFromC(), 1);
}

}  // namespace
