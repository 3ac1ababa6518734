#include "host/EcuSetup.h"

#include "host/MemoryPart.h"

#include <algorithm>
#include <iterator>

namespace host {
namespace {

constexpr std::uint32_t kXcp = 1;
constexpr std::uint32_t kCcp = 0;
constexpr std::uint8_t kTimestampInFirstOdt = 0x10;

std::uint8_t asFlag(bool set) {
    return set ? 1 : 0;
}

void setTimeouts(XcpCfg& xcp, const TimeoutRecord& timeouts) {
    xcp.t1 = xcp.t6 = xcp.t7 = timeouts.commandMs;
    xcp.t2 = xcp.t3 = xcp.t4 = xcp.t5 = timeouts.longMs;
    xcp.retryCount = timeouts.retries;
    xcp.retryDelayMs = timeouts.retryDelayMs;
    xcp.statusPeriodMs = timeouts.statusPeriodMs;
}

void setEvents(XcpCfg& xcp, const std::vector<EventRecord>& events) {
    for (std::size_t i = 0; i < events.size(); ++i) {
        XcpEventCfg& event = xcp.events[static_cast<std::uint16_t>(i)];
        event.maxDaqList = 0xFF;
        event.timeCycle = events[i].cycle;
        event.timeUnit = events[i].unit;
        event.priority = events[i].priority;
    }
    xcp.maxEventChannel = static_cast<std::uint16_t>(events.size());
}

XcpCfg xcpCfg(const EcuRecord& ecu) {
    XcpCfg xcp;
    setTimeouts(xcp, ecu.timeouts);
    setEvents(xcp, ecu.events);
    xcp.byteOrder = asFlag(ecu.byteOrder == sim::ByteOrder::motorola);
    xcp.rejectZeroAddress = asFlag(ecu.rejectZeroAddress);
    xcp.useSlaveBlockMode = asFlag(ecu.blockMode);
    xcp.packMode = ecu.daq.packMode;
    xcp.daqListMode = ecu.daq.timestampSize > 0 ? kTimestampInFirstOdt : std::uint8_t{0};
    xcp.daqListPrescaler = 1;
    xcp.workingPage = kWorkingPage;
    xcp.referencePage = kReferencePage;
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
    // GET_DAQ_SIZE also empties a list of what an earlier session left in it.
    ccp.queryDaqSizes = 1;
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
    info.checksumType = ecu.checksum;
    return info;
}

/// XCP has two pages in one segment, CCP each page as a segment of its own.
void addCalibration(EcuProtoCfg& cfg, const EcuRecord& ecu, const SegmentRecord& segment) {
    mcMemoryInfo info = memoryInfo(ecu, segment);
    if (!ecu.ccp) {
        info.pages.resize(2);
        info.pages[0].pageNumber = kWorkingPage;
        info.pages[0].writeAccess = 1;
        info.pages[1].pageNumber = kReferencePage;
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
    cfg.canIdBroadcast = ecu.commandId;
    cfg.canIdMaster = ecu.commandId;
    cfg.canIdSlave = ecu.responseId;
    cfg.masterFd = cfg.slaveFd = cfg.masterBrs = cfg.slaveBrs = asFlag(ecu.fd);
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
    struct Row {
        bool ccp;
        std::uint8_t bit;
        const char* name;
    };
    static constexpr Row kRows[] = {{false, 0x01, "calibration"}, {false, 0x04, "daq"},
                                    {false, 0x08, "stim"},        {false, 0x10, "programming"},
                                    {true, 0x01, "calibration"},  {true, 0x02, "daq"},
                                    {true, 0x40, "programming"}};
    const auto* row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& candidate) {
        return candidate.ccp == ecu.ccp && candidate.bit == resource;
    });
    return row != std::end(kRows) ? row->name : "unknown";
}

}  // namespace host
