// What the library and the simulation are told of an ECU.

#include "host/EcuSetup.h"

#include "host/SimulatedEcu.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

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
    EXPECT_EQ(host::resourceName(makeEcu(true), 0x04), "unknown");
}

TEST(EcuSetup, GeneralTimeoutsStandWhereNoSingleOneDoes) {
    host::EcuRecord ecu = makeEcu(false);
    ecu.timeouts.longMs = 700;
    ecu.timeouts.xcpMs = {0, 0, 5000, 0, 0, 0, 75};
    ecu.timeouts.synchPeriodMs = 300;
    const XcpCfg xcp = host::protoCfg(ecu, kBus).xcp;
    EXPECT_THAT((std::vector<int>{xcp.t1, xcp.t2, xcp.t3, xcp.t4, xcp.t5, xcp.t6, xcp.t7}),
                ElementsAre(40, 700, 5000, 700, 700, 40, 75));
    EXPECT_EQ(xcp.synchPeriodMs, 300U);
}

TEST(EcuSetup, XcpEventsHaveNamesListsAndIdentifiers) {
    host::EcuRecord ecu = makeEcu(false);
    ecu.events[0].maxLists = 2;
    ecu.events[0].ids = {0x710, 0x711};
    const XcpCfg xcp = host::protoCfg(ecu, kBus).xcp;
    const XcpEventCfg& event = xcp.events.at(0);
    EXPECT_EQ(event.maxDaqList, 2);
    EXPECT_EQ(std::string(event.name.begin(), event.name.begin() + event.nameLength), "fast");
    EXPECT_THAT(xcp.eventCanIds.at(0), ElementsAre(0x710, 0x711));
    EXPECT_EQ(xcp.maxEventChannel, 1);
}

TEST(EcuSetup, XcpDaqFactsAreThoseThatAnEcuWouldTell) {
    host::EcuRecord ecu = makeEcu(false);
    ecu.daq.idField = 2;
    ecu.daq.timestampSize = 4;
    ecu.daq.timestamps = ecu.daq.counter = true;
    ecu.daq.timestampUnit = 6;
    ecu.daq.timestampTicks = 9;
    ecu.daq.minLists = 2;
    ecu.daq.maxLists = 12;
    ecu.daq.maxEntrySize = 5;
    ecu.daq.prescaler = 3;
    ecu.daq.pollPeriodMs = 80;
    const XcpCfg xcp = host::protoCfg(ecu, kBus).xcp;
    EXPECT_EQ(xcp.daqKeyByte, 0x80);
    EXPECT_EQ(xcp.timestampMode, 0x64);
    EXPECT_EQ(xcp.timestampTicks, 9);
    EXPECT_EQ(xcp.daqListMode, 0x18);
    EXPECT_EQ(xcp.daqProperties, 0x13);
    EXPECT_EQ(xcp.minDaq, 2);
    EXPECT_EQ(xcp.maxDaq, 12);
    EXPECT_EQ(xcp.maxOdtEntrySizeDaq, 5);
    EXPECT_EQ(xcp.daqListPrescaler, 3);
    EXPECT_EQ(xcp.pollPeriodMs, 80);
}

TEST(EcuSetup, StaticListsOfXcpAreKnownByNumber) {
    host::EcuRecord ecu = makeEcu(false);
    ecu.daq.dynamic = false;
    ecu.daq.lists = {{3, 4, 0x702, {}, 5, 0}, {0, 7, std::nullopt, {}}};
    const XcpCfg xcp = host::protoCfg(ecu, kBus).xcp;
    EXPECT_EQ(xcp.daqProperties & 1, 0);
    EXPECT_EQ(xcp.daqListInfo.at(0).maxOdt, 3);
    EXPECT_EQ(xcp.daqListInfo.at(0).maxOdtEntries, 5);
    EXPECT_EQ(xcp.daqListInfo.at(0).firstPid, 4);
    EXPECT_EQ(xcp.daqListInfo.at(0).fixedEvent, 0);
    EXPECT_EQ(xcp.daqListInfo.at(1).fixedEvent, 255) << "none";
    EXPECT_THAT(xcp.daqListCanIds, ElementsAre(std::pair(0U, 0x702U)));
}

TEST(EcuSetup, FramesAndBlocksAreAsConfigured) {
    host::EcuRecord ecu = makeEcu(false);
    ecu.fd = ecu.padFrames = ecu.acceptLimits = ecu.masterBlockMode = true;
    ecu.padByte = 0x55;
    ecu.maxBs = 9;
    ecu.minSt = 2;
    ecu.addressGranularity = 4;
    const EcuProtoCfg cfg = host::protoCfg(ecu, kBus);
    EXPECT_EQ(cfg.masterFd, 1);
    EXPECT_EQ(cfg.masterBrs, 0);
    EXPECT_EQ(cfg.padFrames, 1);
    EXPECT_EQ(cfg.padByte, 0x55);
    EXPECT_EQ(cfg.acceptSlaveLimits, 1);
    EXPECT_EQ(cfg.xcp.useMasterBlockMode, 1);
    EXPECT_EQ(cfg.xcp.commModeOptional, 1);
    EXPECT_EQ(cfg.xcp.maxBs, 9);
    EXPECT_EQ(cfg.xcp.minSt, 2);
    EXPECT_EQ(cfg.xcp.addressGranularity, 4);
}

TEST(EcuSetup, BroadcastIsTheCommandIdentifierUnlessThereIsOne) {
    host::EcuRecord ecu = makeEcu(false);
    EXPECT_EQ(host::protoCfg(ecu, kBus).canIdBroadcast, 0x700U);
    ecu.broadcastId = 0x7DF;
    EXPECT_EQ(host::protoCfg(ecu, kBus).canIdBroadcast, 0x7DFU);
}

TEST(EcuSetup, UnlockedIsWhatTheMaskSays) {
    for (const bool ccp : {false, true}) {
        host::EcuRecord ecu = makeEcu(ccp);
        const auto mask = [&] {
            const EcuProtoCfg cfg = host::protoCfg(ecu, kBus);
            return ccp ? std::uint32_t{cfg.ccp.unlockMask} : cfg.xcp.unlockMask;
        };
        EXPECT_EQ(mask(), ccp ? 0xFFU : 0xFFFFFFFFU) << "all";
        for (const std::uint32_t bits : {0x00U, 0x02U, 0x41U}) {
            ecu.security.unlockMask = bits;
            EXPECT_EQ(mask(), bits);
        }
    }
}

TEST(EcuSetup, SegmentsHaveTheirExtensionNumbersAndChecksum) {
    host::EcuRecord ecu = makeEcu(false);
    ecu.segments[1].extension = 3;
    ecu.segments[1].number = 2;
    ecu.segments[1].workingPage = 1;
    ecu.segments[1].referencePage = 4;
    ecu.segments[1].checksum = 0;
    ecu.segments[1].checksumBlock = 64;
    const EcuProtoCfg cfg = host::protoCfg(ecu, kBus);
    const mcMemoryInfo& segment = cfg.dataSegments.at(1);
    EXPECT_EQ(segment.addressExtension, 3);
    EXPECT_EQ(segment.segmentNumber, 2);
    EXPECT_EQ(segment.pages.at(0).pageNumber, 1);
    EXPECT_EQ(segment.pages.at(1).pageNumber, 4);
    EXPECT_EQ(segment.checksumType, 0U);
    EXPECT_EQ(segment.checksumBlockSize, 64U);
    EXPECT_EQ(cfg.xcp.workingSegment, 2);
    EXPECT_EQ(cfg.xcp.referenceSegment, 2);
    EXPECT_EQ(cfg.xcp.workingPage, 1);
    EXPECT_EQ(cfg.xcp.referencePage, 4);
    EXPECT_EQ(cfg.dataSegments.at(0).checksumType, 2U) << "that of the ECU";
}

TEST(EcuSetup, SegmentWithoutPagesToSelectIsMarkedForXcp) {
    host::EcuRecord ecu = makeEcu(false);
    EXPECT_EQ(host::protoCfg(ecu, kBus).dataSegments.at(1).programType, 0U);
    ecu.segments[1].paged = false;
    EXPECT_EQ(host::protoCfg(ecu, kBus).dataSegments.at(1).programType, 1U);
}

TEST(EcuSetup, ListsOfCcpCanBeLeftUnusedAndUnasked) {
    host::EcuRecord ecu = makeEcu(true);
    ecu.daq.firstList = 1;
    ecu.daq.querySizes = false;
    ecu.daq.prescaler = 5;
    ecu.daq.pollPeriodMs = 60;
    const CcpCfg ccp = host::protoCfg(ecu, kBus).ccp;
    EXPECT_EQ(ccp.firstDaqList, 1);
    EXPECT_EQ(ccp.queryDaqSizes, 0);
    EXPECT_EQ(ccp.prescaler, 5);
    EXPECT_EQ(ccp.pollPeriodMs, 60);
}

TEST(EcuSetup, VariableKeepsItsAddressExtension) {
    host::VariableRecord variable;
    variable.extension = 7;
    EXPECT_EQ(host::measureVariable(variable).addressExtension, 7);
}

TEST(SimulatedEcu, StaticListsGranularityAndBlocksAreThoseOfTheConfiguration) {
    host::EcuRecord ecu = makeEcu(false);
    ecu.daq.dynamic = false;
    ecu.daq.lists = {{3, 0, 0x702, {}}};
    ecu.daq.entryGranularity = ecu.addressGranularity = 2;
    ecu.masterBlockMode = true;
    ecu.maxBs = 6;
    const sim::XcpEcuConfig config = host::simulatedXcpEcu(ecu);
    EXPECT_FALSE(config.daq.dynamic);
    ASSERT_EQ(config.daq.lists.size(), 1U);
    EXPECT_EQ(config.daq.lists[0].odts, 3);
    EXPECT_EQ(config.daq.lists[0].canId, 0x702U);
    EXPECT_EQ(config.granularity, 2);
    EXPECT_TRUE(config.masterBlockMode);
    EXPECT_EQ(config.maxBs, 6);
}

TEST(SimulatedEcu, OtherPageNumbersThanItsOwnAreRefused) {
    host::EcuRecord ecu = makeEcu(false);
    ecu.segments[1].number = 1;
    EXPECT_THROW(static_cast<void>(host::simulatedXcpEcu(ecu)), std::invalid_argument);
}

TEST(SimulatedEcu, MoreSectorsThanNumbersAreRefusedWithTheFix) {
    for (const bool ccp : {false, true}) {
        host::EcuRecord ecu = makeEcu(ccp);
        ecu.flash.sectorSize = 2;
        const auto simulate = [&ecu, ccp] {
            return ccp ? host::simulatedCcpEcu(ecu).flash : host::simulatedXcpEcu(ecu).program.flash;
        };
        try {
            static_cast<void>(simulate());
            FAIL() << "no error";
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(),
                         "its flash has 256 sectors, and a simulated ECU 255 at most; give a "
                         "larger flash.sector_size");
        }
        ecu.segments[2].size -= 2;
        EXPECT_EQ(simulate().sectors.size(), 255U);
    }
}

TEST(SimulatedEcu, EachSegmentOfFlashHasItsSectors) {
    host::EcuRecord ecu = makeEcu(false);
    ecu.segments.push_back(segment(SegmentKind::flash, 0x9000, 0x9000));
    const sim::XcpEcuConfig config = host::simulatedXcpEcu(ecu);
    ASSERT_EQ(config.program.flash.sectors.size(), 4U);
    EXPECT_EQ(config.program.flash.sectors[1].base, 0x8100U);
    EXPECT_EQ(config.program.flash.sectors[2].base, 0x9000U);
    EXPECT_NO_THROW(config.check());
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
