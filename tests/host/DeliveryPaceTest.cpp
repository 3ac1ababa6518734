// A bus that waits for the library, by the clock of the test.

#include "host/DeliveryPace.h"

#include <gtest/gtest.h>

namespace {

using host::DeliveryPace;
using std::chrono::milliseconds;

constexpr DeliveryPace::Clock::time_point kStart{};
constexpr std::size_t kTooMany = DeliveryPace::kMostWaiting + 1;

// Data at 1, 2, ... µs, behind a delivery at 0 µs.
void handOver(DeliveryPace& pace, std::uint64_t frames) {
    pace.delivered(0, kStart);
    for (std::uint64_t i = 1; i <= frames; ++i) {
        pace.handedOver(i, false);
    }
}

TEST(DeliveryPace, HoldsTheBusWhileTooManyFramesWait) {
    DeliveryPace pace;
    handOver(pace, kTooMany - 1);
    EXPECT_FALSE(pace.holds(kStart));
    pace.handedOver(kTooMany, false);
    EXPECT_TRUE(pace.holds(kStart));
}

TEST(DeliveryPace, FramesUpToTheTimeOfADeliveryDoNotWaitAnyMore) {
    DeliveryPace pace;
    handOver(pace, kTooMany + 10);
    pace.delivered(10, kStart);
    EXPECT_TRUE(pace.holds(kStart));
    pace.delivered(5, kStart);
    EXPECT_TRUE(pace.holds(kStart)) << "older values than the latest change nothing";
    pace.delivered(11, kStart);
    EXPECT_FALSE(pace.holds(kStart));
}

TEST(DeliveryPace, LetsTheBusGoOnUntilTheCommandsAreAnswered) {
    DeliveryPace pace;
    handOver(pace, kTooMany);
    pace.sent(kStart);
    pace.sent(kStart);
    EXPECT_FALSE(pace.holds(kStart));
    pace.handedOver(kTooMany, false);
    pace.handedOver(kTooMany, true);
    EXPECT_FALSE(pace.holds(kStart)) << "the other one is not answered";
    pace.handedOver(kTooMany, true);
    EXPECT_TRUE(pace.holds(kStart));
}

TEST(DeliveryPace, AnswerThatNobodyWaitsForIsNotKeptForTheNextCommand) {
    DeliveryPace pace;
    handOver(pace, kTooMany);
    pace.handedOver(kTooMany, true);
    pace.sent(kStart);
    EXPECT_FALSE(pace.holds(kStart));
}

TEST(DeliveryPace, CommandThatIsNeverAnsweredCountsForTwoSeconds) {
    DeliveryPace pace;
    handOver(pace, kTooMany);
    pace.sent(kStart);
    const auto later = kStart + DeliveryPace::kPatience;
    pace.delivered(0, later);
    EXPECT_FALSE(pace.holds(later));
    EXPECT_TRUE(pace.holds(later + milliseconds(1)));
}

TEST(DeliveryPace, FramesAheadOfTheFirstDeliveryDoNotCount) {
    DeliveryPace pace;
    for (std::uint64_t i = 1; i <= kTooMany; ++i) {
        pace.handedOver(i, false);
    }
    EXPECT_FALSE(pace.holds(kStart));
}

TEST(DeliveryPace, WithoutDeliveriesForTwoSecondsNothingWaits) {
    DeliveryPace pace;
    handOver(pace, kTooMany);
    EXPECT_TRUE(pace.holds(kStart + DeliveryPace::kPatience));
    EXPECT_FALSE(pace.holds(kStart + DeliveryPace::kPatience + milliseconds(1)));
    handOver(pace, kTooMany - 1);
    EXPECT_FALSE(pace.holds(kStart)) << "what was given up is not counted again";
}

}  // namespace
