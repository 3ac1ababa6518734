#include "daq/OdtPacker.h"

#include <algorithm>
#include <iterator>

std::uint32_t OdtPacker::pieceOf(std::uint32_t size, std::uint8_t room) const {
    const std::uint32_t most = m_packMode == kPackWhole ? size : m_packMode == kPackBytes ? 1U : room;
    return std::min(size, most);
}

void OdtPacker::place(std::uint32_t piece) {
    const mcMeasureVariable& variable = m_queue.front();
    DaqOdtEntry& entry = m_entries.emplace_back();
    entry.name = variable.name;
    entry.type = variable.type;
    entry.size = piece;
    entry.addressExtension = variable.addressExtension;
    entry.address = variable.address;
    entry.fragment = variable.fragment;
    entry.offset = m_size;
    m_size = static_cast<std::uint8_t>(m_size + piece);
    if (m_queue.take(piece)) {
        m_names.push_back(entry.name);
    }
}

OdtPacker::Filled OdtPacker::close(bool skippedRest) {
    const bool isEmpty = m_entries.empty();
    if (!isEmpty) {
        DaqOdtPlan& odt = m_odts.emplace_back();
        odt.size = m_size;
        odt.isFirst = m_odts.size() == 1 ? 1 : 0;
        odt.entries.assign(std::make_move_iterator(m_entries.begin()),
                           std::make_move_iterator(m_entries.end()));
    }
    if (skippedRest) {
        return Filled::skipped;
    }
    return isEmpty ? Filled::nothing : Filled::placed;
}
