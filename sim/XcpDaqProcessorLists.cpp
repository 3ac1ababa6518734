// The part of XcpDaqProcessor that allocates, numbers, starts and stops lists.
#include "sim/XcpDaqProcessor.h"

#include <algorithm>

namespace sim {

unsigned XcpDaqProcessor::odtLimit() const {
    return m_config.daq.overload == XcpOverload::msb ? xcp::kMaxOdtNumbersOverload : xcp::kMaxOdtNumbers;
}

std::size_t XcpDaqProcessor::odtCount(const XcpDaqList* without) const {
    std::size_t count = 0;
    for (const XcpDaqList& list : m_lists) {
        count += &list == without ? 0 : list.odts.size();
    }
    return count;
}

std::size_t XcpDaqProcessor::entryCount(const std::vector<XcpDaqEntry>* without) const {
    std::size_t count = 0;
    for (const XcpDaqList& list : m_lists) {
        for (const std::vector<XcpDaqEntry>& odt : list.odts) {
            count += list.predefined || &odt == without ? 0 : odt.size();
        }
    }
    return count;
}

void XcpDaqProcessor::freeLists() {
    reset();
    m_stage = Stage::freed;
}

XcpError XcpDaqProcessor::allocLists(std::uint16_t count) {
    if (m_stage != Stage::freed) {
        return XcpError::sequence;
    }
    const std::size_t total = m_lists.size() + count;
    const bool byteNumber = m_config.daq.idField == XcpIdField::relativeByte;
    if (count == 0) {
        return XcpError::outOfRange;
    }
    if (count > m_config.daq.maxLists || total > 0xFFFF || (byteNumber && total > 0x100)) {
        return XcpError::memoryOverflow;
    }
    XcpDaqList fresh;
    fresh.canId = m_config.slaveId;
    fresh.canIdFixed = false;
    fresh.mode.flags = m_config.daq.timestampFixed ? xcp::kListTimestamp : std::uint8_t{0};
    m_lists.resize(total, fresh);
    m_stage = Stage::lists;
    return XcpError::none;
}

XcpDaqList* XcpDaqProcessor::findDynamic(std::uint16_t number) {
    XcpDaqList* list = find(number);
    return list != nullptr && !list->predefined ? list : nullptr;
}

XcpError XcpDaqProcessor::allocOdts(std::uint16_t number, std::uint8_t count) {
    if (m_stage != Stage::lists && m_stage != Stage::odts) {
        return XcpError::sequence;
    }
    XcpDaqList* list = findDynamic(number);
    if (list == nullptr) {
        return XcpError::outOfRange;
    }
    const std::size_t others = odtCount(list);
    const bool numbered =
        m_config.daq.idField == XcpIdField::absolute ? others + count <= odtLimit() : count <= odtLimit();
    std::size_t predefinedOdts = 0;
    for (const XcpDaqList& other : m_lists) {
        predefinedOdts += other.predefined ? other.odts.size() : 0;
    }
    if (!numbered || others - predefinedOdts + count > m_config.daq.maxOdts) {
        return XcpError::memoryOverflow;
    }
    list->odts.assign(count, {});
    m_stage = Stage::odts;
    numberOdts();
    return XcpError::none;
}

XcpError XcpDaqProcessor::allocEntries(std::uint16_t number, std::uint8_t odt, std::uint8_t count) {
    if (m_stage != Stage::odts && m_stage != Stage::entries) {
        return XcpError::sequence;
    }
    XcpDaqList* list = findDynamic(number);
    if (list == nullptr || odt >= list->odts.size()) {
        return XcpError::outOfRange;
    }
    if (list->running) {
        return XcpError::daqActive;
    }
    if (entryCount(&list->odts[odt]) + count > m_config.daq.maxEntries) {
        return XcpError::memoryOverflow;
    }
    list->odts[odt].assign(count, XcpDaqEntry{});
    m_pointer.reset();
    m_stage = Stage::entries;
    return XcpError::none;
}

void XcpDaqProcessor::numberOdts() {
    std::size_t next = 0;
    for (XcpDaqList& list : m_lists) {
        list.firstPid =
            m_config.daq.idField == XcpIdField::absolute ? static_cast<std::uint8_t>(next) : std::uint8_t{0};
        next += list.odts.size();
    }
}

XcpError XcpDaqProcessor::checkMode(const XcpDaqList& list, const XcpDaqListMode& mode) const {
    const XcpDaqConfig& daq = m_config.daq;
    std::uint8_t possible = daq.timestampSize > 0 ? xcp::kListTimestamp : std::uint8_t{0};
    possible |= daq.pidOffSupported ? xcp::kListPidOff : std::uint8_t{0};
    possible |= daq.counterSupported ? xcp::kListCounter : std::uint8_t{0};
    if ((mode.flags & ~possible) != 0) {
        return XcpError::modeNotValid;
    }
    if (daq.timestampFixed && (mode.flags & xcp::kListTimestamp) == 0) {
        return XcpError::cmdSyntax;
    }
    constexpr std::uint8_t kEventForDaq = 0x04;
    const bool badEvent = mode.event >= daq.events.size() ||
                          (daq.events[mode.event].properties & kEventForDaq) == 0 ||
                          (list.fixedEvent && *list.fixedEvent != mode.event);
    const bool badPrescaler = mode.prescaler == 0 || (!daq.prescalerSupported && mode.prescaler != 1);
    return badEvent || badPrescaler ? XcpError::outOfRange : XcpError::none;
}

XcpError XcpDaqProcessor::setListMode(std::uint16_t number, const XcpDaqListMode& mode) {
    XcpDaqList* list = find(number);
    if (list == nullptr) {
        return XcpError::outOfRange;
    }
    if (list->running) {
        return XcpError::daqActive;
    }
    const XcpError error = checkMode(*list, mode);
    if (error == XcpError::none) {
        list->mode = mode;
        list->modeSet = true;
    }
    return error;
}

std::uint16_t XcpDaqProcessor::runningOn(std::uint16_t event) const {
    return static_cast<std::uint16_t>(m_order[event].size());
}

/// @param alreadyOnEvent  lists that run on the event channel, or will before this one
XcpError XcpDaqProcessor::checkStart(const XcpDaqList& list, std::uint16_t alreadyOnEvent) const {
    if (!list.modeSet || list.odts.empty()) {
        return XcpError::daqConfig;
    }
    for (std::size_t odt = 0; odt < list.odts.size(); ++odt) {
        if ((odt == 0 && isEmpty(list.odts[odt])) || !fitsOdt(list, odt, list.mode.flags)) {
            return XcpError::daqConfig;
        }
    }
    // Without an identifier only the CAN identifier tells the lists apart, and nothing tells ODTs apart.
    if ((list.mode.flags & xcp::kListPidOff) != 0 && (!list.ownCanId || list.odts.size() != 1)) {
        return XcpError::daqConfig;
    }
    const std::uint8_t limit = m_config.daq.events[list.mode.event].maxLists;
    return limit != 0xFF && alreadyOnEvent >= limit ? XcpError::daqConfig : XcpError::none;
}

XcpError XcpDaqProcessor::startStop(std::uint16_t number, XcpListAction action) {
    XcpDaqList* list = find(number);
    if (list == nullptr) {
        return XcpError::outOfRange;
    }
    if (action == XcpListAction::stop) {
        list->running = false;
        list->selected = false;
        remakeOrder();
        return XcpError::none;
    }
    const bool another = action == XcpListAction::start && !list->running && list->modeSet;
    const XcpError error = checkStart(*list, another ? runningOn(list->mode.event) : std::uint16_t{0});
    if (error != XcpError::none) {
        return error;
    }
    if (action == XcpListAction::select) {
        list->selected = true;
    } else {
        start(*list);
        remakeOrder();
    }
    return XcpError::none;
}

void XcpDaqProcessor::start(XcpDaqList& list) {
    list.running = true;
    list.selected = false;
    list.events = 0;
    list.counter = 0;
}

XcpError XcpDaqProcessor::startStopSynch(XcpSynchAction action) {
    if (action == XcpSynchAction::startSelected) {
        return startSelected();
    }
    for (XcpDaqList& list : m_lists) {
        if (action == XcpSynchAction::stopAll || list.selected) {
            list.running = false;
            list.selected = false;
        }
    }
    remakeOrder();
    return XcpError::none;
}

XcpError XcpDaqProcessor::startSelected() {
    std::vector<std::uint16_t> onEvent;
    for (std::size_t event = 0; event < m_order.size(); ++event) {
        onEvent.push_back(runningOn(static_cast<std::uint16_t>(event)));
    }
    for (const XcpDaqList& list : m_lists) {
        if (!list.selected || list.running) {
            continue;
        }
        // What was right when the list was selected may have been changed since.
        const XcpError error = checkStart(list, list.modeSet ? onEvent[list.mode.event]++ : std::uint16_t{0});
        if (error != XcpError::none) {
            return error;
        }
    }
    for (XcpDaqList& list : m_lists) {
        if (list.selected) {
            start(list);
        }
    }
    remakeOrder();
    return XcpError::none;
}

bool XcpDaqProcessor::running() const {
    return std::any_of(m_lists.begin(), m_lists.end(), [](const XcpDaqList& list) { return list.running; });
}

bool XcpDaqProcessor::running(std::uint16_t event) const {
    return event < m_order.size() && !m_order[event].empty();
}

void XcpDaqProcessor::remakeOrder() {
    for (std::size_t event = 0; event < m_order.size(); ++event) {
        std::vector<std::size_t>& order = m_order[event];
        order.clear();
        for (std::size_t i = 0; i < m_lists.size(); ++i) {
            if (m_lists[i].running && m_lists[i].mode.event == event) {
                order.push_back(i);
            }
        }
        std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
            return m_lists[a].mode.priority > m_lists[b].mode.priority;
        });
    }
}

}  // namespace sim
