#include "host/SimPrint.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace host {
namespace {

std::vector<std::string> ecusOf(const Config& config, std::size_t bus) {
    std::vector<std::string> names;
    for (const EcuRecord& ecu : config.ecus) {
        if (ecu.bus == bus) {
            names.push_back(ecu.name);
        }
    }
    return names;
}

Json readyJson(const Config& config, const SimPlan& plan, const SimRun& run) {
    Json line = jsonObject("ready");
    const std::optional<Endpoint> place = run.place();
    line["listen"] = place ? Json(place->text()) : Json();
    line["port"] = place ? Json(place->port) : Json();
    line["buses"] = Json::array();
    for (const std::size_t index : plan.buses) {
        const BusRecord& bus = config.buses[index];
        const std::optional<std::string> alias = aliasOf(config, index);
        line["buses"].push_back(Json{{"name", bus.name},
                                     {"alias", alias ? Json(*alias) : Json()},
                                     {"fd", bus.dataRate.has_value()},
                                     {"ecus", ecusOf(config, index)}});
    }
    line["bridges"] = Json::array();
    for (const BridgePlan& bridge : plan.bridges) {
        line["bridges"].push_back(Json{{"bus", config.buses[bridge.bus].name}, {"url", bridge.url}});
    }
    return line;
}

}  // namespace

void SimPrint::ready(const SimRun& run) {
    for (const std::size_t index : m_plan.buses) {
        const BusRecord& bus = m_config.buses[index];
        const std::optional<std::string> alias = aliasOf(m_config, index);
        m_messages.line(fmt::format("bus {} ({}{}) with {}", bus.name, alias ? *alias + ", " : "",
                                    bus.dataRate ? "CAN FD" : "classic CAN",
                                    fmt::join(ecusOf(m_config, index), ", ")));
    }
    for (const BridgePlan& bridge : m_plan.bridges) {
        m_messages.line(fmt::format("bus {} is bridged to {}", m_config.buses[bridge.bus].name, bridge.url));
    }
    if (const std::optional<Endpoint> place = run.place()) {
        m_messages.line(fmt::format("listening at {}", place->text()));
    }
    write(readyJson(m_config, m_plan, run));
}

void SimPrint::counters(const SimRun& run) {
    for (const SimBusReport& bus : run.buses()) {
        writeBus(bus);
    }
    const std::vector<BridgeCounters> bridges = run.bridges();
    for (std::size_t i = 0; i < bridges.size(); ++i) {
        writeBridge(m_plan.bridges[i], bridges[i]);
    }
    if (run.place()) {
        writeServer(run.server());
    }
}

void SimPrint::writeBus(const SimBusReport& bus) {
    m_messages.line(fmt::format("bus {}: {} frames, load {:.1f} %", bus.name, bus.counters.frames,
                                bus.counters.loadPercent()));
    Json line = jsonObject("bus");
    line["name"] = bus.name;
    line["frames"] = bus.counters.frames;
    line["load_percent"] = bus.counters.loadPercent();
    write(line);
}

void SimPrint::writeBridge(const BridgePlan& plan, const BridgeCounters& counters) {
    m_messages.line(fmt::format("bridge to {}: {} in, {} out, {} lost", plan.url, counters.in, counters.out,
                                counters.lost));
    Json line = jsonObject("bridge");
    line["bus"] = m_config.buses[plan.bus].name;
    line["url"] = plan.url;
    line["in"] = counters.in;
    line["out"] = counters.out;
    line["lost"] = counters.lost;
    write(line);
}

void SimPrint::writeServer(const ServerCounters& counters) {
    m_messages.line(fmt::format("clients: {}, dropped: {}", counters.clients, counters.dropped));
    Json line = jsonObject("server");
    line["clients"] = counters.clients;
    line["dropped"] = counters.dropped;
    write(line);
}

void SimPrint::write(const Json& object) {
    if (m_json) {
        m_lines.write(object);
    }
}

}  // namespace host
