// The parts of a measurement between the library and the output.

#include "host/MeasureClock.h"
#include "host/MeasureJson.h"
#include "host/MeasureQueue.h"
#include "host/MeasureReport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::uint64_t todayUs() {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                          std::chrono::system_clock::now().time_since_epoch())
                                          .count());
}

host::BusFrame frameAt(std::uint64_t timeUs) {
    host::BusFrame frame;
    frame.timeUs = timeUs;
    return frame;
}

TEST(MeasureClocks, TimesOfABusAreAsFarApartAsItsFrames) {
    host::MeasureClock clock(2);
    clock.note(1, frameAt(5'000'000));
    clock.start();
    EXPECT_NEAR(clock.ofBus(1, 7'500'000) - clock.ofBus(1, 5'000'000), 2.5, 1e-9);
    EXPECT_LE(clock.ofBus(1, 5'000'000), 0.0);
}

TEST(MeasureClocks, FrameThatCameFastestCounts) {
    host::MeasureClock clock(1);
    const std::uint64_t now = todayUs();
    clock.note(0, frameAt(now - 60'000'000));
    clock.note(0, frameAt(now - 90'000'000));
    clock.start();
    EXPECT_GT(clock.ofBus(0, now - 30'000'000), 29.0);
}

TEST(MeasureClocks, FramesBehindTheStartChangeNothing) {
    host::MeasureClock clock(1);
    clock.note(0, frameAt(1'000'000));
    clock.start();
    const double before = clock.ofBus(0, 2'000'000);
    clock.note(0, frameAt(3'000'000'000));
    EXPECT_DOUBLE_EQ(clock.ofBus(0, 2'000'000), before);
}

TEST(MeasureClocks, TimeOfDayCountsFromTheStart) {
    host::MeasureClock clock(1);
    EXPECT_EQ(clock.startUs(), 0);
    clock.start();
    EXPECT_DOUBLE_EQ(clock.ofDay(static_cast<std::uint64_t>(clock.startUs()) + 1'250'000), 1.25);
    EXPECT_GE(clock.now(), 0.0);
}

host::MeasureDelivery deliveryAt(double seconds) {
    host::MeasureDelivery delivery;
    delivery.seconds = seconds;
    return delivery;
}

TEST(MeasureQueues, AllThatWaitsComesOldestFirst) {
    host::MeasureQueue queue;
    queue.put(deliveryAt(1.0));
    queue.put(deliveryAt(2.0));
    const std::vector<host::MeasureDelivery> taken = queue.take(milliseconds(0));
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_DOUBLE_EQ(taken[0].seconds, 1.0);
    EXPECT_DOUBLE_EQ(taken[1].seconds, 2.0);
    EXPECT_TRUE(queue.take(milliseconds(0)).empty());
}

TEST(MeasureQueues, WhatComesBeyondTheLimitIsDroppedAndCounted) {
    host::MeasureQueue queue;
    for (std::size_t i = 0; i < host::MeasureQueue::kLimit + 3; ++i) {
        queue.put({});
    }
    EXPECT_EQ(queue.dropped(), 3U);
    EXPECT_EQ(queue.take(milliseconds(0)).size(), host::MeasureQueue::kLimit);
    queue.put({});
    EXPECT_EQ(queue.dropped(), 3U);
}

host::VariableRecord variable() {
    host::VariableRecord record;
    record.name = "speed";
    record.unit = "rpm";
    record.type = host::ValueType::u16;
    record.size = 2;
    record.factor = 0.1;
    return record;
}

host::MeasureValue valueOf(std::uint8_t raw) {
    return host::measureValue(variable(), sim::ByteOrder::intel, std::vector<std::uint8_t>{raw, 0});
}

TEST(MeasureTallies, RateCountsFromTheFirstValueToTheLast) {
    host::MeasureTally tally;
    EXPECT_DOUBLE_EQ(tally.rate(), 0.0);
    tally.add(1.0, {}, valueOf(30));
    EXPECT_DOUBLE_EQ(tally.rate(), 0.0);
    tally.add(1.5, {}, valueOf(10));
    tally.add(2.0, {}, valueOf(20));
    EXPECT_DOUBLE_EQ(tally.rate(), 2.0);
    EXPECT_EQ(tally.minimum, 1.0);
    EXPECT_EQ(tally.maximum, 3.0);
    EXPECT_EQ(tally.missing, 0U);
}

TEST(MeasureTallies, ValueWithoutAllItsBytesIsMissingAndChangesNoLimit) {
    host::MeasureTally tally;
    tally.add(1.0, {}, valueOf(30));
    tally.add(2.0, {}, host::measureValue(variable(), sim::ByteOrder::intel, std::vector<std::uint8_t>{1}));
    EXPECT_EQ(tally.count, 2U);
    EXPECT_EQ(tally.missing, 1U);
    EXPECT_EQ(tally.minimum, 3.0);
}

host::Config oneEcu() {
    host::Config config;
    config.ecus.resize(1);
    config.ecus[0].name = "engine";
    return config;
}

const host::MeasureSelection kSelection{{{0, {variable()}}}, {}};

TEST(MeasureReports, EveryKindOfLossIsNamedAndInTheTotal) {
    host::MeasureLosses lost;
    lost.ecus.resize(1);
    EXPECT_EQ(lost.total(), 0U);
    EXPECT_EQ(lossText(oneEcu(), kSelection, lost), "nothing lost");
    lost.ecus[0].lists = {{0, 0, 2, 9, 1, 2, 0}, {1, 1, 2, 9, 1, 0, 3}};
    lost.ecus[0].overloads = 1;
    lost.overflows = 1;
    lost.discards = 2;
    lost.notWritten = 3;
    lost.shortValues = 4;
    lost.silent = {"engine.speed", "engine.torque"};
    EXPECT_EQ(lossText(oneEcu(), kSelection, lost),
              "lost: engine: 2 gaps in ODT order, 2 incomplete cycles, 3 cycles without values, "
              "1 overload of the ECU; 1 frame lost below the host, 2 frames or more beyond the library's "
              "store, 3 deliveries not written, 4 values without all their bytes, no value came of "
              "engine.speed, engine.torque");
    EXPECT_EQ(lost.total(), 20U);
}

TEST(MeasureReports, JsonHasEveryKindOfLoss) {
    host::MeasureLosses lost;
    lost.ecus.resize(1);
    lost.overflows = 1;
    lost.discards = 2;
    lost.notWritten = 3;
    lost.shortValues = 4;
    lost.silent = {"engine.speed"};
    EXPECT_EQ(host::lossJson("losses", oneEcu(), kSelection, lost).dump(),
              "{\"schema\":1,\"type\":\"losses\",\"total\":11,\"bus_overflows\":1,\"library_discards\":2,"
              "\"not_written\":3,\"short_values\":4,\"silent\":[\"engine.speed\"],\"ecus\":{\"engine\":"
              "{\"gaps\":0,\"incomplete_cycles\":0,\"undelivered_cycles\":0,\"overloads\":0}}}");
}

TEST(MeasureReports, RowOfAVariableHasItsLastValueLimitsAndAge) {
    const steady_clock::time_point now = steady_clock::time_point() + std::chrono::hours(1);
    host::MeasureTally tally;
    EXPECT_EQ(host::liveRow("speed", variable(), tally, now),
              (host::LiveRow{"speed", "-", "rpm", "-", "-", "-", "-"}));
    tally.add(1.0, now - milliseconds(1000), valueOf(30));
    tally.add(2.0, now - milliseconds(400), valueOf(123));
    EXPECT_EQ(host::liveRow("speed", variable(), tally, now),
              (host::LiveRow{"speed", "12.3", "rpm", "1.0", "3", "12.3", "0.4 s"}));
}

TEST(MeasureReports, ListIsNamedByItsEvent) {
    host::Config config = oneEcu();
    config.ecus[0].events.resize(1);
    config.ecus[0].events[0].name = "10ms";
    host::EcuLosses losses;
    losses.lists = {{0, 0, 3, 50, 0, 0, 0}, {1, 7, 1, 4, 0, 0, 0}};
    EXPECT_EQ(host::listLines(config.ecus[0], losses),
              (std::vector<std::string>{"engine: list 0 (10ms): 50 cycles of 3 packets",
                                        "engine: list 1 (7): 4 cycles of 1 packets"}));
}

}  // namespace
