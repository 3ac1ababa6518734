// FreeLibrary at every stage of a session. The loader's lock is held meanwhile, so a thread of the library
// could neither begin nor end; a call of code that is gone ends this program.
#include "tests/windows/LoadedSession.h"

#include <gtest/gtest.h>

#include <vector>

#include <windows.h>

using windowstest::LoadedSession;
using windowstest::waitFor;

TEST(FreeLibrary, ReturnsThoughNothingWasCalled) {
    LoadedSession session;
    EXPECT_TRUE(session.frees());
}

TEST(FreeLibrary, ReturnsThoughAnEcuIsConnected) {
    LoadedSession session;
    session.configures();
    ASSERT_TRUE(session.connects());
    EXPECT_TRUE(session.isConnected());
    EXPECT_TRUE(session.frees());
}

// The worker has perhaps not begun, and cannot begin any more.
TEST(FreeLibrary, ReturnsRightBehindTheFirstCommandFiftyTimes) {
    for (int round = 0; round < 50 && !HasFailure(); ++round) {
        LoadedSession session;
        session.configures();
        session.asksForConnection();
        EXPECT_TRUE(session.frees()) << round;
    }
}

TEST(FreeLibrary, ReturnsWhileAMeasurementRunsFiftyTimes) {
    for (int round = 0; round < 50 && !HasFailure(); ++round) {
        LoadedSession session;
        session.configures();
        ASSERT_TRUE(session.connects());
        ASSERT_TRUE(session.measures());
        EXPECT_TRUE(session.frees()) << round;
    }
}

// The worker joins the polling thread at about the time at which the library goes.
TEST(FreeLibrary, ReturnsWhileAMeasurementStopsFiftyTimes) {
    for (int round = 0; round < 50 && !HasFailure(); ++round) {
        LoadedSession session;
        session.configures();
        ASSERT_TRUE(session.connects());
        ASSERT_TRUE(session.measures());
        session.asksForStop();
        EXPECT_TRUE(session.frees()) << round;
    }
}

TEST(FreeLibrary, ReturnsThoughACommandRepeatsWithoutLimit) {
    LoadedSession session;
    session.configures(-1, 2);
    LoadedSession::answers(false);
    session.asksForConnection();
    ASSERT_TRUE(waitFor([] { return LoadedSession::counts().sent > 3; }));
    EXPECT_TRUE(session.frees());
}

TEST(FreeLibrary, ReturnsThoughACommandWaitsAndTheQueueIsFull) {
    LoadedSession session;
    session.configures();
    LoadedSession::answers(false);
    session.asksForConnection();
    ASSERT_TRUE(waitFor([] { return LoadedSession::counts().sent == 1; }));
    for (int i = 0; i < 101; ++i) {
        session.asksForConnection();
    }
    EXPECT_TRUE(session.frees());
}

TEST(FreeLibrary, ReturnsThoughALinkIsLost) {
    LoadedSession session;
    session.configures(0, 50);
    ASSERT_TRUE(session.connects());
    ASSERT_TRUE(session.measures());
    LoadedSession::answers(false);
    EXPECT_TRUE(session.frees());
}

TEST(LoadLibrary, BeginsAfreshEachTime) {
    LoadedSession first;
    first.configures();
    ASSERT_TRUE(first.connects());
    ASSERT_TRUE(first.frees());
    LoadedSession second;
    EXPECT_FALSE(second.isConnected());
    EXPECT_EQ(second.ecuCount(), 0U);
    EXPECT_TRUE(second.frees());
}

// A process has about a thousand slots of thread-local storage for all of its DLLs.
TEST(FreeLibrary, GivesItsThreadLocalStorageBack) {
    std::vector<DWORD> nextFree;
    for (int round = 0; round < 10 && !HasFailure(); ++round) {
        LoadedSession session;
        session.configures();
        ASSERT_TRUE(session.connects());
        ASSERT_TRUE(session.frees());
        nextFree.push_back(TlsAlloc());
        TlsFree(nextFree.back());
    }
    EXPECT_EQ(nextFree.front(), nextFree.back());
}
