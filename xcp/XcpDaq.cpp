#include "xcp/XcpDaq.h"

#include "daq/OdtPacker.h"
#include "daq/PackMode.h"
#include "daq/VariableQueue.h"
#include "xcp/XcpDaqHeader.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

namespace XCP_MOUDLE {

namespace {

/// What an event that the ECU did not tell about gets: so many lists, and this polling period in milliseconds
/// for what does not fit them.
constexpr std::uint32_t kMostListsOfUnknownEvent = 100;
constexpr std::uint16_t kPeriodOfUnknownEventMs = 100;

/// The largest variable that is packed byte by byte without a budget: what 256 ODTs could hold. No DTO could
/// name more, and the size that a host claims must not fill the memory with entries.
constexpr std::uint32_t kMostBytesInEntries = 256 * 255;

/// The room of the ODTs of one list, and from which size on a variable cannot go into what is left of it.
struct ListRoom {
    std::uint32_t packMode;
    int budget;      ///< ODTs, 0 is no limit
    int laterBytes;  ///< payload of a later ODT
    std::uint8_t firstRoom;
    std::uint8_t laterRoom;

    [[nodiscard]] std::uint8_t roomOf(std::size_t odt) const { return odt == 0 ? firstRoom : laterRoom; }

    /// @param made  ODTs made so far
    /// @param room  bytes left in the one that is being filled
    [[nodiscard]] std::uint64_t tooLarge(std::size_t made, std::uint8_t room) const {
        const int left = budget - static_cast<int>(made) - 1;
        if (budget != 0 && left < 0) {
            return 0;
        }
        if (packMode == kPackWhole) {
            // What would exactly fill an empty ODT counts as too large.
            return roomOf(made);
        }
        const int most = packMode == kPackPieces ? kMostBytesInPieces : kMostBytesInEntries;
        const int capacity = budget == 0 ? most : std::min(most, room + laterBytes * left);
        return static_cast<std::uint64_t>(std::max(capacity, -1) + 1);
    }
};

/// Appends to @p pieces the entries of @p odt that lie within @p length, with their bytes.
void cutOdt(const DaqOdtPlan& odt, std::span<const std::uint8_t> payload, std::uint16_t length,
            std::vector<DaqOdtEntry>& pieces) {
    for (const DaqOdtEntry& entry : odt.entries) {
        if (length >= entry.offset && length - entry.offset >= static_cast<std::int64_t>(entry.size)) {
            pieces.push_back(IDaq::readEntry(entry, payload));
        }
    }
}

std::uint8_t lastPidOf(std::uint8_t firstPid, std::size_t odts) {
    return static_cast<std::uint8_t>(firstPid + odts - 1);
}

}  // namespace

/// A list number as the planner finds it: how much it takes, and whether the ECU predefines it.
struct XcpDaq::ListSlot {
    std::uint16_t list = 0;
    std::uint8_t maxOdt = 0;
    std::uint8_t odtLimit = 0;
    std::uint8_t firstPid = 0;
    bool isPredefined = false;
};

void XcpDaq::configure(const EcuProtoCfg& cfg) {
    m_maxCto = cfg.maxCto;
    m_maxDto = cfg.maxDto;
    m_maxOdtEntrySize = cfg.xcp.maxOdtEntrySizeDaq;
    m_firstDaqList = static_cast<std::uint8_t>(cfg.xcp.minDaq);
    m_daqListLimit = static_cast<std::uint8_t>(cfg.xcp.maxDaq);
    m_packMode = cfg.xcp.packMode;
    m_timestampMode = cfg.xcp.timestampMode;
    m_daqListMode = cfg.xcp.daqListMode;
    m_keyByte = cfg.xcp.daqKeyByte;
    m_daqProperties = cfg.xcp.daqProperties;
    m_listInfo = cfg.xcp.daqListInfo;
    if (!m_listInfo.empty()) {
        for (auto& [list, plan] : m_daqLists) {
            plan.firstPid = m_listInfo[list].firstPid;
            plan.lastPid = lastPidOf(plan.firstPid, plan.odts.size());
        }
    }
    for (const auto& [number, event] : cfg.xcp.events) {
        m_events[number] = {number, event.timeCycle, event.maxDaqList};
    }
}

void XcpDaq::planLists(bool unlimited) {
    m_finishedNames.clear();
    const std::map<std::uint16_t, std::uint16_t> fixedLists = eventToFixedList();
    std::uint32_t list = 0;
    for (auto& [event, variables] : m_eventVars) {
        const auto fixed = fixedLists.find(event);
        const std::uint16_t* fixedList = fixed == fixedLists.end() ? nullptr : &fixed->second;
        VariableQueue queue(variables);
        list = planEvent(event, fixedList, queue, list, unlimited);
        queue.compact();
        pollLeftOver(event, variables);
    }
}

/// Plans one event from list number @p next on.
/// @return the first list number that it left free
std::uint32_t XcpDaq::planEvent(std::uint16_t event, const std::uint16_t* fixedList, VariableQueue& queue,
                                std::uint32_t next, bool unlimited) {
    std::map<std::uint16_t, std::list<std::string>>& names = m_finishedNames[event];
    const std::uint32_t end = next + mostListsOf(event);
    while (!queue.empty() && next < end && (m_daqListLimit == 0 || next < m_daqListLimit)) {
        const auto number = static_cast<std::uint16_t>(next);
        const ListSlot slot = slotFor(number, fixedList);
        const auto planned = m_daqLists.find(slot.list);
        const std::size_t taken = planned == m_daqLists.end() ? 0 : planned->second.odts.size();
        if (slot.maxOdt != 0 && taken >= slot.maxOdt) {
            if (slot.isPredefined) {
                break;
            }
            ++next;
            continue;
        }
        const int budget = unlimited || slot.maxOdt == 0 ? 0 : slot.maxOdt - static_cast<int>(taken);
        // The names stand under the running number, also when a predefined list has another one. Such a list
        // finishes no names and so delivers no values.
        std::vector<DaqOdtPlan> odts =
            fillList(static_cast<std::uint8_t>(budget), slot.odtLimit, queue, names[number]);
        if (slot.isPredefined && planned != m_daqLists.end()) {
            if (odts.empty()) {
                break;
            }
            std::move(odts.begin(), odts.end(), std::back_inserter(planned->second.odts));
            continue;
        }
        DaqListPlan& plan = m_daqLists[slot.list];
        plan = {event, slot.firstPid, 0, slot.maxOdt, std::move(odts), 0};
        plan.predefined = slot.isPredefined ? 1 : 0;
        if (!slot.isPredefined) {
            ++next;
        }
    }
    return next;
}

XcpDaq::ListSlot XcpDaq::slotFor(std::uint16_t list, const std::uint16_t* fixedList) const {
    ListSlot slot;
    slot.isPredefined = fixedList != nullptr;
    slot.list = slot.isPredefined ? *fixedList : list;
    slot.odtLimit = m_maxOdtEntrySize;
    if (const auto info = m_listInfo.find(slot.list); info != m_listInfo.end()) {
        slot.maxOdt = info->second.maxOdt;
        slot.odtLimit = info->second.maxOdtEntries;
        slot.firstPid = info->second.firstPid;
    }
    return slot;
}

std::uint32_t XcpDaq::mostListsOf(std::uint16_t event) const {
    const auto found = m_events.find(event);
    return found == m_events.end() ? kMostListsOfUnknownEvent : found->second.maxLists;
}

/// Sends to polling what found no place. The period is the bare number of the event's cycle, whatever its
/// unit.
void XcpDaq::pollLeftOver(std::uint16_t event, std::vector<mcMeasureVariable>& variables) {
    const auto found = m_events.find(event);
    const std::uint16_t periodMs = found == m_events.end() ? kPeriodOfUnknownEventMs : found->second.cycle;
    for (mcMeasureVariable& variable : variables) {
        variable.period = periodMs;
    }
    m_pollVars.insert(m_pollVars.end(), variables.begin(), variables.end());
}

std::vector<DaqOdtPlan> XcpDaq::packOdts(std::uint8_t budget, std::uint8_t odtLimit,
                                         std::vector<mcMeasureVariable>& variables,
                                         std::list<std::string>& names, bool unlimited) const {
    VariableQueue queue(variables);
    std::vector<DaqOdtPlan> odts = fillList(unlimited ? 0 : budget, odtLimit, queue, names);
    queue.compact();
    return odts;
}

/// packOdts on a queue.
std::vector<DaqOdtPlan> XcpDaq::fillList(std::uint8_t budget, std::uint8_t odtLimit, VariableQueue& queue,
                                         std::list<std::string>& names) const {
    const XcpDaqHeader header(m_keyByte, m_daqListMode, m_timestampMode);
    auto frameSize = static_cast<std::uint8_t>(m_maxDto);
    if (odtLimit != 0 && header.later() + odtLimit <= frameSize) {
        frameSize = static_cast<std::uint8_t>(header.later() + odtLimit);
    }
    const ListRoom rooms{m_packMode, budget, frameSize - header.later(),
                         static_cast<std::uint8_t>(frameSize - header.first()),
                         static_cast<std::uint8_t>(frameSize - header.later())};
    if (rooms.firstRoom == 0 || !isPackMode(m_packMode)) {
        return {};
    }
    OdtPacker packer(queue, names, m_packMode);
    queue.beginPass(rooms.tooLarge(0, rooms.firstRoom));
    auto filled = OdtPacker::Filled::placed;
    while (filled == OdtPacker::Filled::placed && !queue.atEnd()) {
        const std::size_t made = packer.count();
        filled =
            packer.fill(rooms.roomOf(made), [&](std::uint8_t room) { return rooms.tooLarge(made, room); });
    }
    if (filled == OdtPacker::Filled::nothing) {
        queue.putSkippedLast();
    }
    return packer.take();
}

std::map<std::uint16_t, std::uint16_t> XcpDaq::eventToFixedList() const {
    std::array<std::optional<std::uint16_t>, 256> listOf;
    for (const auto& [list, info] : m_listInfo) {
        std::optional<std::uint16_t>& first = listOf[info.fixedEvent];
        first = first.value_or(list);
    }
    std::map<std::uint16_t, std::uint16_t> fixedLists;
    for (const auto& [event, variables] : m_eventVars) {
        if (event < listOf.size() && listOf[event]) {
            fixedLists.emplace_hint(fixedLists.end(), event, *listOf[event]);
        }
    }
    return fixedLists;
}

std::vector<mcMeasureVariableValue> XcpDaq::decodeDto(const msgBuf& frame) {
    const DaqFramePlace place = placeOf(frame);
    const std::uint8_t header = XcpDaqHeader(m_keyByte, m_daqListMode, m_timestampMode).of(place.isFirst);
    std::vector<mcMeasureVariableValue> values;
    if (place.isFirst) {
        values = closeCycle(place.list, m_cycleStart);
        m_cycleStart = frame.time;
    }
    // A frame shorter than its header wraps: all entries of its ODT count as there, and those behind the
    // frame's record read as 0.
    const auto length = static_cast<std::uint16_t>(frame.length - header);
    const std::span payload = std::span(frame.data).subspan(header);
    const DaqOdtPlan* odt = findOdt(place.list, place.odt);
    std::vector<DaqOdtEntry>& pieces = piecesFor(place.list, odt);
    if (odt != nullptr) {
        cutOdt(*odt, payload, length, pieces);
    }
    return values;
}

DaqFramePlace XcpDaq::placeOf(const msgBuf& frame) const {
    const std::array<std::uint8_t, 64>& data = frame.data;
    // List numbers are little endian, whatever the ECU's byte order.
    const auto word = [&](std::size_t at) {
        return static_cast<std::uint16_t>(data[at] | data[at + 1] << 8);
    };
    switch (XcpDaqHeader(m_keyByte, m_daqListMode, m_timestampMode).idField()) {
        case DaqIdField::relativeByte:
            return {data[1], data[0], data[0] == 0};
        case DaqIdField::relativeWord:
            return {word(1), data[0], data[0] == 0};
        case DaqIdField::aligned:
            return {word(2), data[0], data[0] == 0};
        case DaqIdField::absolute:
            break;
    }
    return placeOfPid(data[0]);
}

std::vector<DaqOdtEntry> XcpDaq::decodeOdtPayload(const std::uint8_t* payload, std::uint16_t length,
                                                  std::uint16_t list, std::uint8_t odt) const {
    std::vector<DaqOdtEntry> entries;
    if (const DaqOdtPlan* plan = findOdt(list, odt)) {
        const std::size_t readable = std::min<std::size_t>(length, std::tuple_size_v<decltype(msgBuf::data)>);
        cutOdt(*plan, {payload, readable}, length, entries);
    }
    return entries;
}

}  // namespace XCP_MOUDLE
