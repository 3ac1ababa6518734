// What the library and the simulation are told of an ECU.

#include "host/EcuSetup.h"

#include "host/SimulatedEcu.h"

#include <gmock/gmock.h>

namespace {

using host::SegmentKind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

host::SegmentRecord segment(SegmentKind kind, std::uint32_t address, std::uint32_t referenceAddress) {
    host::SegmentRecord record;
    record.kind = kind;
    record.address = address;
    record.size = 0x200;
    record.referenceAddress = referenceAddress;
    return record;
}

host::EcuRecord makeEcu(bool ccp) {
    host::EcuRecord ecu;
    ecu.ccp = ccp;
    ecu.commandId = 0x700;
    ecu.responseId = 0x701;
    ecu.stationAddress = 0x1234;
    ecu.checksum = 2;
    ecu.rejectZeroAddress = true;
    ecu.byteOrder = sim::ByteOrder::motorola;
    ecu.timeouts.commandMs = 40;
    ecu.timeouts.retries = 3;
    ecu.timeouts.retryDelayMs = 6;
    ecu.timeouts.statusPeriodMs = 90;
    ecu.events = {{"fast", 5, 6, 0, 5'000'000}};
    ecu.flash = {0x100, 7, 90};
    ecu.segments = {segment(SegmentKind::ram, 0x1000, 0x1000),
                    segment(SegmentKind::calibration, 0x2000, ccp ? 0x3000 : 0x2000),
                    segment(SegmentKind::flash, 0x8000, 0x8000)};
    if (ccp) {
        ecu.daq.packMode = 1;
        ecu.daq.lists = {{3, 4, 0x702, {0}}, {2, 7, std::nullopt, {}}};
    }
    return ecu;
}

const host::BusRecord kBus{"one", 3, 500'000, {}};

TEST(EcuSetup, CcpEcuIsOneForTheLibrary) {
    const EcuProtoCfg cfg = host::protoCfg(makeEcu(true), kBus);
    EXPECT_EQ(cfg.protoType, 0U);
    EXPECT_EQ(cfg.canChannel, 3);
    EXPECT_EQ(cfg.ccp.timeoutMs, 40);
    EXPECT_EQ(cfg.ccp.retryCount, 3);
    EXPECT_EQ(cfg.ccp.retryDelayMs, 6U);
    EXPECT_EQ(cfg.ccp.statusPeriodMs, 90U);
    EXPECT_EQ(cfg.ccp.byteOrder, 1);
    EXPECT_EQ(cfg.ccp.rejectZeroAddress, 1);
    EXPECT_EQ(cfg.ccp.stationAddress, 0x1234);
    EXPECT_EQ(cfg.ccp.packMode, 1U);
    EXPECT_EQ(cfg.ccp.events.at(0).timeCycle, 5);
    EXPECT_EQ(cfg.ccp.events.at(0).timeUnit, 6);
}

TEST(EcuSetup, CcpListsKeepTheirIdentifierOrTakeThatOfResponses) {
    const EcuProtoCfg cfg = host::protoCfg(makeEcu(true), kBus);
    EXPECT_EQ(cfg.ccp.firstDaqList, 0);
    EXPECT_EQ(cfg.ccp.daqListLimit, 2);
    EXPECT_EQ(cfg.ccp.queryDaqSizes, 1);
    EXPECT_EQ(cfg.ccp.daqLists.at(0).odtCount, 3);
    EXPECT_EQ(cfg.ccp.daqLists.at(0).firstPid, 4);
    EXPECT_EQ(cfg.ccp.daqLists.at(0).canId, 0x702U);
    EXPECT_THAT(cfg.ccp.daqLists.at(0).events, ElementsAre(0));
    EXPECT_EQ(cfg.ccp.daqLists.at(1).canId, 0x701U);
    EXPECT_THAT(cfg.ccp.daqLists.at(1).events, IsEmpty());
}

TEST(EcuSetup, CcpPagesAreSegmentsSideBySide) {
    const EcuProtoCfg cfg = host::protoCfg(makeEcu(true), kBus);
    ASSERT_EQ(cfg.dataSegments.size(), 3U);
    EXPECT_EQ(cfg.dataSegments[1].address, 0x2000U);
    EXPECT_EQ(cfg.dataSegments[2].address, 0x3000U);
    EXPECT_THAT(cfg.dataSegments[1].pages, IsEmpty());
    EXPECT_EQ(cfg.ccp.workingPageAddress, 0x2000U);
    EXPECT_EQ(cfg.ccp.referencePageAddress, 0x3000U);
}

TEST(EcuSetup, XcpPagesBelongToOneSegment) {
    const EcuProtoCfg cfg = host::protoCfg(makeEcu(false), kBus);
    EXPECT_EQ(cfg.protoType, 1U);
    ASSERT_EQ(cfg.dataSegments.size(), 2U);
    const mcMemoryInfo& calibration = cfg.dataSegments[1];
    EXPECT_EQ(calibration.address, 0x2000U);
    ASSERT_EQ(calibration.pages.size(), 2U);
    EXPECT_EQ(calibration.pages[0].pageNumber, cfg.xcp.workingPage);
    EXPECT_NE(calibration.pages[0].writeAccess, 0U);
    EXPECT_EQ(calibration.pages[1].pageNumber, cfg.xcp.referencePage);
    EXPECT_EQ(calibration.pages[1].writeAccess, 0U);
}

TEST(EcuSetup, FlashIsCodeWithTheChecksumOfTheEcu) {
    for (const bool ccp : {false, true}) {
        const EcuProtoCfg cfg = host::protoCfg(makeEcu(ccp), kBus);
        ASSERT_EQ(cfg.codeSegments.size(), 1U);
        EXPECT_EQ(cfg.codeSegments[0].address, 0x8000U);
        EXPECT_EQ(cfg.codeSegments[0].length, 0x200U);
        EXPECT_EQ(cfg.codeSegments[0].checksumType, 2U);
    }
}

TEST(EcuSetup, ResourcesAreNamedByProtocol) {
    EXPECT_EQ(host::resourceName(makeEcu(false), 0x04), "daq");
    EXPECT_EQ(host::resourceName(makeEcu(false), 0x10), "programming");
    EXPECT_EQ(host::resourceName(makeEcu(true), 0x02), "daq");
    EXPECT_EQ(host::resourceName(makeEcu(true), 0x40), "programming");
}

TEST(SimulatedEcu, CcpEcuHasListsPagesAndFlashOfTheConfiguration) {
    const sim::CcpEcuConfig config = host::simulatedCcpEcu(makeEcu(true));
    EXPECT_EQ(config.croId, 0x700U);
    EXPECT_EQ(config.dtoId, 0x701U);
    EXPECT_EQ(config.stationAddress, 0x1234);
    EXPECT_EQ(config.checksum, sim::XcpChecksum::add12);
    ASSERT_EQ(config.lists.size(), 2U);
    EXPECT_EQ(config.lists[0].canId, (sim::CcpCanId{0x702, false}));
    EXPECT_FALSE(config.lists[1].canId.has_value());
    EXPECT_THAT(config.calPages, ElementsAre(sim::CcpCalPage{0x2000, 0}, sim::CcpCalPage{0x3000, 0}));
    EXPECT_EQ(config.events.at(0).period, 5'000'000U);
    ASSERT_EQ(config.flash.sectors.size(), 2U);
    EXPECT_EQ(config.flash.sectors[1].base, 0x8100U);
    EXPECT_EQ(config.flash.clearTime, 7'000'000U);
    EXPECT_EQ(config.flash.programTime, 90'000U);
    EXPECT_NO_THROW(config.check());
}

TEST(SimulatedEcu, XcpEcuHasBothPagesInOneSegmentAndProgramsOnlyWithFlash) {
    host::EcuRecord ecu = makeEcu(false);
    const sim::XcpEcuConfig config = host::simulatedXcpEcu(ecu);
    ASSERT_EQ(config.memory.size(), 3U);
    ASSERT_EQ(config.memory[1].pages.size(), 2U);
    EXPECT_TRUE(config.memory[1].calibration);
    EXPECT_TRUE(config.memory[1].pages[0].toolWritable);
    EXPECT_FALSE(config.memory[1].pages[1].toolWritable);
    EXPECT_EQ(config.memory[0].access, sim::MemoryAccess::readOnly);
    EXPECT_EQ(config.resources & sim::xcp::kPgm, sim::xcp::kPgm);
    EXPECT_NO_THROW(config.check());
    ecu.segments.pop_back();
    EXPECT_EQ(host::simulatedXcpEcu(ecu).resources & sim::xcp::kPgm, 0);
}

}  // namespace
