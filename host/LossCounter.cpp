#include "host/LossCounter.h"

#include "host/DaqPids.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace host {
namespace {

constexpr std::uint8_t kPositive = 0xFF;
constexpr std::uint8_t kStartStopDaqList = 0xDE;
constexpr std::size_t kSelectionLength = 4;
constexpr std::uint8_t kOverloadBit = 0x80;

/// First two bytes of the event that tells that the DAQ processor could not keep up.
struct OverloadEvent {
    std::uint8_t packet;
    std::uint8_t code;
};

constexpr OverloadEvent kXcpOverload{0xFD, 0x06};
constexpr OverloadEvent kCcpOverload{0xFE, 0x01};

/// Values come in the order of their names.
bool hasAll(const std::vector<mcMeasureVariableValue>& values, const std::vector<std::string>& names) {
    auto value = values.begin();
    return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
        value = std::find_if(value, values.end(), [&name](const auto& item) { return item.name == name; });
        return value != values.end();
    });
}

/// Whether the bytes of all pieces in the list came.
bool isWhole(const std::vector<mcMeasureVariableValue>& values, const DaqListShape& list) {
    return std::all_of(values.begin(), values.end(), [&list](const mcMeasureVariableValue& value) {
        const auto bytes = list.bytes.find(value.name);
        return bytes == list.bytes.end() || bytes->second == value.data.size();
    });
}

std::uint16_t wordAt(const sim::Frame& frame, std::size_t place, sim::ByteOrder order) {
    return static_cast<std::uint16_t>(
        sim::getNumber(std::span<const std::uint8_t>(frame.data).subspan(place, 2), order));
}

}  // namespace

ListLosses EcuLosses::sum() const {
    ListLosses sum;
    for (const ListLosses& list : lists) {
        sum.cycles += list.cycles;
        sum.gaps += list.gaps;
        sum.incompleteCycles += list.incompleteCycles;
        sum.undelivered += list.undelivered;
    }
    return sum;
}

std::uint64_t EcuLosses::total() const {
    const ListLosses all = sum();
    return overloads + all.gaps + all.incompleteCycles + all.undelivered;
}

std::uint64_t LossCounter::List::owed() const {
    return closed > delivered ? closed - delivered : 0;
}

void LossCounter::List::noteOwed() {
    least = std::min(least, owed());
}

void LossCounter::List::breakCycle() {
    if (!broken) {
        ++losses.incompleteCycles;
    }
    broken = true;
}

/// The library delivers what it has as the next cycle begins, and does not ask for the order of packets.
void LossCounter::List::close() {
    const bool all = std::find(seen.begin(), seen.end(), false) == seen.end();
    closed += all && shape.delivers() ? 1U : 0U;
    seen.assign(shape.odts, false);
}

void LossCounter::List::take(std::size_t odt) {
    if (odt == 0) {
        close();
    }
    seen[odt] = true;
    followOrder(odt);
}

void LossCounter::List::followOrder(std::size_t odt) {
    if (odt != next) {
        ++losses.gaps;
        const bool sameCycle = next != 0 && odt > next;
        if (next != 0) {
            breakCycle();
        }
        broken = sameCycle;
        if (odt != 0 && !sameCycle) {
            breakCycle();  // the cycle of this packet, of which the first never came
        }
    } else if (odt == 0) {
        broken = false;
    }
    next = odt + 1;
    if (next == shape.odts) {
        losses.cycles += broken ? 0U : 1U;
        next = 0;
    }
}

void LossCounter::begin(DaqShape shape) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lists.clear();
    for (const DaqListShape& list : shape.lists) {
        List state;
        state.shape = list;
        state.losses.list = list.number;
        state.losses.event = list.event;
        state.losses.odts = list.odts;
        state.seen.assign(list.odts, false);
        m_lists.push_back(std::move(state));
    }
    m_shape = std::move(shape);
}

void LossCounter::take(std::size_t bus, const BusFrame& frame) {
    if (bus != m_bus || frame.frame.extended != m_extended || frame.frame.length == 0) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_shape) {
        follow(frame.frame);
    }
}

void LossCounter::follow(const sim::Frame& frame) {
    if (frame.id == m_shape->commandId) {
        followCommand(frame);
    } else if (isPacket(frame)) {
        takePacket(frame);
    } else if (frame.id == m_shape->responseId) {
        m_overloads += isOverload(frame) ? 1U : 0U;
        followSelection(frame);
    }
}

/// An XCP ECU numbers the ODTs of its lists as it likes and tells with the answer to their selection.
void LossCounter::followCommand(const sim::Frame& frame) {
    m_selected.reset();
    if (!m_shape->ccp && frame.data[0] == kStartStopDaqList && frame.length >= kSelectionLength) {
        m_selected = wordAt(frame, 2, m_shape->byteOrder);
    }
}

void LossCounter::followSelection(const sim::Frame& frame) {
    if (!m_selected || frame.data[0] != kPositive || frame.length < 2) {
        return;
    }
    if (List* list = listNumbered(*m_selected)) {
        list->shape.firstPid = frame.data[1];
    }
    m_selected.reset();
}

bool LossCounter::isPacket(const sim::Frame& frame) const {
    if (frame.id != m_shape->responseId && m_shape->packetIds.count(frame.id) == 0) {
        return false;
    }
    return frame.data[0] < pidEnd(m_shape->ccp);
}

bool LossCounter::isOverload(const sim::Frame& frame) const {
    const OverloadEvent& event = m_shape->ccp ? kCcpOverload : kXcpOverload;
    return frame.length >= 2 && frame.data[0] == event.packet && frame.data[1] == event.code;
}

void LossCounter::takePacket(const sim::Frame& frame) {
    if (m_shape->overloadInPid && (frame.data[0] & kOverloadBit) != 0) {
        ++m_overloads;
    }
    const Place place = placeOf(frame);
    if (place.list != nullptr && place.odt < place.list->shape.odts) {
        place.list->take(place.odt);
    } else {
        ++m_strangers;
    }
}

LossCounter::Place LossCounter::placeOf(const sim::Frame& frame) {
    const std::size_t odt = m_shape->overloadInPid ? frame.data[0] & ~kOverloadBit : frame.data[0];
    switch (m_shape->packetId) {
        case PacketId::relativeByte:
            return {listNumbered(frame.data[1]), odt};
        case PacketId::relativeWord:
            return {listNumbered(wordAt(frame, 1, m_shape->byteOrder)), odt};
        case PacketId::relativeWordAligned:
            return {listNumbered(wordAt(frame, 2, m_shape->byteOrder)), odt};
        default:
            return absolutePlace(odt);
    }
}

LossCounter::Place LossCounter::absolutePlace(std::size_t pid) {
    const auto list = std::find_if(m_lists.begin(), m_lists.end(), [pid](const List& item) {
        return item.shape.firstPid <= pid && pid < item.shape.firstPid + item.shape.odts;
    });
    return list != m_lists.end() ? Place{&*list, pid - list->shape.firstPid} : Place{};
}

LossCounter::List* LossCounter::listNumbered(std::size_t number) {
    const auto list = std::find_if(m_lists.begin(), m_lists.end(),
                                   [number](const List& item) { return item.shape.number == number; });
    return list != m_lists.end() ? &*list : nullptr;
}

/// The list with the most names that all are among @p values: a variable that runs on into another list has
/// its first bytes among the values of this one.
LossCounter::List* LossCounter::listOf(const std::vector<mcMeasureVariableValue>& values) {
    List* best = nullptr;
    for (List& list : m_lists) {
        if (list.shape.delivers() && hasAll(values, list.shape.finished) &&
            (best == nullptr || best->shape.finished.size() < list.shape.finished.size())) {
            best = &list;
        }
    }
    return best;
}

std::optional<std::uint16_t> LossCounter::deliver(const std::vector<mcMeasureVariableValue>& values) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    List* list = listOf(values);
    if (list == nullptr) {
        return std::nullopt;
    }
    list->delivered += isWhole(values, list->shape) ? 1U : 0U;
    list->noteOwed();
    return list->shape.event;
}

void LossCounter::settle() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_settling = true;
    for (List& list : m_lists) {
        list.least = list.owed();
    }
}

bool LossCounter::settled() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_settling &&
           std::all_of(m_lists.begin(), m_lists.end(), [](const List& list) { return list.least == 0; });
}

EcuLosses LossCounter::losses() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    EcuLosses losses;
    losses.overloads = m_overloads;
    losses.strangers = m_strangers;
    std::transform(m_lists.begin(), m_lists.end(), std::back_inserter(losses.lists),
                   [this](const List& list) {
                       ListLosses copy = list.losses;
                       copy.undelivered = m_settling ? list.least : 0;
                       return copy;
                   });
    return losses;
}

}  // namespace host
