#include "examples/simulated_bus.h"

#include "sim/BusPort.h"
#include "sim/SeedKey.h"
#include "sim/VirtualBus.h"
#include "sim/XcpEcu.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <thread>

namespace {

sim::XcpEcuConfig ecuConfig() {
    sim::XcpEcuConfig config;
    config.masterId = 0x600;
    config.slaveId = 0x601;
    config.resources = sim::xcp::kCalPag | sim::xcp::kDaq | sim::xcp::kPgm;
    config.locks = {{.resource = sim::xcp::kCalPag, .seedLength = 4},
                    {.resource = sim::xcp::kDaq, .seedLength = 10},
                    {.resource = sim::xcp::kPgm, .seedLength = 16}};
    config.daq.events = {{.name = "10 ms", .cycle = 10}};
    config.daq.timestampSize = 0;
    config.memory = {sim::plainSegment(0x1000, 4), sim::plainSegment(0x2000, 0x40),
                     sim::plainSegment(0x8000, 0x400, sim::MemoryAccess::readOnly)};
    config.program.flash.sectors = {{.base = 0x8000, .size = 0x400}};
    config.program.flash.clearTime = 5'000'000;
    config.program.flash.programTime = 50'000;
    config.signals = {{.name = "count", .address = 0x1000}};
    return config;
}

sim::VirtualBusConfig busConfig() {
    sim::VirtualBusConfig config;
    config.spin = 0;  // frames may come late: nobody looks at their times to the microsecond
    return config;
}

/// The bus, the ECU, and the host's place on the bus.
class SimulatedBus final : public sim::Node {
public:
    explicit SimulatedBus(SimulatedBusReceive receive)
        : m_receive(receive),
          m_bus(busConfig()),
          m_ecu(ecuConfig()),
          m_ecuPort(m_bus.attach(m_ecu)),
          m_hostPort(m_bus.attach(*this)) {
        m_ecu.powerOn(*m_ecuPort);
    }

    SimulatedBus(const SimulatedBus&) = delete;
    SimulatedBus& operator=(const SimulatedBus&) = delete;
    ~SimulatedBus() override { m_ecu.powerOff(); }

    void send(const sim::Frame& frame) { m_hostPort->send(frame); }

    void onFrame(const sim::Frame& frame, sim::Time end) override {
        m_receive(frame.id, end / 1000, frame.length, frame.data.data());
    }

private:
    const SimulatedBusReceive m_receive;
    // The ports go first, then the ECU, then the bus.
    sim::VirtualBus m_bus;
    sim::XcpEcu m_ecu;
    std::unique_ptr<sim::BusPort> m_ecuPort;
    std::unique_ptr<sim::BusPort> m_hostPort;
};

std::unique_ptr<SimulatedBus> g_bus;

}  // namespace

int simulatedBusOpen(SimulatedBusReceive receive) {
    try {
        g_bus = std::make_unique<SimulatedBus>(receive);
        return 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "simulated bus: %s\n", error.what());
        return 0;
    }
}

void simulatedBusSend(uint32_t id, uint8_t length, const uint8_t* data) {
    sim::Frame frame;
    frame.id = id;
    frame.length = std::min<std::uint8_t>(length, 8);
    std::copy_n(data, frame.length, frame.data.begin());
    g_bus->send(frame);
}

void simulatedBusSleep(uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void simulatedBusKey(uint8_t resource, uint8_t seedLength, const uint8_t* seed, uint8_t* key) {
    const std::vector<std::uint8_t> made = sim::computeKey(resource, {seed, seedLength});
    std::copy(made.begin(), made.end(), key);
}

void simulatedBusClose(void) {
    g_bus.reset();
}
