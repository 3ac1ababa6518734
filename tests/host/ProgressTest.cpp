// Bars of progress on terminals of any width.

#include "host/Progress.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using host::Progress;

TEST(ProgressBar, WideTerminalHasRoomForAllOfIt) {
    EXPECT_EQ(Progress::barLine("engine: program", 50, ", 9.5 kB/s, 3 s left", 100),
              "engine: program [###############...............]  50 %, 9.5 kB/s, 3 s left");
}

TEST(ProgressBar, NarrowTerminalMakesTheBarShorter) {
    // 60 columns: 59 characters less 44 of text leave 15 for the bar.
    EXPECT_EQ(Progress::barLine("engine: program", 50, ", 9.5 kB/s, 3 s left", 60),
              "engine: program [#######........]  50 %, 9.5 kB/s, 3 s left");
}

TEST(ProgressBar, RateGoesBeforeTheBarDoes) {
    EXPECT_EQ(Progress::barLine("engine: program", 100, ", 9.5 kB/s, 0 s left", 40),
              "engine: program [###############] 100 %");
}

TEST(ProgressBar, WithoutRoomForABarTheNameIsCutAndThePercentStay) {
    EXPECT_EQ(Progress::barLine("engine: program", 7, ", 9.5 kB/s", 20), "engine: progr   7 %");
    EXPECT_EQ(Progress::barLine("engine: program", 7, "", 0), "");
}

}  // namespace
