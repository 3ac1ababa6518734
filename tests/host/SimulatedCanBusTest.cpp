// Simulated ECUs behind the interface of every bus, and the hub that shares a bus.

#include "host/SimulatedCanBus.h"

#include "host/BusHub.h"
#include "host/HostError.h"
#include "host/OpenBus.h"
#include "host/OwnFrames.h"
#include "tests/host/BusTesting.h"

#include <gmock/gmock.h>

namespace {

using host::BusFrame;
using host::BusHub;
using host::OwnFrames;
using host::SimulatedCanBus;
using host_test::frameOf;
using host_test::kCommandId;
using host_test::oneEcu;
using host_test::Received;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* kConnectOwn = "18DA0001#FF00 own";
constexpr const char* kConnect = "18DA0001#FF00";

sim::Frame connectFrame() {
    return frameOf(kCommandId, {0xFF, 0}).frame;
}

TEST(SimulatedCanBus, OwnFrameAndAnswerComeInTheOrderOfTheBus) {
    Received received;
    SimulatedCanBus bus(oneEcu(), 0, received.receiver());
    ASSERT_TRUE(bus.send(connectFrame()));
    const auto texts = received.waitFor(2);
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0], kConnectOwn);
    EXPECT_THAT(texts[1], HasSubstr("18DA0002#FF"));
    EXPECT_LT(received.frames()[0].timeUs, received.frames()[1].timeUs);
    EXPECT_EQ(bus.failure(), "");
}

TEST(SimulatedCanBus, BurstOfBlockTransferIsSentWhole) {
    Received received;
    SimulatedCanBus bus(oneEcu(), 0, received.receiver());
    for (unsigned i = 0; i < 600; ++i) {
        ASSERT_TRUE(bus.send(frameOf(0x10000000, {static_cast<std::uint8_t>(i)}).frame)) << bus.failure();
    }
    const auto texts = received.waitFor(600);
    ASSERT_EQ(texts.size(), 600U);
    EXPECT_EQ(texts[599], "10000000#57 own");
}

TEST(SimulatedCanBus, CanFdOnAClassicBusTakesItDownByName) {
    SimulatedCanBus bus(oneEcu(), 0, [](const BusFrame&) {});
    sim::Frame frame = connectFrame();
    frame.fd = true;
    EXPECT_FALSE(bus.send(frame));
    EXPECT_EQ(bus.failure(), "bus main (sim:): frame 18DA0001 with 2 bytes cannot be sent on this bus");
    EXPECT_FALSE(bus.send(connectFrame()));
}

TEST(OpenBus, SimGivesTheSimulation) {
    Received received;
    const auto bus = host::openBus("sim:", oneEcu(), 0, host::BusScope::ecus, received.receiver());
    ASSERT_TRUE(bus->send(connectFrame()));
    EXPECT_EQ(received.waitFor(2).size(), 2U);
}

TEST(OpenBus, BadUrlIsNamedWithTheBus) {
    try {
        static_cast<void>(host::openBus("pcan:1", oneEcu(), 0, host::BusScope::ecus, [](const BusFrame&) {}));
        ADD_FAILURE() << "opened";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.code(), host::ExitCode::usage);
        EXPECT_THAT(error.what(), HasSubstr("bus main: bus \"pcan:1\": there is no such kind of bus"));
    }
}

TEST(OpenBus, SimulationIsNoBusOutside) {
    try {
        static_cast<void>(host::openOutsideBus("sim:", oneEcu(), 0, [](const BusFrame&) {}));
        ADD_FAILURE() << "opened";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.code(), host::ExitCode::usage);
    }
}

TEST(OwnFrames, FrameIsKnownAgainWithThePaddingOfCanFd) {
    OwnFrames frames;
    sim::Frame frame = connectFrame();
    frame.fd = true;
    frame.length = 9;
    frame.data[20] = 0xEE;  // behind the length, so that it does not count
    frames.add(frame, 5);
    sim::Frame wire = connectFrame();
    wire.fd = true;
    wire.length = 12;
    EXPECT_EQ(frames.take(wire), 5U);
    EXPECT_EQ(frames.take(wire), std::nullopt);
}

TEST(OwnFrames, ClassicFrameIsNotPadded) {
    OwnFrames frames;
    frames.add(frameOf(kCommandId, {0xFF}).frame, 5);
    EXPECT_EQ(frames.take(connectFrame()), std::nullopt);
    EXPECT_EQ(frames.take(frameOf(kCommandId, {0xFF}).frame), 5U);
}

TEST(OwnFrames, EqualFramesComeInTheOrderOfTheirSending) {
    OwnFrames frames;
    frames.add(connectFrame(), 1);
    frames.add(frameOf(kCommandId, {0xFE}).frame, 2);
    frames.add(connectFrame(), 3);
    EXPECT_EQ(frames.take(connectFrame()), 1U);
    EXPECT_EQ(frames.take(connectFrame()), 3U);
    EXPECT_EQ(frames.take(connectFrame()), std::nullopt);
    EXPECT_EQ(frames.size(), 1U);
}

TEST(OwnFrames, AnotherFrameIsNotTakenForIt) {
    OwnFrames frames;
    frames.add(connectFrame(), 1);
    sim::Frame other = connectFrame();
    other.extended = false;
    EXPECT_FALSE(frames.take(other));
    other = connectFrame();
    other.data[1] = 1;
    EXPECT_FALSE(frames.take(other));
    other = connectFrame();
    other.length = 1;
    EXPECT_FALSE(frames.take(other));
}

TEST(BusHub, EachMemberGetsTheFramesOfTheOthersWithTheTimeOfDay) {
    Received first;
    Received second;
    BusHub hub(false, 1'000'000'000);
    SimulatedCanBus bus(oneEcu(), 0, [&hub](const BusFrame& frame) { hub.take(frame); });
    hub.connect(bus);
    const BusHub::Member sender = hub.join(first.receiver());
    const BusHub::Member listener = hub.join(second.receiver());
    ASSERT_TRUE(hub.send(sender, connectFrame()));
    const auto heard = second.waitFor(2);
    ASSERT_EQ(heard.size(), 2U);
    EXPECT_EQ(heard[0], kConnect);
    EXPECT_GE(second.frames()[0].timeUs, 1'000'000'000U);
    EXPECT_THAT(first.waitFor(1), ElementsAre(heard[1]));
    hub.leave(sender);
    hub.leave(listener);
}

TEST(BusHub, ClassicBusCarriesNoCanFd) {
    sim::Frame frame;
    frame.fd = true;
    EXPECT_FALSE(BusHub(false, 0).carries(frame));
    EXPECT_TRUE(BusHub(true, 0).carries(frame));
}

TEST(BusHub, WithoutABusNothingIsSent) {
    BusHub hub(false, 0);
    EXPECT_FALSE(hub.send(1, connectFrame()));
}

}  // namespace
