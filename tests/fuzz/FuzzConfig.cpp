#include "tests/fuzz/FuzzConfig.h"

#include "tests/fuzz/FuzzEcu.h"

#include <algorithm>
#include <string>
#include <utility>

namespace fuzz {

namespace {

constexpr std::uint16_t kTimeoutMs = 1;
constexpr std::uint32_t kSegmentBase = 0x1000;

std::string drawName(FuzzInput& input) {
    return {'v', static_cast<char>('a' + input.below(12))};
}

std::uint16_t drawEvent(FuzzInput& input) {
    return input.oneIn(16) ? input.u16() : std::uint16_t{input.below(4)};
}

std::uint16_t drawList(FuzzInput& input) {
    return input.oneIn(16) ? input.u16() : std::uint16_t{input.below(6)};
}

std::vector<mcMemoryInfo> drawSegments(FuzzInput& input) {
    std::vector<mcMemoryInfo> made(input.below(4));
    for (mcMemoryInfo& segment : made) {
        segment.address = input.oneIn(8) ? input.u32() : kSegmentBase + input.u8();
        segment.length = input.u16() % 2048U;
        segment.addressExtension = input.below(2);
        segment.segmentNumber = input.u8();
        segment.programType = input.below(3);
        segment.memoryType = input.below(3);
        segment.checksumBlockSize = input.oneOf<std::uint32_t>({0, 1, 7, 16, 100, 0xFFFFFFFF});
        segment.checksumType = input.below(11);
        segment.pages.resize(input.below(3));
        for (mcMemoryPage& page : segment.pages) {
            page.pageNumber = input.u8();
            page.writeAccess = input.below(2);
        }
    }
    return made;
}

void drawXcp(FuzzInput& input, XcpCfg& xcp) {
    xcp.t1 = xcp.t2 = xcp.t3 = xcp.t4 = xcp.t5 = xcp.t6 = xcp.t7 = kTimeoutMs;
    xcp.byteOrder = input.below(2);
    xcp.addressGranularity = input.oneOf<std::uint8_t>({1, 1, 1, 2, 4, 0, 3, 8, 63, 64, 255});
    xcp.retryCount = input.below(3);
    xcp.rejectZeroAddress = input.below(2);
    xcp.workingSegment = input.u8();
    xcp.useSlaveBlockMode = input.below(2);
    xcp.useMasterBlockMode = input.below(2);
    xcp.synchPeriodMs = input.below(2);
    xcp.statusPeriodMs = input.below(2);
    xcp.maxBs = input.u8();
    xcp.minSt = input.below(2);
    xcp.commModeBasic = input.u8();
    xcp.commModeOptional = input.u8();
    xcp.resource = input.u8();
    xcp.protectionStatus = input.u8();
    xcp.daqListMode = input.u8();
    xcp.daqProperties = input.u8();
    xcp.daqKeyByte = input.u8();
    xcp.minDaq = input.below(8);
    xcp.maxDaq = input.oneIn(16) ? input.u16() : std::uint16_t{input.below(8)};
    xcp.maxEventChannel = input.below(8);
    xcp.packMode = input.below(3);
    xcp.timestampMode = input.u8();
    xcp.maxOdtEntrySizeDaq = input.u8();
    for (unsigned count = input.below(4); count > 0; --count) {
        XcpEventCfg& event = xcp.events[drawEvent(input)];
        event.maxDaqList = input.u8();
        event.timeCycle = input.u8();
        event.timeUnit = input.below(16);
    }
    for (unsigned count = input.below(5); count > 0; --count) {
        XcpDaqListCfg& list = xcp.daqListInfo[drawList(input)];
        list.maxOdt = input.oneIn(8) ? input.u8() : input.below(4);
        list.maxOdtEntries = input.oneIn(8) ? input.u8() : input.below(10);
        list.firstPid = input.u8();
        list.fixedEvent = input.oneOf<std::uint8_t>({255, 255, 0, 1, 2, 3});
    }
}

void drawCcp(FuzzInput& input, CcpCfg& ccp) {
    ccp.timeoutMs = kTimeoutMs;  // 0 would stand for each command's own, up to 30 s
    ccp.byteOrder = input.below(2);
    ccp.retryCount = input.below(3);
    ccp.rejectZeroAddress = input.below(2);
    ccp.workingPageAddress = input.u32();
    ccp.statusPeriodMs = input.below(2);
    ccp.queryDaqSizes = input.below(2);
    ccp.firstDaqList = input.below(4);
    ccp.daqListLimit = input.oneIn(16) ? input.u16() : std::uint16_t{input.below(8)};
    ccp.packMode = input.below(3);
    for (unsigned count = input.below(4); count > 0; --count) {
        ccp.events[drawEvent(input)] = {input.u8(), input.below(16)};
    }
    for (unsigned count = input.below(6); count > 0; --count) {
        CcpDaqListCfg& list = ccp.daqLists[drawList(input)];
        list.odtCount = input.oneIn(8) ? input.u8() : input.below(5);
        list.firstPid = input.u8();
        list.canId = input.oneIn(8) ? FuzzEcu::kDaqId : FuzzEcu::kSlaveId;
        list.events = input.bytes(input.below(3));
    }
    ccp.unlockMask = input.u8();
}

}  // namespace

EcuProtoCfg drawConfig(FuzzInput& input, bool xcp) {
    EcuProtoCfg cfg;
    cfg.ecuName = "ecu";
    cfg.protoType = xcp ? 1 : 0;
    cfg.canChannel = FuzzEcu::kChannel;
    cfg.canIdMaster = FuzzEcu::kMasterId;
    cfg.canIdSlave = FuzzEcu::kSlaveId;
    cfg.masterFd = input.below(2);
    cfg.padFrames = input.below(2);
    cfg.padByte = input.u8();
    cfg.maxCto = input.oneOf<std::uint8_t>({8, 8, 8, 64, 0, 1, 2, 3, 7, 9, 17, 63, 65, 128, 255});
    cfg.maxDto = input.oneOf<std::uint16_t>({8, 8, 8, 64, 0, 1, 2, 4, 9, 63, 65, 255, 256, 264, 65535});
    cfg.acceptSlaveLimits = input.below(2);
    if (xcp) {
        drawXcp(input, cfg.xcp);
    } else {
        drawCcp(input, cfg.ccp);
    }
    if (!input.oneIn(8)) {
        for (unsigned code = 0; code < 256; ++code) {
            cfg.supportedCmds.insert(static_cast<std::uint8_t>(code));
        }
    }
    for (unsigned count = input.below(8); count > 0; --count) {
        cfg.supportedCmds.erase(input.u8());
    }
    cfg.seedkey_path = input.below(2) != 0 ? "keys" : "";
    cfg.codeSegments = drawSegments(input);
    cfg.dataSegments = drawSegments(input);
    return cfg;
}

std::vector<mcMeasureVariable> drawVariables(FuzzInput& input, unsigned most, std::uint32_t mostSize) {
    std::vector<mcMeasureVariable> made(input.below(most + 1));
    for (mcMeasureVariable& variable : made) {
        variable.name = drawName(input);
        const std::uint8_t size = input.u8();
        variable.size = size < 240 ? size % 12U : std::min(input.u32(), mostSize);
        variable.addressExtension = input.below(2);
        variable.address = input.oneIn(4) ? input.u32() : kSegmentBase + input.u8();
        variable.event = drawEvent(input);
        variable.period = input.oneIn(8) ? input.u16() : std::uint16_t{0};
    }
    return made;
}

std::list<mem_buf> drawBlocks(FuzzInput& input) {
    std::list<mem_buf> made(input.below(4));
    for (mem_buf& block : made) {
        block.address = input.oneIn(8) ? input.u32() : kSegmentBase + input.u8();
        block.data.assign(input.u16() % 600U, input.u8());
    }
    return made;
}

std::map<std::uint16_t, DaqListPlan> drawPlan(FuzzInput& input) {
    std::map<std::uint16_t, DaqListPlan> made;
    for (unsigned count = input.below(5); count > 0; --count) {
        DaqListPlan& list = made[drawList(input)];
        list.event = drawEvent(input);
        list.firstPid = input.oneIn(2) ? input.u8() : input.below(8);
        list.lastPid = input.oneIn(4) ? input.u8() : static_cast<std::uint8_t>(list.firstPid + 3);
        list.odts.resize(input.below(5));
        for (DaqOdtPlan& odt : list.odts) {
            odt.isFirst = input.below(2);
            odt.entries.resize(input.below(6));
            for (DaqOdtEntry& entry : odt.entries) {
                entry.name = drawName(input);
                entry.size = input.oneIn(16) ? input.u16() % 300U : input.below(9);
                entry.fragment = input.oneIn(4) ? input.u8() : std::uint8_t{0};
                entry.offset = input.oneIn(8) ? input.u8() : input.below(8);
            }
        }
    }
    return made;
}

DaqFinishedNames drawFinishedNames(FuzzInput& input) {
    DaqFinishedNames made;
    for (unsigned count = input.below(6); count > 0; --count) {
        std::list<std::string>& names = made[drawEvent(input)][drawList(input)];
        for (unsigned name = input.below(4); name > 0; --name) {
            names.push_back(drawName(input));
        }
    }
    return made;
}

}  // namespace fuzz
