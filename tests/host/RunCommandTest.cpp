// How sub-commands end.

#include "host/RunCommand.h"

#include "host/ConfigError.h"
#include "host/HostError.h"
#include "host/LostOutput.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>

namespace {

using host::ExitCode;
using host::runCommand;

// What a sub-command printed and gave back.
struct Told {
    ExitCode code;
    std::string out;
    std::string err;
};

Told tellOf(bool json, const std::function<ExitCode()>& body) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const ExitCode code = runCommand("read", json, body);
    static_cast<void>(std::fflush(stdout));
    return {code, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

TEST(RunCommand, CodeOfTheBodyIsItsOwn) {
    const Told told = tellOf(false, [] { return ExitCode::different; });
    EXPECT_EQ(told.code, ExitCode::different);
    EXPECT_EQ(told.out, "");
    EXPECT_EQ(told.err, "");
}

TEST(RunCommand, HostErrorHasItsCodeAndItsText) {
    const Told told = tellOf(true, []() -> ExitCode { throw host::HostError("no bus", ExitCode::bus); });
    EXPECT_EQ(told.code, ExitCode::bus);
    EXPECT_EQ(told.out, R"({"schema":1,"type":"result","command":"read","code":4,"error":"no bus"})"
                        "\n");
    EXPECT_EQ(told.err, "talvex: no bus\n");
}

TEST(RunCommand, MistakeOfTheConfigurationIsCodeThree) {
    const Told told = tellOf(false, []() -> ExitCode {
        throw host::ConfigError({"a.toml", 3}, "bus", "is bad");
    });
    EXPECT_EQ(told.code, ExitCode::configuration);
    EXPECT_EQ(told.err, "talvex: a.toml:3: bus: is bad\n");
}

TEST(RunCommand, AnyOtherExceptionIsCodeOne) {
    const Told told = tellOf(false, []() -> ExitCode { throw std::runtime_error("out of luck"); });
    EXPECT_EQ(told.code, ExitCode::failed);
    EXPECT_EQ(told.err, "talvex: out of luck\n");
}

TEST(RunCommand, LostFileIsAFailureOfWhatWentWell) {
    const Told told = tellOf(true, [] {
        host::noteLostFile("a.log");
        host::noteLostFile("a.log");
        return ExitCode::done;
    });
    EXPECT_EQ(told.code, ExitCode::failed);
    EXPECT_EQ(told.out, R"({"schema":1,"type":"result","command":"read","code":1,)"
                        R"("error":"a.log: could not be written whole"})"
                        "\n");
    EXPECT_EQ(told.err, "talvex: a.log: could not be written whole\n");
}

TEST(RunCommand, LostFileDoesNotHideWhatWentWrong) {
    const Told told = tellOf(false, []() -> ExitCode {
        host::noteLostFile("a.log");
        throw host::HostError("no answer", ExitCode::noAnswer);
    });
    EXPECT_EQ(told.code, ExitCode::noAnswer);
    EXPECT_EQ(told.err, "talvex: no answer; a.log: could not be written whole\n");
}

}  // namespace
