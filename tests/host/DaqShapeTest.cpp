// What packets look like, from the live configuration.

#include "host/DaqShape.h"

#include <gmock/gmock.h>

namespace {

using host::DaqShape;
using host::daqShape;
using host::PacketId;
using ::testing::ElementsAre;
using ::testing::Pair;

mcMeasureVariable variable(const std::string& name, std::uint32_t size, std::uint16_t event) {
    mcMeasureVariable record;
    record.name = name;
    record.size = size;
    record.address = 0x1000;
    record.event = event;
    return record;
}

EcuProtoCfg xcp() {
    EcuProtoCfg cfg;
    cfg.canIdMaster = 0x600;
    cfg.canIdSlave = 0x601;
    cfg.xcp.maxDaq = 0;
    cfg.xcp.maxOdtEntrySizeDaq = 7;
    cfg.xcp.events[0].maxDaqList = 0xFF;
    cfg.xcp.events[1].maxDaqList = 0xFF;
    return cfg;
}

TEST(DaqShapes, XcpListsHaveTheBytesOfEachVariableAndTheNamesThatEndThere) {
    const DaqShape shape = daqShape(xcp(), {variable("b", 10, 0), variable("a", 2, 0), variable("c", 1, 1)});
    EXPECT_EQ(shape.packetId, PacketId::absolute);
    EXPECT_EQ(shape.commandId, 0x600U);
    EXPECT_EQ(shape.responseId, 0x601U);
    ASSERT_EQ(shape.lists.size(), 2U);
    EXPECT_EQ(shape.lists[0].odts, 2U);
    EXPECT_THAT(shape.lists[0].bytes, ElementsAre(Pair("a", 2U), Pair("b", 10U)));
    EXPECT_THAT(shape.lists[0].finished, ElementsAre("a", "b"));
    EXPECT_EQ(shape.lists[1].number, 1U);
    EXPECT_EQ(shape.lists[1].event, 1U);
}

TEST(DaqShapes, XcpKeyByteAndPropertiesTellTheFormOfPackets) {
    EcuProtoCfg cfg = xcp();
    cfg.xcp.daqKeyByte = 0x80;
    cfg.xcp.daqProperties = 0x41;
    cfg.xcp.byteOrder = 1;
    cfg.xcp.daqListCanIds[0] = 0x610;
    cfg.xcp.eventCanIds[1] = {0x611};
    const DaqShape shape = daqShape(cfg, {variable("a", 2, 0)});
    EXPECT_EQ(shape.packetId, PacketId::relativeWord);
    EXPECT_TRUE(shape.overloadInPid);
    EXPECT_EQ(shape.byteOrder, sim::ByteOrder::motorola);
    EXPECT_THAT(shape.packetIds, ElementsAre(0x610U, 0x611U));
}

TEST(DaqShapes, CcpListsHaveTheirFirstPidAndIdentifiers) {
    EcuProtoCfg cfg;
    cfg.protoType = 0;
    cfg.ccp.daqListLimit = 1;
    cfg.ccp.packMode = 0;
    cfg.ccp.daqLists[0] = {0, 3, 10, 0x682, {}};
    const DaqShape shape = daqShape(cfg, {variable("a", 4, 0), variable("b", 4, 0)});
    EXPECT_TRUE(shape.ccp);
    EXPECT_THAT(shape.packetIds, ElementsAre(0x682U));
    ASSERT_EQ(shape.lists.size(), 1U);
    EXPECT_EQ(shape.lists[0].firstPid, 10U);
    EXPECT_EQ(shape.lists[0].odts, 2U);
}

TEST(DaqShapes, PollingEverythingLeavesNoLists) {
    EcuProtoCfg cfg = xcp();
    cfg.xcp.pollPeriodMs = 10;
    EXPECT_TRUE(daqShape(cfg, {variable("a", 2, 0)}).lists.empty());
}

}  // namespace
