// Handles: how they are given, found and forgotten.
#include "tests/channel/ChannelTestSupport.h"

#include <TalvexSDK.h>

#include <algorithm>
#include <array>

using namespace channel_test;

namespace {

class ChannelRegistryTest : public testing::Test {
protected:
    void SetUp() override { support::TestHost::install(); }

    static std::uint16_t addsChannel(std::uint8_t canChannel = 0) {
        std::uint16_t handle = 0xAAAA;
        EXPECT_EQ(xcpInitializeCan(&handle, channelCfg(canChannel)), kSuccess);
        return handle;
    }

    static std::uint32_t addsSlave(std::uint16_t channel) {
        std::uint32_t handle = 0xAAAAAAAA;
        EXPECT_EQ(xcpAddSlave(channel, XcpSlaveCanCfg{}, protoCfg(kLongMs), &handle), kSuccess);
        return handle;
    }

    support::TestHost host;
};

}  // namespace

TEST_F(ChannelRegistryTest, FirstChannelAndFirstSlaveHaveHandleZero) {
    EXPECT_EQ(addsChannel(), 0U);
    EXPECT_EQ(addsSlave(0), 0U);
}

TEST_F(ChannelRegistryTest, HandlesCountUp) {
    EXPECT_EQ(addsChannel(), 0U);
    EXPECT_EQ(addsChannel(), 1U);
    EXPECT_EQ(addsSlave(1), 0U);
    EXPECT_EQ(addsSlave(0), 1U);
    EXPECT_EQ(addsSlave(1), 2U);
}

TEST_F(ChannelRegistryTest, HandlesAreNeverUsedAgain) {
    const std::uint16_t channel = addsChannel();
    EXPECT_EQ(xcpUninitialize(channel), kSuccess);
    EXPECT_EQ(addsChannel(), 1U);
    EXPECT_EQ(addsSlave(1), 0U);
    EXPECT_EQ(xcpRemoveSlave(0), kSuccess);
    EXPECT_EQ(addsSlave(1), 1U);
    EXPECT_EQ(addsSlave(1), 2U);
}

TEST_F(ChannelRegistryTest, ChannelIsForgottenOnce) {
    const std::uint16_t channel = addsChannel();
    EXPECT_EQ(xcpUninitialize(channel), 256U);
    EXPECT_EQ(xcpUninitialize(channel), 1280U);
}

TEST_F(ChannelRegistryTest, ChannelThatNeverWasIsNotForgotten) {
    EXPECT_EQ(xcpUninitialize(0), kBadHandle);
    EXPECT_EQ(xcpUninitialize(65535), kBadHandle);
}

TEST_F(ChannelRegistryTest, SlaveIsRemovedOnce) {
    const std::uint32_t slave = addsSlave(addsChannel());
    EXPECT_EQ(xcpRemoveSlave(slave), 256U);
    EXPECT_EQ(xcpRemoveSlave(slave), 1280U);
    EXPECT_EQ(xcpRemoveSlave(77), 1280U);
}

TEST_F(ChannelRegistryTest, SlaveOfAForgottenChannelIsRefusedAndUsesNoHandleUp) {
    const std::uint16_t channel = addsChannel();
    xcpUninitialize(channel);
    std::uint32_t handle = 0xAAAAAAAA;
    EXPECT_EQ(xcpAddSlave(channel, XcpSlaveCanCfg{}, protoCfg(kLongMs), &handle), kBadHandle);
    EXPECT_EQ(handle, 0xAAAAAAAA);
    EXPECT_EQ(addsSlave(addsChannel()), 0U);
}

TEST_F(ChannelRegistryTest, ChannelHandlesWrapAtSixteenBits) {
    for (std::uint32_t i = 0; i < 65535; ++i) {
        ASSERT_EQ(addsChannel(1), i);
    }
    EXPECT_EQ(addsChannel(2), 65535U);
    EXPECT_EQ(addsChannel(3), 0U);
    EXPECT_EQ(channelRegistry().findChannel(0)->canChannel, 3U);
    EXPECT_EQ(addsChannel(4), 1U);
}

TEST_F(ChannelRegistryTest, NullOutHandlesAreNotWrittenAndTheHandleIsTaken) {
    EXPECT_EQ(xcpInitializeCan(nullptr, channelCfg(0)), kSuccess);
    EXPECT_EQ(addsChannel(), 1U);
    EXPECT_EQ(xcpAddSlave(0, XcpSlaveCanCfg{}, protoCfg(kLongMs), nullptr), kSuccess);
    EXPECT_EQ(addsSlave(0), 1U);
    EXPECT_EQ(xcpAddSlave(99, XcpSlaveCanCfg{}, protoCfg(kLongMs), nullptr), kBadHandle);
}

TEST_F(ChannelRegistryTest, SlaveOutlivesItsChannel) {
    support::ScriptedEcu ecu(host, {5, 0, 0});
    const std::uint16_t channel = addsChannel(5);
    const std::uint32_t slave = addsSlave(channel);
    EXPECT_EQ(xcpUninitialize(channel), kSuccess);
    EXPECT_EQ(xcpGetStatus(slave, nullptr, 0), kSuccess);
    EXPECT_EQ(ecu.sentFrames(), Texts{"fd"});
    EXPECT_EQ(xcpRemoveSlave(slave), kSuccess);
}

TEST_F(ChannelRegistryTest, ChannelOutlivesItsSlave) {
    const std::uint16_t channel = addsChannel();
    EXPECT_EQ(xcpRemoveSlave(addsSlave(channel)), kSuccess);
    EXPECT_EQ(addsSlave(channel), 1U);
    EXPECT_EQ(xcpUninitialize(channel), kSuccess);
}

TEST_F(ChannelRegistryTest, RemovingOneSlaveLeavesTheOthers) {
    support::ScriptedEcu ecu(host, {0, 0, 0});
    const std::uint16_t channel = addsChannel();
    const std::uint32_t first = addsSlave(channel);
    const std::uint32_t second = addsSlave(channel);
    const std::uint32_t third = addsSlave(channel);
    EXPECT_EQ(xcpRemoveSlave(second), kSuccess);
    EXPECT_EQ(xcpGetStatus(second, nullptr, 0), kBadHandle);
    EXPECT_EQ(xcpRemoveSlave(first), kSuccess);
    EXPECT_EQ(xcpRemoveSlave(third), kSuccess);
    EXPECT_EQ(xcpGetStatus(third, nullptr, 0), kBadHandle);
    EXPECT_EQ(ecu.sentFrames(), Texts{});
}

TEST_F(ChannelRegistryTest, SlavesMayGoInAnyOrder) {
    support::ScriptedEcu ecu(host, {0, 0, 0});
    const std::uint16_t channel = addsChannel();
    std::array<std::size_t, 3> order{0, 1, 2};
    do {
        std::array<std::uint32_t, 3> slaves{};
        for (std::uint32_t& slave : slaves) {
            slave = addsSlave(channel);
        }
        for (std::size_t removed = 0; removed < order.size(); ++removed) {
            EXPECT_EQ(xcpRemoveSlave(slaves[order[removed]]), kSuccess);
            for (std::size_t i = 0; i < order.size(); ++i) {
                const std::uint32_t expected = i <= removed ? kBadHandle : kSuccess;
                EXPECT_EQ(xcpGetStatus(slaves[order[i]], nullptr, 0), expected);
            }
        }
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(ecu.count("fd"), 6U * (2 + 1));
}

TEST_F(ChannelRegistryTest, ChannelsMayGoInAnyOrder) {
    std::array<std::uint16_t, 3> channels{};
    for (std::uint16_t& channel : channels) {
        channel = addsChannel(static_cast<std::uint8_t>(&channel - channels.data()));
    }
    EXPECT_EQ(xcpUninitialize(channels[1]), kSuccess);
    addsSlave(channels[2]);
    EXPECT_EQ(xcpUninitialize(channels[2]), kSuccess);
    EXPECT_EQ(xcpAddSlave(channels[2], XcpSlaveCanCfg{}, protoCfg(kLongMs), nullptr), kBadHandle);
    EXPECT_EQ(channelRegistry().findSlave(addsSlave(channels[0]))->m_cfg.canChannel, 0U);
    EXPECT_EQ(xcpUninitialize(channels[0]), kSuccess);
    EXPECT_EQ(addsChannel(), 3U);
}

TEST_F(ChannelRegistryTest, SlaveIsAnXcpEcuNamedAfterItsHandle) {
    const std::uint16_t channel = addsChannel();
    addsSlave(channel);
    const std::uint32_t slave = addsSlave(channel);
    EXPECT_EQ(channelRegistry().findSlave(slave)->m_cfg.ecuName, "applet_1");
    EXPECT_EQ(channelRegistry().findSlave(slave)->m_cfg.protoType, 1U);
    EXPECT_EQ(channelRegistry().findSlave(slave)->m_cfg.maxCto, 8U);
    EXPECT_EQ(channelRegistry().findSlave(slave)->m_cfg.maxDto, 8U);
    EXPECT_EQ(channelRegistry().findSlave(slave)->m_lastStatus, 0U);
}

namespace {

std::uint32_t g_sentByLaterCallback = 0;

std::uint32_t countSent(std::uint8_t, std::uint32_t, std::uint8_t, std::uint8_t, const std::uint8_t*) {
    return ++g_sentByLaterCallback;
}

}  // namespace

TEST_F(ChannelRegistryTest, CallbacksSetLaterReachOnlySlavesMadeLater) {
    support::ScriptedEcu ecu(host, {0, 0, 0});
    const std::uint16_t channel = addsChannel();
    const std::uint32_t early = addsSlave(channel);
    CallBackFuns later;
    later.sndFun = countSent;
    setCallBackFuns(later);
    EXPECT_EQ(xcpGetStatus(early, nullptr, 0), kSuccess);
    EXPECT_EQ(g_sentByLaterCallback, 0U);
    EXPECT_EQ(ecu.sentFrames(), Texts{"fd"});

    std::uint32_t late = 0;
    xcpAddSlave(channel, XcpSlaveCanCfg{}, protoCfg(kShortMs), &late);
    EXPECT_EQ(xcpGetStatus(late, nullptr, 0), kNoAnswer);
    EXPECT_EQ(g_sentByLaterCallback, 1U);
    EXPECT_EQ(ecu.sentFrames(), Texts{"fd"});
}

TEST(ChannelRegistryWithoutHost, SlaveWithoutCallbacksSendsNothing) {
    std::uint16_t channel = 9;
    std::uint32_t slave = 9;
    ASSERT_EQ(xcpInitializeCan(&channel, channelCfg(0)), kSuccess);
    ASSERT_EQ(xcpAddSlave(channel, XcpSlaveCanCfg{}, protoCfg(kShortMs), &slave), kSuccess);
    EXPECT_EQ(xcpConnect(slave, 0, nullptr, 0), kNoAnswer);
}
