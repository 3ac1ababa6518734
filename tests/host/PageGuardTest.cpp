// The reference page is left again, whatever happens.

#include "host/PageGuard.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using ::testing::ElementsAre;

TEST(PageGuard, RestoresOnceWhenAsked) {
    std::vector<bool> selected;
    {
        host::PageGuard guard([&](bool working) { selected.push_back(working); });
        EXPECT_THAT(selected, ElementsAre(false));
        guard.restore();
    }
    EXPECT_THAT(selected, ElementsAre(false, true));
}

TEST(PageGuard, ReadThatFailsLeavesTheWorkingPage) {
    std::vector<bool> selected;
    const auto failingRead = [&] {
        const host::PageGuard guard([&](bool working) { selected.push_back(working); });
        throw host::HostError("read: refused", host::ExitCode::refused);
    };
    EXPECT_THROW(failingRead(), host::HostError);
    EXPECT_THAT(selected, ElementsAre(false, true));
}

TEST(PageGuard, FirstErrorIsTheOneThatCounts) {
    const auto failing = [] {
        const host::PageGuard guard([](bool working) {
            if (working) {
                throw host::HostError("page: no answer", host::ExitCode::noAnswer);
            }
        });
        throw host::HostError("read: refused", host::ExitCode::refused);
    };
    try {
        failing();
        FAIL() << "nothing was thrown";
    } catch (const host::HostError& error) {
        EXPECT_STREQ(error.what(), "read: refused");
    }
}

TEST(PageGuard, PageThatCannotBeSelectedIsAnErrorAtOnce) {
    EXPECT_THROW(host::PageGuard([](bool) { throw host::HostError("page: refused"); }), host::HostError);
}

}  // namespace
