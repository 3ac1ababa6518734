#include "host/VariableStatistics.h"

#include "host/GapDetector.h"

#include <gtest/gtest.h>

namespace {

host::VariableStatistics statistics(std::initializer_list<std::pair<std::uint64_t, double>> values) {
    host::VariableStatistics result;
    for (const auto& [timeUs, number] : values) {
        result.add(timeUs, {number, ""});
    }
    return result;
}

TEST(VariableStatistics, KeepsFirstLastLeastAndMost) {
    const host::VariableStatistics values = statistics({{10, 5.0}, {20, -2.0}, {30, 9.0}, {40, 1.0}});
    EXPECT_EQ(values.count(), 4U);
    EXPECT_EQ(values.first().number, 5.0);
    EXPECT_EQ(values.last().number, 1.0);
    EXPECT_EQ(values.least(), -2.0);
    EXPECT_EQ(values.most(), 9.0);
}

TEST(VariableStatistics, RateCountsTheStepsFromFirstToLast) {
    EXPECT_EQ(statistics({{1'000'000, 1}, {1'250'000, 2}, {1'500'000, 3}}).rate(), 4.0);
}

TEST(VariableStatistics, OneValueOrNoTimeHasNoRate) {
    EXPECT_EQ(statistics({{1'000, 1}}).rate(), 0.0);
    EXPECT_EQ(statistics({{1'000, 1}, {1'000, 2}}).rate(), 0.0);
}

TEST(VariableStatistics, KeepsTheTextOfAState) {
    host::VariableStatistics values;
    values.add(1, {0, "idle"});
    values.add(2, {3, "hold"});
    EXPECT_EQ(values.first().text, "idle");
    EXPECT_EQ(values.last().text, "hold");
}

TEST(GapDetector, CounterThatStepsByOneHasNoGap) {
    host::GapDetector gaps(4);
    EXPECT_TRUE(gaps.add(41));
    EXPECT_TRUE(gaps.add(42));
    EXPECT_TRUE(gaps.add(43));
    EXPECT_EQ(gaps.gaps(), 0U);
    EXPECT_EQ(gaps.missing(), 0U);
}

TEST(GapDetector, CountsWhatIsMissing) {
    host::GapDetector gaps(4);
    gaps.add(1);
    EXPECT_FALSE(gaps.add(5));  // 2, 3 and 4
    EXPECT_TRUE(gaps.add(6));
    EXPECT_FALSE(gaps.add(8));  // 7
    EXPECT_EQ(gaps.gaps(), 2U);
    EXPECT_EQ(gaps.missing(), 4U);
}

TEST(GapDetector, GoesOnFromZeroBehindTheLastNumberOfItsSize) {
    host::GapDetector byte(1);
    byte.add(255);
    EXPECT_TRUE(byte.add(0));
    host::GapDetector wide(8);
    wide.add(~std::uint64_t{0});
    EXPECT_TRUE(wide.add(0));
}

TEST(GapDetector, RepeatedValueIsAGap) {
    host::GapDetector gaps(1);
    gaps.add(7);
    EXPECT_FALSE(gaps.add(7));
    EXPECT_EQ(gaps.gaps(), 1U);
    EXPECT_EQ(gaps.missing(), 255U);
}

}  // namespace
