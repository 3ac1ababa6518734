#include "host/BusSet.h"

#include "host/HostError.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

using host::ExitCode;

host::Config withBuses(const std::vector<std::string>& names) {
    host::Config config;
    config.file = "car.toml";
    for (const std::string& name : names) {
        host::BusRecord bus;
        bus.name = name;
        config.buses.push_back(bus);
    }
    return config;
}

void expectUsage(host::Config config, const std::string& url, const std::string& message) {
    try {
        host::overrideUrls(config, {url});
        ADD_FAILURE() << "taken";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.code(), ExitCode::usage);
        EXPECT_EQ(std::string(error.what()), message);
    }
}

TEST(OverrideUrls, NamedBusGetsTheUrl) {
    host::Config config = withBuses({"powertrain", "chassis"});
    host::overrideUrls(config, {"chassis=socketcan:can1"});
    EXPECT_EQ(config.buses[0].url, "sim:");
    EXPECT_EQ(config.buses[1].url, "socketcan:can1");
}

TEST(OverrideUrls, OnlyBusNeedsNoName) {
    host::Config config = withBuses({"powertrain"});
    host::overrideUrls(config, {"socketcand://localhost/can0"});
    EXPECT_EQ(config.buses[0].url, "socketcand://localhost/can0");
}

TEST(OverrideUrls, OneOfSeveralBusesNeedsAName) {
    expectUsage(
        withBuses({"powertrain", "chassis"}), "socketcan:can0",
        "--bus socketcan:can0: car.toml has several buses; give NAME=URL with NAME one of powertrain, "
        "chassis");
}

TEST(OverrideUrls, UnknownNameIsRefusedWithThoseThatThereAre) {
    expectUsage(withBuses({"powertrain", "chassis"}), "body=socketcan:can0",
                "--bus: car.toml has no bus \"body\"; it has powertrain, chassis");
}

TEST(BusFrame, FlagsOfTheLibraryBecomeThoseOfTheBus) {
    const std::array<std::uint8_t, 3> bytes{1, 2, 3};
    const sim::Frame frame = host::busFrame({0, 0x18DA10F1, 0x07, 3, bytes.data()});
    EXPECT_EQ(frame.id, 0x18DA10F1U);
    EXPECT_TRUE(frame.extended);
    EXPECT_TRUE(frame.fd);
    EXPECT_TRUE(frame.brs);
    EXPECT_EQ(frame.length, 3);
    EXPECT_EQ(frame.data[2], 3);
    EXPECT_EQ(frame.data[3], 0);
}

TEST(BusFrame, WithoutFlagsItIsAClassicOne) {
    const std::array<std::uint8_t, 8> bytes{};
    const sim::Frame frame = host::busFrame({0, 0x600, 0, 8, bytes.data()});
    EXPECT_FALSE(frame.extended || frame.fd || frame.brs);
    EXPECT_EQ(frame.length, 8);
}

}  // namespace
