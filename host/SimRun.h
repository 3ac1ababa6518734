/// @file
/// One run of `talvex sim`: simulated buses, a server, bridges, a trace.
#pragma once

#include "host/BusBridge.h"
#include "host/CandumpLog.h"
#include "host/SimPlan.h"
#include "host/SimulatedCanBus.h"
#include "host/SocketcandServer.h"

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>

namespace host {

/// The counts of one bus at the end.
struct SimBusReport {
    std::string name;
    sim::BusCounters counters;
};

/// Everything runs from construction to destruction. One thread at a time.
class SimRun {
public:
    /// @param config  outlives the object
    /// @param trace   gets every frame; null for none; outlives the object
    /// @throws HostError, ConfigError
    SimRun(const Config& config, const SimPlan& plan, CandumpWriter* trace);

    /// Nobody outside gets anything any more before the buses go.
    ~SimRun();
    SimRun(const SimRun&) = delete;
    SimRun& operator=(const SimRun&) = delete;

    /// Where the server listens; nothing if there is none.
    [[nodiscard]] std::optional<Endpoint> place() const;

    /// Why a bus is down; empty while all work.
    [[nodiscard]] std::string failure() const;

    [[nodiscard]] std::vector<SimBusReport> buses() const;
    [[nodiscard]] ServerCounters server() const;

    /// In the order of the plan.
    [[nodiscard]] std::vector<BridgeCounters> bridges() const;

private:
    /// One simulated bus. Its hub is there ahead of it.
    struct Bus {
        Bus(const Config& config, std::size_t number);

        std::size_t index;  ///< of the configuration
        BusHub hub;
        SimulatedCanBus bus;
    };

    void traceBus(Bus& bus, const BusRecord& record, CandumpWriter& trace);
    [[nodiscard]] std::vector<ServedBus> served();
    [[nodiscard]] Bus& busOf(std::size_t index);

    const Config& m_config;
    std::list<Bus> m_buses;
    std::list<BusBridge> m_bridges;
    std::unique_ptr<SocketcandServer> m_server;
};

}  // namespace host
