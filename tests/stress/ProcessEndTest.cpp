// A process that ends while the library is in the middle of something ends with its own code.
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace stress {
namespace {

using support::waitFor;

constexpr int kCode = 42;
constexpr int kDone = 99;
constexpr int kMostFrames = 200;
constexpr std::chrono::seconds kLimit{120};

struct Work {
    const char* protocol;
    const char* name;
    int fewestFrames;  ///< that the work takes at least
};

void PrintTo(const Work& work, std::ostream* out) {
    *out << work.protocol << " " << work.name;
}

std::string nameOf(const testing::TestParamInfo<Work>& info) {
    return std::string(info.param.protocol) + "_" + info.param.name;
}

pid_t start(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = -1;
    EXPECT_EQ(posix_spawn(&child, TALVEX_ENDING, nullptr, nullptr, arguments.data(), environ), 0);
    return child;
}

/// @return the code that the process ended with, or -1 with a failure of the test
int codeOf(pid_t child) {
    int status = 0;
    if (!waitFor([&] { return waitpid(child, &status, WNOHANG) == child; }, kLimit)) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        ADD_FAILURE() << "the process does not end";
        return -1;
    }
    EXPECT_TRUE(WIFEXITED(status)) << "the process died of signal " << WTERMSIG(status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class AProcess : public testing::TestWithParam<Work> {};

INSTANTIATE_TEST_SUITE_P(Works, AProcess,
                         testing::Values(Work{"xcp", "connect", 1}, Work{"xcp", "measure", 8},
                                         Work{"xcp", "flash", 12}, Work{"ccp", "connect", 2},
                                         Work{"ccp", "measure", 6}, Work{"ccp", "flash", 10}),
                         nameOf);

TEST_P(AProcess, EndsWithItsOwnCodeBehindEachFrame) {
    int frame = 1;
    for (; frame <= kMostFrames && !HasFailure(); ++frame) {
        SCOPED_TRACE(testing::Message() << "frame " << frame);
        const int code = codeOf(start({"talvex_ending", GetParam().protocol, GetParam().name,
                                       std::to_string(frame), std::to_string(kCode)}));
        if (code == kDone) {
            break;
        }
        EXPECT_EQ(code, kCode);
    }
    EXPECT_GT(frame, GetParam().fewestFrames);
    EXPECT_LE(frame, kMostFrames) << "the work is never done";
    std::cout << frame - 1 << " endings\n";
}

}  // namespace
}  // namespace stress
