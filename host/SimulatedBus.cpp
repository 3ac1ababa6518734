#include "host/SimulatedBus.h"

#include <stdexcept>
#include <utility>

namespace host {
namespace {

/// First byte of answers, in both protocols: positive ones and errors, or events. Data has lower ones.
constexpr std::uint8_t kAnswers = 0xFE;

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
    m_bus.setBrake([this] { return m_pace.holds(); });
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

void SimulatedBus::send(const sim::Frame& frame) {
    m_pace.sent();
    m_hostPort->send(frame);
}

void SimulatedBus::onFrame(const sim::Frame& frame, sim::Time end) {
    m_pace.handedOver(end / 1000, frame.length > 0 && frame.data[0] >= kAnswers);
    m_receiver(frame, end / 1000);
}

}  // namespace host
