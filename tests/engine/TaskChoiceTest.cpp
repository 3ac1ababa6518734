#include "ccp/CcpTaskTransmit.h"
#include "engine/TaskFactory.h"
#include "tests/engine/EngineTest.h"
#include "xcp/XcpTaskTransmit.h"

#include <gtest/gtest.h>

namespace {

class CcpRecord : public engine_test::EngineTest, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(CcpRecord, GivesATaskThatSpeaksCcp) {
    m_cfgA.protoType = GetParam();
    m_cfgA.ccp.stationAddress = 0x1234;
    m_cfgA.ccp.timeoutMs = 50;
    configure();
    m_a.isSilent();
    EXPECT_EQ(resultOf(1, [] { EcuConnect({"a"}); }).result, 3);
    EXPECT_EQ(m_a.count("01 ?? 34 12 .."), m_a.sentFrames().size());
    EXPECT_GT(m_a.sentFrames().size(), 0U);
    connected({"b"});
    EXPECT_TRUE(isEcuConnect("a"));
}

INSTANTIATE_TEST_SUITE_P(ProtoTypes, CcpRecord, testing::Values(0U, 2U, 3U, 257U, 0xFFFFFFFFU));

TEST(TaskChoice, OneIsXcpAndAllElseIsCcp) {
    EcuProtoCfg cfg;
    const CallBackFuns callBacks;
    EXPECT_NE(dynamic_cast<XCP_MOUDLE::XcpTaskTransmit*>(makeTask(cfg, callBacks).get()), nullptr);
    for (const std::uint32_t type : {0U, 2U, 0xFFFFFFFFU}) {
        cfg.protoType = type;
        EXPECT_NE(dynamic_cast<CCP_MOUDLE::CcpTaskTransmit*>(makeTask(cfg, callBacks).get()), nullptr);
    }
}

}  // namespace
