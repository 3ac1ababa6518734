#include "host/EcuSetup.h"

#include "host/WireWords.h"

#include <algorithm>
#include <array>
#include <span>

namespace host {
namespace {

constexpr std::uint32_t kXcp = 1;
constexpr std::uint32_t kCcp = 0;
constexpr unsigned kCounterInFirstOdt = 0x08;
constexpr unsigned kTimestampInFirstOdt = 0x10;

std::uint8_t asFlag(bool set) {
    return set ? 1 : 0;
}

void setTimeouts(XcpCfg& xcp, const TimeoutRecord& timeouts) {
    const std::array<std::uint16_t*, 7> fields{&xcp.t1, &xcp.t2, &xcp.t3, &xcp.t4, &xcp.t5, &xcp.t6, &xcp.t7};
    xcp.t1 = xcp.t6 = xcp.t7 = timeouts.commandMs;
    xcp.t2 = xcp.t3 = xcp.t4 = xcp.t5 = timeouts.longMs;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (timeouts.xcpMs[i] != 0) {
            *fields[i] = timeouts.xcpMs[i];
        }
    }
    xcp.retryCount = timeouts.retries;
    xcp.retryDelayMs = timeouts.retryDelayMs;
    xcp.statusPeriodMs = timeouts.statusPeriodMs;
    xcp.synchPeriodMs = timeouts.synchPeriodMs;
}

void setName(XcpEventCfg& event, const std::string& name) {
    event.nameLength = static_cast<std::uint8_t>(std::min(name.size(), event.name.size()));
    std::copy_n(name.begin(), event.nameLength, event.name.begin());
}

void setEvents(XcpCfg& xcp, const std::vector<EventRecord>& events) {
    for (std::size_t i = 0; i < events.size(); ++i) {
        const auto number = static_cast<std::uint16_t>(i);
        XcpEventCfg& event = xcp.events[number];
        event.maxDaqList = events[i].maxLists;
        event.timeCycle = events[i].cycle;
        event.timeUnit = events[i].unit;
        event.priority = events[i].priority;
        setName(event, events[i].name);
        if (!events[i].ids.empty()) {
            xcp.eventCanIds[number].assign(events[i].ids.begin(), events[i].ids.end());
        }
    }
    xcp.maxEventChannel = static_cast<std::uint16_t>(events.size());
}

void setLists(XcpCfg& xcp, const std::vector<DaqListRecord>& lists) {
    for (std::size_t i = 0; i < lists.size(); ++i) {
        const auto number = static_cast<std::uint16_t>(i);
        XcpDaqListCfg& list = xcp.daqListInfo[number];
        list.listNumber = number;
        list.maxOdt = lists[i].odts;
        list.maxOdtEntries = lists[i].odtBytes;
        list.firstPid = lists[i].firstPid;
        list.fixedEvent = lists[i].fixedEvent.value_or(list.fixedEvent);
        if (lists[i].id) {
            xcp.daqListCanIds[number] = *lists[i].id;
        }
    }
}

/// What an ECU would answer that tells of its DAQ processor, for the others and for planning without one.
void setDaq(XcpCfg& xcp, const DaqRecord& daq) {
    constexpr unsigned kDynamic = 0x01;
    constexpr unsigned kPrescaler = 0x02;
    constexpr unsigned kTimestamps = 0x10;
    constexpr unsigned kFixedTimestamps = 0x08;
    xcp.packMode = daq.packMode;
    xcp.daqListMode = static_cast<std::uint8_t>((daq.timestamps ? kTimestampInFirstOdt : 0U) |
                                                (daq.counter ? kCounterInFirstOdt : 0U));
    xcp.daqListPrescaler = daq.prescaler;
    xcp.daqProperties = static_cast<std::uint8_t>((daq.dynamic ? kDynamic : 0U) | kPrescaler |
                                                  (daq.timestampSize > 0 ? kTimestamps : 0U));
    xcp.daqKeyByte = static_cast<std::uint8_t>(unsigned{daq.idField} << 6);
    xcp.minDaq = daq.minLists;
    xcp.maxDaq = daq.maxLists;
    xcp.timestampMode = static_cast<std::uint8_t>(
        daq.timestampSize > 0 ? unsigned{daq.timestampUnit} << 4 |
                                    (daq.timestampFixed ? kFixedTimestamps : 0U) | daq.timestampSize
                              : 0U);
    xcp.timestampTicks = daq.timestampTicks;
    xcp.granularityOdtEntryDaq = daq.entryGranularity;
    xcp.maxOdtEntrySizeDaq = daq.maxEntrySize;
    xcp.pollPeriodMs = daq.pollPeriodMs;
    setLists(xcp, daq.lists);
}

void setBlockMode(XcpCfg& xcp, const EcuRecord& ecu) {
    constexpr std::uint8_t kMasterBlockMode = 0x01;  // of COMM_MODE_OPTIONAL, for an ECU that does not tell
    xcp.useSlaveBlockMode = asFlag(ecu.blockMode);
    xcp.useMasterBlockMode = asFlag(ecu.masterBlockMode);
    xcp.commModeOptional = ecu.masterBlockMode ? kMasterBlockMode : std::uint8_t{0};
    xcp.maxBs = ecu.maxBs;
    xcp.minSt = ecu.minSt;
}

void setPages(XcpCfg& xcp, const EcuRecord& ecu) {
    if (const SegmentRecord* segment = ecu.firstSegment(SegmentKind::calibration)) {
        xcp.workingSegment = xcp.referenceSegment = segment->number;
        xcp.workingPage = segment->workingPage;
        xcp.referencePage = segment->referencePage;
    }
}

XcpCfg xcpCfg(const EcuRecord& ecu) {
    XcpCfg xcp;
    setTimeouts(xcp, ecu.timeouts);
    setEvents(xcp, ecu.events);
    setDaq(xcp, ecu.daq);
    setBlockMode(xcp, ecu);
    setPages(xcp, ecu);
    xcp.byteOrder = asFlag(ecu.byteOrder == sim::ByteOrder::motorola);
    xcp.addressGranularity = ecu.addressGranularity;
    xcp.rejectZeroAddress = asFlag(ecu.rejectZeroAddress);
    xcp.unlockMask = ecu.security.unlockMask;
    return xcp;
}

CcpDaqListCfg ccpDaqList(std::uint16_t number, const DaqListRecord& record, std::uint32_t responseId) {
    CcpDaqListCfg list;
    list.listNumber = number;
    list.odtCount = record.odts;
    list.firstPid = record.firstPid;
    list.canId = record.id.value_or(responseId);
    list.events = record.events;
    return list;
}

void setDaqLists(CcpCfg& ccp, const EcuRecord& ecu) {
    for (const DaqListRecord& record : ecu.daq.lists) {
        const auto number = static_cast<std::uint16_t>(ccp.daqLists.size());
        ccp.daqLists[number] = ccpDaqList(number, record, ecu.responseId);
    }
    ccp.daqListLimit = static_cast<std::uint16_t>(ccp.daqLists.size());
    ccp.firstDaqList = ecu.daq.firstList;
    // GET_DAQ_SIZE also empties a list of what an earlier session left in it.
    ccp.queryDaqSizes = asFlag(ecu.daq.querySizes);
    ccp.prescaler = ecu.daq.prescaler;
    ccp.pollPeriodMs = ecu.daq.pollPeriodMs;
}

CcpCfg ccpCfg(const EcuRecord& ecu) {
    CcpCfg ccp;
    ccp.timeoutMs = ecu.timeouts.commandMs;
    ccp.retryCount = ecu.timeouts.retries;
    ccp.retryDelayMs = ecu.timeouts.retryDelayMs;
    ccp.statusPeriodMs = ecu.timeouts.statusPeriodMs;
    ccp.byteOrder = asFlag(ecu.byteOrder == sim::ByteOrder::motorola);
    ccp.rejectZeroAddress = asFlag(ecu.rejectZeroAddress);
    ccp.stationAddress = ecu.stationAddress;
    ccp.unlockMask = static_cast<std::uint8_t>(ecu.security.unlockMask & 0xFF);
    ccp.packMode = ecu.daq.packMode;
    for (std::size_t i = 0; i < ecu.events.size(); ++i) {
        ccp.events[static_cast<std::uint16_t>(i)] = {ecu.events[i].cycle, ecu.events[i].unit};
    }
    setDaqLists(ccp, ecu);
    if (const SegmentRecord* segment = ecu.firstSegment(SegmentKind::calibration)) {
        ccp.workingPageAddress = segment->address;
        ccp.referencePageAddress = segment->referenceAddress;
    }
    return ccp;
}

mcMemoryInfo memoryInfo(const EcuRecord& ecu, const SegmentRecord& segment) {
    mcMemoryInfo info;
    info.address = segment.address;
    info.length = segment.size;
    info.addressExtension = segment.extension;
    info.segmentNumber = segment.number;
    info.checksumType = segment.checksum.value_or(ecu.checksum);
    info.checksumBlockSize = segment.checksumBlock;
    return info;
}

/// XCP has two pages in one segment, CCP each page as a segment of its own.
void addCalibration(EcuProtoCfg& cfg, const EcuRecord& ecu, const SegmentRecord& segment) {
    constexpr std::uint32_t kPageless = 1;
    mcMemoryInfo info = memoryInfo(ecu, segment);
    if (!ecu.ccp) {
        info.programType = segment.paged ? 0 : kPageless;
        info.pages.resize(2);
        info.pages[0].pageNumber = segment.workingPage;
        info.pages[0].writeAccess = 1;
        info.pages[1].pageNumber = segment.referencePage;
    }
    cfg.dataSegments.push_back(info);
    if (ecu.ccp) {
        info.address = segment.referenceAddress;
        cfg.dataSegments.push_back(info);
    }
}

void addSegments(EcuProtoCfg& cfg, const EcuRecord& ecu) {
    for (const SegmentRecord& segment : ecu.segments) {
        switch (segment.kind) {
            case SegmentKind::ram:
                cfg.dataSegments.push_back(memoryInfo(ecu, segment));
                break;
            case SegmentKind::calibration:
                addCalibration(cfg, ecu, segment);
                break;
            case SegmentKind::flash:
                cfg.codeSegments.push_back(memoryInfo(ecu, segment));
                break;
        }
    }
}

}  // namespace

EcuProtoCfg protoCfg(const EcuRecord& ecu, const BusRecord& bus) {
    EcuProtoCfg cfg;
    cfg.ecuName = ecu.name;
    cfg.protoType = ecu.ccp ? kCcp : kXcp;
    cfg.canChannel = bus.channel;
    // Identifier 0, the library's own default, is an ordinary one on many a bus.
    cfg.canIdBroadcast = ecu.broadcastId.value_or(ecu.commandId);
    cfg.canIdMaster = ecu.commandId;
    cfg.canIdSlave = ecu.responseId;
    cfg.masterFd = cfg.slaveFd = asFlag(ecu.fd);
    cfg.masterBrs = cfg.slaveBrs = asFlag(ecu.bitRateSwitch);
    cfg.padFrames = asFlag(ecu.padFrames);
    cfg.padByte = ecu.padByte;
    cfg.acceptSlaveLimits = asFlag(ecu.acceptLimits);
    cfg.masterExtended = cfg.slaveExtended = asFlag(ecu.extended);
    cfg.maxCto = ecu.maxCto;
    cfg.maxDto = ecu.maxDto;
    if (ecu.ccp) {
        cfg.ccp = ccpCfg(ecu);
    } else {
        cfg.xcp = xcpCfg(ecu);
    }
    cfg.supportedCmds.insert(ecu.commands.begin(), ecu.commands.end());
    cfg.seedkey_path = ecu.security.seedKey;
    addSegments(cfg, ecu);
    return cfg;
}

std::list<EcuProtoCfg> protoCfgs(const Config& config) {
    std::list<EcuProtoCfg> cfgs;
    for (const EcuRecord& ecu : config.ecus) {
        cfgs.push_back(protoCfg(ecu, config.buses[ecu.bus]));
    }
    return cfgs;
}

mcMeasureVariable measureVariable(const VariableRecord& variable) {
    mcMeasureVariable record;
    record.name = variable.name;
    record.size = variable.size;
    record.address = variable.address;
    record.addressExtension = variable.extension;
    record.event = variable.event;
    record.period = variable.periodMs;
    return record;
}

std::vector<mcMeasureVariable> measureVariables(const EcuRecord& ecu) {
    std::vector<mcMeasureVariable> records;
    records.reserve(ecu.variables.size());
    for (const VariableRecord& variable : ecu.variables) {
        records.push_back(measureVariable(variable));
    }
    return records;
}

std::string resourceName(const EcuRecord& ecu, std::uint8_t resource) {
    const auto rows =
        ecu.ccp ? std::span<const WireWord>(kCcpResources) : std::span<const WireWord>(kXcpResources);
    const auto row = std::find_if(rows.begin(), rows.end(), [resource](const WireWord& candidate) {
        return candidate.code == resource;
    });
    return row != rows.end() ? row->word : "unknown";
}

}  // namespace host
