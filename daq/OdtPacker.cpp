#include "daq/OdtPacker.h"

#include <algorithm>

std::uint32_t OdtPacker::pieceOf(std::uint32_t size, std::uint8_t room) const {
    const std::uint32_t most = m_packMode == kPackWhole ? size : m_packMode == kPackBytes ? 1U : room;
    return std::min(size, most);
}

void OdtPacker::place(DaqOdtPlan& odt, std::uint32_t piece) {
    const mcMeasureVariable& variable = m_queue.front();
    DaqOdtEntry& entry = odt.entries.emplace_back();
    entry.name = variable.name;
    entry.type = variable.type;
    entry.size = piece;
    entry.addressExtension = variable.addressExtension;
    entry.address = variable.address;
    entry.fragment = variable.fragment;
    entry.offset = odt.size;
    odt.size = static_cast<std::uint8_t>(odt.size + piece);
    if (m_queue.take(piece)) {
        m_names.push_back(entry.name);
    }
}

OdtPacker::Filled OdtPacker::close(DaqOdtPlan odt, bool skippedRest) {
    const bool isEmpty = odt.entries.empty();
    if (!isEmpty) {
        m_odts.push_back(std::move(odt));
    }
    if (skippedRest) {
        return Filled::skipped;
    }
    return isEmpty ? Filled::nothing : Filled::placed;
}
