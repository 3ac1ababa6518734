#include "daq/IDaq.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace {

/// Pieces of one list that are kept before repeated ones are looked for. An ECU that never sends the first
/// ODT of a list would otherwise fill the memory.
constexpr std::size_t kPiecesBeforeCleaning = 4096;

using Pieces = std::vector<DaqOdtEntry>;

/// Positions of pieces, by name, then by ordinal, then in the order of their arrival.
using Order = std::vector<std::uint32_t>;

/// Sorts positions of @p pieces.
class IsBefore {
public:
    explicit IsBefore(const Pieces& pieces) : m_pieces(pieces) {}

    bool operator()(std::uint32_t left, std::uint32_t right) const {
        const int byName = m_pieces[left].name.compare(m_pieces[right].name);
        if (byName != 0) {
            return byName < 0;
        }
        const int byOrdinal = m_pieces[left].fragment - m_pieces[right].fragment;
        return byOrdinal != 0 ? byOrdinal < 0 : left < right;
    }

private:
    const Pieces& m_pieces;
};

/// Makes @p order that of @p pieces. Costs little if it is already, as from one cycle of a list to the next.
void arrange(const Pieces& pieces, Order& order) {
    const IsBefore isBefore(pieces);
    const auto isOut = [&](std::uint32_t left, std::uint32_t right) { return !isBefore(left, right); };
    if (order.size() == pieces.size() && std::ranges::adjacent_find(order, isOut) == order.end()) {
        return;
    }
    order.resize(pieces.size());
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::sort(order, isBefore);
}

void join(DaqOdtEntry& merged, const DaqOdtEntry& piece) {
    merged.fragment = piece.fragment;
    merged.size += piece.size;
    merged.data.insert(merged.data.end(), piece.data.begin(), piece.data.end());
}

/// Joins pieces of one name into the first of them, in place.
/// @param order  in and out: see arrange
/// @return the merged records in name order
std::vector<DaqOdtEntry*> joinPieces(Pieces& pieces, Order& order) {
    arrange(pieces, order);
    std::vector<DaqOdtEntry*> merged;
    merged.reserve(pieces.size());
    for (const std::uint32_t position : order) {
        DaqOdtEntry& piece = pieces[position];
        if (merged.empty() || merged.back()->name != piece.name) {
            merged.push_back(&piece);
        } else if (merged.back()->fragment != piece.fragment) {
            join(*merged.back(), piece);
        }
    }
    return merged;
}

/// Drops every piece whose name and ordinal came before. Merging uses the first of them only.
void dropRepeated(Pieces& pieces) {
    Order order;
    arrange(pieces, order);
    const auto isRepeated = [&](std::uint32_t left, std::uint32_t right) {
        return pieces[left].fragment == pieces[right].fragment && pieces[left].name == pieces[right].name;
    };
    order.erase(std::unique(order.begin(), order.end(), isRepeated), order.end());
    std::ranges::sort(order);
    Pieces kept;
    kept.reserve(2 * order.size());
    for (const std::uint32_t position : order) {
        kept.push_back(std::move(pieces[position]));
    }
    pieces = std::move(kept);
}

}  // namespace

IDaq::~IDaq() = default;

void IDaq::assignVariables(const std::vector<mcMeasureVariable>& variables) {
    m_pollVars.clear();
    std::map<std::uint16_t, std::size_t> counts;
    for (const mcMeasureVariable& variable : variables) {
        const std::uint16_t event = variable.event;
        counts[event] += variable.period == 0 ? 1 : 0;
    }
    for (const auto& [event, count] : counts) {
        if (count != 0) {
            std::vector<mcMeasureVariable>& waiting = m_eventVars[event];
            waiting.reserve(waiting.size() + count);
        }
    }
    for (const mcMeasureVariable& variable : variables) {
        const std::uint16_t event = variable.event;
        (variable.period != 0 ? m_pollVars : m_eventVars[event]).push_back(variable);
    }
}

void IDaq::reset() {
    m_events.clear();
    m_pollVars.clear();
    m_eventVars.clear();
    m_fragments.clear();
    m_daqLists.clear();
    m_pieceOrders.clear();
}

std::map<std::string, DaqOdtEntry> IDaq::mergeFragments(std::vector<DaqOdtEntry> pieces) const {
    std::map<std::string, DaqOdtEntry> merged;
    Order order;
    for (DaqOdtEntry* record : joinPieces(pieces, order)) {
        merged.emplace_hint(merged.end(), record->name, std::move(*record));
    }
    return merged;
}

bool IDaq::isCycleComplete(std::uint16_t list, const std::map<std::string, DaqOdtEntry>& merged) const {
    return isComplete(list, merged.size());
}

std::vector<mcMeasureVariableValue> IDaq::closeCycle(std::uint16_t list, std::uint64_t time) {
    Pieces& pieces = m_fragments[list];
    const std::vector<DaqOdtEntry*> merged = joinPieces(pieces, m_pieceOrders[list]);
    std::vector<mcMeasureVariableValue> values;
    if (isComplete(list, merged.size())) {
        values.reserve(merged.size());
        for (DaqOdtEntry* record : merged) {
            values.push_back({std::move(record->name), time, std::move(record->data)});
        }
    }
    pieces.clear();
    return values;
}

std::vector<DaqOdtEntry>& IDaq::piecesFor(std::uint16_t list, const DaqOdtPlan* odt) {
    Pieces& pieces = m_fragments[list];
    const std::size_t count = odt == nullptr ? 0 : odt->entries.size();
    if (pieces.size() + count > std::max(pieces.capacity(), kPiecesBeforeCleaning)) {
        dropRepeated(pieces);
    }
    return pieces;
}

DaqFramePlace IDaq::placeOfPid(std::uint8_t pid) const {
    for (const auto& [list, plan] : m_daqLists) {
        if (plan.firstPid <= pid && pid <= plan.lastPid) {
            const auto odt = static_cast<std::uint8_t>(pid - plan.firstPid);
            return {list, odt, odt == 0};
        }
    }
    return {};
}

const DaqOdtPlan* IDaq::findOdt(std::uint16_t list, std::uint8_t odt) const {
    const auto found = m_daqLists.find(list);
    if (found == m_daqLists.end() || odt >= found->second.odts.size()) {
        return nullptr;
    }
    return &found->second.odts[odt];
}

DaqOdtEntry IDaq::readEntry(const DaqOdtEntry& planned, std::span<const std::uint8_t> payload) {
    DaqOdtEntry entry = planned;
    const std::size_t first = std::min<std::size_t>(planned.offset, payload.size());
    const std::size_t there = std::min<std::size_t>(planned.size, payload.size() - first);
    const auto from = payload.begin() + static_cast<std::ptrdiff_t>(first);
    entry.data.reserve(planned.size);
    entry.data.assign(from, from + static_cast<std::ptrdiff_t>(there));
    entry.data.resize(planned.size);
    return entry;
}

std::size_t IDaq::finishedCount(std::uint16_t list) const {
    const auto plan = m_daqLists.find(list);
    if (plan == m_daqLists.end()) {
        return 0;
    }
    const auto event = m_finishedNames.find(plan->second.event);
    if (event == m_finishedNames.end()) {
        return 0;
    }
    const auto names = event->second.find(list);
    return names == event->second.end() ? 0 : names->second.size();
}

bool IDaq::isComplete(std::uint16_t list, std::size_t names) const {
    const std::size_t needed = finishedCount(list);
    return needed == 0 ? names == 0 : names >= needed;
}
