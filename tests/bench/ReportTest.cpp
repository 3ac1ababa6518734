// The table of the benches, to the character.

#include "bench/Report.h"

#include <gtest/gtest.h>

namespace {

const bench::Row kRow = {"P1", "a frame", "a look-up", "ns", bench::atMost(2.0), {}};

bench::Line lineOf(const bench::Figure& figure, bool met) {
    return {kRow, {figure, met}};
}

TEST(Table, HeadNamesTheColumns) {
    EXPECT_EQ(bench::Table({kRow}).head(),
              "row  subject  baseline       subject     baseline   ratio     goal  met\n");
}

TEST(Table, RowThatIsMet) {
    EXPECT_EQ(bench::Table({kRow}).line(lineOf({30.0, 20.0, 1.5, ""}, true)),
              "P1   a frame  a look-up        30 ns        20 ns     1.5     <= 2  yes\n");
}

TEST(Table, RowThatIsNotMetStillShowsItsFigure) {
    EXPECT_EQ(bench::Table({kRow}).line(lineOf({50.0, 20.0, 2.5, ""}, false)),
              "P1   a frame  a look-up        50 ns        20 ns     2.5     <= 2  NO\n");
}

TEST(Table, RowWithoutABaselineHasNoRatio) {
    EXPECT_EQ(bench::Table({kRow}).line(lineOf(bench::measured(1.0), true)),
              "P1   a frame  a look-up         1 ns            -       -     <= 2  yes\n");
}

TEST(Table, FailureStandsBelowItsRow) {
    EXPECT_EQ(bench::Table({kRow}).line(lineOf(bench::failed("a value was lost"), false)),
              "P1   a frame  a look-up            -            -       -     <= 2  NO\n"
              "     a value was lost\n");
}

TEST(GoalText, SaysTheDirection) {
    EXPECT_EQ(bench::goalText(bench::atMost(0.3)), "<= 0.3");
    EXPECT_EQ(bench::goalText(bench::atLeast(4.0)), ">= 4");
}

TEST(Json, HasOneObjectForEachRow) {
    EXPECT_EQ(
        bench::json({lineOf({30.0, 20.0, 1.5, ""}, true)}),
        "[\n  {\"row\": \"P1\", \"subject\": \"a frame\", \"baseline\": \"a look-up\", \"unit\": \"ns\", "
        "\"subjectFigure\": 30, \"baselineFigure\": 20, \"value\": 1.5, \"goal\": \"<= 2\", \"met\": true, "
        "\"failure\": \"\"}\n]\n");
}

TEST(Json, HasNullForWhatWasNotMeasuredAndEscapesTexts) {
    EXPECT_EQ(
        bench::json({lineOf(bench::failed("said \"no\"\n\\"), false)}),
        "[\n  {\"row\": \"P1\", \"subject\": \"a frame\", \"baseline\": \"a look-up\", \"unit\": \"ns\", "
        "\"subjectFigure\": null, \"baselineFigure\": null, \"value\": null, \"goal\": \"<= 2\", \"met\": "
        "false, "
        "\"failure\": \"said \\\"no\\\"\\u000a\\\\\"}\n]\n");
}

TEST(Json, OfNothingIsAnEmptyArray) {
    EXPECT_EQ(bench::json({}), "[\n]\n");
}

}  // namespace
