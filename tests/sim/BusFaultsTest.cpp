#include "sim/BusFaults.h"

#include "sim/BusCore.h"
#include "tests/sim/BusTestSupport.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace sim {
namespace {

constexpr BitRates kRates{1'000'000, 1'000'000};
constexpr std::uint64_t kSeed = 4711;

/// One line per frame that got onto the wire.
struct Seen {
    PortNumber port;
    Time end;
    std::uint8_t first;
    friend bool operator==(const Seen&, const Seen&) = default;
};

std::vector<Seen> runToEnd(BusCore& bus) {
    std::vector<Seen> seen;
    while (const std::optional<BusEvent> event = bus.step()) {
        seen.push_back({event->port, event->time, event->frame.data[0]});
    }
    return seen;
}

/// Port 1 sends @p count frames with one data byte 0x55, 1 ms apart.
std::vector<Seen> sendAll(BusCore& bus, const FaultRates& rates, int count) {
    const PortNumber port = bus.attach();
    bus.faults().setRates(rates);
    for (int i = 0; i < count; ++i) {
        bus.send(port, classic(1, {0x55}), static_cast<Time>(i) * 1'000'000);
    }
    return runToEnd(bus);
}

TEST(BusFaults, TellsItsSeed) {
    EXPECT_EQ(kSeed, BusFaults(kSeed).seed());
}

TEST(BusFaults, DoesNothingUnlessTold) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    EXPECT_EQ(100U, sendAll(bus, {}, 100).size());
    EXPECT_EQ(0U, bus.counters().dropped);
    EXPECT_EQ(0U, bus.counters().delayed);
    EXPECT_EQ(0U, bus.counters().duplicated);
    EXPECT_EQ(0U, bus.counters().corrupted);
}

TEST(BusFaults, ADroppedFrameNeverGetsToTheWire) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    FaultRates rates;
    rates.drop = 1;
    rates.duplicate = 1;
    EXPECT_TRUE(sendAll(bus, rates, 3).empty());
    EXPECT_EQ(3U, bus.counters().dropped);
    EXPECT_EQ(0U, bus.counters().duplicated);
    EXPECT_EQ(0U, bus.counters().bits);
}

TEST(BusFaults, ADelayedFrameIsOfferedLater) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    FaultRates rates;
    rates.delay = 1;
    rates.delayBy = 300;
    EXPECT_EQ((std::vector<Seen>{{1, 55'300, 0x55}}), sendAll(bus, rates, 1));
    EXPECT_EQ(1U, bus.counters().delayed);
}

TEST(BusFaults, ADelayedFrameCanBeOvertaken) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    const PortNumber port = bus.attach();
    FaultRates rates;
    rates.delay = 1;
    rates.delayBy = 1'000'000;
    bus.faults().setRates(rates);
    bus.send(port, classic(1, {1}));
    bus.faults().setRates({});
    bus.send(port, classic(1, {2}));
    EXPECT_EQ((std::vector<Seen>{{1, 55'000, 2}, {1, 1'055'000, 1}}), runToEnd(bus));
}

TEST(BusFaults, ADuplicatedFrameComesTwiceInARow) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    FaultRates rates;
    rates.duplicate = 1;
    EXPECT_EQ((std::vector<Seen>{{1, 55'000, 0x55}, {1, 110'000, 0x55}}), sendAll(bus, rates, 1));
    EXPECT_EQ(1U, bus.counters().duplicated);
    EXPECT_EQ(2U, bus.counters().frames);
}

TEST(BusFaults, ACorruptedFrameHasAnotherFirstByte) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    FaultRates rates;
    rates.corrupt = 1;
    const std::vector<Seen> seen = sendAll(bus, rates, 1000);
    ASSERT_EQ(1000U, seen.size());
    for (const Seen& frame : seen) {
        EXPECT_NE(0x55, frame.first);
    }
    EXPECT_EQ(1000U, bus.counters().corrupted);
}

TEST(BusFaults, AFrameWithoutDataHasNothingToCorrupt) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    const PortNumber port = bus.attach();
    FaultRates rates;
    rates.corrupt = 1;
    bus.faults().setRates(rates);
    bus.send(port, classic(1));
    EXPECT_EQ((std::vector<Seen>{{1, 47'000, 0}}), runToEnd(bus));
    EXPECT_EQ(0U, bus.counters().corrupted);
}

FaultRates someOfEach() {
    FaultRates rates;
    rates.drop = 0.1;
    rates.delay = 0.2;
    rates.delayBy = 2'500'000;
    rates.duplicate = 0.3;
    rates.corrupt = 0.4;
    return rates;
}

TEST(BusFaults, TheSameSeedAndTrafficMeetTheSameFaults) {
    BusCore first(kRates, Stuffing::None, kSeed);
    BusCore second(kRates, Stuffing::None, kSeed);
    BusCore other(kRates, Stuffing::None, kSeed + 1);
    const std::vector<Seen> seen = sendAll(first, someOfEach(), 500);
    EXPECT_EQ(seen, sendAll(second, someOfEach(), 500));
    EXPECT_NE(seen, sendAll(other, someOfEach(), 500));
}

TEST(BusFaults, EachHappensAboutAsOftenAsItsRateSays) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    sendAll(bus, someOfEach(), 10'000);
    const BusCounters counters = bus.counters();
    EXPECT_NEAR(1000, static_cast<double>(counters.dropped), 200);
    EXPECT_NEAR(1800, static_cast<double>(counters.delayed), 200);
    EXPECT_NEAR(2700, static_cast<double>(counters.duplicated), 200);
    EXPECT_NEAR(3600, static_cast<double>(counters.corrupted), 200);
}

// The first outputs of mt19937_64 are fixed by the language, so is all that is made of them here.
TEST(BusFaults, DrawsTheSameOnEveryMachine) {
    BusFaults faults(kSeed);
    FaultRates rates;
    rates.drop = 0.5;
    faults.setRates(rates);
    std::string pattern;
    for (int i = 0; i < 24; ++i) {
        pattern += faults.judge(1).drop ? 'x' : '.';
    }
    EXPECT_EQ("....x.x.x.xx.x.x...xx..x", pattern);
}

TEST(BusFaults, OfOnePortDoNotDependOnTheOthers) {
    BusFaults alone(kSeed);
    BusFaults mixed(kSeed);
    alone.setRates(someOfEach());
    mixed.setRates(someOfEach());
    for (int i = 0; i < 200; ++i) {
        const bool drop = alone.judge(2).drop;
        (void)mixed.judge(1);
        EXPECT_EQ(drop, mixed.judge(2).drop) << "frame " << i << ", seed " << kSeed;
    }
}

TEST(BusFaults, OfOneKindDoNotDependOnTheRatesOfTheOthers) {
    BusFaults one(kSeed);
    BusFaults all(kSeed);
    FaultRates rates;
    rates.corrupt = someOfEach().corrupt;
    one.setRates(rates);
    all.setRates(someOfEach());
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(one.judge(1).corruptMask, all.judge(1).corruptMask) << "frame " << i;
    }
}

TEST(BusFaults, OfOnePortReplaceThoseOfAll) {
    BusFaults faults(kSeed);
    FaultRates always;
    always.drop = 1;
    faults.setRates(always);
    faults.setRates(2, FaultRates{});
    EXPECT_TRUE(faults.judge(1).drop);
    EXPECT_FALSE(faults.judge(2).drop);
}

TEST(BusFaultsSilence, LastsFromItsStartUntilJustBeforeItsEnd) {
    BusFaults faults(kSeed);
    faults.silence(1, 100, 200);
    EXPECT_FALSE(faults.isSilent(1, 99));
    EXPECT_TRUE(faults.isSilent(1, 100));
    EXPECT_TRUE(faults.isSilent(1, 199));
    EXPECT_FALSE(faults.isSilent(1, 200));
    EXPECT_FALSE(faults.isSilent(2, 150));
}

TEST(BusFaultsSilence, EndsWhenItIsTakenBack) {
    BusFaults faults(kSeed);
    faults.silence(1, 0, kNever);
    faults.silence(2, 0, kNever);
    faults.restore(1);
    EXPECT_FALSE(faults.isSilent(1, 5));
    EXPECT_TRUE(faults.isSilent(2, 5));
}

TEST(BusFaultsSilence, SwallowsWhatThePortSendsMeanwhile) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    const PortNumber quiet = bus.attach();
    const PortNumber other = bus.attach();
    bus.faults().silence(quiet, 1'000'000, 3'000'000);
    for (Time ms = 0; ms < 4; ++ms) {
        bus.send(quiet, classic(1), ms * 1'000'000);
        bus.send(other, classic(2), ms * 1'000'000);
    }
    const std::vector<Seen> expected{{quiet, 47'000, 0},    {other, 94'000, 0},    {other, 1'047'000, 0},
                                     {other, 2'047'000, 0}, {quiet, 3'047'000, 0}, {other, 3'094'000, 0}};
    EXPECT_EQ(expected, runToEnd(bus));
    EXPECT_EQ(2U, bus.counters().silenced);
}

TEST(BusFaultsSilence, SwallowsAFrameThatStillWaitsForTheBus) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    const PortNumber other = bus.attach();
    const PortNumber quiet = bus.attach();
    bus.faults().silence(quiet, 10'000, kNever);
    bus.send(other, classic(1));
    bus.send(quiet, classic(2));
    EXPECT_EQ((std::vector<Seen>{{other, 47'000, 0}}), runToEnd(bus));
}

TEST(BusFaultsSilence, LetsAFrameOnTheWireComplete) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    const PortNumber port = bus.attach();
    bus.faults().silence(port, 10'000, kNever);
    bus.send(port, classic(1));
    EXPECT_EQ(1U, runToEnd(bus).size());
}

TEST(BusFaultsSilence, DoesNotBringBackWhatWasSentMeanwhile) {
    BusCore bus(kRates, Stuffing::None, kSeed);
    const PortNumber other = bus.attach();
    const PortNumber quiet = bus.attach();
    bus.faults().silence(quiet, 10'000, 20'000);
    bus.send(other, classic(1));
    bus.send(quiet, classic(2), 15'000);
    EXPECT_EQ((std::vector<Seen>{{other, 47'000, 0}}), runToEnd(bus));
}

}  // namespace
}  // namespace sim
