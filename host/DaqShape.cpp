#include "host/DaqShape.h"

#include <algorithm>

namespace host {
namespace {

constexpr std::uint32_t kXcp = 1;
constexpr unsigned kPacketIdShift = 6;         ///< of the identification field in DAQ_KEY_BYTE
constexpr std::uint8_t kOverloadInPid = 0x40;  ///< bit of DAQ_PROPERTIES

bool pollsAll(const EcuProtoCfg& cfg) {
    return (cfg.protoType == kXcp ? cfg.xcp.pollPeriodMs : cfg.ccp.pollPeriodMs) != 0;
}

std::vector<std::string> finishedIn(const DaqInfo& plan, std::uint16_t event, std::uint16_t list) {
    const auto lists = plan.finishedNames.find(event);
    if (lists == plan.finishedNames.end() || lists->second.count(list) == 0) {
        return {};
    }
    const std::list<std::string>& names = lists->second.at(list);
    std::vector<std::string> sorted(names.begin(), names.end());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

DaqListShape listShape(const DaqInfo& plan, std::uint16_t number, const DaqListPlan& list) {
    DaqListShape shape{number, list.event, list.firstPid, list.odts.size()};
    for (const DaqOdtPlan& odt : list.odts) {
        for (const DaqOdtEntry& entry : odt.entries) {
            shape.bytes[entry.name] += entry.size;
        }
    }
    shape.finished = finishedIn(plan, list.event, number);
    return shape;
}

void addXcp(DaqShape& shape, const XcpCfg& xcp) {
    shape.packetId = static_cast<PacketId>(xcp.daqKeyByte >> kPacketIdShift);
    shape.overloadInPid = (xcp.daqProperties & kOverloadInPid) != 0;
    shape.byteOrder = xcp.byteOrder != 0 ? sim::ByteOrder::motorola : sim::ByteOrder::intel;
    for (const auto& [list, id] : xcp.daqListCanIds) {
        shape.packetIds.insert(id);
    }
    for (const auto& [event, ids] : xcp.eventCanIds) {
        shape.packetIds.insert(ids.begin(), ids.end());
    }
}

void addCcp(DaqShape& shape, const CcpCfg& ccp) {
    shape.ccp = true;
    for (const auto& [number, list] : ccp.daqLists) {
        shape.packetIds.insert(list.canId);
    }
}

}  // namespace

DaqShape daqShape(const EcuProtoCfg& cfg, const std::vector<mcMeasureVariable>& variables) {
    DaqShape shape;
    shape.commandId = cfg.canIdMaster;
    shape.responseId = cfg.canIdSlave;
    if (cfg.protoType == kXcp) {
        addXcp(shape, cfg.xcp);
    } else {
        addCcp(shape, cfg.ccp);
    }
    if (pollsAll(cfg)) {
        return shape;
    }
    const DaqInfo plan = getDaqInfo(cfg, variables, false);
    for (const auto& [number, list] : plan.daqLists) {
        if (!list.odts.empty()) {
            shape.lists.push_back(listShape(plan, number, list));
        }
    }
    return shape;
}

}  // namespace host
