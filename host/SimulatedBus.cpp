#include "host/SimulatedBus.h"

#include <stdexcept>
#include <utility>

namespace host {
namespace {

sim::VirtualBusConfig busConfig(const BusRecord& bus) {
    sim::VirtualBusConfig config;
    config.rates.nominal = bus.nominalRate;
    config.rates.data = bus.dataRate.value_or(bus.nominalRate);
    config.stuffing = sim::Stuffing::Actual;
    // The processor is for the library; what it measures are bus times, and these are exact all the same.
    config.spin = 0;
    // Short stalls of a busy machine are made up for, so that bus time keeps up with the host's time-outs.
    config.maxLag = 20'000'000;
    return config;
}

}  // namespace

SimulatedBus::SimulatedBus(const Config& config, std::size_t bus, Receiver receiver)
    : m_receiver(std::move(receiver)), m_bus(busConfig(config.buses.at(bus))) {
    for (std::size_t i = 0; i < config.ecus.size(); ++i) {
        if (config.ecus[i].bus == bus) {
            addEcu(config.ecus[i], i);
        }
    }
    m_hostPort = m_bus.attach(*this);
}

void SimulatedBus::addEcu(const EcuRecord& record, std::size_t index) {
    Station station;
    try {
        station.ecu = makeStation(record);
    } catch (const std::invalid_argument& reason) {
        throw ConfigError(record.place, "ecu", std::string("\"") + record.name + "\": " + reason.what());
    }
    station.port = m_bus.attach(station.ecu->node());
    station.ecu->powerOn(*station.port);
    m_stations.emplace(index, std::move(station));
}

void SimulatedBus::onFrame(const sim::Frame& frame, sim::Time end) {
    m_receiver(frame, end / 1000);
}

}  // namespace host
