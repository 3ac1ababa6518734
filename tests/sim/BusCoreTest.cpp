#include "sim/BusCore.h"

#include "tests/sim/BusTestSupport.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace sim {
namespace {

constexpr BitRates k500k{500'000, 2'000'000};
constexpr BitRates k1M8M{1'000'000, 8'000'000};

/// A bus with three ports, without faults and stuff bits.
class BusCoreTest : public ::testing::Test {
protected:
    /// Lets everything happen up to @p limit; the identifiers of the frames in their order.
    std::vector<std::uint32_t> ids(Time limit = kNever) {
        std::vector<std::uint32_t> all;
        while (const std::optional<BusEvent> event = step(limit)) {
            all.push_back(event->frame.id);
        }
        return all;
    }

    std::vector<Time> times() {
        std::vector<Time> all;
        while (const std::optional<BusEvent> event = step()) {
            all.push_back(event->time);
        }
        return all;
    }

    std::optional<BusEvent> step(Time limit = kNever) {
        std::optional<BusEvent> event = bus.step(limit);
        if (event && event->kind == BusEvent::Kind::Timer) {
            event->action();
        }
        return event;
    }

    BusCore bus{k500k, Stuffing::None, 1};
    PortNumber a = bus.attach();
    PortNumber b = bus.attach();
    PortNumber c = bus.attach();
};

TEST_F(BusCoreTest, NumbersPortsFromOne) {
    EXPECT_EQ(1U, a);
    EXPECT_EQ(2U, b);
    EXPECT_EQ(3U, c);
}

TEST_F(BusCoreTest, AnIdleBusHasNothingToDo) {
    EXPECT_EQ(std::nullopt, bus.next());
    EXPECT_FALSE(bus.step());
    EXPECT_EQ(0U, bus.now());
}

TEST_F(BusCoreTest, AFrameEndsAfterItsBits) {
    bus.send(a, classic(0x123, {1, 2, 3, 4, 5, 6, 7, 8}));
    const std::optional<BusEvent> event = bus.step();
    ASSERT_TRUE(event);
    EXPECT_EQ(BusEvent::Kind::Frame, event->kind);
    EXPECT_EQ(a, event->port);
    EXPECT_EQ(222'000U, event->time);
    EXPECT_EQ(222'000U, bus.now());
    EXPECT_EQ(0x123U, event->frame.id);
    EXPECT_EQ(8, event->frame.data[7]);
}

TEST_F(BusCoreTest, StepsNoFurtherThanTheLimit) {
    bus.send(a, classic(1, bytes(8)));
    EXPECT_FALSE(bus.step(221'999));
    EXPECT_EQ(222'000U, bus.next());
    EXPECT_TRUE(bus.step(222'000));
}

TEST_F(BusCoreTest, AFrameArrivesAtItsTime) {
    bus.send(a, classic(1, bytes(8)), 1'000'000);
    EXPECT_EQ(1'000'000U, bus.next());
    EXPECT_EQ((std::vector<Time>{1'222'000}), times());
}

TEST_F(BusCoreTest, TheLowestIdentifierOfThoseThatWaitWins) {
    bus.send(a, classic(0x300));
    bus.send(b, classic(0x200));
    bus.send(c, classic(0x100));
    EXPECT_EQ((std::vector<std::uint32_t>{0x100, 0x200, 0x300}), ids());
}

TEST_F(BusCoreTest, AFrameOnTheWireIsNotInterrupted) {
    bus.send(a, classic(0x300), 0);
    bus.send(b, classic(0x200), 2'000);
    bus.send(c, classic(0x100), 93'999);
    EXPECT_EQ((std::vector<std::uint32_t>{0x300, 0x100, 0x200}), ids());
}

TEST_F(BusCoreTest, AFrameThatArrivesAsTheBusGetsIdleTakesPart) {
    bus.send(a, classic(0x300), 0);
    bus.send(b, classic(0x200), 0);
    bus.send(c, classic(0x100), 188'000);
    bus.send(a, classic(0x400), 10);
    EXPECT_EQ((std::vector<std::uint32_t>{0x200, 0x300, 0x100, 0x400}), ids());
}

TEST_F(BusCoreTest, AnAnswerGivenAtOnceTakesPartInTheNextArbitration) {
    bus.send(a, classic(0x100));
    bus.send(a, classic(0x300));
    ASSERT_TRUE(bus.step());
    bus.send(b, classic(0x200));
    EXPECT_EQ((std::vector<std::uint32_t>{0x200, 0x300}), ids());
}

TEST_F(BusCoreTest, AStandardFrameBeatsAnExtendedOneOfTheSameBase) {
    bus.send(a, extended(0x123U << 18U));
    bus.send(b, classic(0x123));
    EXPECT_EQ((std::vector<std::uint32_t>{0x123, 0x123U << 18U}), ids());
}

TEST_F(BusCoreTest, AnExtendedFrameOfALowerBaseBeatsAStandardOne) {
    bus.send(a, classic(0x123));
    bus.send(b, extended((0x122U << 18U) | 0x3'FFFF));
    EXPECT_EQ((std::vector<std::uint32_t>{(0x122U << 18U) | 0x3'FFFF, 0x123}), ids());
}

TEST_F(BusCoreTest, ExtendedFramesOfOneBaseCompeteByTheirFurtherBits) {
    bus.send(a, extended((0x123U << 18U) | 2));
    bus.send(b, extended((0x123U << 18U) | 1));
    EXPECT_EQ((std::vector<std::uint32_t>{(0x123U << 18U) | 1, (0x123U << 18U) | 2}), ids());
}

TEST_F(BusCoreTest, FramesOfOneIdentifierStayInOrder) {
    for (std::uint8_t i = 0; i < 100; ++i) {
        bus.send(a, classic(0x100, {i}));
    }
    for (std::uint8_t i = 0; i < 100; ++i) {
        const std::optional<BusEvent> event = bus.step();
        ASSERT_TRUE(event);
        EXPECT_EQ(i, event->frame.data[0]);
    }
}

TEST_F(BusCoreTest, AFrameDoesNotArriveAheadOfAnEarlierOneOfItsPort) {
    bus.send(a, classic(0x100, {1}), 5'000);
    bus.send(a, classic(0x100, {2}), 1'000);
    ASSERT_TRUE(bus.next());
    EXPECT_EQ(5'000U, *bus.next());
    EXPECT_EQ(1, bus.step()->frame.data[0]);
    EXPECT_EQ(2, bus.step()->frame.data[0]);
}

TEST_F(BusCoreTest, TwoBusySendersShareTheBusInExactTime) {
    for (int i = 0; i < 500; ++i) {
        bus.send(a, classic(0x100, bytes(8)));
        bus.send(b, extended(0x200, bytes(8)));
    }
    const std::vector<Time> ends = times();
    ASSERT_EQ(1000U, ends.size());
    EXPECT_EQ(500U * 222'000 + 500U * 262'000, ends.back());
    EXPECT_EQ(500U, bus.counters().framesByPort[a - 1]);
    EXPECT_EQ(500U, bus.counters().framesByPort[b - 1]);
    EXPECT_EQ(100.0, bus.counters().loadPercent());
}

TEST_F(BusCoreTest, PadsFdFramesWithZerosToTheNextLength) {
    Frame frame = fd(0x100, bytes(9, 0xAA));
    frame.data[9] = 0xBB;
    frame.data[63] = 0xCC;
    bus.send(a, frame);
    const std::optional<BusEvent> event = bus.step();
    ASSERT_TRUE(event);
    EXPECT_EQ(12, event->frame.length);
    EXPECT_EQ(0xAA, event->frame.data[8]);
    EXPECT_EQ(0, event->frame.data[9]);
    EXPECT_EQ(0, event->frame.data[63]);
    EXPECT_EQ(12U, bus.counters().dataBytes);
}

TEST_F(BusCoreTest, CountsRefusedFramesAndDoesNotSendThem) {
    bus.send(a, classic(0x100, bytes(9)));
    bus.send(a, fd(0x100, bytes(65)));
    bus.send(a, classic(0x800));
    EXPECT_FALSE(bus.step());
    EXPECT_EQ(3U, bus.counters().rejected);
    EXPECT_EQ(0U, bus.counters().frames);
}

TEST_F(BusCoreTest, TimersAndFramesHappenInTheOrderOfTime) {
    std::vector<int> order;
    bus.at(b, 94'001, [&] { order.push_back(3); });
    bus.at(b, 93'999, [&] { order.push_back(1); });
    bus.send(a, classic(1));
    while (const std::optional<BusEvent> event = step()) {
        if (event->kind == BusEvent::Kind::Frame) {
            EXPECT_EQ(94'000U, event->time);
            order.push_back(2);
        }
    }
    EXPECT_EQ((std::vector<int>{1, 2, 3}), order);
}

TEST_F(BusCoreTest, AFrameEndsAheadOfATimerOfTheSameTime) {
    bus.at(b, 94'000, [] {});
    bus.send(a, classic(1));
    EXPECT_EQ(BusEvent::Kind::Frame, bus.step()->kind);
    EXPECT_EQ(BusEvent::Kind::Timer, bus.step()->kind);
}

TEST_F(BusCoreTest, WhatATimerSendsTakesPartInTheArbitrationOfItsTime) {
    bus.send(a, classic(0x100));
    bus.send(a, classic(0x300));
    bus.at(b, 94'000, [&] { bus.send(b, classic(0x200)); });
    EXPECT_EQ((std::vector<std::uint32_t>{0x100, 0, 0x200, 0x300}), ids());
}

TEST_F(BusCoreTest, TimersOfOneTimeFireInTheOrderOfTheCalls) {
    std::vector<int> order;
    for (int i = 0; i < 10; ++i) {
        bus.at(a, 1'000, [&order, i] { order.push_back(i); });
    }
    times();
    EXPECT_EQ((std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), order);
}

TEST_F(BusCoreTest, ATimerWhoseTimeHasPassedFiresNow) {
    bus.at(a, 5'000, [&] { bus.at(a, 1'000, [] {}); });
    EXPECT_EQ((std::vector<Time>{5'000, 5'000}), times());
}

TEST_F(BusCoreTest, ACancelledTimerDoesNotFire) {
    const TimerId first = bus.at(a, 1'000, [] { FAIL(); });
    bus.at(a, 2'000, [] {});
    bus.cancel(first);
    EXPECT_EQ((std::vector<Time>{2'000}), times());
}

TEST_F(BusCoreTest, CancellingWhatIsNoTimerIsIgnored) {
    const TimerId fired = bus.at(a, 1'000, [] {});
    times();
    int calls = 0;
    bus.at(a, 2'000, [&] { ++calls; });  // takes the place of the one that fired
    bus.cancel(fired);
    bus.cancel(0);
    bus.cancel(~TimerId{0});
    times();
    EXPECT_EQ(1, calls);
}

TEST_F(BusCoreTest, TimersThatAreSetAndCancelledAllTheTimeDoNotDisturbTheOthers) {
    int calls = 0;
    for (Time i = 0; i < 1000; ++i) {
        const TimerId timeOut = bus.at(a, 10'000'000 + i, [] { FAIL(); });
        bus.at(a, i, [&] { ++calls; });
        bus.cancel(timeOut);
    }
    EXPECT_EQ(1000U, times().size());
    EXPECT_EQ(1000, calls);
    EXPECT_EQ(999U, bus.now());
}

TEST_F(BusCoreTest, ADetachedPortLeavesNoFrameAndNoTimer) {
    bus.send(a, classic(0x100));
    bus.send(b, classic(0x200));
    bus.send(a, classic(0x300), 1'000);
    bus.at(a, 1'000, [] { FAIL(); });
    bus.detach(a);
    EXPECT_EQ((std::vector<std::uint32_t>{0x200}), ids());
}

TEST_F(BusCoreTest, AFrameOnTheWireCompletesThoughItsPortIsDetached) {
    bus.send(a, classic(0x100));
    EXPECT_FALSE(bus.step(1'000));
    bus.detach(a);
    EXPECT_EQ((std::vector<std::uint32_t>{0x100}), ids());
}

TEST_F(BusCoreTest, CountsFramesBytesBitsAndTime) {
    bus.send(a, classic(0x100, bytes(8)));
    bus.send(b, fd(0x200, bytes(64)));
    times();
    const BusCounters counters = bus.counters();
    EXPECT_EQ(2U, counters.frames);
    EXPECT_EQ(72U, counters.dataBytes);
    EXPECT_EQ(111U + 579U, counters.bits);
    EXPECT_EQ(222'000U + 333'000U, counters.busy);
    EXPECT_EQ(555'000U, counters.now);
    EXPECT_EQ((std::vector<std::uint64_t>{1, 1, 0}), counters.framesByPort);
}

TEST_F(BusCoreTest, TheLoadIsThatOfTheWholeRunOrSinceASnapshot) {
    EXPECT_EQ(0.0, bus.counters().loadPercent());
    bus.send(a, classic(0x100, bytes(8)));
    times();
    bus.advanceTo(888'000);
    const BusCounters earlier = bus.counters();
    EXPECT_EQ(25.0, earlier.loadPercent());
    EXPECT_EQ(0.0, earlier.loadPercentSince(earlier));
    bus.send(a, classic(0x100, bytes(8)));
    times();
    bus.advanceTo(888'000 + 444'000);
    EXPECT_EQ(50.0, bus.counters().loadPercentSince(earlier));
}

TEST_F(BusCoreTest, TheLoadCountsTheFrameOnTheWire) {
    bus.at(b, 100'000, [] {});
    bus.send(a, classic(0x100, bytes(8)));
    ASSERT_TRUE(step());
    EXPECT_EQ(100'000U, bus.counters().busy);
    EXPECT_EQ(150'000U, bus.counters(150'000).busy);
    EXPECT_EQ(222'000U, bus.counters(300'000).busy);
}

TEST(BusCoreStuffing, LengthensFramesByTheStuffBitsOfItsKind) {
    const std::pair<Stuffing, Time> rows[] = {
        {Stuffing::None, 111'000}, {Stuffing::Actual, 127'000}, {Stuffing::Worst, 135'000}};
    for (const auto& [stuffing, end] : rows) {
        BusCore bus(k1M8M, stuffing, 1);
        bus.send(bus.attach(), classic(0, bytes(8)));
        EXPECT_EQ(end, bus.step()->time);
    }
}

// A frame takes 29 µs and 97 thirds of a µs. Four of them are 245'333.33 ns, not four times 61'333.
TEST(BusCoreTime, AddsUpThePicosecondsOfFramesInARow) {
    BusCore bus({1'000'000, 3'000'000}, Stuffing::None, 1);
    const PortNumber port = bus.attach();
    for (int i = 0; i < 4; ++i) {
        bus.send(port, fd(1, bytes(8)));
    }
    Time end = 0;
    while (const std::optional<BusEvent> event = bus.step()) {
        end = event->time;
    }
    EXPECT_EQ(245'333U, end);
}

TEST(BusCoreTime, RefusesABitRateOfZero) {
    EXPECT_THROW(BusCore({0, 1}, Stuffing::None, 1), std::invalid_argument);
    EXPECT_THROW(BusCore({1, 0}, Stuffing::None, 1), std::invalid_argument);
}

// A bus that is full for as long as the table of frames per second counts.
TEST(BusCoreTime, AFullBusCarriesTheFramesOfASecond) {
    BusCore bus(k1M8M, Stuffing::Worst, 1);
    const PortNumber port = bus.attach();
    for (int i = 0; i < 22'000; ++i) {
        bus.send(port, fd(1, bytes(8)));
    }
    std::uint64_t frames = 0;
    while (bus.step(1'000'000'000)) {
        ++frames;
    }
    EXPECT_EQ(21'680U, frames);
}

}  // namespace
}  // namespace sim
