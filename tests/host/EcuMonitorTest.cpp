// The check of values against the signals of an ECU, and what the demo makes of it.

#include "host/EcuMonitor.h"

#include "host/DemoChecks.h"
#include "host/ValueTable.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host::ValueKind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

host::SignalRecord signal(const std::string& name, sim::SignalKind kind, sim::SignalType type) {
    host::SignalRecord record;
    record.first.name = name;
    record.first.kind = kind;
    record.first.type = type;
    record.first.length = 100;
    return record;
}

host::VariableRecord variable(const std::string& name, std::size_t signal, std::uint16_t periodMs) {
    host::VariableRecord record;
    record.name = name;
    record.signal = signal;
    record.address = 0x1000;
    record.periodMs = periodMs;
    return record;
}

// Event 0 of 1 ms with a 4-byte counter, a ramp that shows the same number in one byte, and a polled counter.
host::EcuRecord makeEcu() {
    host::EcuRecord ecu;
    ecu.name = "e";
    ecu.rejectZeroAddress = true;
    ecu.events = {{"1ms", 1, 6, 0, 1'000'000}};
    ecu.signals = {signal("count", sim::SignalKind::counter, sim::SignalType::u32),
                   signal("ramp", sim::SignalKind::ramp, sim::SignalType::u8),
                   signal("still", sim::SignalKind::constant, sim::SignalType::u8)};
    ecu.variables = {variable("count", 0, 0), variable("ramp", 1, 0), variable("polled", 0, 10),
                     variable("still", 2, 0)};
    host::VariableRecord removed;
    removed.name = "removed";
    removed.size = 2;
    ecu.variables.push_back(removed);
    return ecu;
}

class EcuMonitor : public ::testing::Test {
protected:
    void deliver(ValueKind kind, const std::vector<std::pair<std::string, Bytes>>& values,
                 const std::vector<std::string>& rejected = {}) {
        std::vector<mcMeasureVariableValue> records;
        for (const auto& [name, bytes] : values) {
            records.push_back({name, m_time += 1000, bytes});
        }
        m_monitor.take({m_ecu.name, kind, records, rejected});
    }

    // A DAQ cycle as event number n makes it.
    void deliverCycle(std::uint8_t n) {
        deliver(ValueKind::daq, {{"count", {n, 0, 0, 0}}, {"ramp", {n}}, {"still", {0}}});
    }

    std::vector<std::string> reasons(std::uint64_t begin, std::uint64_t end) {
        host::Verdict verdict;
        host::checkMeasured(verdict, m_ecu, m_monitor.report(), {{begin}, {end}});
        return verdict.reasons();
    }

    const host::EcuRecord m_ecu = makeEcu();
    std::uint64_t m_now = 50;  // events so far
    std::uint64_t m_time = 0;
    host::EcuMonitor m_monitor{
        m_ecu,
        {[this](std::uint16_t) { return m_now; }, [](std::uint32_t, std::uint32_t) { return Bytes{0}; }}};
};

TEST_F(EcuMonitor, RightValuesWithoutAGapAreGood) {
    deliverCycle(20);
    deliverCycle(21);
    deliver(ValueKind::polled, {{"polled", {20, 0, 0, 0}}});
    EXPECT_THAT(reasons(20, 22), IsEmpty());
    EXPECT_EQ(m_monitor.report().variables[0].firstEvent, 20U);
    EXPECT_EQ(m_monitor.report().variables[0].lastEvent, 21U);
}

TEST_F(EcuMonitor, ConcludedItJudgesNothingMore) {
    deliverCycle(20);
    deliver(ValueKind::polled, {{"polled", {20, 0, 0, 0}}});
    m_monitor.conclude();
    deliverCycle(30);
    EXPECT_THAT(reasons(20, 22), IsEmpty());
    EXPECT_EQ(m_monitor.report().variables[0].lastEvent, 20U);
}

TEST_F(EcuMonitor, ValuesComeToTheEndWithTheLastFewEventsStillOnTheirWay) {
    deliverCycle(20);
    EXPECT_TRUE(host::cameToTheEnd(m_ecu, m_monitor.report(), {{20}, {25}}));
    EXPECT_FALSE(host::cameToTheEnd(m_ecu, m_monitor.report(), {{20}, {26}}));
}

TEST_F(EcuMonitor, MissingCycleIsAGapOfTheCounter) {
    deliverCycle(20);
    deliverCycle(23);
    deliver(ValueKind::polled, {{"polled", {20, 0, 0, 0}}});
    EXPECT_THAT(reasons(20, 23), ElementsAre("e.count: 1 gaps, 2 values missing"));
}

TEST_F(EcuMonitor, ValueOfAnotherEventThanItsCounterIsWrong) {
    deliver(ValueKind::daq, {{"count", {20, 0, 0, 0}}, {"ramp", {19}}, {"still", {0}}});
    deliver(ValueKind::polled, {{"polled", {20, 0, 0, 0}}});
    EXPECT_THAT(reasons(20, 20),
                ElementsAre("e.ramp: 1 of 1 values are not what the ECU had; value 1 is [13]"));
}

TEST_F(EcuMonitor, CounterAheadOfTheEcuIsWrong) {
    deliver(ValueKind::daq, {{"count", {51, 0, 0, 0}}});
    EXPECT_EQ(m_monitor.report().variables[0].wrong, 1U);
}

TEST_F(EcuMonitor, PolledValueMustNotGoBack) {
    deliver(ValueKind::polled, {{"polled", {30, 0, 0, 0}}});
    deliver(ValueKind::polled, {{"polled", {30, 0, 0, 0}}});
    EXPECT_EQ(m_monitor.report().variables[2].wrong, 0U);
    deliver(ValueKind::polled, {{"polled", {29, 0, 0, 0}}});
    EXPECT_EQ(m_monitor.report().variables[2].wrong, 1U);
}

TEST_F(EcuMonitor, ValueOfAnotherLengthIsWrong) {
    deliver(ValueKind::polled, {{"polled", {30, 0, 0}}});
    deliver(ValueKind::daq, {{"count", {}}});
    EXPECT_EQ(m_monitor.report().variables[2].wrong, 1U);
    EXPECT_EQ(m_monitor.report().variables[0].wrong, 1U);
}

TEST_F(EcuMonitor, ChannelThatStartedLateOrEndedEarlyIsNamed) {
    deliverCycle(20);
    deliver(ValueKind::polled, {{"polled", {20, 0, 0, 0}}});
    EXPECT_THAT(reasons(18, 26),
                ElementsAre("e.count: the first value is of event 20, but events are measured from 18 on",
                            "e.count: the last value is of event 20, but events are measured up to 26"));
}

TEST_F(EcuMonitor, SilenceIsNamedPerKindAndVariable) {
    EXPECT_THAT(reasons(0, 0),
                ElementsAre("e: measureFun never came with polled values",
                            "e: measureFun never came with DAQ values", "e.count: no value came",
                            "e.ramp: no value came", "e.polled: no value came", "e.still: no value came"));
}

TEST_F(EcuMonitor, ValuesNobodyAskedForAreNamed) {
    deliverCycle(20);
    deliver(ValueKind::polled, {{"polled", {20, 0, 0, 0}}, {"removed", {0, 0}}, {"other", {1}}});
    EXPECT_THAT(reasons(20, 20), ElementsAre("e: values nobody asked for: removed, other"));
}

TEST_F(EcuMonitor, ReadOnceIsComparedWithMemory) {
    deliver(ValueKind::read, {{"still", {0}}}, {"removed"});
    host::Verdict good;
    host::checkReadOnce(good, m_ecu, m_monitor.report(), 1);
    EXPECT_THAT(good.reasons(), IsEmpty());

    deliver(ValueKind::read, {{"still", {1}}});
    host::Verdict bad;
    host::checkReadOnce(bad, m_ecu, m_monitor.report(), 1);
    EXPECT_THAT(bad.reasons(), ElementsAre("e: 2 values read once, 1 were asked for",
                                           "e: 1 of 2 values read once are not what memory holds"));
}

TEST_F(EcuMonitor, RejectedNameThatIsMissingIsNamed) {
    host::Verdict verdict;
    host::checkReadOnce(verdict, m_ecu, m_monitor.report(), 0);
    EXPECT_THAT(verdict.reasons(), ElementsAre("e: the library refused [], expected was [removed]"));
}

TEST_F(EcuMonitor, VariablesThatDoNotMoveAndThoseToRejectAreReadOnce) {
    std::vector<std::string> names;
    for (const host::VariableRecord& record : host::readOnceVariables(m_ecu)) {
        names.push_back(record.name);
    }
    EXPECT_THAT(names, ElementsAre("still", "removed"));
}

TEST_F(EcuMonitor, TableShowsEachVariableInItsLine) {
    deliverCycle(20);
    deliverCycle(21);
    EXPECT_EQ(host::tableHead(),
              "variable           event      count    per s      first       last    minimum    maximum unit "
              "  course");
    EXPECT_THAT(
        host::tableLines(m_ecu, m_monitor.report()),
        ElementsAre(
            "count              1ms            2    333.3         20         21         20         21        "
            "▁█",
            "ramp               1ms            2    333.3         20         21         20         21        "
            "▁█",
            "polled             poll 10        0        -          -          -          -          -",
            "still              1ms            2    333.3          0          0          0          0        "
            "▄▄",
            "removed            rejected       -        -          -          -          -          -"));
}

TEST(ValueTable, NumbersAreShortEnoughForTheirColumn) {
    EXPECT_EQ(host::shortNumber(1234567890, 10), "1234567890");
    EXPECT_EQ(host::shortNumber(12345678901, 10), "1.2346e+10");
    EXPECT_EQ(host::shortNumber(-0.0, 10), "0");
    EXPECT_EQ(host::shortNumber(13.949, 10), "13.949");
    EXPECT_EQ(host::shortNumber(-22.1978693, 10), "-22.19787");
    EXPECT_EQ(host::shortNumber(-1.2345678e-7, 10), "-1.235e-07");
}

TEST(ValueTable, TextsAreCutByCharactersNotByBytes) {
    EXPECT_EQ(host::fitted("abc", 5), "abc  ");
    EXPECT_EQ(host::fitted("abcdef", 4), "abc…");
    EXPECT_EQ(host::fitted("äöü", 4), "äöü ");
    EXPECT_EQ(host::fitted("äöüß", 3), "äö…");
}

}  // namespace
