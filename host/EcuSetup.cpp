#include "host/EcuSetup.h"

namespace host {
namespace {

constexpr std::uint32_t kXcp = 1;
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
    return xcp;
}

}  // namespace

EcuProtoCfg protoCfg(const EcuRecord& ecu, const BusRecord& bus) {
    EcuProtoCfg cfg;
    cfg.ecuName = ecu.name;
    cfg.protoType = kXcp;
    cfg.canChannel = bus.channel;
    cfg.canIdBroadcast = ecu.commandId;
    cfg.canIdMaster = ecu.commandId;
    cfg.canIdSlave = ecu.responseId;
    cfg.masterFd = cfg.slaveFd = cfg.masterBrs = cfg.slaveBrs = asFlag(ecu.fd);
    cfg.masterExtended = cfg.slaveExtended = asFlag(ecu.extended);
    cfg.maxCto = ecu.maxCto;
    cfg.maxDto = ecu.maxDto;
    cfg.xcp = xcpCfg(ecu);
    cfg.supportedCmds.insert(ecu.commands.begin(), ecu.commands.end());
    cfg.seedkey_path = ecu.security.seedKey;
    for (const SegmentRecord& segment : ecu.segments) {
        mcMemoryInfo info;
        info.address = segment.address;
        info.length = segment.size;
        cfg.dataSegments.push_back(info);
    }
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

std::string resourceName(std::uint8_t resource) {
    switch (resource) {
        case 0x01:
            return "calibration";
        case 0x04:
            return "daq";
        case 0x08:
            return "stim";
        default:
            return "programming";
    }
}

}  // namespace host
