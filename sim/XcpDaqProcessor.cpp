#include "sim/XcpDaqProcessor.h"

#include <algorithm>
#include <span>

namespace sim {
namespace {

/// Bytes of the identification field, in the order of `XcpIdField`.
constexpr std::size_t kIdFieldSizes[] = {1, 2, 3, 4};

XcpDaqList makeList(const XcpDaqListConfig& config, const XcpEcuConfig& ecu) {
    XcpDaqList list;
    list.predefined = !config.content.empty();
    list.odts = list.predefined ? config.content
                                : std::vector<std::vector<XcpDaqEntry>>(
                                      config.odts, std::vector<XcpDaqEntry>(config.entriesPerOdt));
    list.fixedEvent = config.fixedEvent;
    list.canId = config.canId.value_or(ecu.slaveId);
    list.ownCanId = config.canId.has_value();
    list.canIdFixed = config.canIdFixed;
    return list;
}

/// Back to the state of a list that nobody has put on an event channel.
void resetState(XcpDaqList& list, bool timestampFixed) {
    list.mode = XcpDaqListMode{};
    list.mode.flags = timestampFixed ? xcp::kListTimestamp : std::uint8_t{0};
    list.mode.event = list.fixedEvent.value_or(0);
    list.modeSet = list.predefined && list.fixedEvent.has_value();
    list.selected = false;
    list.running = false;
}

}  // namespace

bool XcpDaqProcessor::isEmpty(const std::vector<XcpDaqEntry>& odt) {
    return std::all_of(odt.begin(), odt.end(), [](const XcpDaqEntry& entry) { return entry.size == 0; });
}

XcpDaqProcessor::XcpDaqProcessor(const XcpEcuConfig& config, const Memory& memory)
    : m_config(config), m_memory(memory), m_order(config.daq.events.size()) {
    reset();
}

void XcpDaqProcessor::reset() {
    m_lists.clear();
    for (const XcpDaqListConfig& list : m_config.daq.lists) {
        m_lists.push_back(makeList(list, m_config));
        resetState(m_lists.back(), m_config.daq.timestampFixed);
    }
    m_pointer.reset();
    m_stage = Stage::none;
    m_overloadMark = false;
    numberOdts();
    remakeOrder();
}

const XcpDaqList* XcpDaqProcessor::list(std::uint16_t number) const {
    return number < m_lists.size() ? &m_lists[number] : nullptr;
}

XcpDaqList* XcpDaqProcessor::find(std::uint16_t number) {
    return number < m_lists.size() ? &m_lists[number] : nullptr;
}

std::uint8_t XcpDaqProcessor::predefinedCount() const {
    const auto count = std::count_if(m_config.daq.lists.begin(), m_config.daq.lists.end(),
                                     [](const XcpDaqListConfig& list) { return !list.content.empty(); });
    return static_cast<std::uint8_t>(count);
}

XcpError XcpDaqProcessor::clearList(std::uint16_t number) {
    XcpDaqList* list = find(number);
    if (list == nullptr) {
        return XcpError::outOfRange;
    }
    resetState(*list, m_config.daq.timestampFixed);
    if (!list->predefined) {
        for (std::vector<XcpDaqEntry>& odt : list->odts) {
            std::fill(odt.begin(), odt.end(), XcpDaqEntry{});
        }
    }
    remakeOrder();
    return XcpError::none;
}

XcpError XcpDaqProcessor::setPointer(std::uint16_t number, std::uint8_t odt, std::uint8_t entry) {
    const XcpDaqList* list = find(number);
    if (list == nullptr || odt >= list->odts.size() || entry >= list->odts[odt].size()) {
        return XcpError::outOfRange;
    }
    if (list->running && !list->predefined) {
        return XcpError::daqActive;
    }
    m_pointer = Pointer{number, odt, entry};
    return XcpError::none;
}

XcpDaqEntry* XcpDaqProcessor::pointed() {
    if (!m_pointer) {
        return nullptr;
    }
    std::vector<XcpDaqEntry>& odt = m_lists[m_pointer->list].odts[m_pointer->odt];
    return m_pointer->entry < odt.size() ? &odt[m_pointer->entry] : nullptr;
}

XcpError XcpDaqProcessor::writeEntry(const XcpDaqEntry& entry) {
    XcpDaqEntry* target = pointed();
    if (target == nullptr) {
        return XcpError::sequence;
    }
    const XcpDaqList& list = m_lists[m_pointer->list];
    if (list.predefined) {
        return XcpError::writeProtected;
    }
    if (list.running) {
        return XcpError::daqActive;
    }
    XcpError error = checkEntry(entry);
    if (error == XcpError::none) {
        error = checkExtension(list, m_pointer->odt, entry);
    }
    if (error != XcpError::none) {
        return error;
    }
    const XcpDaqEntry before = *target;
    *target = entry;
    if (!fitsOdt(list, m_pointer->odt, list.mode.flags)) {
        *target = before;
        return XcpError::daqConfig;
    }
    ++m_pointer->entry;
    return XcpError::none;
}

XcpError XcpDaqProcessor::readEntry(XcpDaqEntry& entry) {
    const XcpDaqEntry* source = pointed();
    if (source == nullptr) {
        return XcpError::sequence;
    }
    entry = *source;
    ++m_pointer->entry;
    return XcpError::none;
}

XcpError XcpDaqProcessor::checkEntry(const XcpDaqEntry& entry) const {
    const std::size_t size = std::size_t{entry.size} * m_config.granularity;
    const std::uint64_t position = std::uint64_t{entry.address} * m_config.granularity;
    const bool bitOffset = entry.bitOffset <= 0x1F || entry.bitOffset == 0xFF;
    const bool aligned =
        size % m_config.daq.entryGranularity == 0 && position % m_config.daq.entryGranularity == 0;
    if (entry.size == 0 || entry.size > m_config.daq.maxEntrySize || !bitOffset || !aligned) {
        return XcpError::outOfRange;
    }
    return m_memory.checkRead(entry.address, entry.extension, size) == MemoryResult::ok
               ? XcpError::none
               : XcpError::accessDenied;
}

XcpError XcpDaqProcessor::checkExtension(const XcpDaqList& list, std::size_t odt,
                                         const XcpDaqEntry& entry) const {
    const auto agrees = [&entry](const XcpDaqEntry& other) {
        return other.size == 0 || other.extension == entry.extension;
    };
    const auto odtAgrees = [&agrees](const std::vector<XcpDaqEntry>& entries) {
        return std::all_of(entries.begin(), entries.end(), agrees);
    };
    const std::uint8_t rule = m_config.daq.addressExtension;
    const bool fine = rule == 0 || (rule == 1 && odtAgrees(list.odts[odt])) ||
                      (rule == 3 && std::all_of(list.odts.begin(), list.odts.end(), odtAgrees));
    return fine ? XcpError::none : XcpError::daqConfig;
}

bool XcpDaqProcessor::fitsOdt(const XcpDaqList& list, std::size_t odt, std::uint8_t flags) const {
    std::size_t size = 0;
    if ((flags & xcp::kListPidOff) == 0) {
        size += kIdFieldSizes[static_cast<std::size_t>(m_config.daq.idField)];
    }
    if (odt == 0 && (flags & xcp::kListCounter) != 0) {
        size += 1;
    }
    if (odt == 0 && (flags & xcp::kListTimestamp) != 0) {
        size += m_config.daq.timestampSize;
    }
    for (const XcpDaqEntry& entry : list.odts[odt]) {
        size += std::size_t{entry.size} * m_config.granularity;
    }
    return size <= m_config.maxDto;
}

XcpError XcpDaqProcessor::setCanId(std::uint16_t number, std::uint32_t canId) {
    XcpDaqList* list = find(number);
    if (list == nullptr || list->canIdFixed) {
        return XcpError::outOfRange;
    }
    if (list->running) {
        return XcpError::daqActive;
    }
    list->canId = canId;
    list->ownCanId = true;
    return XcpError::none;
}

std::vector<XcpDto> XcpDaqProcessor::sample(std::uint16_t event, std::uint64_t clock) {
    std::vector<XcpDto> out;
    if (event >= m_order.size()) {
        return out;
    }
    for (const std::size_t number : m_order[event]) {
        XcpDaqList& list = m_lists[number];
        const bool due = list.events % list.mode.prescaler == 0;
        ++list.events;
        if (due) {
            packList(number, clock, out);
            ++list.counter;
        }
    }
    return out;
}

void XcpDaqProcessor::packList(std::size_t number, std::uint64_t clock, std::vector<XcpDto>& out) {
    const XcpDaqList& list = m_lists[number];
    for (std::size_t odt = 0; odt < list.odts.size(); ++odt) {
        if (isEmpty(list.odts[odt])) {
            continue;
        }
        XcpPacket packet(m_config.byteOrder);
        putHeader(packet, number, odt, clock);
        for (const XcpDaqEntry& entry : list.odts[odt]) {
            putEntry(packet, entry);
        }
        out.push_back(XcpDto{list.canId, packet});
    }
}

void XcpDaqProcessor::putHeader(XcpPacket& packet, std::size_t number, std::size_t odt, std::uint64_t clock) {
    const XcpDaqList& list = m_lists[number];
    if ((list.mode.flags & xcp::kListPidOff) == 0) {
        putIdField(packet, number, odt);
    }
    if (odt == 0 && (list.mode.flags & xcp::kListCounter) != 0) {
        packet.u8(list.counter);
    }
    if (odt == 0 && (list.mode.flags & xcp::kListTimestamp) != 0) {
        packet.number(clock, m_config.daq.timestampSize);
    }
}

void XcpDaqProcessor::putIdField(XcpPacket& packet, std::size_t number, std::size_t odt) {
    const bool absolute = m_config.daq.idField == XcpIdField::absolute;
    const std::size_t pid = absolute ? m_lists[number].firstPid + odt : odt;
    packet.u8(static_cast<std::uint8_t>(m_overloadMark ? pid | 0x80 : pid));
    m_overloadMark = false;
    switch (m_config.daq.idField) {
        case XcpIdField::absolute:
            break;
        case XcpIdField::relativeByte:
            packet.u8(static_cast<std::uint8_t>(number));
            break;
        case XcpIdField::relativeWord:
            packet.u16(static_cast<std::uint16_t>(number));
            break;
        case XcpIdField::relativeWordAligned:
            packet.zeros(1).u16(static_cast<std::uint16_t>(number));
            break;
    }
}

void XcpDaqProcessor::putEntry(XcpPacket& packet, const XcpDaqEntry& entry) const {
    const std::span<std::uint8_t> bytes = packet.room(std::size_t{entry.size} * m_config.granularity);
    // A page switch cannot unmap what was checked when the entry was written; zeros are left otherwise.
    static_cast<void>(m_memory.read(MemoryView::ecu, entry.address, entry.extension, bytes));
}

}  // namespace sim
