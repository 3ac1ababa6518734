#include "daq/IDaq.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

/// Pieces of one list that are kept before repeated ones are looked for. An ECU that never sends the first
/// ODT of a list would otherwise fill the memory.
constexpr std::size_t kPiecesBeforeCleaning = 4096;

using Pieces = std::vector<DaqOdtEntry>;

bool isBefore(const DaqOdtEntry* left, const DaqOdtEntry* right) {
    const int order = left->name.compare(right->name);
    return order != 0 ? order < 0 : left->fragment < right->fragment;
}

/// The pieces by name, then by ordinal, then in the order of their arrival.
std::vector<DaqOdtEntry*> sorted(Pieces& pieces) {
    std::vector<DaqOdtEntry*> order;
    order.reserve(pieces.size());
    for (DaqOdtEntry& piece : pieces) {
        order.push_back(&piece);
    }
    if (!std::is_sorted(order.begin(), order.end(), isBefore)) {
        std::stable_sort(order.begin(), order.end(), isBefore);
    }
    return order;
}

void join(DaqOdtEntry& merged, const DaqOdtEntry& piece) {
    merged.fragment = piece.fragment;
    merged.size += piece.size;
    merged.data.insert(merged.data.end(), piece.data.begin(), piece.data.end());
}

/// Joins pieces of one name into the first of them, in place.
/// @return the merged records in name order
std::vector<DaqOdtEntry*> joinPieces(Pieces& pieces) {
    std::vector<DaqOdtEntry*> order = sorted(pieces);
    std::size_t merged = 0;
    for (DaqOdtEntry* piece : order) {
        if (merged == 0 || order[merged - 1]->name != piece->name) {
            order[merged++] = piece;
        } else if (order[merged - 1]->fragment != piece->fragment) {
            join(*order[merged - 1], *piece);
        }
    }
    order.resize(merged);
    return order;
}

/// Drops every piece whose name and ordinal came before. Merging uses the first of them only.
void dropRepeated(Pieces& pieces) {
    std::vector<DaqOdtEntry*> order = sorted(pieces);
    const auto isRepeated = [](const DaqOdtEntry* left, const DaqOdtEntry* right) {
        return left->fragment == right->fragment && left->name == right->name;
    };
    order.erase(std::unique(order.begin(), order.end(), isRepeated), order.end());
    std::sort(order.begin(), order.end());
    Pieces kept;
    kept.reserve(2 * order.size());
    for (DaqOdtEntry* piece : order) {
        kept.push_back(std::move(*piece));
    }
    pieces = std::move(kept);
}

}  // namespace

IDaq::~IDaq() = default;

void IDaq::assignVariables(const std::vector<mcMeasureVariable>& variables) {
    m_pollVars.clear();
    for (const mcMeasureVariable& variable : variables) {
        if (variable.period != 0) {
            m_pollVars.push_back(variable);
        } else {
            const std::uint16_t event = variable.event;
            m_eventVars[event].push_back(variable);
        }
    }
}

void IDaq::reset() {
    m_events.clear();
    m_pollVars.clear();
    m_eventVars.clear();
    m_fragments.clear();
    m_daqLists.clear();
}

std::map<std::string, DaqOdtEntry> IDaq::mergeFragments(std::vector<DaqOdtEntry> pieces) const {
    std::map<std::string, DaqOdtEntry> merged;
    for (DaqOdtEntry* record : joinPieces(pieces)) {
        merged.emplace_hint(merged.end(), record->name, std::move(*record));
    }
    return merged;
}

bool IDaq::isCycleComplete(std::uint16_t list, const std::map<std::string, DaqOdtEntry>& merged) const {
    return isComplete(list, merged.size());
}

std::vector<mcMeasureVariableValue> IDaq::closeCycle(std::uint16_t list, std::uint64_t time) {
    Pieces& pieces = m_fragments[list];
    const std::vector<DaqOdtEntry*> merged = joinPieces(pieces);
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

void IDaq::keepPieces(std::uint16_t list, std::vector<DaqOdtEntry> pieces) {
    Pieces& kept = m_fragments[list];
    if (kept.size() + pieces.size() > std::max(kept.capacity(), kPiecesBeforeCleaning)) {
        dropRepeated(kept);
    }
    kept.insert(kept.end(), std::make_move_iterator(pieces.begin()), std::make_move_iterator(pieces.end()));
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
