// `talvex decode` as a process: its two outputs, its exit codes.

#include "tests/host/DecodeTesting.h"
#include "tests/host/Program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

using host_test::linesOf;
using host_test::Outcome;
using host_test::Program;
using host_test::projectFile;
using host_test::runProgram;
using host_test::TempFile;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::vector<nlohmann::json> jsonOf(const std::string& text) {
    std::vector<nlohmann::json> objects;
    for (const std::string& line : linesOf(text)) {
        objects.push_back(nlohmann::json::parse(line));
    }
    return objects;
}

TEST(DecodeProcess, ShowsEveryFrameOfTheExampleByTheExamplesConfiguration) {
    const Outcome outcome = runProgram({"decode", "examples/demo.log"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err,
              "talvex: examples/demo.log: 273 lines, 273 frames, 273 of them decoded, 0 of others, "
              "0 lines not understood\n");
    const std::vector<std::string> lines = linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 273U);
    EXPECT_EQ(lines.front(), "         0.000984 can0 600 -> CTO CONNECT Mode=0x0");
    EXPECT_EQ(lines.back(), "         1.983803 can0 601 <- RES DISCONNECT (0.360 ms)");
    EXPECT_THAT(outcome.out, HasSubstr("can1 640 -> CTO SET_MTA Address=0x40000120 Address_Ext=0x0\n"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("(no command)")));
    EXPECT_THAT(outcome.out, Not(HasSubstr("\033[")));
}

TEST(DecodeProcess, JsonIsAnObjectALineAndTheLastIsTheResult) {
    const Outcome outcome = runProgram({"decode", "examples/demo.log", "--json"});
    EXPECT_EQ(outcome.code, 0);
    const std::vector<nlohmann::json> objects = jsonOf(outcome.out);
    ASSERT_EQ(objects.size(), 275U);
    for (std::size_t i = 0; i < 273; ++i) {
        const nlohmann::json& frame = objects[i];
        EXPECT_EQ(frame.at("schema"), 1);
        EXPECT_EQ(frame.at("type"), "frame");
        EXPECT_TRUE(frame.at("time_us").is_number_integer());
        EXPECT_TRUE(frame.at("fields").is_array());
        EXPECT_EQ(frame.size(), 14U);
    }
    EXPECT_EQ(objects.back(), nlohmann::json::parse(R"({"schema": 1, "type": "result", "command": "decode",
        "code": 0, "error": null})"));
    EXPECT_EQ(objects[273], nlohmann::json::parse(R"({"schema": 1, "type": "log",
        "lines": 273, "frames": 273, "ours": 273, "others": 0, "malformed": 0})"));
}

TEST(DecodeProcess, StatsOfTheExampleNameTheCommandsOfTheLostEcu) {
    const Outcome outcome = runProgram({"decode", "--stats", "examples/demo.log"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, HasSubstr("can1 xcp 640:641 big endian\n"));
    EXPECT_THAT(outcome.out,
                HasSubstr("\n  SET_MTA                            3        1       0           2  "));
    EXPECT_THAT(outcome.out,
                HasSubstr("\n  2 x error 0x20 of GET_DAQ_CLOCK: Unknown command or not implemented "
                          "optional command.\n"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("CTO")));
}

TEST(DecodeProcess, StatsAsJsonEndWithTheResultToo) {
    const Outcome outcome = runProgram({"decode", "--stats", "--json", "examples/demo.log"});
    const std::vector<nlohmann::json> objects = jsonOf(outcome.out);
    ASSERT_GT(objects.size(), 2U);
    EXPECT_EQ(objects.front().at("type"), "command");
    EXPECT_EQ(objects.back().at("type"), "result");
}

TEST(DecodeProcess, PairsOfTheCommandLineStandInForTheConfiguration) {
    const std::string log =
        "(0.000001) can0 700#0107390200000000\n(0.000200) can0 701#FF00070000000000\n"
        "(0.000300) can0 18DA10F1#F600000012345678\n(0.000400) can0 600#FF00\n";
    const Outcome outcome =
        runProgram({"decode", "--ccp", "700:701", "--xcp", "18DA10F1:18DAF110,be", "-"}, log);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(
        linesOf(outcome.out),
        ElementsAre("         0.000001 can0 700 -> CTO CONNECT CTR=0x7 Station_Address=0x239",
                    "         0.000200 can0 701 <- RES CONNECT (0.199 ms) "
                    "Code=\"Acknowledge,No error.\" Ctr=0x7",
                    "         0.000300 can0 18DA10F1 -> CTO SET_MTA Address=0x12345678 Address_Ext=0x0"));
    EXPECT_EQ(outcome.err,
              "talvex: standard input: 4 lines, 4 frames, 3 of them decoded, 1 of others, "
              "0 lines not understood\n");
}

TEST(DecodeProcess, PairsAreAddedToAConfigurationThatIsNamed) {
    const Outcome outcome = runProgram({"decode", "--xcp", "700:701", "-c", "examples/demo.toml", "-"},
                                       "(0.0) can0 700#FF00\n(0.0) can0 600#FF00\n");
    EXPECT_EQ(linesOf(outcome.out).size(), 2U);
}

TEST(DecodeProcess, SpacedFormIsReadToo) {
    const Outcome outcome = runProgram({"decode", "-"},
                                       "  can0  600   [2]  FF 00\r\n\n"
                                       " (000.000250)  can0  601   [2]  FE 10   '..'\n"
                                       "  can1  640  [01]  FC");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(
        linesOf(outcome.out),
        ElementsAre("                - can0 600 -> CTO CONNECT Mode=0x0",
                    "         0.000250 can0 601 <- ERR CONNECT ErrorCode=\"Command was not executed\"",
                    "                - can1 640 -> CTO SYNCH"));
    EXPECT_THAT(outcome.err, HasSubstr("4 lines, 3 frames, 3 of them decoded"));
}

TEST(DecodeProcess, DeltaAddsTheTimesUp) {
    const std::string log =
        " (000.000000)  can0  777   [0]\n (000.001000)  can0  600   [1]  FC\n"
        " (000.000250)  can0  601   [2]  FE 00\n";
    const Outcome sums = runProgram({"decode", "--delta", "-"}, log);
    EXPECT_THAT(sums.out, HasSubstr("         0.001250 can0 601 <- RES SYNCH (0.250 ms)"));
    EXPECT_THAT(sums.err, Not(HasSubstr("goes back")));
    const Outcome plain = runProgram({"decode", "-"}, log);
    EXPECT_EQ(plain.code, 0);
    EXPECT_THAT(plain.err,
                HasSubstr("talvex: standard input:3: the time goes back, so response times are not "
                          "right; a log of differences (candump -td) needs --delta\n"));
}

// A date of the year 0 lies 62 milliard seconds ahead of 1970. Sums of such differences used to leave 64
// bits.
TEST(DecodeProcess, SumOfDifferencesBelowZeroHasALimit) {
    std::string log;
    for (int i = 0; i < 200; ++i) {
        log += "(0000-01-01 00:00:00.0) a 600#FF\n";
    }
    const Outcome outcome = runProgram({"decode", "--delta", "-"}, log);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(linesOf(outcome.out).back(), "-4062167219200.000000 a 600 -> CTO CONNECT Mode=0x0");
}

TEST(DecodeProcess, MalformedLineIsNamedAndSkippedAndMakesTheExitCodeOne) {
    const TempFile log("(0.0) can0 600#FF00\n(0.1) can0 60#FF\n(0.2) can0 601#FF\nnonsense\n");
    const Outcome outcome = runProgram({"decode", "--json", log.path()});
    EXPECT_EQ(outcome.code, 1);
    const std::vector<nlohmann::json> objects = jsonOf(outcome.out);
    ASSERT_EQ(objects.size(), 4U);
    EXPECT_EQ(objects[1].at("title"), "RES CONNECT");
    EXPECT_EQ(objects[3].at("code"), 1);
    EXPECT_EQ(objects[2].at("malformed"), 2);
    EXPECT_THAT(
        linesOf(outcome.err),
        ElementsAre("talvex: " + log.path() +
                        ":2: found the identifier \"60\"; allowed are 3 hexadecimal digits up to 7FF and 8 "
                        "of them up to 1FFFFFFF",
                    "talvex: " + log.path() +
                        ":4: found \"nonsense\"; allowed are \"(seconds) interface ID#DATA\" and "
                        "\"interface ID [length] DATA\"",
                    "talvex: " + log.path() +
                        ": 4 lines, 2 frames, 2 of them decoded, 0 of others, 2 lines not understood"));
}

TEST(DecodeProcess, FileThatIsNoLogBringsTwentyComplaintsAndTheirNumber) {
    std::string text;
    for (int i = 0; i < 500; ++i) {
        text += "nonsense\n";
    }
    const Outcome outcome = runProgram({"decode", "-"}, text);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, IsEmpty());
    const std::vector<std::string> lines = linesOf(outcome.err);
    ASSERT_EQ(lines.size(), 22U);
    EXPECT_EQ(lines[20], "talvex: standard input: 480 more lines like these");
}

TEST(DecodeProcess, LineOfAMegabyteIsOneMalformedLine) {
    const Outcome outcome =
        runProgram({"decode", "-"}, std::string(1'000'000, 'x') + "\n(0.0) can0 600#FF00\n");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(linesOf(outcome.out).size(), 1U);
    EXPECT_THAT(outcome.err, HasSubstr("2 lines, 1 frames"));
}

TEST(DecodeProcess, EmptyLogIsDone) {
    const Outcome outcome = runProgram({"decode", "-"}, "");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(DecodeProcess, LogThatCannotBeReadIsExitCodeOne) {
    const Outcome missing = runProgram({"decode", "/nowhere/demo.log"});
    EXPECT_EQ(missing.code, 1);
    EXPECT_EQ(missing.err, "talvex: /nowhere/demo.log cannot be read: No such file or directory\n");
    const Outcome folder = runProgram({"decode", "--json", "examples"});
    EXPECT_EQ(folder.code, 1);
    EXPECT_THAT(folder.err, HasSubstr("talvex: examples: cannot be read: Is a directory\n"));
    EXPECT_EQ(jsonOf(folder.out).back().at("code"), 1);
}

TEST(DecodeProcess, MistakesOfTheCommandLineAreExitCodeTwo) {
    EXPECT_EQ(runProgram({"decode"}).code, 2);
    EXPECT_EQ(runProgram({"decode", "--fast", "-"}).code, 2);
    const Outcome pair = runProgram({"decode", "--xcp", "600", "-"});
    EXPECT_EQ(pair.code, 2);
    EXPECT_THAT(pair.err, HasSubstr("talvex: found \"600\"; allowed are two different identifiers"));
    const Outcome twice = runProgram({"decode", "--xcp", "600:601", "--ccp", "600:602", "-"});
    EXPECT_EQ(twice.code, 2);
    EXPECT_THAT(twice.err, HasSubstr("talvex: identifier 600 is in two pairs"));
}

TEST(DecodeProcess, ConfigurationThatCannotBeReadIsExitCodeThree) {
    const Outcome config = runProgram({"decode", "--config", "/nowhere/demo.toml", "-"});
    EXPECT_EQ(config.code, 3);
    EXPECT_THAT(config.err, HasSubstr("talvex: /nowhere/demo.toml: cannot be read"));
    EXPECT_THAT(config.out, IsEmpty());
}

TEST(DecodeProcess, ReaderThatGoesAwayEndsItWithoutACrash) {
    std::string text;
    const std::string example = projectFile("examples/demo.log");
    for (int i = 0; i < 200; ++i) {
        text += example;
    }
    const TempFile log(text);
    Program program({"decode", "--xcp", "600:601", "--xcp", "640:641,be", log.path()});
    ASSERT_TRUE(program.readUntil("RES CONNECT"));
    program.closeOutput();
    EXPECT_EQ(program.wait(), 1);
}

TEST(DecodeProcess, WithoutAnEcuToLookForItSaysHowToNameOne) {
    const Outcome outcome = runProgram({"decode", "-"}, "", "/");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.err,
              "talvex: no ECU to look for: give its identifiers by --xcp or --ccp, or a "
              "configuration by --config (examples/demo.toml: cannot be read: No such file or "
              "directory)\n");
}

// The line is shown while the other end of the pipe is still open; the end of the pipe only makes sure that
// a signal just ahead of the wait for more is not missed.
TEST(DecodeProcess, LivePipeIsShownLineByLineUntilCtrlC) {
    const TempFile place("");
    const std::string pipe = place.path() + ".pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    Program program({"decode", "--xcp", "600:601", "--json", pipe});
    std::ofstream writer(pipe);
    writer << "(0.0) can0 600#FF00\n" << std::flush;
    EXPECT_TRUE(program.readUntil("\"CTO CONNECT\""));
    program.signal(SIGINT);
    writer.close();
    EXPECT_EQ(program.wait(), 130);
    EXPECT_THAT(program.output(), HasSubstr("\"command\":\"decode\",\"code\":130"));
    std::remove(pipe.c_str());
}

TEST(DecodeProcess, HelpNamesItsOptions) {
    Program program({"decode", "--help"});
    EXPECT_EQ(program.wait(), 0);
    EXPECT_THAT(program.output(), HasSubstr("--xcp"));
    EXPECT_THAT(program.output(), HasSubstr("--stats"));
}

TEST(DemoProcess, TraceIsALogThatDecodesWithoutRest) {
    const TempFile trace("");
    const Outcome demo = runProgram({"demo", "--seconds", "0.5", "--trace", trace.path()});
    EXPECT_THAT(demo.out, HasSubstr("verdict: "));
    const Outcome decoded = runProgram({"decode", "--stats", "--json", trace.path()});
    EXPECT_EQ(decoded.code, 0) << decoded.err;
    const std::vector<nlohmann::json> objects = jsonOf(decoded.out);
    ASSERT_GT(objects.size(), 2U);
    const nlohmann::json& result = objects[objects.size() - 2];
    EXPECT_EQ(result.at("type"), "log");
    EXPECT_GT(result.at("frames"), 1000);
    EXPECT_EQ(result.at("ours"), result.at("frames"));
    EXPECT_THAT(decoded.out, Not(HasSubstr("no command")));
    EXPECT_THAT(decoded.out, HasSubstr("\"command\":\"START_STOP_SYNCH\""));
}

TEST(DemoProcess, TraceThatCannotBeWrittenIsNamed) {
    const Outcome demo = runProgram({"demo", "--seconds", "0.5", "--trace", "/nowhere/trace.log"});
    EXPECT_EQ(demo.code, 1);
    EXPECT_EQ(demo.err, "talvex: /nowhere/trace.log cannot be written: No such file or directory\n");
}

}  // namespace
