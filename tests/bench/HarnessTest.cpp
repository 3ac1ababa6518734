// How the bench program comes to a figure, without a clock: blocks whose costs are given.

#include "bench/Harness.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;

// A block that answers with the given costs in turn and writes its name down at each call.
bench::Block scripted(std::string name, std::vector<double> costs, std::string& calls) {
    return [name = std::move(name), costs = std::move(costs), &calls, next = std::size_t{0}]() mutable {
        calls += name;
        return costs[next++ % costs.size()];
    };
}

// A row whose attempts have the given values; `attempts` counts them.
bench::Row rowOf(const std::vector<double>& values, bench::Goal goal, std::size_t& attempts) {
    return {"P1", "subject", "baseline",
            "ns", goal,      [values, &attempts] { return bench::measured(values[attempts++]); }};
}

TEST(Median, IsTheMiddleOfAnOddCount) {
    EXPECT_EQ(bench::median({9.0, 1.0, 2.0}), 2.0);
}

TEST(Median, IsTheMeanOfTheTwoInTheMiddleOfAnEvenCount) {
    EXPECT_EQ(bench::median({8.0, 1.0, 4.0, 2.0}), 3.0);
}

TEST(Median, IsZeroForNothing) {
    EXPECT_EQ(bench::median({}), 0.0);
}

TEST(CompareInterleaved, TakesTurnsBehindOneUnmeasuredRoundAndSwapsWhoIsFirst) {
    std::string calls;
    bench::compareInterleaved(scripted("s", {1.0}, calls), scripted("b", {1.0}, calls), 21);
    EXPECT_EQ(calls,
              "bs"
              "bssbbssbbssbbssbbssb"
              "bssbbssbbssbbssbbssb"
              "bs");
}

TEST(CompareInterleaved, RunsAtLeast21Pairs) {
    std::string calls;
    bench::compareInterleaved(scripted("s", {1.0}, calls), scripted("b", {1.0}, calls), 3);
    EXPECT_EQ(calls.size(), 2U + 42U);
}

TEST(CompareInterleaved, RunsMorePairsIfAsked) {
    std::string calls;
    bench::compareInterleaved(scripted("s", {1.0}, calls), scripted("b", {1.0}, calls), 50);
    EXPECT_EQ(calls.size(), 2U + 100U);
}

// The machine gets ten times slower for some pairs: the ratio of each pair stays, the ratio of sums would
// not.
TEST(CompareInterleaved, JudgesTheMedianOfTheRatiosOfPairs) {
    std::string calls;
    const bench::Figure figure = bench::compareInterleaved(scripted("s", {3.0, 30.0, 3.0}, calls),
                                                           scripted("b", {2.0, 20.0, 2.0}, calls));
    EXPECT_EQ(figure.value, 1.5);
    EXPECT_EQ(figure.subject, 3.0);
    EXPECT_EQ(figure.baseline, 2.0);
    EXPECT_EQ(figure.failure, "");
}

TEST(WallBlock, CallsTheFunctionAsOftenAsToldInEachBlock) {
    int calls = 0;
    const bench::Block block = bench::wallBlock(7, [&] { ++calls; });
    EXPECT_GE(block(), 0.0);
    EXPECT_GE(block(), 0.0);
    EXPECT_EQ(calls, 14);
}

TEST(ProcessorBlock, CountsTheProcessorTimeOfThisThread) {
    volatile unsigned sum = 0;
    const bench::Block block = bench::processorBlock(3, [&] {
        for (unsigned i = 0; i < 100000; ++i) {
            sum = sum + i;
        }
    });
    EXPECT_GT(block(), 0.0);
}

TEST(IsMet, HoldsAtTheLimitItself) {
    EXPECT_TRUE(bench::isMet(bench::measured(2.0), bench::atMost(2.0)));
    EXPECT_TRUE(bench::isMet(bench::measured(4.0), bench::atLeast(4.0)));
}

TEST(IsMet, FailsBehindTheLimit) {
    EXPECT_FALSE(bench::isMet(bench::measured(2.01), bench::atMost(2.0)));
    EXPECT_FALSE(bench::isMet(bench::measured(3.99), bench::atLeast(4.0)));
}

TEST(IsMet, FailsWithAFailureHoweverFast) {
    EXPECT_FALSE(bench::isMet(bench::failed("a value was lost"), bench::atMost(2.0)));
}

TEST(IsMet, FailsWithoutANumber) {
    EXPECT_FALSE(bench::isMet(bench::measured(std::nan("")), bench::atMost(2.0)));
    EXPECT_FALSE(bench::isMet(bench::measured(std::numeric_limits<double>::infinity()), bench::atLeast(2.0)));
}

TEST(MeasureRow, EndsWithTheFirstAttemptThatIsMet) {
    std::size_t attempts = 0;
    const bench::Result result = bench::measureRow(rowOf({3.0, 1.5, 1.0}, bench::atMost(2.0), attempts));
    EXPECT_EQ(attempts, 2U);
    EXPECT_EQ(result.figure.value, 1.5);
    EXPECT_TRUE(result.met);
}

TEST(MeasureRow, KeepsTheBestOfThreeAttemptsThatAreNotMet) {
    std::size_t attempts = 0;
    const bench::Result result = bench::measureRow(rowOf({5.0, 3.0, 4.0, 1.0}, bench::atMost(2.0), attempts));
    EXPECT_EQ(attempts, 3U);
    EXPECT_EQ(result.figure.value, 3.0);
    EXPECT_FALSE(result.met);
}

TEST(MeasureRow, TakesTheLargestForBestIfTheGoalIsALeast) {
    std::size_t attempts = 0;
    const bench::Result result = bench::measureRow(rowOf({5.0, 7.0, 6.0}, bench::atLeast(10.0), attempts));
    EXPECT_EQ(result.figure.value, 7.0);
    EXPECT_FALSE(result.met);
}

TEST(MeasureRow, DoesNotTryAFailureAgain) {
    int attempts = 0;
    const bench::Result result = bench::measureRow({"P7", "", "", "", bench::atMost(1.0), [&] {
                                                        ++attempts;
                                                        return bench::failed("a value was lost");
                                                    }});
    EXPECT_EQ(attempts, 1);
    EXPECT_EQ(result.figure.failure, "a value was lost");
    EXPECT_FALSE(result.met);
}

TEST(Rows, AreOrderedByTheNumberOfTheirId) {
    for (const char* id : {"P10", "P2", "P1"}) {
        bench::addRow({id, "", "", "", bench::atMost(1.0), {}});
    }
    bench::addRow({"P2", "second", "", "", bench::atMost(1.0), {}});
    std::vector<std::string> ids;
    for (const bench::Row& row : bench::rows()) {
        ids.push_back(row.id + row.subject);
    }
    EXPECT_THAT(ids, ElementsAre("P1", "P2", "P2second", "P10"));
}

}  // namespace
