// The small helpers of waiting: time-outs, the stop flag, precise waits.
#include "transport/Deadline.h"
#include "transport/PreciseWait.h"
#include "transport/StopFlag.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST(Deadline, OfNoTimeIsOver) {
    const Deadline deadline(0);
    EXPECT_TRUE(deadline.isOver());
    EXPECT_EQ(deadline.left().count(), 0);
}

TEST(Deadline, InThePastHasNothingLeft) {
    const Deadline deadline(-1000);
    EXPECT_TRUE(deadline.isOver());
    EXPECT_EQ(deadline.left().count(), 0);
}

TEST(Deadline, FarAwayIsNotOver) {
    const Deadline deadline(3'600'000);
    EXPECT_FALSE(deadline.isOver());
    EXPECT_LE(deadline.left(), 3600s);
    EXPECT_GT(deadline.left(), 1800s);
}

TEST(Deadline, LessThanAMillisecondCountsAsOver) {
    Deadline deadline(0);
    EXPECT_TRUE(deadline.isOver());
    deadline.restart(3'600'000);
    EXPECT_FALSE(deadline.isOver());
}

TEST(StopFlag, IsDownUntilRaisedAndAgainWhenCleared) {
    StopFlag flag;
    EXPECT_FALSE(flag.isStopped());
    flag.setStopTransmit(true);
    EXPECT_TRUE(flag.isStopped());
    EXPECT_TRUE(flag.isStoppedUnlocked());
    flag.setStopTransmit(false);
    EXPECT_FALSE(flag.isStopped());
}

TEST(StopFlag, ClosingMarkOutlastsTheFlag) {
    StopFlag flag;
    flag.close();
    flag.setStopTransmit(false);
    EXPECT_TRUE(flag.isStopped());
    EXPECT_TRUE(flag.isStoppedUnlocked());
}

TEST(PreciseWait, NeverReturnsBeforeTheMoment) {
    for (const auto ahead : {-1000us, 0us, 50us, 150us, 250us, 2000us}) {
        const auto moment = std::chrono::steady_clock::now() + ahead;
        waitUntilPrecisely(moment);
        EXPECT_GE(std::chrono::steady_clock::now(), moment);
    }
}
