// What was wrong with the seed and key libraries of some ECUs.

#include "host/SeedKeyReports.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host::SeedKeyReports;
using ::testing::ElementsAre;

TEST(SeedKeyReports, KeepTheLastComplaintOfEachEcuUntilTheNextOperation) {
    std::vector<std::string> logged;
    SeedKeyReports reports([&logged](const std::string& text) { logged.push_back(text); });
    EXPECT_EQ(reports.of(1), "");
    reports.take(1, "missing");
    reports.take(2, "hangs");
    reports.take(1, "crashed");
    EXPECT_EQ(reports.of(1), "crashed");
    reports.clear(1);
    EXPECT_EQ(reports.of(1), "");
    EXPECT_EQ(reports.of(2), "hangs");
    EXPECT_THAT(logged, ElementsAre("missing", "hangs", "crashed"));
}

TEST(SeedKeyReports, LogNothingOnceTheyAreClosed) {
    std::vector<std::string> logged;
    SeedKeyReports reports([&logged](const std::string& text) { logged.push_back(text); });
    EXPECT_FALSE(reports.closed());
    reports.close();
    EXPECT_TRUE(reports.closed());
    reports.take(1, "late");
    EXPECT_TRUE(logged.empty());
}

}  // namespace
