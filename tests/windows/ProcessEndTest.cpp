// The end of a process that has the library loaded, or had. Each runs in a child, which is killed with its
// threads still at work, and must end with the code it asked for.
#include "tests/windows/LoadedSession.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

using windowstest::LoadedSession;
using windowstest::waitFor;

namespace {

/// Ends a child that hangs, so that its parent sees a failure.
void limitChild() {
    std::thread([] {
        std::this_thread::sleep_for(std::chrono::minutes(2));
        std::_Exit(6);
    }).detach();
}

/// Ends the child with 0 if @p isRight.
[[noreturn]] void ends(bool isRight) {
    std::exit(isRight ? 0 : 5);
}

}  // namespace

TEST(ProcessEnd, WhileAMeasurementRunsNeedsNoFreeLibrary) {
    EXPECT_EXIT(
        {
            limitChild();
            LoadedSession session;
            session.configures();
            ends(session.connects() && session.measures());
        },
        testing::ExitedWithCode(0), "");
}

TEST(ProcessEnd, BehindFreeLibraryWhileAMeasurementRan) {
    EXPECT_EXIT(
        {
            limitChild();
            LoadedSession session;
            session.configures();
            const bool measured = session.connects() && session.measures();
            ends(session.frees() && measured);
        },
        testing::ExitedWithCode(0), "");
}

TEST(ProcessEnd, WhileACommandWaits) {
    EXPECT_EXIT(
        {
            limitChild();
            LoadedSession session;
            session.configures();
            LoadedSession::answers(false);
            session.asksForConnection();
            ends(waitFor([] { return LoadedSession::counts().sent == 1; }));
        },
        testing::ExitedWithCode(0), "");
}

TEST(ProcessEnd, RightBehindTheFirstCommand) {
    EXPECT_EXIT(
        {
            limitChild();
            LoadedSession session;
            session.configures();
            session.asksForConnection();
            ends(true);
        },
        testing::ExitedWithCode(0), "");
}
