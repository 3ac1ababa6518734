#include "transport/MeasurementTask.h"

#include "ccp/CcpTaskTransmit.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct BudgetRow {
    std::uint16_t timeoutMs;
    std::int32_t retryCount;
    std::uint32_t retryDelayMs;
    std::int32_t budgetMs;
};

/// Around the largest number; no 64 bits hold the sums of the last two.
const std::vector<BudgetRow> kBudgets = {
    {1, 0x7FFFFFFD, 0, 0x7FFFFFFE},          {1, 0x7FFFFFFE, 0, 0x7FFFFFFF},
    {2, 0x7FFFFFFE, 0, 0x7FFFFFFF},          {65535, 0x7FFFFFFF, 0, 0x7FFFFFFF},
    {0, 0x7FFFFFFF, 0xFFFFFFFF, 0x7FFFFFFF}, {1000, 0x7FFFFFFF, 0xFFFFFFFF, 0x7FFFFFFF},
};

}  // namespace

TEST(MeasurementTask, ResponseBudgetEndsAtTheLargestNumber) {
    for (const BudgetRow& row : kBudgets) {
        EXPECT_EQ(responseBudgetMs(row.timeoutMs, row.retryCount, row.retryDelayMs), row.budgetMs);
    }
}

TEST(MeasurementTask, ResponseBudgetOfCcpEndsAtTheLargestNumberToo) {
    for (const BudgetRow& row : kBudgets) {
        EcuProtoCfg cfg;
        cfg.ccp.timeoutMs = row.timeoutMs;
        cfg.ccp.retryCount = row.retryCount;
        cfg.ccp.retryDelayMs = row.retryDelayMs;
        EXPECT_EQ(CCP_MOUDLE::CcpTaskTransmit(cfg, {}).responseBudget(), row.budgetMs);
    }
}

TEST(MeasurementTask, PeriodIsOverWhenItsLastMicrosecondHasPassed) {
    std::uint64_t last = 500;
    EXPECT_FALSE(isPeriodOver(500 + 6'999, last, 7));
    EXPECT_EQ(last, 500U);
    EXPECT_TRUE(isPeriodOver(500 + 7'000, last, 7));
    EXPECT_EQ(last, 7'500U);
}

TEST(MeasurementTask, LongestPeriodIsNotCut) {
    constexpr std::uint64_t kLongest = 0xFFFFFFFF * std::uint64_t{1000};
    std::uint64_t last = 0;
    EXPECT_FALSE(isPeriodOver(kLongest - 1, last, 0xFFFFFFFF));
    EXPECT_TRUE(isPeriodOver(kLongest, last, 0xFFFFFFFF));
}

/// Otherwise nothing would be sent until the clock is again where it was.
TEST(MeasurementTask, PeriodIsOverWhenTheClockWasSetBack) {
    std::uint64_t last = 5'000'000;
    EXPECT_TRUE(isPeriodOver(4'999'999, last, 7));
    EXPECT_EQ(last, 4'999'999U);
}
