#include "transport/BasicCfgTransmit.h"

#include "ccp/CcpTaskTransmit.h"
#include "decode/CcpMsgDecode.h"
#include "decode/XcpMsgDecode.h"
#include "tests/support/TestHost.h"
#include "tests/transport/TransportTestSupport.h"
#include "transport/FrameStore.h"
#include "transport/IdRegistry.h"
#include "transport/StopFlag.h"
#include "xcp/XcpTaskTransmit.h"

#include <memory>

#include <gtest/gtest.h>

using namespace transport_test;
using Ids = std::set<std::uint32_t>;

namespace {

EcuProtoCfg config(std::uint32_t protoType = 1) {
    EcuProtoCfg cfg;
    cfg.protoType = protoType;
    cfg.canIdBroadcast = 10;
    cfg.canIdMaster = 11;
    cfg.canIdSlave = 12;
    return cfg;
}

/// @return what is left of two responses and a DAQ frame when a send is refused
template <typename Task>
std::string leftByRefusedSend(std::uint32_t protoType, const CallBackFuns& callBacks) {
    Task object(config(protoType), callBacks);
    object.m_frames = {frame(12, "ff 00"), frame(12, "05 01")};
    receives(12, "fe 01");
    msgBuf refused = frame(0, "0d 01");
    EXPECT_EQ(object.sendFrame(refused), 0U);
    return text(object.m_frames);
}

}  // namespace

TEST(BasicCfgTransmit, CommandIdsAreTakenAsTheyAre) {
    EcuProtoCfg cfg = config();
    cfg.canIdSlave = 0x80000123;
    const PlainTransmit object(cfg, {});
    EXPECT_EQ(object.m_cmdIds, Ids({10, 11, 0x80000123}));
    EXPECT_TRUE(idRegistry().isWanted(0x80000123));
    EXPECT_FALSE(idRegistry().isWanted(0x123));
}

TEST(BasicCfgTransmit, XcpDaqIdsLoseTheirUpperThreeBits) {
    EcuProtoCfg cfg = config();
    cfg.xcp.daqListCanIds = {{0, 0x80000100}, {1, 0xFFFFFFFF}};
    cfg.xcp.eventCanIds = {{3, {0x200, 0x40000201}}};
    cfg.ccp.daqLists[0].canId = 0x300;
    const PlainTransmit object(cfg, {});
    EXPECT_EQ(object.m_daqIds, Ids({0x100, 0x200, 0x201, 0x1FFFFFFF}));
    EXPECT_TRUE(idRegistry().isWanted(0x201));
}

TEST(BasicCfgTransmit, CcpDaqIdsLoseTheirUpperThreeBits) {
    EcuProtoCfg cfg = config(2);
    cfg.ccp.daqLists[0].canId = 0xE0000300;
    cfg.ccp.daqLists[1].canId = 0x301;
    cfg.xcp.daqListCanIds = {{0, 0x100}};
    const PlainTransmit object(cfg, {});
    EXPECT_EQ(object.m_daqIds, Ids({0x300, 0x301}));
}

TEST(BasicCfgTransmit, ProtocolChoosesByteOrderAndAnalyser) {
    EcuProtoCfg cfg = config();
    cfg.xcp.byteOrder = 1;
    cfg.ccp.byteOrder = 7;
    const PlainTransmit xcp(cfg, {});
    EXPECT_EQ(xcp.m_byteOrder, 1);
    EXPECT_EQ(xcp.m_protoType, 1U);
    EXPECT_NE(dynamic_cast<XCP_MOUDLE::XcpMsgDecode*>(xcp.m_decoder.get()), nullptr);
    cfg.protoType = 0;
    const PlainTransmit ccp(cfg, {});
    EXPECT_EQ(ccp.m_byteOrder, 7);
    EXPECT_EQ(ccp.m_protoType, 0U);
    EXPECT_NE(dynamic_cast<CCP_MOUDLE::CcpMsgDecode*>(ccp.m_decoder.get()), nullptr);
}

TEST(BasicCfgTransmit, AnalyserKnowsTheByteOrder) {
    for (const std::uint8_t order : std::initializer_list<std::uint8_t>{0, 1, 7}) {
        EcuProtoCfg cfg = config();
        cfg.xcp.byteOrder = order;
        EXPECT_EQ(PlainTransmit(cfg, {}).m_decoder->swapBytes, order != 0);
        cfg.protoType = 0;
        cfg.ccp.byteOrder = order;
        cfg.xcp.byteOrder = 0;
        EXPECT_EQ(PlainTransmit(cfg, {}).m_decoder->swapBytes, order != 0);
    }
}

TEST(BasicCfgTransmit, NewObjectHasNoFramesAndStatusZero) {
    const PlainTransmit object(config(), {});
    EXPECT_TRUE(object.m_frames.empty());
    EXPECT_EQ(object.m_lastStatus, 0U);
    EXPECT_FALSE(object.m_linkLost);
}

TEST(BasicCfgTransmit, IdsAreRegisteredUntilTheObjectGoes) {
    {
        const PlainTransmit object(config(), {});
        EXPECT_TRUE(idRegistry().isWanted(12));
    }
    EXPECT_FALSE(idRegistry().isWanted(10));
    EXPECT_FALSE(idRegistry().isWanted(11));
    EXPECT_FALSE(idRegistry().isWanted(12));
}

TEST(BasicCfgTransmit, SecondObjectThatGoesEmptiesTheListAndLeavesTheIdRegistered) {
    EcuProtoCfg cfg = config();
    cfg.xcp.daqListCanIds = {{0, 0x100}};
    PlainTransmit first(cfg, {});
    auto second = std::make_unique<PlainTransmit>(cfg, CallBackFuns{});
    receives(12, "ff");
    receives(0x100, "01");
    second.reset();
    first.fetchFrames();
    EXPECT_TRUE(first.m_frames.empty());
    EXPECT_TRUE(idRegistry().isWanted(12));
    EXPECT_TRUE(idRegistry().isWanted(0x100));
}

TEST(BasicCfgTransmit, ListOfAnotherChannelOutlivesTheObject) {
    auto object = std::make_unique<PlainTransmit>(config(), CallBackFuns{});
    receives(12, "ff", 0, 5);
    object.reset();
    EXPECT_EQ(takeFrames(5, 12, false).size(), 1U);
}

TEST(BasicCfgTransmit, FetchTakesResponsesFirstAndDaqFramesInAscendingOrder) {
    EcuProtoCfg cfg = config();
    cfg.xcp.daqListCanIds = {{0, 0x200}, {1, 0x100}};
    PlainTransmit object(cfg, {});
    receives(0x200, "02");
    receives(0x100, "01");
    receives(12, "ff");
    receives(12, "fd", 0, 5);
    receives(11, "aa");
    object.fetchFrames();
    EXPECT_EQ(text(object.m_frames), "12:ff | 256:01 | 512:02");
    receives(12, "fe");
    object.fetchFrames();
    EXPECT_EQ(text(object.m_frames), "12:ff | 256:01 | 512:02 | 12:fe");
}

TEST(BasicCfgTransmit, TwoObjectsOfOneIdShareItsFrames) {
    PlainTransmit first(config(), {});
    PlainTransmit second(config(), {});
    receives(12, "ff");
    first.fetchFrames();
    second.fetchFrames();
    EXPECT_EQ(first.m_frames.size(), 1U);
    EXPECT_TRUE(second.m_frames.empty());
}

TEST(BasicCfgTransmit, StaleXcpResponsesFrom251AreDropped) {
    EcuProtoCfg cfg = config();
    cfg.xcp.daqListCanIds = {{0, 0x100}};
    PlainTransmit object(cfg, {});
    object.m_frames = {frame(12, "fb"), frame(12, "fa"), frame(12, "ff"), frame(0x100, "ff")};
    receives(12, "fe 01");
    receives(12, "05");
    object.dropStaleResponses();
    EXPECT_EQ(text(object.m_frames), "12:fa | 256:ff | 12:05");
}

TEST(BasicCfgTransmit, StaleCcpResponsesFrom254AreDropped) {
    PlainTransmit object(config(2), {});
    for (const char* data : {"ff 00", "fe 00", "fd 00", "fb 00", "05 00"}) {
        receives(12, data);
    }
    object.dropStaleResponses();
    EXPECT_EQ(text(object.m_frames), "12:fd 00 | 12:fb 00 | 12:05 00");
}

// CCP pads with zeros, so that padding shows only where something else stood.
TEST(BasicCfgTransmit, RefusedFrameOfCcpIsNotPadded) {
    const support::TestHost host;
    EcuProtoCfg cfg = config(0);
    cfg.padFrames = 1;
    CCP_MOUDLE::CcpTaskTransmit object(cfg, support::TestHost::callBacks());
    msgBuf sent = frame(0, "0d 01 77 77 77 77 77 77");
    sent.length = 2;
    stopFlag().setStopTransmit(true);
    EXPECT_EQ(object.sendFrame(sent), 0U);
    stopFlag().setStopTransmit(false);
    EXPECT_EQ(support::hexText(sent.data.data(), 8), "0d 01 77 77 77 77 77 77");
    EXPECT_EQ(sent.length, 2);
    EXPECT_TRUE(host.sent().empty());
    object.sendFrame(sent);
    EXPECT_EQ(support::hexText(sent.data.data(), 8), "0d 01 00 00 00 00 00 00");
}

TEST(BasicCfgTransmit, RefusedSendDropsOldResponsesAllTheSame) {
    const support::TestHost host;
    for (const bool stopped : {true, false}) {
        SCOPED_TRACE(stopped ? "stop flag" : "no function");
        CallBackFuns table = support::TestHost::callBacks();
        if (!stopped) {
            table.sndFun = nullptr;
        }
        stopFlag().setStopTransmit(stopped);
        EXPECT_EQ(leftByRefusedSend<CCP_MOUDLE::CcpTaskTransmit>(0, table), "12:05 01");
        EXPECT_EQ(leftByRefusedSend<XCP_MOUDLE::XcpTaskTransmit>(1, table), "12:05 01");
        stopFlag().setStopTransmit(false);
    }
}

TEST(BasicCfgTransmit, LogLineGoesToAllFunctionsWithOneTime) {
    support::TestHost host;
    CallBackFuns table = support::TestHost::callBacks();
    table.logFuns = {table.logFuns[0], nullptr, table.logFuns[0]};
    const PlainTransmit object(config(), table);
    object.writeLog(3, "line");
    const std::vector<support::LogLine> logs = host.logs();
    ASSERT_EQ(logs.size(), 2U);
    EXPECT_EQ(logs[0].level, 3U);
    EXPECT_EQ(logs[0].text, "line");
    EXPECT_EQ(logs[0].timeMs, logs[1].timeMs);
    EXPECT_GT(logs[0].timeMs, 1600000000000U);
}
