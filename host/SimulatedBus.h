/// @file
/// One bus of the configuration with its ECUs, simulated inside the process in real time.
#pragma once

#include "host/ConfigRecords.h"
#include "host/DeliveryPace.h"
#include "host/SimulatedStation.h"
#include "sim/BusCounters.h"
#include "sim/BusPort.h"
#include "sim/VirtualBus.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace host {

/// The ECUs of one bus and the host's own controller on it. Any thread, but for construction and
/// destruction.
class SimulatedBus : private sim::Node {
public:
    /// Takes a frame; @p timeUs is bus time in microseconds. On the thread of the bus.
    using Receiver = std::function<void(const sim::Frame& frame, std::uint64_t timeUs)>;

    /// Powers on the ECUs of the bus with index @p bus.
    /// @throws ConfigError if an ECU cannot be simulated as it is described
    SimulatedBus(const Config& config, std::size_t bus, Receiver receiver);

    /// Nobody may send any more.
    ~SimulatedBus() override = default;

    /// Sends a frame as the host.
    void send(const sim::Frame& frame);

    /// Has @p watcher called with every frame on the wire, of both directions, on the thread of the bus. It
    /// has to live as long as the object.
    void watch(Receiver watcher) {
        m_bus.setMonitor([watcher = std::move(watcher)](const sim::Frame& frame, sim::PortNumber,
                                                        sim::Time end) { watcher(frame, end / 1000); });
    }

    /// Whether the ECU with this index of the configuration is on this bus.
    [[nodiscard]] bool holds(std::size_t ecu) const { return m_stations.count(ecu) > 0; }

    [[nodiscard]] SimulatedStation& ecu(std::size_t ecu) { return *m_stations.at(ecu).ecu; }

    /// From now on nothing that the ECU sends arrives anywhere.
    void silence(std::size_t ecu) { m_bus.silenceNow(m_stations.at(ecu).port->number()); }

    /// Waits until bus time has reached @p time, ns. @return false if that took longer than @p timeout
    [[nodiscard]] bool waitUntil(sim::Time time, std::chrono::milliseconds timeout) {
        return m_bus.waitUntil(time, timeout);
    }

    /// The library delivered DAQ values of this bus, taken at bus time @p timeUs. While it is far behind what
    /// the bus gave it, bus time stands still.
    void delivered(std::uint64_t timeUs) { m_pace.delivered(timeUs); }

    [[nodiscard]] sim::Time now() const { return m_bus.now(); }
    [[nodiscard]] sim::BusCounters counters() const { return m_bus.counters(); }

private:
    struct Station {
        std::unique_ptr<SimulatedStation> ecu;
        std::unique_ptr<sim::BusPort> port;  ///< behind the ECU, so that it goes first
    };

    void onFrame(const sim::Frame& frame, sim::Time end) override;
    void addEcu(const EcuRecord& record, std::size_t index);

    Receiver m_receiver;
    DeliveryPace m_pace;
    sim::VirtualBus m_bus;
    std::map<std::size_t, Station> m_stations;  ///< by index of the configuration; fixed after construction
    std::unique_ptr<sim::BusPort> m_hostPort;   ///< last, so that no frame comes in while the rest goes
};

}  // namespace host
