#include "daq/CycleUnit.h"

#include "TalvexRecords.h"

#include <gtest/gtest.h>

namespace {

struct UnitRow {
    std::uint8_t unit;
    double factorMs;
};

// Codes of EVENT_CHANNEL_TIME_UNIT in XCP: 1 ns to 1 s in decades, then 1, 10 and 100 ps.
constexpr UnitRow kUnits[] = {{0, 1e-6},  {1, 1e-5},  {2, 1e-4},  {3, 1e-3}, {4, 1e-2},
                              {5, 0.1},   {6, 1},     {7, 10},    {8, 100},  {9, 1000},
                              {10, 1e-9}, {11, 1e-8}, {12, 1e-7}, {13, 1},   {255, 1}};

TEST(CycleUnit, MultipliesByTheUnitOfTheCode) {
    for (const UnitRow& row : kUnits) {
        EXPECT_DOUBLE_EQ(cycleMs(1, row.unit), row.factorMs) << int{row.unit};
        EXPECT_DOUBLE_EQ(cycleMs(200, row.unit), 200 * row.factorMs) << int{row.unit};
        EXPECT_EQ(cycleMs(0, row.unit), 0.0) << int{row.unit};
    }
}

TEST(CycleUnit, ACycleOfTenMillisecondsIsTen) {
    EXPECT_EQ(eventPeriodMs(std::map<std::uint16_t, CcpEventCfg>{{4, {10, 6}}}, 4, 50), 10.0);
}

TEST(CycleUnit, ACycleOfTenMicrosecondsIsAFractionThatCutsToZero) {
    XcpEventCfg event;
    event.timeCycle = 10;
    event.timeUnit = 3;
    const double period = eventPeriodMs(std::map<std::uint16_t, XcpEventCfg>{{4, event}}, 4, 50);
    EXPECT_DOUBLE_EQ(period, 0.01);
    EXPECT_EQ(static_cast<std::uint32_t>(period), 0U);
}

TEST(CycleUnit, AnUnknownEventTakesThePollPeriodOrAThousand) {
    const std::map<std::uint16_t, CcpEventCfg> events{{4, {10, 6}}};
    EXPECT_EQ(eventPeriodMs(events, 5, 50), 50.0);
    EXPECT_EQ(eventPeriodMs(events, 5, 0), 1000.0);
}

TEST(CycleUnit, ACycleOfZeroTakesThePollPeriodOrAThousand) {
    const std::map<std::uint16_t, CcpEventCfg> events{{4, {0, 9}}};
    EXPECT_EQ(eventPeriodMs(events, 4, 50), 50.0);
    EXPECT_EQ(eventPeriodMs(events, 4, 0), 1000.0);
}

}  // namespace
