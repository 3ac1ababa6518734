// The part of XcpEcu that keeps its time: events, signals and samples.
#include "sim/XcpEcu.h"

namespace sim {

std::uint64_t XcpEcu::clockAt(Time time) const {
    const XcpDaqConfig& daq = m_config.daq;
    return daq.clockStart + (time - m_start) / (xcpUnitNs(daq.timestampUnit) * daq.timestampTicks);
}

void XcpEcu::moveSignals(Time time) {
    m_signals.update(m_memory, m_events.indicesAt(time));
}

/// Sets a timer for each channel that has running lists now, and drops those of the others.
void XcpEcu::watchEvents() {
    for (std::size_t i = 0; i < m_eventTimers.size(); ++i) {
        const auto event = static_cast<std::uint16_t>(i);
        const bool wanted = m_daq.running(event) && m_events.cyclic(i);
        if (wanted && m_eventTimers[i] == 0) {
            scheduleEvent(event, m_events.indexAt(i, m_commandEnd) + 1);
        } else if (!wanted && m_eventTimers[i] != 0) {
            m_port->cancel(m_eventTimers[i]);
            m_eventTimers[i] = 0;
        }
    }
}

void XcpEcu::scheduleEvent(std::uint16_t event, std::uint64_t index) {
    const Time when = m_events.timeOf(event, index);
    m_scheduled[event] = index;
    m_eventTimers[event] = runAt(when, [this, event, index] { onEvent(event, index); });
}

void XcpEcu::onEvent(std::uint16_t event, std::uint64_t index) {
    // A timer that was just due when its list was stopped still comes, perhaps behind a newer one.
    if (m_eventTimers[event] == 0 || m_scheduled[event] != index) {
        return;
    }
    const Time time = m_events.timeOf(event, index);
    moveSignals(time);
    sendDtos(m_daq.sample(event, clockAt(time)), time);
    scheduleEvent(event, index + 1);
}

void XcpEcu::sendDtos(const std::vector<XcpDto>& dtos, Time now) {
    if (dtos.empty()) {
        return;
    }
    if (m_faults.onSample(now)) {
        m_counters.lostDtos += dtos.size();
        announceOverload();
        return;
    }
    for (const XcpDto& dto : dtos) {
        const int times = m_faults.silent(now) ? 0 : m_faults.onDto(now);
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
