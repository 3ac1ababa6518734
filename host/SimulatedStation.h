/// @file
/// A simulated ECU of either protocol, as a demo looks into it.
#pragma once

#include "host/ConfigRecords.h"
#include "host/MemoryPart.h"
#include "sim/Port.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace host {

/// What the demo asks and does beside the bus. Any thread, but for construction, destruction and `powerOn`.
class SimulatedStation {
public:
    virtual ~SimulatedStation() = default;
    SimulatedStation() = default;
    SimulatedStation(const SimulatedStation&) = delete;
    SimulatedStation& operator=(const SimulatedStation&) = delete;

    /// The ECU as a bus sees it.
    [[nodiscard]] virtual sim::Node& node() = 0;

    /// Starts the ECU at its place on the bus.
    virtual void powerOn(sim::Port& port) = 0;

    /// Events of a channel so far.
    [[nodiscard]] virtual std::uint64_t eventIndex(std::uint16_t event) const = 0;

    /// Memory as the ECU's own code sees it now; empty where there is none.
    [[nodiscard]] virtual std::vector<std::uint8_t> read(std::uint32_t address, std::uint32_t size) = 0;

    /// Everything that @p part holds, whichever page is switched to.
    [[nodiscard]] virtual std::vector<std::uint8_t> content(const MemoryPart& part) = 0;

    /// Whether the ECU's own code works on the page @p part.
    [[nodiscard]] virtual bool worksOn(const MemoryPart& part) = 0;

    [[nodiscard]] virtual bool connected() const = 0;

    /// Mask of the resources that are closed.
    [[nodiscard]] virtual std::uint8_t protection() const = 0;

    /// Keys that were right so far.
    [[nodiscard]] virtual std::uint64_t unlocks() const = 0;
};

/// Makes the ECU that @p ecu describes. @throws std::invalid_argument if there can be none like it
[[nodiscard]] std::unique_ptr<SimulatedStation> makeStation(const EcuRecord& ecu);

}  // namespace host
