#include "ccp/CcpDaq.h"

#include "daq/OdtPacker.h"
#include "daq/PackMode.h"
#include "daq/VariableQueue.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace CCP_MOUDLE {

namespace {

/// List numbers stay below, as their PIDs share a byte.
constexpr std::uint32_t kListNumbersEnd = 124;

/// Payload of an ODT if the command frame is not known to hold any.
constexpr std::uint16_t kDefaultOdtBytes = 7;

bool suits(const CcpDaqListCfg& config, std::uint16_t event) {
    return config.events.empty() || (event <= std::numeric_limits<std::uint8_t>::max() &&
                                     std::ranges::find(config.events, event) != config.events.end());
}

/// The size from which on a variable never goes into an ODT of @p odtBytes.
std::uint64_t tooLargeFor(std::uint32_t packMode, std::uint16_t odtBytes) {
    switch (packMode) {
        case kPackWhole:
            // What would exactly fill an ODT counts as too large.
            return odtBytes;
        case kPackPieces:
            return kMostBytesInPieces + 1;
        default:
            return std::numeric_limits<std::uint64_t>::max();
    }
}

/// Appends to @p pieces the entries of @p odt with their bytes.
void cutOdt(const DaqOdtPlan& odt, const std::uint8_t* payload, std::vector<DaqOdtEntry>& pieces) {
    constexpr std::size_t kPayloadBytes = std::tuple_size_v<decltype(msgBuf::data)> - 1;
    for (const DaqOdtEntry& entry : odt.entries) {
        pieces.push_back(IDaq::readEntry(entry, {payload, kPayloadBytes}));
    }
}

}  // namespace

void CcpDaq::configure(const EcuProtoCfg& cfg) {
    m_maxCto = cfg.maxCto;
    m_firstDaqList = static_cast<std::uint8_t>(cfg.ccp.firstDaqList);
    m_daqListLimit = static_cast<std::uint8_t>(cfg.ccp.daqListLimit);
    m_packMode = cfg.ccp.packMode;
    m_listConfigs = cfg.ccp.daqLists;
    for (const auto& [number, event] : cfg.ccp.events) {
        m_events[number] = {number, event.timeCycle, 0};
    }
}

void CcpDaq::planLists(bool /*unlimited*/) {
    m_finishedNames.clear();
    std::uint32_t list = m_firstDaqList;
    for (auto& [event, variables] : m_eventVars) {
        VariableQueue queue(variables);
        list = planEvent(event, queue, list);
        queue.compact();
        m_pollVars.insert(m_pollVars.end(), variables.begin(), variables.end());
    }
}

/// Plans one event from list number @p list on. A list that does not suit is passed over for good: no later
/// event gets it. Numbers that the ECU does not describe make lists without ODTs, which are started like the
/// others.
/// @return the first list number that was not looked at
std::uint32_t CcpDaq::planEvent(std::uint16_t event, VariableQueue& queue, std::uint32_t list) {
    std::map<std::uint16_t, std::list<std::string>>& names = m_finishedNames[event];
    const std::uint32_t limit = m_daqListLimit == 0 ? kListNumbersEnd : m_daqListLimit;
    for (; !queue.empty() && list < std::min(limit, kListNumbersEnd); ++list) {
        const auto number = static_cast<std::uint16_t>(list);
        const CcpDaqListCfg& config = m_listConfigs[number];
        if (suits(config, event)) {
            m_daqLists[number] = planList(event, config, queue, names[number]);
        }
    }
    return list;
}

DaqListPlan CcpDaq::planList(std::uint16_t event, const CcpDaqListCfg& config, VariableQueue& queue,
                             std::list<std::string>& names) const {
    DaqListPlan plan;
    plan.event = event;
    plan.firstPid = config.firstPid;
    plan.maxOdt = config.odtCount;
    plan.odts = fillList(config.odtCount, queue, names);
    plan.lastPid = static_cast<std::uint8_t>(plan.firstPid + plan.odts.size() - 1);
    return plan;
}

std::vector<DaqOdtPlan> CcpDaq::packOdts(std::uint8_t budget, std::vector<mcMeasureVariable>& variables,
                                         std::list<std::string>& names, bool /*unlimited*/) {
    VariableQueue queue(variables);
    std::vector<DaqOdtPlan> odts = fillList(budget, queue, names);
    queue.compact();
    return odts;
}

/// packOdts on a queue.
std::vector<DaqOdtPlan> CcpDaq::fillList(std::uint8_t budget, VariableQueue& queue,
                                         std::list<std::string>& names) const {
    auto odtBytes = static_cast<std::uint16_t>(m_maxCto - 1);
    if (odtBytes == 0) {
        odtBytes = kDefaultOdtBytes;
    }
    if (budget == 0 || !isPackMode(m_packMode)) {
        return {};
    }
    OdtPacker packer(queue, names, m_packMode);
    const std::uint64_t tooLarge = tooLargeFor(m_packMode, odtBytes);
    auto filled = OdtPacker::Filled::placed;
    while (filled == OdtPacker::Filled::placed && packer.count() < budget && !queue.atEnd()) {
        filled = packer.fill(static_cast<std::uint8_t>(odtBytes), [&](std::uint8_t) { return tooLarge; });
    }
    if (filled != OdtPacker::Filled::skipped) {
        queue.putSkippedLast();
    }
    return packer.take();
}

std::vector<mcMeasureVariableValue> CcpDaq::decodeDto(const msgBuf& frame) {
    const DaqFramePlace place = placeOfPid(frame.data[0]);
    std::vector<mcMeasureVariableValue> values;
    if (place.isFirst) {
        values = closeCycle(place.list, m_cycleStart);
        m_cycleStart = frame.time;
    }
    const DaqOdtPlan* odt = findOdt(place.list, place.odt);
    std::vector<DaqOdtEntry>& pieces = piecesFor(place.list, odt);
    if (odt != nullptr) {
        cutOdt(*odt, frame.data.data() + 1, pieces);
    }
    return values;
}

std::vector<DaqOdtEntry> CcpDaq::extractOdt(const std::uint8_t* payload, std::uint16_t list,
                                            std::uint8_t odt) const {
    std::vector<DaqOdtEntry> entries;
    if (const DaqOdtPlan* plan = findOdt(list, odt)) {
        cutOdt(*plan, payload, entries);
    }
    return entries;
}

}  // namespace CCP_MOUDLE
