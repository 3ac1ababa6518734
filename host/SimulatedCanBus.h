/// @file
/// The ECUs of one bus of the configuration, simulated in the process, as a bus like any other.
#pragma once

#include "host/CanBus.h"
#include "host/OwnFrames.h"
#include "host/SimulatedBus.h"

#include <condition_variable>
#include <mutex>

namespace host {

/// "sim:". Times are bus time, which is 0 when the bus is opened.
class SimulatedCanBus final : public CanBus {
public:
    /// Powers on the ECUs of the bus with index @p bus.
    /// @throws ConfigError if an ECU cannot be simulated as it is described
    SimulatedCanBus(const Config& config, std::size_t bus, Receiver receiver);

    /// Refuses a frame that no controller could send, and CAN FD on a classic bus. Waits up to a second for
    /// room in the transmit queue.
    bool send(const sim::Frame& frame) override;

    [[nodiscard]] std::string failure() const override;

    void delivered(std::uint64_t timeUs) override { m_bus.delivered(timeUs); }

    [[nodiscard]] sim::BusCounters counters() const { return m_bus.counters(); }

private:
    void take(const sim::Frame& frame, std::uint64_t timeUs);
    bool fail(const std::string& reason);

    const std::string m_name;
    const bool m_fd;
    const Receiver m_receiver;
    mutable std::mutex m_mutex;  ///< guards down to m_failure; nothing else is locked while it is held
    std::condition_variable m_room;
    OwnFrames m_queue;  ///< sent, but not yet on the wire
    std::string m_failure;
    SimulatedBus m_bus;  ///< last, so that its thread ends ahead of what it uses
};

}  // namespace host
