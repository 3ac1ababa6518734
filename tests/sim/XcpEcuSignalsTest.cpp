// Signals as a master sees them: polled and measured.
#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

Signal counterAt(std::uint32_t address, std::uint16_t event, SignalType type) {
    Signal signal;
    signal.address = address;
    signal.event = event;
    signal.type = type;
    return signal;
}

/// Fast counter of 16 bits at 0x1000, slow counter of 8 bits at 0x1002, text at 0x1010.
XcpEcuConfig movingEcu() {
    XcpEcuConfig config = smallEcu();
    Signal text = counterAt(0x1010, 0, SignalType::u8);
    text.kind = SignalKind::stateMachine;
    text.texts = {"INIT", "RUN", "STOP"};
    text.length = 2;
    config.signals = {counterAt(0x1000, 0, SignalType::u16), counterAt(0x1002, 1, SignalType::u8), text};
    return config;
}

TEST(XcpEcuSignals, StandInMemoryFromTheStart) {
    XcpEcuConfig config = movingEcu();
    config.signals[0].phase = 0x1234;
    Session bench(config);
    EXPECT_EQ(bench.ask("f4 03 00 00 00 10 00 00"), "ff 34 12 00");
}

TEST(XcpEcuSignals, MoveWithTheTimeOfTheEcuWithoutAnyTimer) {
    Session bench(movingEcu());
    bench.pass(10 * kMs - 1);
    EXPECT_EQ(bench.ask("f4 03 00 00 00 10 00 00"), "ff 00 00 00");
    bench.pass(1);
    EXPECT_EQ(bench.ask("f4 03 00 00 00 10 00 00"), "ff 01 00 00");
    bench.pass(195 * kMs);
    EXPECT_EQ(bench.ask("f4 03 00 00 00 10 00 00"), "ff 14 00 02");
    EXPECT_EQ(bench.ecu.eventIndex(0), 20U);
    EXPECT_EQ(bench.ecu.eventIndex(1), 2U);
    EXPECT_EQ(bench.ecu.eventIndex(2), 0U);
    EXPECT_EQ(textOf(bench.ecu.read(0x1000, 0, 2)), "14 00");
    EXPECT_EQ(bench.port.pendingTimers(), 0U);
}

TEST(XcpEcuSignals, ChangeJustBeforeTheyAreSampled) {
    Session bench(movingEcu());
    ASSERT_EQ(bench.setUp({"d6", "d5 00 01 00", "d4 00 00 00 01", "d3 00 00 00 00 01", "e2 00 00 00 00 00",
                           "e1 ff 03 00 00 10 00 00", "e0 00 00 00 00 00 01 00", "de 01 00 00"}),
              "");
    EXPECT_EQ(bench.pass(20 * kMs), "00 01 00 00 | 00 02 00 00");
    bench.pass(70 * kMs);
    EXPECT_EQ(bench.pass(10 * kMs), "00 0a 00 01");
}

TEST(XcpEcuSignals, OfEveryKindAreMeasuredAsTheirEventNumberSays) {
    XcpEcuConfig config = movingEcu();
    config.fd = true;
    config.maxDto = 32;
    config.daq.maxEntrySize = 31;
    Signal sine = counterAt(0x1040, 0, SignalType::f32);
    sine.kind = SignalKind::sine;
    sine.amplitude = 5.0;
    sine.length = 7;
    config.signals.push_back(sine);
    Session bench(config);
    ASSERT_EQ(bench.setUp({"d6", "d5 00 01 00", "d4 00 00 00 01", "d3 00 00 00 00 02", "e2 00 00 00 00 00",
                           "e1 ff 11 00 10 10 00 00", "e1 ff 04 00 40 10 00 00", "e0 00 00 00 00 00 01 00",
                           "de 01 00 00"}),
              "");
    bench.pass(100 * kMs);
    ASSERT_EQ(bench.port.sent.size(), 10U);
    for (std::size_t i = 0; i < 10; ++i) {
        const std::string expected = "00 " + textOf(signalBytes(config.signals[2], i + 1)) + " " +
                                     textOf(signalBytes(sine, i + 1)) + " 00 00";
        EXPECT_EQ(textOf(bench.port.sent[i]), expected) << i;
    }
}

TEST(XcpEcuSignals, OfAnEcuThatIsSwitchedOnLaterCountFromThere) {
    FakePort port;
    XcpEcu ecu(movingEcu());
    port.runUntil(55 * kMs);
    ecu.powerOn(port);
    port.runUntil(66 * kMs);
    EXPECT_EQ(ecu.eventIndex(0), 1U);
    EXPECT_EQ(textOf(ecu.read(0x1000, 0, 2)), "01 00");
}

}  // namespace
}  // namespace sim::test
