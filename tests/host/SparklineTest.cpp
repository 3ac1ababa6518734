#include "host/Sparkline.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Sparkline, LowestIsTheLowestBarAndHighestTheHighest) {
    EXPECT_EQ(host::sparkline({0, 1, 2, 3, 4, 5, 6, 7}, 8), "▁▂▃▄▅▆▇█");
}

TEST(Sparkline, NegativeValuesAreDrawnLikeOthers) {
    EXPECT_EQ(host::sparkline({-10, 10, -10}, 3), "▁█▁");
}

TEST(Sparkline, EqualPointsAreDrawnInTheMiddle) {
    EXPECT_EQ(host::sparkline({5, 5, 5}, 3), "▄▄▄");
}

TEST(Sparkline, IsFilledUpWithBlanks) {
    EXPECT_EQ(host::sparkline({0, 7}, 4), "▁█  ");
    EXPECT_EQ(host::sparkline({}, 3), "   ");
}

TEST(Sparkline, PointsBehindTheWidthAreLeftOut) {
    EXPECT_EQ(host::sparkline({0, 7, 0, 7}, 2), "▁█");
}

TEST(Series, IsEmptyWithoutValues) {
    EXPECT_THAT(host::Series().points(4), IsEmpty());
}

TEST(Series, GivesFewValuesAsTheyAre) {
    host::Series series;
    series.add(3);
    series.add(1);
    EXPECT_THAT(series.points(4), ElementsAre(3, 1));
}

TEST(Series, GivesMeansOfEqualParts) {
    host::Series series;
    for (const double value : {1, 3, 10, 20, 100, 300}) {
        series.add(value);
    }
    EXPECT_THAT(series.points(3), ElementsAre(2, 15, 200));
}

// 4096 values need eight of them in each of the 512 buckets; the means of the quarters stay exact.
TEST(Series, LongCourseKeepsItsShape) {
    host::Series series;
    for (int i = 0; i < 4096; ++i) {
        series.add(i);
    }
    EXPECT_THAT(series.points(4), ElementsAre(511.5, 1535.5, 2559.5, 3583.5));
}

}  // namespace
