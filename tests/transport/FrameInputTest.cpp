#include "tests/transport/TransportTestSupport.h"
#include "transport/FrameStore.h"
#include "transport/IdRegistry.h"

#include <array>

#include <gtest/gtest.h>

using namespace transport_test;

TEST(FrameInput, FrameBeforeAnyRegistrationIsNotStored) {
    receives(2, "ff 00");
    registerIds({2});
    EXPECT_TRUE(takeFrames(0, 2, false).empty());
}

TEST(FrameInput, EveryFieldOfTheCallIsStored) {
    registerIds({0x123});
    const std::array<std::uint8_t, 3> data{1, 2, 3};
    recvCanMsg(77, 88, 9, 0x123, 3, data.data());
    const std::list<msgBuf> taken = takeFrames(9, 0x123, false);
    ASSERT_EQ(taken.size(), 1U);
    EXPECT_EQ(taken.front().hostTag, 77U);
    EXPECT_EQ(taken.front().time, 88U);
    EXPECT_EQ(taken.front().channel, 9U);
    EXPECT_EQ(taken.front().id, 0x123U);
    EXPECT_EQ(text(taken), "291:01 02 03");
}

TEST(FrameInput, LengthOf100IsCutTo64) {
    registerIds({2});
    const std::vector<std::uint8_t> data = support::countingBytes(100, 1);
    recvCanMsg(0, 0, 0, 2, 100, data.data());
    const std::list<msgBuf> taken = takeFrames(0, 2, false);
    ASSERT_EQ(taken.size(), 1U);
    EXPECT_EQ(taken.front().length, 64U);
    EXPECT_EQ(taken.front().data[63], 64U);
}

TEST(FrameInput, BytesBehindTheLengthAreZero) {
    registerIds({2});
    const std::vector<std::uint8_t> data(8, 0xAA);
    recvCanMsg(0, 0, 0, 2, 2, data.data());
    const msgBuf taken = takeFrames(0, 2, false).front();
    EXPECT_EQ(taken.data[1], 0xAA);
    EXPECT_TRUE(std::all_of(taken.data.begin() + 2, taken.data.end(), [](auto byte) { return byte == 0; }));
}

TEST(FrameInput, NullDataIsAFrameWithoutBytes) {
    registerIds({2});
    recvCanMsg(0, 5, 0, 2, 8, nullptr);
    const std::list<msgBuf> taken = takeFrames(0, 2, false);
    ASSERT_EQ(taken.size(), 1U);
    EXPECT_EQ(taken.front().length, 0U);
    EXPECT_EQ(taken.front().time, 5U);
}

TEST(FrameInput, FrameOfLengthZeroIsStored) {
    registerIds({2});
    receives(2, "");
    EXPECT_EQ(takeFrames(0, 2, false).size(), 1U);
}
