#include "TalvexSDK.h"
#include "engine/TaskCmd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

TEST(RecordDefaults, ANewEcuProtoCfgSelectsXcpWithItsOrdinaryIdentifiers) {
    const EcuProtoCfg cfg;
    EXPECT_EQ(cfg.ecuName, "");
    EXPECT_EQ(cfg.protoType, 1U);
    EXPECT_EQ(cfg.canChannel, 0);
    EXPECT_EQ(cfg.canIdBroadcast, 0U);
    EXPECT_EQ(cfg.canIdMaster, 1U);
    EXPECT_EQ(cfg.canIdSlave, 2U);
    EXPECT_EQ(cfg.canSlaveOption, 0);
    EXPECT_EQ(cfg.maxCto, 8);
    EXPECT_EQ(cfg.maxDto, 8);
    EXPECT_EQ(cfg.xcp.referencePage, 1);
    EXPECT_EQ(cfg.xcp.statusPeriodMs, 1000U);
    EXPECT_EQ(cfg.ccp.stationAddress, 1);
    EXPECT_EQ(cfg.ccp.unlockMask, 0xFF);
}

TEST(RecordDefaults, ANewEcuProtoCfgHasNoFlagAndNoTextAndNoSegment) {
    const EcuProtoCfg cfg;
    EXPECT_EQ(cfg.masterFd, 0);
    EXPECT_EQ(cfg.slaveFd, 0);
    EXPECT_EQ(cfg.masterBrs, 0);
    EXPECT_EQ(cfg.slaveBrs, 0);
    EXPECT_EQ(cfg.masterExtended, 0);
    EXPECT_EQ(cfg.slaveExtended, 0);
    EXPECT_EQ(cfg.padFrames, 0);
    EXPECT_EQ(cfg.padByte, 0);
    EXPECT_EQ(cfg.acceptSlaveLimits, 0);
    EXPECT_TRUE(cfg.supportedCmds.empty());
    EXPECT_EQ(cfg.seedkey_path, "");
    EXPECT_EQ(cfg.hostWord, 0U);
    EXPECT_TRUE(cfg.codeSegments.empty());
    EXPECT_TRUE(cfg.dataSegments.empty());
    EXPECT_EQ(cfg.hostNote, "");
}

TEST(RecordDefaults, ANewXcpCfgHasNoTimesAndNoRepeats) {
    const XcpCfg xcp;
    EXPECT_EQ(xcp.t1, 0);
    EXPECT_EQ(xcp.t2, 0);
    EXPECT_EQ(xcp.t3, 0);
    EXPECT_EQ(xcp.t4, 0);
    EXPECT_EQ(xcp.t5, 0);
    EXPECT_EQ(xcp.t6, 0);
    EXPECT_EQ(xcp.t7, 0);
    EXPECT_EQ(xcp.byteOrder, 0);
    EXPECT_EQ(xcp.addressGranularity, 1);
    EXPECT_EQ(xcp.retryCount, 0);
    EXPECT_EQ(xcp.retryDelayMs, 0U);
}

TEST(RecordDefaults, ANewXcpCfgHasNoEventsAndPagesZeroAndOne) {
    const XcpCfg xcp;
    EXPECT_TRUE(xcp.events.empty());
    EXPECT_TRUE(xcp.eventCanIds.empty());
    EXPECT_TRUE(xcp.daqListCanIds.empty());
    EXPECT_EQ(xcp.rejectZeroAddress, 0);
    EXPECT_EQ(xcp.workingSegment, 0);
    EXPECT_EQ(xcp.workingPage, 0);
    EXPECT_EQ(xcp.referenceSegment, 0);
    EXPECT_EQ(xcp.referencePage, 1);
    EXPECT_EQ(xcp.pollPeriodMs, 0);
    EXPECT_EQ(xcp.useSlaveBlockMode, 0);
    EXPECT_EQ(xcp.useMasterBlockMode, 0);
    EXPECT_EQ(xcp.synchPeriodMs, 0U);
    EXPECT_EQ(xcp.statusPeriodMs, 1000U);
}

TEST(RecordDefaults, TheLiveFieldsOfANewXcpCfgAreZero) {
    const XcpCfg xcp;
    EXPECT_EQ(xcp.calPageMode, 0);
    EXPECT_EQ(xcp.clockTriggerInfo, 0);
    EXPECT_EQ(xcp.clockPayloadFormat, 0);
    EXPECT_EQ(xcp.clockTimestamp, 0U);
    EXPECT_EQ(xcp.commModePgm, 0);
    EXPECT_EQ(xcp.maxCtoPgm, 0);
    EXPECT_EQ(xcp.minStPgm, 0);
    EXPECT_EQ(xcp.maxBsPgm, 0);
    EXPECT_EQ(xcp.queueSizePgm, 0);
    EXPECT_EQ(xcp.checksumType, 0U);
    EXPECT_EQ(xcp.commModeBasic, 0);
    EXPECT_EQ(xcp.commModeOptional, 0);
    EXPECT_EQ(xcp.maxBs, 0);
    EXPECT_EQ(xcp.minSt, 0);
    EXPECT_EQ(xcp.queueSize, 0);
    EXPECT_EQ(xcp.driverVersion, 0);
    EXPECT_EQ(xcp.sessionStatus, 0);
    EXPECT_EQ(xcp.protectionStatus, 0);
    EXPECT_EQ(xcp.resource, 0);
    EXPECT_EQ(xcp.stateNumber, 0);
    EXPECT_EQ(xcp.sessionConfigId, 0);
}

TEST(RecordDefaults, TheDaqFactsOfANewXcpCfgAreThoseOfASmallEcu) {
    const XcpCfg xcp;
    EXPECT_EQ(xcp.daqListMode, 0);
    EXPECT_EQ(xcp.daqListPrescaler, 0);
    EXPECT_TRUE(xcp.daqListInfo.empty());
    EXPECT_EQ(xcp.daqProperties, 0);
    EXPECT_EQ(xcp.daqKeyByte, 0);
    EXPECT_EQ(xcp.minDaq, 0);
    EXPECT_EQ(xcp.maxDaq, 1);
    EXPECT_EQ(xcp.maxEventChannel, 6);
    EXPECT_EQ(xcp.packMode, 2U);
    EXPECT_EQ(xcp.timestampMode, 0);
    EXPECT_EQ(xcp.granularityOdtEntryDaq, 1);
    EXPECT_EQ(xcp.maxOdtEntrySizeDaq, 6);
    EXPECT_EQ(xcp.granularityOdtEntryStim, 1);
    EXPECT_EQ(xcp.maxOdtEntrySizeStim, 6);
    EXPECT_EQ(xcp.timestampTicks, 1);
    EXPECT_EQ(xcp.unlockMask, 0xFFFFFFFFU);
}

TEST(RecordDefaults, ANewXcpEventIsZero) {
    const XcpEventCfg event;
    EXPECT_EQ(event.maxDaqList, 0);
    EXPECT_EQ(event.timeCycle, 0);
    EXPECT_EQ(event.properties, 0);
    EXPECT_EQ(event.timeUnit, 0);
    EXPECT_EQ(event.priority, 0);
    EXPECT_EQ(event.nameLength, 0);
    EXPECT_EQ(event.name.size(), 255U);
    EXPECT_TRUE(std::all_of(event.name.begin(), event.name.end(), [](auto byte) { return byte == 0; }));
}

TEST(RecordDefaults, ANewXcpListIsZeroButForItsFixedEvent) {
    const XcpDaqListCfg list;
    EXPECT_EQ(list.listNumber, 0);
    EXPECT_EQ(list.event, 0);
    EXPECT_EQ(list.prescaler, 0);
    EXPECT_EQ(list.priority, 0);
    EXPECT_EQ(list.mode, 0);
    EXPECT_EQ(list.properties, 0);
    EXPECT_EQ(list.maxOdt, 0);
    EXPECT_EQ(list.maxOdtEntries, 0);
    EXPECT_EQ(list.firstPid, 0);
    EXPECT_EQ(list.fixedEvent, 255);
}

TEST(RecordDefaults, ANewCcpCfgHasStationOneAndReferencePageOne) {
    const CcpCfg ccp;
    EXPECT_EQ(ccp.timeoutMs, 0);
    EXPECT_EQ(ccp.byteOrder, 0);
    EXPECT_EQ(ccp.retryCount, 0);
    EXPECT_EQ(ccp.retryDelayMs, 0U);
    EXPECT_TRUE(ccp.events.empty());
    EXPECT_EQ(ccp.rejectZeroAddress, 0);
    EXPECT_EQ(ccp.workingPageAddress, 0U);
    EXPECT_EQ(ccp.referencePageAddress, 1U);
    EXPECT_EQ(ccp.pollPeriodMs, 0);
    EXPECT_EQ(ccp.statusPeriodMs, 1000U);
    EXPECT_EQ(ccp.queryDaqSizes, 0);
    EXPECT_EQ(ccp.firstDaqList, 0);
    EXPECT_EQ(ccp.daqListLimit, 1);
    EXPECT_EQ(ccp.prescaler, 1);
    EXPECT_EQ(ccp.packMode, 1U);
    EXPECT_TRUE(ccp.daqLists.empty());
    EXPECT_EQ(ccp.stationAddress, 1);
    EXPECT_EQ(ccp.unlockMask, 0xFF);
}

TEST(RecordDefaults, NewCcpEventsAndListsAreZero) {
    const CcpEventCfg event;
    EXPECT_EQ(event.timeCycle, 0);
    EXPECT_EQ(event.timeUnit, 0);
    const CcpDaqListCfg list;
    EXPECT_EQ(list.listNumber, 0);
    EXPECT_EQ(list.odtCount, 0);
    EXPECT_EQ(list.firstPid, 0);
    EXPECT_EQ(list.canId, 0U);
    EXPECT_TRUE(list.events.empty());
}

/// Numbers of a variable are packed, so that a matcher gets a copy and no reference.
TEST(RecordDefaults, ANewVariableHasTypeWholeByteAndNothingElse) {
    const mcMeasureVariable variable;
    EXPECT_EQ(variable.name, "");
    EXPECT_EQ(variable.type, 255);
    EXPECT_EQ(std::uint32_t{variable.size}, 0U);
    EXPECT_EQ(variable.addressExtension, 0);
    EXPECT_EQ(std::uint32_t{variable.address}, 0U);
    EXPECT_EQ(std::uint16_t{variable.event}, 0);
    EXPECT_EQ(variable.fragment, 0);
    EXPECT_EQ(std::uint16_t{variable.period}, 0);
    EXPECT_EQ(variable.hostValue.size(), 8U);
    EXPECT_TRUE(std::all_of(variable.hostValue.begin(), variable.hostValue.end(),
                            [](auto byte) { return byte == 0; }));
}

TEST(RecordDefaults, ANewValueIsEmpty) {
    const mcMeasureVariableValue value;
    EXPECT_EQ(value.name, "");
    EXPECT_EQ(value.time, 0U);
    EXPECT_TRUE(value.data.empty());
}

TEST(RecordDefaults, ANewMemorySegmentAndItsPagesAreZero) {
    const mcMemoryInfo segment;
    EXPECT_EQ(segment.address, 0U);
    EXPECT_EQ(segment.length, 0U);
    EXPECT_EQ(segment.addressExtension, 0);
    EXPECT_EQ(segment.segmentNumber, 0);
    EXPECT_EQ(segment.programType, 0U);
    EXPECT_EQ(segment.memoryType, 0U);
    EXPECT_TRUE(segment.pages.empty());
    EXPECT_EQ(segment.checksumBlockSize, 0U);
    EXPECT_EQ(segment.checksumType, 0U);
    const mcMemoryPage page;
    EXPECT_EQ(page.pageNumber, 0);
    EXPECT_EQ(page.ecuAccess, 0U);
    EXPECT_EQ(page.readAccess, 0U);
    EXPECT_EQ(page.writeAccess, 0U);
}

TEST(RecordDefaults, NewMemoryBlocksAndResultsAreEmpty) {
    const mem_buf block;
    EXPECT_EQ(block.address, 0U);
    EXPECT_TRUE(block.data.empty());
    const mcMemoryData result;
    EXPECT_EQ(result.address, 0U);
    EXPECT_EQ(result.length, 0U);
    EXPECT_TRUE(result.data.empty());
    EXPECT_TRUE(result.expected.empty());
    EXPECT_TRUE(result.actual.empty());
}

TEST(RecordDefaults, ANewFrameIsEmptyWithSixtyFourZeros) {
    const msgBuf frame;
    EXPECT_EQ(frame.hostTag, 0U);
    EXPECT_EQ(frame.time, 0U);
    EXPECT_EQ(frame.id, 0U);
    EXPECT_EQ(frame.data.size(), 64U);
    EXPECT_TRUE(std::all_of(frame.data.begin(), frame.data.end(), [](auto byte) { return byte == 0; }));
    EXPECT_EQ(frame.length, 0);
    EXPECT_EQ(frame.channel, 0);
}

TEST(RecordDefaults, ANewCallbackTableIsEmpty) {
    const CallBackFuns callbacks;
    EXPECT_EQ(callbacks.measureFun, nullptr);
    EXPECT_EQ(callbacks.sndFun, nullptr);
    EXPECT_EQ(callbacks.msgDecodeFun, nullptr);
    EXPECT_EQ(callbacks.taskResultFun, nullptr);
    EXPECT_EQ(callbacks.memResultFun, nullptr);
    EXPECT_EQ(callbacks.xcpSeedLibFun, nullptr);
    EXPECT_EQ(callbacks.ccpSeedLibFun, nullptr);
    EXPECT_EQ(callbacks.daqInfoFun, nullptr);
    EXPECT_EQ(callbacks.reserved, nullptr);
    EXPECT_TRUE(callbacks.logFuns.empty());
}

TEST(RecordDefaults, ANewCommandIsNoCommand) {
    const TaskCmd cmd;
    EXPECT_EQ(cmd.cmd, 0U);
    EXPECT_TRUE(cmd.names.empty());
    EXPECT_EQ(cmd.memType, 0U);
    EXPECT_TRUE(cmd.variables.empty());
    EXPECT_FALSE(cmd.page);
    EXPECT_EQ(cmd.variable.type, 255);
    EXPECT_EQ(std::uint32_t{cmd.variable.size}, 0U);
    EXPECT_TRUE(cmd.bytes.empty());
    EXPECT_TRUE(cmd.blocks.empty());
}

TEST(RecordDefaults, TheMemoryTypesAreBits) {
    EXPECT_EQ(mcMemCode, 1U);
    EXPECT_EQ(mcMemDataReference, 2U);
    EXPECT_EQ(mcMemDataWorking, 4U);
}

/// Distance of a field of @p variable from its first packed number.
template <typename Field>
std::ptrdiff_t fieldOffset(const mcMeasureVariable& variable, const Field& field) {
    const auto* first =
        static_cast<const unsigned char*>(static_cast<const void*>(std::addressof(variable.type)));
    return static_cast<const unsigned char*>(static_cast<const void*>(std::addressof(field))) - first;
}

TEST(PackedLayout, TheNumbersOfAVariableStandByteByByte) {
    const mcMeasureVariable variable;
    const auto bytes = [&](std::size_t offset) {
        return static_cast<const unsigned char*>(static_cast<const void*>(&variable)) + offset;
    };
    mcMeasureVariable changed;
    changed.size = 0x04030201;
    changed.addressExtension = 0x05;
    changed.address = 0x09080706;
    changed.event = 0x0B0A;
    changed.fragment = 0x0C;
    changed.period = 0x0E0D;
    changed.hostValue = {0x0F, 0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16};
    const std::ptrdiff_t start =
        static_cast<const unsigned char*>(static_cast<const void*>(std::addressof(variable.type))) - bytes(0);
    const auto* numbers = static_cast<const unsigned char*>(static_cast<const void*>(&changed)) + start;
    EXPECT_EQ(numbers[0], 255);
    for (unsigned char i = 1; i < 23; ++i) {
        EXPECT_EQ(numbers[i], i) << "byte " << int{i};
    }
}

TEST(PackedLayout, TheNumbersOfAVariableBeginRightBehindItsName) {
    const mcMeasureVariable variable;
    const auto* record = static_cast<const unsigned char*>(static_cast<const void*>(&variable));
    const auto* name = static_cast<const unsigned char*>(static_cast<const void*>(&variable.name));
    const auto* type = static_cast<const unsigned char*>(static_cast<const void*>(&variable.type));
    EXPECT_EQ(name - record, 0);
    EXPECT_EQ(type - name, static_cast<std::ptrdiff_t>(sizeof(std::string)));
    EXPECT_EQ(fieldOffset(variable, variable.hostValue), 15);
}

TEST(PackedLayout, VariablesInAnArrayKeepTheirNamesAligned) {
    const std::vector<mcMeasureVariable> variables(5);
    for (const mcMeasureVariable& variable : variables) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&variable.name) % alignof(std::string), 0U);
    }
    EXPECT_EQ(sizeof(mcMeasureVariable) % alignof(std::string), 0U);
}

TEST(PackedLayout, AMemoryRangeIsTenBytes) {
    EXPECT_EQ(sizeof(mcMemRange), 10U);
    EXPECT_EQ(sizeof(mcMemRange[3]), 30U);
    EXPECT_EQ(offsetof(mcMemRange, reserved0), 0U);
    EXPECT_EQ(offsetof(mcMemRange, length), 1U);
    EXPECT_EQ(offsetof(mcMemRange, reserved1), 5U);
    EXPECT_EQ(offsetof(mcMemRange, address), 6U);
}

TEST(PackedLayout, RecordsAreCopiedMemberWise) {
    EcuProtoCfg cfg;
    cfg.ecuName = "one";
    cfg.xcp.events[3].timeCycle = 7;
    cfg.dataSegments = {mcMemoryInfo{}};
    cfg.dataSegments[0].pages = {mcMemoryPage{4, 0, 0, 1}};
    EcuProtoCfg copy = cfg;
    copy.ecuName = "two";
    copy.xcp.events[3].timeCycle = 8;
    copy.dataSegments[0].pages[0].pageNumber = 5;
    EXPECT_EQ(cfg.ecuName, "one");
    EXPECT_EQ(cfg.xcp.events.at(3).timeCycle, 7);
    EXPECT_EQ(cfg.dataSegments[0].pages[0].pageNumber, 4);
}

TEST(RecordTypes, FieldsHaveTheWidthsOfTheInterface) {
    EXPECT_TRUE((std::is_same_v<decltype(EcuProtoCfg::protoType), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(EcuProtoCfg::canChannel), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(EcuProtoCfg::masterFd), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(EcuProtoCfg::maxCto), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(EcuProtoCfg::maxDto), std::uint16_t>));
    EXPECT_TRUE((std::is_same_v<decltype(XcpCfg::t7), std::uint16_t>));
    EXPECT_TRUE((std::is_same_v<decltype(XcpCfg::retryCount), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(XcpCfg::unlockMask), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(CcpCfg::unlockMask), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(CcpCfg::packMode), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(mcMeasureVariable::size), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(mcMeasureVariable::period), std::uint16_t>));
    EXPECT_TRUE((std::is_same_v<decltype(mcMemoryInfo::memoryType), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(msgBuf::length), std::uint16_t>));
    EXPECT_TRUE((std::is_same_v<mcMemOperType, std::uint32_t>));
}

TEST(RecordTypes, IdentifiersOfEventsStandInLists) {
    EXPECT_TRUE(
        (std::is_same_v<decltype(XcpCfg::eventCanIds), std::map<std::uint32_t, std::list<std::uint32_t>>>));
    EXPECT_TRUE((std::is_same_v<decltype(XcpCfg::daqListCanIds), std::map<std::uint32_t, std::uint32_t>>));
    EXPECT_TRUE((std::is_same_v<decltype(EcuProtoCfg::supportedCmds), std::set<std::uint8_t>>));
}

}  // namespace
