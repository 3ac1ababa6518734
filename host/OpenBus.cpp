#include "host/OpenBus.h"

#include "host/BusUrl.h"
#include "host/HostError.h"
#include "host/SimulatedCanBus.h"
#include "host/SocketCanBus.h"
#include "host/SocketcandBus.h"

#include <fmt/format.h>

#include <utility>

namespace host {
namespace {

/// What an ECU sends and gets.
std::vector<std::uint32_t> idsOf(const EcuRecord& ecu) {
    std::vector<std::uint32_t> ids{ecu.commandId, ecu.responseId};
    ids.push_back(ecu.broadcastId.value_or(ecu.commandId));
    for (const DaqListRecord& list : ecu.daq.lists) {
        ids.push_back(list.id.value_or(ecu.responseId));
    }
    for (const EventRecord& event : ecu.events) {
        ids.insert(ids.end(), event.ids.begin(), event.ids.end());
    }
    return ids;
}

/// What the ECUs of a bus send and get.
std::vector<FrameId> idsOf(const Config& config, std::size_t busIndex) {
    std::vector<FrameId> ids;
    for (const EcuRecord& ecu : config.ecus) {
        for (const std::uint32_t id : ecu.bus == busIndex ? idsOf(ecu) : std::vector<std::uint32_t>()) {
            ids.push_back({id, ecu.extended});
        }
    }
    return ids;
}

std::unique_ptr<CanBus> openInterface(const std::string& interface, const Config& config,
                                      std::size_t busIndex, BusScope scope, CanBus::Receiver receiver) {
    SocketCanOptions options;
    options.interface = interface;
    options.fd = config.buses[busIndex].dataRate.has_value();
    if (scope == BusScope::ecus) {
        options.ids = idsOf(config, busIndex);
    }
    return std::make_unique<SocketCanBus>(options, std::move(receiver));
}

/// Puts the name that the configuration has for the bus ahead of what is wrong.
template <class Open>
std::unique_ptr<CanBus> named(const BusRecord& bus, Open open) {
    try {
        return open();
    } catch (const HostError& error) {
        throw HostError(fmt::format("bus {}: {}", bus.name, error.what()), error.code());
    }
}

}  // namespace

std::unique_ptr<CanBus> openBus(const std::string& url, const Config& config, std::size_t busIndex,
                                BusScope scope, CanBus::Receiver receiver) {
    const BusRecord& bus = config.buses.at(busIndex);
    return named(bus, [&]() -> std::unique_ptr<CanBus> {
        const BusUrl parsed = parseBusUrl(url);
        switch (parsed.kind) {
            case BusKind::socketCan:
                return openInterface(parsed.name, config, busIndex, scope, std::move(receiver));
            case BusKind::socketcand:
                return std::make_unique<SocketcandBus>(parsed, std::move(receiver));
            default:
                return std::make_unique<SimulatedCanBus>(config, busIndex, std::move(receiver));
        }
    });
}

std::unique_ptr<CanBus> openOutsideBus(const std::string& url, const Config& config, std::size_t busIndex,
                                       CanBus::Receiver receiver) {
    const BusRecord& bus = config.buses.at(busIndex);
    return named(bus, [&]() -> std::unique_ptr<CanBus> {
        const BusUrl parsed = parseBusUrl(url);
        switch (parsed.kind) {
            case BusKind::socketCan:
                return openInterface(parsed.name, config, busIndex, BusScope::everything,
                                     std::move(receiver));
            case BusKind::socketcand:
                return std::make_unique<SocketcandBus>(parsed, std::move(receiver));
            default:
                throw HostError("a simulated bus is bridged to a bus outside: socketcan: or socketcand://",
                                ExitCode::usage);
        }
    });
}

}  // namespace host
