// The part of XcpEcu that keeps its time: events, signals and samples.
#include "sim/XcpEcu.h"

namespace sim {

std::uint64_t XcpEcu::eventIndexAt(std::size_t event, Time time) const {
    if (event >= m_config.daq.events.size() || time < m_start) {
        return 0;
    }
    const Time period = m_config.daq.events[event].periodNs();
    return period > 0 ? (time - m_start) / period : 0;
}

std::uint64_t XcpEcu::clockAt(Time time) const {
    const XcpDaqConfig& daq = m_config.daq;
    return daq.clockStart + (time - m_start) / (xcpUnitNs(daq.timestampUnit) * daq.timestampTicks);
}

void XcpEcu::moveSignals(Time time) {
    for (std::size_t event = 0; event < m_eventIndices.size(); ++event) {
        m_eventIndices[event] = eventIndexAt(event, time);
    }
    m_signals.update(m_memory, m_eventIndices);
}

/// Sets a timer for each channel that has running lists now, and drops those of the others.
void XcpEcu::watchEvents() {
    for (std::size_t i = 0; i < m_eventTimers.size(); ++i) {
        const auto event = static_cast<std::uint16_t>(i);
        const bool wanted = m_daq.running(event) && m_config.daq.events[i].periodNs() > 0;
        if (wanted && m_eventTimers[i] == 0) {
            scheduleEvent(event, eventIndexAt(i, m_commandEnd) + 1);
        } else if (!wanted && m_eventTimers[i] != 0) {
            m_port->cancel(m_eventTimers[i]);
            m_eventTimers[i] = 0;
        }
    }
}

void XcpEcu::scheduleEvent(std::uint16_t event, std::uint64_t index) {
    const Time when = m_start + index * m_config.daq.events[event].periodNs();
    m_scheduled[event] = index;
    m_eventTimers[event] = runAt(when, [this, event, index] { onEvent(event, index); });
}

void XcpEcu::onEvent(std::uint16_t event, std::uint64_t index) {
    // A timer that was just due when its list was stopped still comes, perhaps behind a newer one.
    if (m_eventTimers[event] == 0 || m_scheduled[event] != index) {
        return;
    }
    const Time time = m_start + index * m_config.daq.events[event].periodNs();
    moveSignals(time);
    sendDtos(m_daq.sample(event, clockAt(time)));
    scheduleEvent(event, index + 1);
}

void XcpEcu::sendDtos(const std::vector<XcpDto>& dtos) {
    if (dtos.empty()) {
        return;
    }
    if (m_faults.onSample()) {
        m_counters.lostDtos += dtos.size();
        announceOverload();
        return;
    }
    for (const XcpDto& dto : dtos) {
        const int times = m_faults.silent() ? 0 : m_faults.onDto();
        m_counters.lostDtos += times == 0 ? 1 : 0;
        for (int time = 0; time < times; ++time) {
            m_port->send(makeFrame(dto.packet, dto.canId));
            ++m_counters.dtos;
        }
    }
}

void XcpEcu::announceOverload() {
    if (m_config.daq.overload == XcpOverload::msb) {
        m_daq.markOverload();
    } else if (m_config.daq.overload == XcpOverload::event) {
        sendEvent(xcp::kEventDaqOverload);
    }
}

}  // namespace sim
