// What `talvex sim` is asked to do.

#include "host/SimPlan.h"

#include "host/HostError.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host::SimOptions;
using ::testing::ElementsAre;

host::Config twoBuses() {
    host::Config config;
    config.file = "car.toml";
    for (const char* name : {"powertrain", "chassis"}) {
        host::BusRecord bus;
        bus.name = name;
        config.buses.push_back(bus);
    }
    return config;
}

std::string refusal(const SimOptions& options) {
    try {
        static_cast<void>(planSim(options, twoBuses()));
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.code(), host::ExitCode::usage);
        return error.what();
    }
    return "taken";
}

SimOptions bridged(const std::string& bridge) {
    SimOptions options;
    options.bridges = {bridge};
    return options;
}

TEST(SimPlan, ServerGetsAllBuses) {
    SimOptions options;
    options.listen = "127.0.0.1:0";
    const host::SimPlan plan = planSim(options, twoBuses());
    EXPECT_THAT(plan.buses, ElementsAre(0U, 1U));
    EXPECT_EQ(plan.listen->text(), "127.0.0.1:0");
}

TEST(SimPlan, PortHasADefault) {
    SimOptions options;
    options.listen = "::1";
    EXPECT_EQ(refusal(options), "--listen ::1: it takes HOST:PORT, such as 127.0.0.1:29536");
    options.listen = "[::1]";
    EXPECT_EQ(planSim(options, twoBuses()).listen->text(), "[::1]:29536");
}

TEST(SimPlan, BridgeNamesABusAndAnUrl) {
    const host::SimPlan plan = planSim(bridged("chassis=socketcan:vcan0"), twoBuses());
    ASSERT_EQ(plan.bridges.size(), 1U);
    EXPECT_EQ(plan.bridges[0].bus, 1U);
    EXPECT_EQ(plan.bridges[0].url, "socketcan:vcan0");
}

TEST(SimPlan, OnlyTheNamedBusIsSimulated) {
    SimOptions options;
    options.listen = "127.0.0.1:0";
    options.busNames = {"chassis"};
    EXPECT_THAT(planSim(options, twoBuses()).buses, ElementsAre(1U));
}

TEST(SimPlan, WithoutAWayToTheEcusThereIsNothingToDo) {
    EXPECT_EQ(refusal(SimOptions()),
              "sim: nobody could talk to the ECUs; give --listen HOST:PORT, or --bus NAME=URL, or both");
}

TEST(SimPlan, MistakesAreNamedWithWhatIsAllowed) {
    EXPECT_EQ(refusal(bridged("vcan0")),
              "--bus vcan0: it takes NAME=URL, such as powertrain=socketcan:vcan0");
    EXPECT_EQ(refusal(bridged("body=socketcan:vcan0")),
              "--bus: car.toml has no bus \"body\"; it has powertrain, chassis");
    EXPECT_EQ(refusal(bridged("chassis=sim:")),
              "--bus chassis=sim:: the bus is simulated already; it is bridged to socketcan:INTERFACE or "
              "socketcand://HOST:PORT/BUS");
    EXPECT_EQ(refusal(bridged("chassis=can0")),
              "bus \"can0\": there is no such kind of bus; allowed are sim:, socketcan:INTERFACE and "
              "socketcand://HOST[:PORT]/BUS");
    SimOptions options = bridged("chassis=socketcan:vcan0");
    options.busNames = {"powertrain"};
    EXPECT_EQ(refusal(options), "--bus chassis=socketcan:vcan0: --bus-name leaves this bus out");
    options.busNames = {"body"};
    EXPECT_EQ(refusal(options), "--bus-name: car.toml has no bus \"body\"; it has powertrain, chassis");
}

}  // namespace
