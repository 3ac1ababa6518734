#include "sim/CcpDaqProcessor.h"

#include <algorithm>

namespace sim {

CcpDaqProcessor::CcpDaqProcessor(const CcpEcuConfig& config, const Memory& memory)
    : m_config(config), m_memory(memory) {
    reset();
}

void CcpDaqProcessor::reset() {
    m_lists.clear();
    m_pointer.reset();
    for (const CcpDaqListConfig& config : m_config.lists) {
        CcpDaqList list;
        list.odts.resize(config.odts, std::vector<CcpDaqElement>(config.elementsPerOdt));
        list.firstPid = config.firstPid;
        list.canId = config.canId.value_or(CcpCanId{m_config.dtoId, m_config.extended});
        m_lists.push_back(list);
    }
}

const CcpDaqList* CcpDaqProcessor::list(std::uint8_t number) const {
    return number < m_lists.size() ? &m_lists[number] : nullptr;
}

void CcpDaqProcessor::clear(CcpDaqList& list) const {
    list.running = false;
    list.prepared = false;
    for (std::vector<CcpDaqElement>& odt : list.odts) {
        std::fill(odt.begin(), odt.end(), CcpDaqElement{});
    }
}

CcpReturn CcpDaqProcessor::clearList(std::uint8_t number, const CcpCanId& canId) {
    CcpDaqList& list = m_lists.at(number);
    const CcpIdRule rule = m_config.lists[number].idRule;
    const std::uint32_t limit = canId.extended ? 0x1FFFFFFF : 0x7FF;
    const bool impossible =
        (rule == CcpIdRule::taken && canId.id > limit) || (rule == CcpIdRule::checked && canId != list.canId);
    if (impossible) {
        return CcpReturn::outOfRange;
    }
    if (rule == CcpIdRule::taken) {
        list.canId = canId;
    }
    clear(list);
    return CcpReturn::acknowledge;
}

CcpReturn CcpDaqProcessor::setPointer(std::uint8_t number, std::uint8_t odt, std::uint8_t element) {
    const CcpDaqList* target = list(number);
    if (target == nullptr || odt >= target->odts.size() || element >= target->odts[odt].size()) {
        return CcpReturn::outOfRange;
    }
    m_pointer = Pointer{number, odt, element};
    return CcpReturn::acknowledge;
}

CcpReturn CcpDaqProcessor::writeElement(const CcpDaqElement& element) {
    if (!m_pointer) {
        return CcpReturn::outOfRange;
    }
    CcpDaqList& list = m_lists[m_pointer->list];
    if (list.running) {
        return CcpReturn::accessDenied;
    }
    const CcpReturn refused = checkElement(element);
    if (refused == CcpReturn::acknowledge) {
        list.odts[m_pointer->odt][m_pointer->element] = element;
    }
    return refused;
}

CcpReturn CcpDaqProcessor::checkElement(const CcpDaqElement& element) const {
    if (!m_config.elementSizes.contains(element.size) || !fitsOdt(element)) {
        return CcpReturn::outOfRange;
    }
    switch (m_memory.checkRead(element.address, element.extension, element.size)) {
        case MemoryResult::ok:
            return CcpReturn::acknowledge;
        case MemoryResult::unmapped:
            return CcpReturn::outOfRange;
        default:
            return CcpReturn::accessDenied;
    }
}

/// Whether the ODT has room for @p element in place of the one at the pointer.
bool CcpDaqProcessor::fitsOdt(const CcpDaqElement& element) const {
    const std::vector<CcpDaqElement>& odt = m_lists[m_pointer->list].odts[m_pointer->odt];
    std::size_t size = element.size;
    for (std::size_t i = 0; i < odt.size(); ++i) {
        size += i != m_pointer->element ? odt[i].size : 0U;
    }
    return size <= ccp::kOdtSize;
}

CcpReturn CcpDaqProcessor::checkMode(std::uint8_t number, const CcpListMode& mode) const {
    const CcpDaqListConfig& config = m_config.lists[number];
    const bool onEvent =
        mode.event < m_config.events.size() && (config.events.empty() || config.events.contains(mode.event));
    const bool fine = onEvent && mode.lastOdt < config.odts && mode.prescaler > 0;
    return fine ? CcpReturn::acknowledge : CcpReturn::outOfRange;
}

void CcpDaqProcessor::start(CcpDaqList& list) {
    list.prepared = false;
    list.running = true;
    list.events = 0;
}

CcpReturn CcpDaqProcessor::startStop(CcpListAction action, std::uint8_t number, CcpListMode mode) {
    if (number >= m_lists.size() || action > CcpListAction::prepare) {
        return CcpReturn::outOfRange;
    }
    CcpDaqList& list = m_lists[number];
    if (action == CcpListAction::stop) {
        list.running = false;
        list.prepared = false;
        return CcpReturn::acknowledge;
    }
    if (m_config.cutsLastOdt) {
        mode.lastOdt = std::min(mode.lastOdt, static_cast<std::uint8_t>(list.odts.size() - 1));
    }
    const CcpReturn refused = checkMode(number, mode);
    if (refused != CcpReturn::acknowledge) {
        return refused;
    }
    list.mode = mode;
    list.running = false;
    list.prepared = true;
    if (action == CcpListAction::start) {
        start(list);
    }
    return CcpReturn::acknowledge;
}

void CcpDaqProcessor::startPrepared() {
    for (CcpDaqList& list : m_lists) {
        if (list.prepared) {
            start(list);
        }
    }
}

void CcpDaqProcessor::stopAll() {
    for (CcpDaqList& list : m_lists) {
        list.running = false;
        list.prepared = false;
    }
}

bool CcpDaqProcessor::running() const {
    return std::any_of(m_lists.begin(), m_lists.end(), [](const CcpDaqList& list) { return list.running; });
}

bool CcpDaqProcessor::running(std::uint8_t event) const {
    return std::any_of(m_lists.begin(), m_lists.end(),
                       [event](const CcpDaqList& list) { return list.running && list.mode.event == event; });
}

std::vector<CcpDto> CcpDaqProcessor::sample(std::uint8_t event) {
    std::vector<CcpDto> out;
    for (CcpDaqList& list : m_lists) {
        if (!list.running || list.mode.event != event) {
            continue;
        }
        const bool due = list.events % list.mode.prescaler == 0;
        ++list.events;
        if (due) {
            packList(list, out);
        }
    }
    return out;
}

/// One packet per ODT, those without elements included: the tool said how many it wants.
void CcpDaqProcessor::packList(const CcpDaqList& list, std::vector<CcpDto>& out) const {
    for (std::size_t odt = 0; odt <= list.mode.lastOdt; ++odt) {
        CcpDto dto;
        dto.canId = list.canId;
        dto.bytes.fill(m_config.padByte);
        dto.bytes[0] = static_cast<std::uint8_t>(list.firstPid + odt);
        auto place = dto.bytes.begin() + 1;
        for (const CcpDaqElement& element : list.odts[odt]) {
            const std::vector<std::uint8_t> value =
                m_memory.peek(MemoryView::ecu, element.address, element.extension, element.size);
            place = std::copy(value.begin(), value.end(), place);
        }
        out.push_back(dto);
    }
}

}  // namespace sim
