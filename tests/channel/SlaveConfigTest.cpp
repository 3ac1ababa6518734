// From the three records to the configuration of a slave.
#include "channel/SlaveConfig.h"

#include "tests/channel/ChannelTestSupport.h"

using namespace channel_test;

namespace {

/// What the mapping makes of the three records, over a default configuration.
EcuProtoCfg applied(const XcpCanChannelCfg& channel, const XcpSlaveCanCfg& can,
                    const XcpSlaveProtoCfg& proto = {}) {
    EcuProtoCfg cfg;
    applySlaveConfig(cfg, channel, can, proto);
    return cfg;
}

/// "extended brs fd" of the two identifier words.
std::string flagsOf(const EcuProtoCfg& cfg) {
    return std::to_string(cfg.masterExtended) + std::to_string(cfg.masterBrs) + std::to_string(cfg.masterFd) +
           " " + std::to_string(cfg.slaveExtended) + std::to_string(cfg.slaveBrs) +
           std::to_string(cfg.slaveFd);
}

}  // namespace

TEST(SlaveConfig, IdentifierWordsSplitIntoIdentifierAndFlags) {
    struct WordRow {
        std::uint32_t masterWord;
        std::uint32_t slaveWord;
        std::uint32_t masterId;
        std::uint32_t slaveId;
        const char* flags;
    };
    const std::vector<WordRow> rows{
        {0xE0000123, 0x00000124, 0x123, 0x124, "111 000"},
        {0x00000123, 0xE0000124, 0x123, 0x124, "000 111"},
        {0x80000123, 0x40000124, 0x123, 0x124, "100 010"},
        {0x40000123, 0x20000124, 0x123, 0x124, "010 001"},
        {0x20000123, 0x80000124, 0x123, 0x124, "001 100"},
        {0x1FFFFFFF, 0x1FFFFFFE, 0x1FFFFFFF, 0x1FFFFFFE, "000 000"},
        {0xFFFFFFFF, 0xFFFFFFFF, 0x1FFFFFFF, 0x1FFFFFFF, "111 111"},
        {0, 0, 0, 0, "000 000"},
    };
    for (const WordRow& row : rows) {
        XcpSlaveCanCfg can{};
        can.masterId = row.masterWord;
        can.slaveId = row.slaveWord;
        const EcuProtoCfg cfg = applied(channelCfg(0), can);
        EXPECT_EQ(cfg.canIdMaster, row.masterId) << row.flags;
        EXPECT_EQ(cfg.canIdSlave, row.slaveId) << row.flags;
        EXPECT_EQ(flagsOf(cfg), row.flags);
    }
}

TEST(SlaveConfig, BroadcastIdentifierIsNotMasked) {
    XcpSlaveCanCfg can{};
    can.broadcastId = 0xE0000555;
    EXPECT_EQ(applied(channelCfg(0), can).canIdBroadcast, 0xE0000555U);
}

TEST(SlaveConfig, ChannelAndOptionAreTaken) {
    XcpSlaveCanCfg can{};
    can.option = 0x5A;
    const EcuProtoCfg cfg = applied(channelCfg(0xC3), can);
    EXPECT_EQ(cfg.canChannel, 0xC3U);
    EXPECT_EQ(cfg.canSlaveOption, 0x5AU);
}

// Equal timings switch the bit rate switch on, whatever the identifier word says of it.
TEST(SlaveConfig, TimingSwitchDecidesOnBitRateSwitchingByEqualTimings) {
    struct TimingRow {
        std::uint8_t timingSwitch;
        bool equal;
        std::uint32_t masterWord;
        std::uint8_t masterBrs;
    };
    const std::vector<TimingRow> rows{
        {0, true, 0x00000123, 0},    {0, true, 0x40000123, 1},  {0, false, 0x00000123, 0},
        {0, false, 0x40000123, 1},   {1, true, 0x00000123, 1},  {1, true, 0x40000123, 1},
        {1, false, 0x00000123, 0},   {1, false, 0x40000123, 0}, {255, true, 0x00000123, 1},
        {255, false, 0x40000123, 0},
    };
    for (const TimingRow& row : rows) {
        XcpCanChannelCfg channel{};
        channel.timingSwitch = row.timingSwitch;
        channel.dataTiming[7] = row.equal ? 0 : 1;
        XcpSlaveCanCfg can{};
        can.masterId = row.masterWord;
        can.slaveId = 0x40000124;
        const EcuProtoCfg cfg = applied(channel, can);
        EXPECT_EQ(cfg.masterBrs, row.masterBrs) << int(row.timingSwitch) << row.equal << row.masterWord;
        EXPECT_EQ(cfg.slaveBrs, 1U);
    }
}

TEST(SlaveConfig, TimingsAreComparedFromTheirFirstByteOn) {
    XcpCanChannelCfg channel{};
    channel.timingSwitch = 1;
    channel.nominalTiming[0] = 1;
    EXPECT_EQ(applied(channel, {}).masterBrs, 0U);
    channel.dataTiming[0] = 1;
    EXPECT_EQ(applied(channel, {}).masterBrs, 1U);
}

TEST(SlaveConfig, ProtocolFactsAreTaken) {
    XcpSlaveProtoCfg proto{};
    proto.t1 = 1;
    proto.t2 = 0x0202;
    proto.t3 = 3;
    proto.t4 = 4;
    proto.t5 = 5;
    proto.t6 = 6;
    proto.t7 = 0xFFFF;
    proto.byteOrder = 1;
    proto.addressGranularity = 4;
    proto.retryCount = 255;
    proto.padFrames = 1;
    proto.padByte = 0x55;
    const EcuProtoCfg cfg = applied(channelCfg(0), {}, proto);
    EXPECT_EQ(cfg.xcp.t1, 1U);
    EXPECT_EQ(cfg.xcp.t2, 0x0202U);
    EXPECT_EQ(cfg.xcp.t3, 3U);
    EXPECT_EQ(cfg.xcp.t4, 4U);
    EXPECT_EQ(cfg.xcp.t5, 5U);
    EXPECT_EQ(cfg.xcp.t6, 6U);
    EXPECT_EQ(cfg.xcp.t7, 0xFFFFU);
    EXPECT_EQ(cfg.xcp.byteOrder, 1U);
    EXPECT_EQ(cfg.xcp.addressGranularity, 4U);
    EXPECT_EQ(cfg.xcp.retryCount, 255);
    EXPECT_EQ(cfg.padFrames, 1U);
    EXPECT_EQ(cfg.padByte, 0x55U);
}

TEST(SlaveConfig, WhatTheRecordsDoNotSayStays) {
    EcuProtoCfg cfg;
    cfg.ecuName = "applet_7";
    cfg.maxCto = 64;
    cfg.maxDto = 32;
    cfg.xcp.maxBs = 9;
    cfg.xcp.retryDelayMs = 5;
    cfg.xcp.daqListInfo[3].maxOdt = 4;
    applySlaveConfig(cfg, channelCfg(1), {}, {});
    EXPECT_EQ(cfg.ecuName, "applet_7");
    EXPECT_EQ(cfg.maxCto, 64U);
    EXPECT_EQ(cfg.maxDto, 32U);
    EXPECT_EQ(cfg.xcp.maxBs, 9U);
    EXPECT_EQ(cfg.xcp.retryDelayMs, 5U);
    EXPECT_EQ(cfg.xcp.daqListInfo.at(3).maxOdt, 4U);
}

class SlaveOnItsBus : public ChannelTest {};

TEST_F(SlaveOnItsBus, FlagsOfTheMasterWordGoWithEveryFrame) {
    can.masterId = 0xE0000100;
    startsAnew();
    EXPECT_EQ(xcpGetStatus(slave, bytes(), size()), kSuccess);
    ASSERT_EQ(ecu.sent().size(), 1U);
    EXPECT_EQ(ecu.sent()[0].id, 0x100U);
    EXPECT_EQ(ecu.sent()[0].flags, 7U);
}

TEST_F(SlaveOnItsBus, FramesArePaddedToMaxCto) {
    proto.padFrames = 1;
    proto.padByte = 0x55;
    startsAnew();
    EXPECT_EQ(xcpConnect(slave, 0, bytes(), size()), kSuccess);
    EXPECT_EQ(sent(), Texts{"ff 00 55 55 55 55 55 55"});
}

// Slaves of this interface keep the MAX_CTO they began with: only smaller limits are taken, and none below 8.
TEST_F(SlaveOnItsBus, LargerMaxCtoOfTheEcuIsNotTaken) {
    ecu.answers("ff 00", {"ff 15 c0 40 40 00 01 01"});
    EXPECT_EQ(xcpConnect(slave, 0, bytes(), size()), kSuccess);
    EXPECT_EQ(object().m_cfg.maxCto, 8U);
    EXPECT_EQ(object().m_cfg.maxDto, 8U);
    EXPECT_EQ(object().m_cfg.xcp.resource, 0x15U);
}

TEST_F(SlaveOnItsBus, ByteOrderBitOfTheEcuIsNotLookedAt) {
    ecu.answers("ff 00", {"ff 15 c1 08 00 08 01 01"});
    xcpConnect(slave, 0, bytes(), size());
    xcpSetMta(slave, 0, 0x12345678, bytes(), size());
    EXPECT_EQ(sent(), Texts({"ff 00", "f6 00 00 00 78 56 34 12"}));
}

// The handle of the slave stands in the place of a channel's.
TEST_F(SlaveOnItsBus, ConfigSlaveTakesTheChannelWithTheSlavesNumber) {
    std::uint16_t second = 0;
    XcpCanChannelCfg other = channelCfg(9);
    other.timingSwitch = 1;
    ASSERT_EQ(xcpInitializeCan(&second, other), kSuccess);
    ASSERT_EQ(second, 1U);
    std::uint32_t slaveOnFirst = 0;
    ASSERT_EQ(xcpAddSlave(channel, can, proto, &slaveOnFirst), kSuccess);
    ASSERT_EQ(slaveOnFirst, 1U);
    const auto made = channelRegistry().findSlave(slaveOnFirst);
    EXPECT_EQ(made->m_cfg.canChannel, 3U);
    EXPECT_EQ(made->m_cfg.masterBrs, 0U);
    EXPECT_EQ(xcpConfigSlave(slaveOnFirst, can, proto), kSuccess);
    EXPECT_EQ(made->m_cfg.canChannel, 9U);
    EXPECT_EQ(made->m_cfg.masterBrs, 1U);
}

TEST_F(SlaveOnItsBus, ConfigSlaveWithoutAChannelOfItsNumberChangesNothing) {
    isSilent();
    xcpGetStatus(slave, bytes(), size());
    ASSERT_TRUE(object().m_linkLost);
    ASSERT_EQ(xcpUninitialize(channel), kSuccess);
    proto.t1 = 77;
    can.masterId = 0x777;
    EXPECT_EQ(xcpConfigSlave(slave, can, proto), kBadHandle);
    EXPECT_TRUE(object().m_linkLost);
    EXPECT_EQ(object().m_cfg.canIdMaster, 0x100U);
    EXPECT_EQ(object().m_cfg.canChannel, 3U);
    EXPECT_EQ(object().m_cfg.xcp.t1, kShortMs);
}

TEST_F(SlaveOnItsBus, ConfigSlaveOfAHandleAboveAllChannelsIsRefused) {
    while (channelRegistry().takeSlaveHandle() != 65534) {
    }
    channelRegistry().takeSlaveHandle();
    ASSERT_EQ(xcpAddSlave(channel, can, proto, &slave), kSuccess);
    ASSERT_EQ(slave, 65536U);
    EXPECT_EQ(xcpConfigSlave(slave, can, proto), kBadHandle);
}

TEST_F(SlaveOnItsBus, ConfigSlaveOfARemovedSlaveIsRefused) {
    ASSERT_EQ(xcpRemoveSlave(slave), kSuccess);
    EXPECT_EQ(xcpConfigSlave(slave, can, proto), kBadHandle);
}

TEST_F(SlaveOnItsBus, ConfigSlaveChangesWhereFramesGo) {
    support::ScriptedEcu moved(host, {3, 0x200, 0x101});
    can.masterId = 0x200;
    proto.padFrames = 1;
    ASSERT_EQ(xcpConfigSlave(slave, can, proto), kSuccess);
    EXPECT_EQ(xcpGetStatus(slave, bytes(), size()), kSuccess);
    EXPECT_EQ(sent(), Texts{});
    EXPECT_EQ(moved.sentFrames(), Texts{"fd 00 00 00 00 00 00 00"});
}

TEST_F(SlaveOnItsBus, ConfigSlaveLeavesReceptionAsItWas) {
    support::ScriptedEcu moved(host, {3, 0x200, 0x201});
    can.masterId = 0x200;
    can.slaveId = 0x201;
    proto = protoCfg(kShortMs);
    ASSERT_EQ(xcpConfigSlave(slave, can, proto), kSuccess);
    EXPECT_EQ(xcpGetStatus(slave, bytes(), size()), kNoAnswer);
    EXPECT_EQ(moved.sentFrames(), Texts{"fd"});
    EXPECT_FALSE(object().m_cmdIds.contains(0x201));
}

TEST_F(SlaveOnItsBus, ConfigSlaveLeavesTheByteOrderOfFramesAsItWas) {
    proto.byteOrder = 1;
    ASSERT_EQ(xcpConfigSlave(slave, can, proto), kSuccess);
    EXPECT_EQ(object().m_cfg.xcp.byteOrder, 1U);
    xcpSetMta(slave, 0, 0x12345678, bytes(), size());
    EXPECT_EQ(sent(), Texts{"f6 00 00 00 78 56 34 12"});
}
