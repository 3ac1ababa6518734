#include "host/SimPlan.h"

#include "host/BusTrace.h"
#include "host/BusUrl.h"
#include "host/HostError.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>

namespace host {
namespace {

[[noreturn]] void refuse(const std::string& text) {
    throw HostError(text, ExitCode::usage);
}

std::size_t busNamed(const Config& config, const std::string& name, const char* option) {
    const auto bus = std::find_if(config.buses.begin(), config.buses.end(),
                                  [&name](const BusRecord& record) { return record.name == name; });
    if (bus == config.buses.end()) {
        std::vector<std::string> names;
        std::transform(config.buses.begin(), config.buses.end(), std::back_inserter(names),
                       [](const BusRecord& record) { return record.name; });
        refuse(fmt::format("{}: {} has no bus \"{}\"; it has {}", option, config.file, name,
                           fmt::join(names, ", ")));
    }
    return static_cast<std::size_t>(bus - config.buses.begin());
}

std::vector<std::size_t> planBuses(const SimOptions& options, const Config& config) {
    std::vector<std::size_t> buses;
    for (std::size_t i = 0; i < config.buses.size(); ++i) {
        const auto& wanted = options.busNames;
        if (wanted.empty() || std::find(wanted.begin(), wanted.end(), config.buses[i].name) != wanted.end()) {
            buses.push_back(i);
        }
    }
    return buses;
}

BridgePlan planBridge(const std::string& text, const Config& config, const std::vector<std::size_t>& buses) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
        refuse(fmt::format("--bus {}: it takes NAME=URL, such as {}=socketcan:vcan0", text,
                           config.buses.front().name));
    }
    const std::string name = text.substr(0, equals);
    BridgePlan plan{busNamed(config, name, "--bus"), text.substr(equals + 1)};
    if (parseBusUrl(plan.url).kind == BusKind::simulated) {
        refuse(
            fmt::format("--bus {}: the bus is simulated already; it is bridged to socketcan:INTERFACE or "
                        "socketcand://HOST:PORT/BUS",
                        text));
    }
    if (std::find(buses.begin(), buses.end(), plan.bus) == buses.end()) {
        refuse(fmt::format("--bus {}: --bus-name leaves this bus out", text));
    }
    return plan;
}

}  // namespace

std::optional<std::string> aliasOf(const Config& config, std::size_t bus) {
    const std::string alias = interfaceName(config.buses.at(bus).channel);
    for (std::size_t i = 0; i < config.buses.size(); ++i) {
        if (i != bus && config.buses[i].name == alias) {
            return std::nullopt;
        }
    }
    return alias;
}

SimPlan planSim(const SimOptions& options, const Config& config) {
    SimPlan plan;
    if (!options.listen && options.bridges.empty()) {
        refuse("sim: nobody could talk to the ECUs; give --listen HOST:PORT, or --bus NAME=URL, or both");
    }
    for (const std::string& name : options.busNames) {
        static_cast<void>(busNamed(config, name, "--bus-name"));
    }
    plan.buses = planBuses(options, config);
    if (options.listen) {
        plan.listen = parseEndpoint(*options.listen, kSocketcandPort);
        if (!plan.listen) {
            refuse(fmt::format("--listen {}: it takes HOST:PORT, such as 127.0.0.1:{}", *options.listen,
                               kSocketcandPort));
        }
    }
    for (const std::string& text : options.bridges) {
        plan.bridges.push_back(planBridge(text, config, plan.buses));
    }
    return plan;
}

}  // namespace host
