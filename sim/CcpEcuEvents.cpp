// The part of CcpEcu that keeps its time: events, signals and samples.
#include "sim/CcpEcu.h"

namespace sim {

void CcpEcu::moveSignals(Time time) {
    m_signals.update(m_memory, m_events.indicesAt(time));
}

/// Sets a timer for each channel that has running lists now, and drops those of the others.
void CcpEcu::watchEvents() {
    for (std::size_t i = 0; i < m_events.size(); ++i) {
        const auto event = static_cast<std::uint8_t>(i);
        const bool wanted = m_daq.running(event) && m_events.cyclic(i);
        if (wanted && m_eventTimers[i] == 0) {
            scheduleEvent(event, m_events.indexAt(i, m_commandEnd) + 1);
        } else if (!wanted && m_eventTimers[i] != 0) {
            m_port->cancel(m_eventTimers[i]);
            m_eventTimers[i] = 0;
        }
    }
}

void CcpEcu::dropEventTimers() {
    for (TimerId& timer : m_eventTimers) {
        if (timer != 0) {
            m_port->cancel(timer);
            timer = 0;
        }
    }
}

void CcpEcu::scheduleEvent(std::uint8_t event, std::uint64_t index) {
    m_scheduled[event] = index;
    m_eventTimers[event] =
        runAt(m_events.timeOf(event, index), [this, event, index] { onEvent(event, index); });
}

void CcpEcu::onEvent(std::uint8_t event, std::uint64_t index) {
    // A timer that was just due when its list was stopped still comes, perhaps behind a newer one.
    if (m_eventTimers[event] == 0 || m_scheduled[event] != index) {
        return;
    }
    const Time time = m_events.timeOf(event, index);
    moveSignals(time);
    sendDtos(m_daq.sample(event), time);
    scheduleEvent(event, index + 1);
}

void CcpEcu::sendDtos(const std::vector<CcpDto>& dtos, Time now) {
    if (dtos.empty()) {
        return;
    }
    if (m_faults.onSample(now)) {
        m_counters.lostDtos += dtos.size();
        if (!m_faults.silent(now)) {
            sendEvent(static_cast<std::uint8_t>(CcpReturn::daqOverload), {});
        }
        return;
    }
    for (const CcpDto& dto : dtos) {
        const int times = m_faults.silent(now) ? 0 : m_faults.onDto(now);
        m_counters.lostDtos += times == 0 ? 1 : 0;
        for (int time = 0; time < times; ++time) {
            m_port->send(makeFrame(dto.bytes, dto.canId));
            ++m_counters.dtos;
        }
    }
}

}  // namespace sim
