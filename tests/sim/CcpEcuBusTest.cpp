// Simulated CCP ECUs on a simulated bus, with the threads that brings.
#include "sim/BusPort.h"
#include "sim/VirtualBus.h"
#include "tests/sim/BusTestSupport.h"
#include "tests/sim/CcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

/// A master with a port of its own on a bus as fast as the machine goes.
struct Net {
    Net() : bus(config()), port(bus.attach(master)) {}

    static VirtualBusConfig config() {
        VirtualBusConfig config;
        config.rates = {500'000, 500'000};
        config.pace = Pace::Fast;
        config.limit = 0;
        return config;
    }

    /// Sends a command and waits for the next frame on the bus; its text.
    std::string ask(const std::string& command) {
        const std::size_t before = master.frames().size();
        port->send(frameOf(0x700, command));
        bus.setLimit(bus.now() + kMs);
        return master.received(before + 1) ? textOf(master.frames()[before]) : "nothing";
    }

    Listener master;
    VirtualBus bus;
    std::unique_ptr<BusPort> port;
};

CcpEcuConfig station(std::uint16_t address, std::uint32_t dtoId) {
    CcpEcuConfig config = smallCcpEcu();
    config.stationAddress = address;
    config.dtoId = dtoId;
    Signal counter;
    counter.address = 0x1000;
    config.signals = {counter};
    return config;
}

TEST(CcpEcusOnABus, MeasureSideBySideOnOneCommandIdentifier) {
    Net net;
    CcpEcu first(station(1, 0x701));
    CcpEcu second(station(2, 0x702));
    const auto firstPort = net.bus.attach(first);
    const auto secondPort = net.bus.attach(second);
    first.powerOn(*firstPort);
    second.powerOn(*secondPort);
    for (const char* connect : {"01 00 01 00", "01 00 02 00"}) {
        for (const char* command :
             {connect, "15 00 00 00 00", "16 00 04 00 00 10 00 00", "06 00 01 00 00 00 01 00"}) {
            ASSERT_EQ(net.ask(command).substr(0, 5), "ff 00") << command;
        }
    }
    const std::size_t setUp = net.master.frames().size();
    net.bus.setLimit(1000 * kMs + kMs);
    ASSERT_TRUE(net.bus.waitUntil(1000 * kMs + kMs, kPatience));
    std::map<std::uint32_t, std::uint32_t> next{{0x701, 1}, {0x702, 1}};
    const std::vector<Frame> frames = net.master.frames();
    for (std::size_t i = setUp; i < frames.size(); ++i) {
        const auto value =
            static_cast<std::uint32_t>(getNumber({frames[i].data.data() + 1, 4}, ByteOrder::intel));
        EXPECT_EQ(value, next[frames[i].id]++) << "no gap in the counter of " << frames[i].id;
    }
    EXPECT_EQ(next[0x701], 101U);
    EXPECT_EQ(next[0x702], 101U);
}

TEST(CcpEcusOnABus, MayBeReadWrittenAndDisturbedWhileItRuns) {
    Net net;
    CcpEcu ecu(station(1, 0x701));
    auto port = net.bus.attach(ecu);
    ecu.powerOn(*port);
    for (const char* command :
         {"01 00 01 00", "15 00 00 00 00", "16 00 04 00 00 10 00 00", "06 00 01 00 00 00 01 00"}) {
        ASSERT_EQ(net.ask(command).substr(0, 5), "ff 00") << command;
    }
    net.bus.setLimit(10'000 * kMs + kMs);
    std::size_t events = 0;
    while (net.bus.now() < 10'000 * kMs) {
        EXPECT_EQ(ecu.read(0x1000, 0, 4).size(), 4U);
        EXPECT_TRUE(ecu.write(0x1010, 0, bytesOf("01 02")));
        EXPECT_TRUE(ecu.connected() && ecu.daqRunning());
        EXPECT_EQ(ecu.protection(), 0);
        EXPECT_EQ(ecu.sessionStatus(), 0);
        EXPECT_TRUE(ecu.activePage());
        if (events < 100) {
            ecu.inject({.kind = EcuFaultKind::event, .code = 0x01});
            ++events;
        }
    }
    net.bus.setLimit(10'005 * kMs);
    ASSERT_TRUE(net.master.received(4U + 1000U + events)) << "answers, packets and events";
    EXPECT_EQ(ecu.counters().dtos, 1000U);
    EXPECT_EQ(ecu.eventIndex(0), 1000U);
    ecu.powerOff();
    port.reset();
}

}  // namespace
}  // namespace sim::test
