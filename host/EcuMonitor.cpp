#include "host/EcuMonitor.h"

#include "host/RawValue.h"
#include "host/SimulatedEcu.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace host {
namespace {

/// Bytes that the answer to one command brings.
std::size_t bytesOfARead(const EcuRecord& ecu) {
    constexpr std::size_t kCcpUpload = 5;
    return ecu.ccp ? kCcpUpload : ecu.maxCto - 1U;
}

}  // namespace

EcuMonitor::EcuMonitor(const EcuRecord& ecu, EcuProbe probe) : m_ecu(ecu), m_probe(std::move(probe)) {
    m_report.variables.resize(ecu.variables.size());
    for (std::size_t i = 0; i < ecu.variables.size(); ++i) {
        const VariableRecord& variable = ecu.variables[i];
        m_indices[variable.name] = i;
        const bool polled = variable.periodMs > 0;
        if (!polled && variable.signal && isCounter(ecu.signals[*variable.signal])) {
            m_report.variables[i].gaps.emplace(ecu.signals[*variable.signal].elementSize());
        }
    }
}

void EcuMonitor::take(const ValueDelivery& delivery) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_concluded) {
        return;
    }
    m_report.rejected.insert(m_report.rejected.end(), delivery.rejected.begin(), delivery.rejected.end());
    if (!delivery.values.empty()) {
        ++m_report.deliveries.at(static_cast<std::size_t>(delivery.kind));
    }
    std::map<std::uint16_t, std::uint64_t> named;
    if (delivery.kind == ValueKind::daq) {
        named = eventsNamed(delivery.values);
    }
    for (const mcMeasureVariableValue& value : delivery.values) {
        const std::optional<std::size_t> index = indexOf(value.name);
        if (!index) {
            m_report.strangers.push_back(value.name);
        } else if (delivery.kind == ValueKind::read) {
            takeRead(value);
        } else {
            const auto found = named.find(m_ecu.variables[*index].event);
            takeMeasured(
                value, delivery.kind,
                found != named.end() ? std::optional(EventSpan{found->second, found->second}) : std::nullopt);
        }
    }
}

void EcuMonitor::conclude() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_concluded = true;
}

EcuReport EcuMonitor::report() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_report;
}

std::optional<std::size_t> EcuMonitor::indexOf(const std::string& name) {
    const auto found = m_indices.find(name);
    const bool known = found != m_indices.end() && !m_ecu.rejects(m_ecu.variables[found->second]);
    return known ? std::optional(found->second) : std::nullopt;
}

/// The event of each channel that a counter among the values names.
std::map<std::uint16_t, std::uint64_t> EcuMonitor::eventsNamed(
    const std::vector<mcMeasureVariableValue>& values) {
    std::map<std::uint16_t, std::uint64_t> events;
    for (const mcMeasureVariableValue& value : values) {
        const std::optional<std::size_t> index = indexOf(value.name);
        if (!index || !m_ecu.variables[*index].signal) {
            continue;
        }
        const VariableRecord& variable = m_ecu.variables[*index];
        const SignalRecord& signal = m_ecu.signals[*variable.signal];
        const std::uint64_t event = namesEvent(signal) ? namedEvent(signal, value.data) : 0;
        if (namesEvent(signal) && event <= m_probe.eventIndex(variable.event)) {
            events.emplace(variable.event, event);
        }
    }
    return events;
}

void EcuMonitor::takeRead(const mcMeasureVariableValue& value) {
    const VariableRecord& variable = m_ecu.variables[*indexOf(value.name)];
    ++m_report.readValues;
    if (!holdsNow(variable, value.data)) {
        ++m_report.wrongReads;
    }
}

void EcuMonitor::takeMeasured(const mcMeasureVariableValue& value, ValueKind kind,
                              std::optional<EventSpan> together) {
    const std::size_t index = *indexOf(value.name);
    const VariableRecord& variable = m_ecu.variables[index];
    VariableReport& report = m_report.variables[index];
    checkBytes(index, value.data, kind, together);
    if (kind == ValueKind::daq && report.gaps) {
        const SignalRecord& signal = m_ecu.signals[*variable.signal];
        const std::span<const std::uint8_t> bytes(value.data);
        report.gaps->add(rawBits(bytes.first(std::min(bytes.size(), signal.elementSize())), m_ecu.byteOrder));
    }
    report.statistics.add(value.time, shown(variable, value.data));
}

/// @param together  the event that the value must be of, if that is known
void EcuMonitor::checkBytes(std::size_t index, std::span<const std::uint8_t> bytes, ValueKind kind,
                            std::optional<EventSpan> together) {
    const VariableRecord& variable = m_ecu.variables[index];
    VariableReport& report = m_report.variables[index];
    std::optional<std::uint64_t> event;
    if (variable.signal) {
        const EventSpan span =
            together.value_or(EventSpan{report.lastEvent, m_probe.eventIndex(variable.event)});
        const std::size_t piece = kind == ValueKind::polled ? bytesOfARead(m_ecu) : bytes.size();
        event = findReadEvent(m_ecu.signals[*variable.signal], bytes, span, piece);
    } else if (holdsNow(variable, bytes)) {
        event = report.lastEvent;
    }
    if (event) {
        noteEvent(report, *event);
        return;
    }
    if (report.wrong == 0) {
        report.firstWrong = fmt::format("value {} is [{}]", report.statistics.count() + 1, hexText(bytes));
    }
    ++report.wrong;
}

void EcuMonitor::noteEvent(VariableReport& report, std::uint64_t event) {
    if (report.statistics.count() == 0) {
        report.firstEvent = event;
    }
    report.lastEvent = event;
}

bool EcuMonitor::holdsNow(const VariableRecord& variable, std::span<const std::uint8_t> bytes) const {
    const std::vector<std::uint8_t> held = m_probe.memory(variable.address, variable.size);
    return !held.empty() && std::equal(bytes.begin(), bytes.end(), held.begin(), held.end());
}

ShownValue EcuMonitor::shown(const VariableRecord& variable, std::span<const std::uint8_t> bytes) const {
    ShownValue value;
    if (!variable.signal) {
        value.number = static_cast<double>(rawBits(bytes, m_ecu.byteOrder));
    } else {
        const SignalRecord& signal = m_ecu.signals[*variable.signal];
        value.number = rawNumber(signal.first, bytes);
        if (signal.first.kind == sim::SignalKind::stateMachine) {
            value.text = stateText(bytes);
        }
    }
    value.number = value.number * variable.factor + variable.offset;
    return value;
}

}  // namespace host
