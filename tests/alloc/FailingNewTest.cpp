// The instrument itself.
#include "tests/alloc/EveryNew.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace alloc {
namespace {

std::string show(const std::vector<int>& numbers) {
    return testing::PrintToString(numbers);
}

std::vector<int> growing() {
    std::vector<int> numbers;
    for (int i = 0; i < 9; ++i) {  // 1, 2, 4, 8, 16
        numbers.push_back(i);
    }
    return numbers;
}

TEST(FailingNew, FailsAtTheNumberedCallAlone) {
    const FailingNew failure(2, Failing::once);
    auto first = std::make_unique<int>(1);
    EXPECT_THROW(std::make_unique<int>(2), std::bad_alloc);
    auto third = std::make_unique<int>(3);
    FailingNew::disarm();
    EXPECT_TRUE(FailingNew::happened());
    EXPECT_EQ(FailingNew::calls(), 3U);
}

TEST(FailingNew, FailsFromTheNumberedCallOn) {
    const FailingNew failure(2, Failing::fromThenOn);
    auto first = std::make_unique<int>(1);
    EXPECT_THROW(std::make_unique<int>(2), std::bad_alloc);
    EXPECT_THROW(std::make_unique<int[]>(2), std::bad_alloc);
    EXPECT_EQ(::operator new(1, std::nothrow), nullptr);
    EXPECT_THROW(static_cast<void>(::operator new(64, std::align_val_t(64))), std::bad_alloc);
    FailingNew::disarm();
    EXPECT_EQ(FailingNew::calls(), 5U);
}

TEST(EveryNew, CountsThemAndFindsNothingWhereAllIsWell) {
    EXPECT_EQ(expectCleanAtEveryNew(growing, show), 5U);
}

TEST(EveryNew, SeesALostBlock) {
    std::unique_ptr<int> kept;
    const auto keeps = [&kept] {
        kept = std::make_unique<int>(1);
        return growing();
    };
    const Trial trial = tryOnce(3, Failing::once, keeps, show, show(growing()));
    EXPECT_TRUE(trial.threw);
    EXPECT_EQ(trial.lost, 1);
}

TEST(EveryNew, SeesAWrongResultThatSwallowedTheFailure) {
    const auto swallows = [] {
        try {
            return growing();
        } catch (const std::bad_alloc&) {
            return std::vector<int>();
        }
    };
    const Trial trial = tryOnce(3, Failing::once, swallows, show, show(growing()));
    EXPECT_TRUE(trial.happened);
    EXPECT_FALSE(trial.threw);
    EXPECT_FALSE(trial.right);
    EXPECT_EQ(trial.lost, 0);
}

}  // namespace
}  // namespace alloc
