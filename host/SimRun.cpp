#include "host/SimRun.h"

#include "host/BusTrace.h"
#include "host/OpenBus.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace host {
namespace {

std::uint64_t systemTimeUs() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

}  // namespace

/// Bus time begins at 0 with the bus; those who look at it from outside expect the time of day.
SimRun::Bus::Bus(const Config& config, std::size_t number)
    : index(number),
      hub(config.buses[number].dataRate.has_value(), systemTimeUs()),
      bus(config, number, [this](const BusFrame& frame) { hub.take(frame); }) {
    hub.connect(bus);
}

SimRun::SimRun(const Config& config, const SimPlan& plan, CandumpWriter* trace) : m_config(config) {
    for (const std::size_t index : plan.buses) {
        m_buses.emplace_back(config, index);
        if (trace != nullptr) {
            traceBus(m_buses.back(), config.buses[index], *trace);
        }
    }
    for (const BridgePlan& bridge : plan.bridges) {
        m_bridges.emplace_back(busOf(bridge.bus).hub, [&](CanBus::Receiver receiver) {
            return openOutsideBus(bridge.url, config, bridge.bus, std::move(receiver));
        });
    }
    if (plan.listen) {
        m_server = std::make_unique<SocketcandServer>(*plan.listen, served());
    }
}

SimRun::~SimRun() {
    m_server.reset();
    m_bridges.clear();
}

void SimRun::traceBus(Bus& bus, const BusRecord& record, CandumpWriter& trace) {
    static_cast<void>(
        bus.hub.join([&trace, interface = interfaceName(record.channel)](const BusFrame& frame) {
            trace.write(loggedFrame(frame.frame, interface, frame.timeUs));
        }));
}

std::vector<ServedBus> SimRun::served() {
    std::vector<ServedBus> served;
    for (Bus& bus : m_buses) {
        ServedBus names{{m_config.buses[bus.index].name}, &bus.hub};
        if (const std::optional<std::string> alias = aliasOf(m_config, bus.index)) {
            names.names.push_back(*alias);
        }
        served.push_back(std::move(names));
    }
    return served;
}

SimRun::Bus& SimRun::busOf(std::size_t index) {
    return *std::find_if(m_buses.begin(), m_buses.end(),
                         [index](const Bus& bus) { return bus.index == index; });
}

std::optional<Endpoint> SimRun::place() const {
    return m_server ? std::optional<Endpoint>(m_server->place()) : std::nullopt;
}

std::string SimRun::failure() const {
    for (const Bus& bus : m_buses) {
        if (std::string failure = bus.bus.failure(); !failure.empty()) {
            return failure;
        }
    }
    for (const BusBridge& bridge : m_bridges) {
        if (std::string failure = bridge.failure(); !failure.empty()) {
            return failure;
        }
    }
    return {};
}

std::vector<SimBusReport> SimRun::buses() const {
    std::vector<SimBusReport> reports;
    for (const Bus& bus : m_buses) {
        reports.push_back({m_config.buses[bus.index].name, bus.bus.counters()});
    }
    return reports;
}

ServerCounters SimRun::server() const {
    return m_server ? m_server->counters() : ServerCounters{};
}

std::vector<BridgeCounters> SimRun::bridges() const {
    std::vector<BridgeCounters> counters;
    for (const BusBridge& bridge : m_bridges) {
        counters.push_back(bridge.counters());
    }
    return counters;
}

}  // namespace host
