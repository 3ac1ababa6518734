// What comes back from the process of a row, also if it does not end well.

#include "bench/RowProcess.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <stdexcept>

namespace {

bench::Result measure(const std::function<bench::Figure()>& once,
                      bench::Processors processors = bench::Processors::One) {
    return bench::measureInOwnProcess({"P1", "", "", "", bench::atMost(2.0), once, processors});
}

int processors() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    sched_getaffinity(0, sizeof allowed, &allowed);
    return CPU_COUNT(&allowed);
}

TEST(RowProcess, FigureComesBackWhole) {
    const bench::Result result = measure([] { return bench::compared(3.0, 2.0); });
    EXPECT_EQ(result.figure.subject, 3.0);
    EXPECT_EQ(result.figure.baseline, 2.0);
    EXPECT_EQ(result.figure.value, 1.5);
    EXPECT_EQ(result.figure.failure, "");
    EXPECT_TRUE(result.met);
}

TEST(RowProcess, MissingBaselineStaysMissing) {
    EXPECT_FALSE(measure([] { return bench::measured(1.0); }).figure.baseline.has_value());
}

TEST(RowProcess, RunsInAnotherProcess) {
    const auto here = static_cast<double>(getpid());
    EXPECT_NE(measure([] { return bench::measured(static_cast<double>(getpid())); }).figure.value, here);
}

TEST(RowProcess, IsPinnedToOneProcessor) {
    EXPECT_EQ(measure([] { return bench::measured(processors()); }).figure.value, 1.0);
}

TEST(RowProcess, KeepsAllProcessorsIfAsked) {
    EXPECT_EQ(measure([] { return bench::measured(processors()); }, bench::Processors::All).figure.value,
              processors());
}

TEST(RowProcess, FailureTextComesBack) {
    const bench::Result result = measure([] { return bench::failed("a value was lost"); });
    EXPECT_EQ(result.figure.failure, "a value was lost");
    EXPECT_FALSE(result.met);
}

TEST(RowProcess, ExceptionIsAFailure) {
    const bench::Result result = measure([]() -> bench::Figure { throw std::runtime_error("no bus"); });
    EXPECT_EQ(result.figure.failure, "ended by an exception: no bus");
    EXPECT_FALSE(result.met);
}

TEST(RowProcess, DeathIsAFailure) {
    const bench::Result result = measure([] {
        std::raise(SIGKILL);
        return bench::measured(1.0);
    });
    EXPECT_EQ(result.figure.failure, "ended by signal 9");
    EXPECT_FALSE(result.met);
}

TEST(RowProcess, EndWithoutAFigureIsAFailure) {
    const bench::Result result = measure([]() -> bench::Figure { _exit(0); });
    EXPECT_EQ(result.figure.failure, "ended without a figure");
    EXPECT_FALSE(result.met);
}

}  // namespace
