/// @file
/// A slave of the channel interface with a scripted ECU on the other side.
#pragma once

#include "channel/ChannelRegistry.h"
#include "tests/support/HexText.h"
#include "tests/support/ScriptedEcu.h"

#include <TalvexChannel.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace channel_test {

using Texts = std::vector<std::string>;

constexpr std::uint32_t kSuccess = 256;
constexpr std::uint32_t kBadHandle = 1280;
constexpr std::uint32_t kNoAnswer = 2304;

/// Time-out of an ECU that answers: never reached, however slow the machine.
constexpr std::uint16_t kLongMs = 60000;
/// Time-out of an ECU that is silent.
constexpr std::uint16_t kShortMs = 2;

inline XcpSlaveProtoCfg protoCfg(std::uint16_t timeoutMs) {
    XcpSlaveProtoCfg proto{};
    proto.t1 = proto.t2 = proto.t3 = proto.t4 = proto.t5 = proto.t6 = proto.t7 = timeoutMs;
    proto.addressGranularity = 1;
    return proto;
}

inline XcpSlaveCanCfg canCfg(const support::EcuPlace& place) {
    XcpSlaveCanCfg can{};
    can.masterId = place.masterId;
    can.slaveId = place.slaveId;
    return can;
}

inline XcpCanChannelCfg channelCfg(std::uint8_t canChannel) {
    XcpCanChannelCfg cfg{};
    cfg.canChannel = canChannel;
    return cfg;
}

/// One channel with one slave on it, both with handle 0 at first. `proto` counts from the next `startsAnew`.
class ChannelTest : public testing::Test {
protected:
    void SetUp() override {
        support::TestHost::install();
        addsSlave();
    }

    /// Makes a channel and a slave; their handles stay in step.
    void addsSlave() {
        ASSERT_EQ(xcpInitializeCan(&channel, channelCfg(place.channel)), kSuccess);
        ASSERT_EQ(xcpAddSlave(channel, can, proto, &slave), kSuccess);
    }

    /// A new slave in the place of the old one.
    void startsAnew() {
        ASSERT_EQ(xcpRemoveSlave(slave), kSuccess);
        ASSERT_EQ(xcpUninitialize(channel), kSuccess);
        addsSlave();
        ecu.clearSent();
    }

    /// From now on the ECU says nothing, and a new slave does not wait long for it.
    void isSilent() {
        ecu.isSilent();
        waitsFor(kShortMs);
    }

    /// Changes the time-outs of the slave as it is.
    void waitsFor(std::uint16_t timeoutMs) {
        const XcpSlaveProtoCfg times = protoCfg(timeoutMs);
        XcpCfg& live = object().m_cfg.xcp;
        live.t1 = live.t2 = live.t3 = live.t4 = live.t5 = live.t6 = live.t7 = times.t1;
    }

    /// The object behind the slave's handle.
    XCP_MOUDLE::XcpProtoTransmit& object() { return *channelRegistry().findSlave(slave); }

    /// @return the frames sent since the last call
    Texts sent() {
        Texts frames = ecu.sentFrames();
        ecu.clearSent();
        return frames;
    }

    /// @return the first @p count bytes of the buffer, which is made dirty for the next command
    std::string handed(std::size_t count = 8) {
        const std::string text = support::hexText(buffer.data(), count);
        buffer.fill(0xAA);
        return text;
    }

    std::uint8_t* bytes() { return buffer.data(); }
    static std::uint16_t size() { return 64; }

    const support::EcuPlace place{3, 0x100, 0x101};
    support::TestHost host;
    support::ScriptedEcu ecu{host, place};
    XcpSlaveCanCfg can = canCfg(place);
    XcpSlaveProtoCfg proto = protoCfg(kLongMs);
    std::uint16_t channel = 999;
    std::uint32_t slave = 999;
    std::array<std::uint8_t, 64> buffer = dirty();

private:
    static std::array<std::uint8_t, 64> dirty() {
        std::array<std::uint8_t, 64> made{};
        made.fill(0xAA);
        return made;
    }
};

/// What a buffer looks like that was not written.
constexpr const char* kUntouched = "aa aa aa aa aa aa aa aa";

}  // namespace channel_test
