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
