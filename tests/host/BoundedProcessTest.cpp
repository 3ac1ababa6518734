// Programs that are run with a limit to their time and output.

#include "host/BoundedProcess.h"

#include "host/Interrupt.h"
#include "tests/host/BusTesting.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

using host::ProcessBounds;
using host::ProcessEnd;
using host::ProcessOutcome;
using host::runBounded;
using std::chrono::milliseconds;
using std::chrono::minutes;

ProcessOutcome shell(const std::string& script, const ProcessBounds& bounds = {minutes(1), 1'000}) {
    return runBounded("/bin/sh", {"-c", script}, bounds);
}

// Whether the process is no more, or waits for nobody but its parent.
bool isGone(pid_t process) {
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(stat, text);
    return text.empty() || text.find(") Z ") != std::string::npos;
}

TEST(ABoundedProcess, TellsItsExitCodeAndBothStreamsApart) {
    const ProcessOutcome outcome = shell("echo out; echo err >&2; exit 7");
    EXPECT_EQ(outcome.end, ProcessEnd::exited);
    EXPECT_EQ(outcome.code, 7);
    EXPECT_EQ(outcome.output, "out\n");
    EXPECT_EQ(outcome.error, "err\n");
}

TEST(ABoundedProcess, GetsItsArgumentsAsTheyAre) {
    const ProcessOutcome outcome =
        runBounded("/bin/sh", {"-c", "printf '<%s>' \"$@\"", "sh", "", "a b", "$HOME"}, {minutes(1), 1'000});
    EXPECT_EQ(outcome.output, "<><a b><$HOME>");
}

TEST(ABoundedProcess, TellsTheSignalThatEndedIt) {
    const ProcessOutcome outcome = shell("echo out; kill -SEGV $$");
    EXPECT_EQ(outcome.end, ProcessEnd::signalled);
    EXPECT_EQ(outcome.code, SIGSEGV);
    EXPECT_EQ(outcome.output, "out\n");
}

TEST(ABoundedProcess, IsKilledWhenItsTimeIsOver) {
    const ProcessOutcome outcome =
        shell("trap '' TERM INT; while :; do sleep 1; done", {milliseconds(200), 1'000});
    EXPECT_EQ(outcome.end, ProcessEnd::timeOut);
}

TEST(ABoundedProcess, IsKilledWhenItsTimeIsOverAlsoWithItsStreamsClosed) {
    const ProcessOutcome outcome =
        shell("exec >&- 2>&-; while :; do sleep 1; done", {milliseconds(200), 1'000});
    EXPECT_EQ(outcome.end, ProcessEnd::timeOut);
}

TEST(ABoundedProcess, MayPrintAsMuchAsItsBoundAndNoMore) {
    EXPECT_EQ(shell("printf 1234567890", {minutes(1), 10}).end, ProcessEnd::exited);
    EXPECT_EQ(shell("printf 12345678901", {minutes(1), 10}).end, ProcessEnd::tooMuch);
    EXPECT_EQ(shell("printf 12345678901 >&2", {minutes(1), 10}).end, ProcessEnd::tooMuch);
    EXPECT_EQ(shell("while :; do echo and another line; done").end, ProcessEnd::tooMuch);
}

TEST(ABoundedProcess, IsNotWaitedForLongerThanItselfThoughAChildKeepsItsStreams) {
    const ProcessOutcome outcome = shell("sleep 1000 & echo $!");
    EXPECT_EQ(outcome.end, ProcessEnd::exited);
    ASSERT_FALSE(outcome.output.empty());
    const auto child = static_cast<pid_t>(std::stol(outcome.output));
    ASSERT_GT(child, 0);
    EXPECT_TRUE(host_test::becomes([child] { return isGone(child); }));
}

TEST(ABoundedProcess, IsKilledWhenItIsToStop) {
    int asked = 0;
    ProcessBounds bounds{minutes(1), 1'000};
    bounds.stop = [&asked] { return ++asked == 3; };
    const ProcessOutcome outcome = shell("echo out; sleep 1000", bounds);
    EXPECT_EQ(outcome.end, ProcessEnd::stopped);
    EXPECT_EQ(asked, 3);
}

// Nobody can tell then how it ended, least of all that it went well.
TEST(ABoundedProcess, OfAParentThatIgnoresItsEndIsUnknown) {
    std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(shell("kill -SEGV $$").end, ProcessEnd::unknown);
    EXPECT_EQ(shell("exit 0").end, ProcessEnd::unknown);
}

TEST(ABoundedProcess, IsKnownToAParentThatWatchesInterrupts) {
    std::signal(SIGCHLD, SIG_IGN);
    host::watchInterrupts();
    EXPECT_EQ(shell("kill -SEGV $$").end, ProcessEnd::signalled);
}

TEST(ABoundedProcess, ThatIsNotThereIsNotStarted) {
    const ProcessOutcome outcome = runBounded("/nowhere/program", {}, {});
    EXPECT_EQ(outcome.end, ProcessEnd::notStarted);
    EXPECT_EQ(outcome.code, ENOENT);
}

TEST(ABoundedProcess, HasNothingOnItsStandardInput) {
    const ProcessOutcome outcome = shell("cat; echo end");
    EXPECT_EQ(outcome.end, ProcessEnd::exited);
    EXPECT_EQ(outcome.output, "end\n");
}

TEST(ABoundedProcess, DoesNotSeeIgnoredOrBlockedSignalsOfItsParent) {
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    EXPECT_EQ(shell("kill -PIPE $$; sleep 1000").code, SIGPIPE);
    EXPECT_EQ(shell("kill -TERM $$; sleep 1000").code, SIGTERM);
}

TEST(ABoundedProcess, WorksForAParentWhoseStandardStreamsAreClosed) {
    const int output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10);
    const int error = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10);
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    const ProcessOutcome outcome = shell("echo out; echo err >&2");
    dup2(output, STDOUT_FILENO);
    dup2(error, STDERR_FILENO);
    EXPECT_EQ(outcome.end, ProcessEnd::exited);
    EXPECT_EQ(outcome.output, "out\n");
    EXPECT_EQ(outcome.error, "err\n");
}

}  // namespace
