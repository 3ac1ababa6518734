#include "tests/system/SignalProof.h"

#include "sim/ByteOrder.h"
#include "tests/support/HexText.h"

#include <algorithm>
#include <optional>

namespace systemtest {
namespace {

constexpr std::int32_t kDaqKind = 2;
constexpr std::size_t kMostFaults = 20;
constexpr sim::Time kNsPerUs = 1'000;

}  // namespace

SignalProof::SignalProof(const sim::XcpEcu& ecu, sim::Time startFrom, sim::Time startUntil)
    : m_ecu(ecu), m_startFrom(startFrom), m_startUntil(startUntil) {
    for (const sim::Signal& signal : ecu.config().signals) {
        m_tracks[signal.name].signal = &signal;
    }
}

void SignalProof::expect(Expected expected) {
    const std::lock_guard lock(m_mutex);
    m_expected = expected;
}

void SignalProof::startsLater(sim::Time until) {
    const std::lock_guard lock(m_mutex);
    m_startUntil = until;
}

void SignalProof::begin() {
    const std::lock_guard lock(m_mutex);
    for (auto& [name, track] : m_tracks) {
        track = Track{.signal = track.signal};
    }
}

void SignalProof::take(std::int32_t kind, const std::vector<mcMeasureVariableValue>& values) {
    const std::lock_guard lock(m_mutex);
    if (m_expected == Expected::anything) {
        return;
    }
    if (kind == kDaqKind && m_expected == Expected::everyCycle) {
        takeCycle(values);
        return;
    }
    for (const mcMeasureVariableValue& value : values) {
        if (kind == kDaqKind) {
            takeAlone(value);
        } else {
            takePolled(value);
        }
    }
}

void SignalProof::takeCycle(const std::vector<mcMeasureVariableValue>& values) {
    std::optional<std::uint64_t> index;
    for (const mcMeasureVariableValue& value : values) {
        const Track* track = find(value.name);
        if (track != nullptr && isClock(*track->signal) && !index) {
            index = clockOf(*track->signal, value.data);
        }
    }
    for (const mcMeasureVariableValue& value : values) {
        if (index) {
            takeSample(value, *index);
        } else {
            blame(value, "came without a counter");
        }
    }
}

void SignalProof::takeSample(const mcMeasureVariableValue& value, std::uint64_t index) {
    Track* track = find(value.name);
    if (track == nullptr) {
        blame(value, "is no signal");
        return;
    }
    if (value.data != sim::signalBytes(*track->signal, index)) {
        blame(value, "was something else at event " + std::to_string(index));
    }
    if (track->lastSampled != 0 && index != track->lastSampled + 1) {
        blame(value, "came for event " + std::to_string(index) + " behind event " +
                         std::to_string(track->lastSampled));
    }
    checkTime(value, *track->signal, index);
    track->lastSampled = index;
    ++track->sampled;
}

void SignalProof::takeAlone(const mcMeasureVariableValue& value) {
    Track* track = find(value.name);
    if (track == nullptr || !isClock(*track->signal)) {
        blame(value, "is no counter");
        return;
    }
    const std::uint64_t index = clockOf(*track->signal, value.data);
    if (value.data.size() != sim::signalSize(*track->signal) || index == 0 ||
        index > m_ecu.eventIndex(track->signal->event)) {
        blame(value, "was never in the ECU");
    } else if (m_expected == Expected::losses && index <= track->lastSampled) {
        blame(value, "came behind event " + std::to_string(track->lastSampled));
    }
    track->lastSampled = index;
    ++track->sampled;
}

void SignalProof::takePolled(const mcMeasureVariableValue& value) {
    Track* track = find(value.name);
    if (track == nullptr) {
        blame(value, "is no signal");
        return;
    }
    const sim::Signal& signal = *track->signal;
    const std::uint64_t index = isClock(signal) ? clockOf(signal, value.data) : 0;
    if (!isClock(signal) && signal.kind != sim::SignalKind::constant) {
        blame(value, "moves, but does not tell its event");
    } else if (value.data != sim::signalBytes(signal, index) || index > m_ecu.eventIndex(signal.event)) {
        blame(value, "was never in the ECU");
    } else if (m_expected != Expected::strayAnswers && index < track->lastPolled) {
        blame(value, "came behind event " + std::to_string(track->lastPolled));
    }
    track->lastPolled = index;
    ++track->polled;
}

/// A sample carries the time of a first ODT: one behind its own event, and ahead of the frame that ended its
/// cycle, which another list may have followed within the same event.
void SignalProof::checkTime(const mcMeasureVariableValue& value, const sim::Signal& signal,
                            std::uint64_t index) {
    const sim::Time period = m_ecu.config().daq.events[signal.event].periodNs();
    const sim::Time time = value.time * kNsPerUs;
    if (time + kNsPerUs <= m_startFrom + index * period || time >= m_startUntil + (index + 2) * period) {
        blame(value, "is not of the time " + std::to_string(value.time) + " us");
    }
}

SignalProof::Track* SignalProof::find(const std::string& name) {
    const auto found = m_tracks.find(name);
    return found == m_tracks.end() ? nullptr : &found->second;
}

bool SignalProof::isClock(const sim::Signal& signal) {
    return signal.kind == sim::SignalKind::counter && signal.type == sim::SignalType::u32 &&
           signal.phase == 0;
}

std::uint64_t SignalProof::clockOf(const sim::Signal& signal, const std::vector<std::uint8_t>& bytes) {
    return bytes.size() == sim::signalSize(signal) ? sim::getNumber(bytes, signal.byteOrder) : 0;
}

void SignalProof::blame(const mcMeasureVariableValue& value, const std::string& what) {
    if (m_faults.size() < kMostFaults) {
        m_faults.push_back(m_ecu.config().name + ": " + value.name + " = [" + support::hexText(value.data) +
                           "] " + what);
    }
}

std::uint64_t SignalProof::sampled(const std::string& name) const {
    const std::lock_guard lock(m_mutex);
    return m_tracks.at(name).sampled;
}

std::uint64_t SignalProof::polled(const std::string& name) const {
    const std::lock_guard lock(m_mutex);
    return m_tracks.at(name).polled;
}

std::uint64_t SignalProof::fewestSampled(const std::vector<mcMeasureVariable>& variables) const {
    const std::lock_guard lock(m_mutex);
    std::uint64_t fewest = variables.empty() ? 0 : UINT64_MAX;
    for (const mcMeasureVariable& variable : variables) {
        fewest = std::min(fewest, m_tracks.at(variable.name).sampled);
    }
    return fewest;
}

std::uint64_t SignalProof::allSampled() const {
    const std::lock_guard lock(m_mutex);
    std::uint64_t sum = 0;
    for (const auto& [name, track] : m_tracks) {
        sum += track.sampled;
    }
    return sum;
}

std::vector<std::string> SignalProof::faults() const {
    const std::lock_guard lock(m_mutex);
    return m_faults;
}

}  // namespace systemtest
