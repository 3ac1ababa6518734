#include "host/CandumpLog.h"

#include "tests/host/Program.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace {

using host::CandumpError;
using host::candumpLine;
using host::LoggedFrame;
using host::readCandumpLine;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Bytes = std::vector<unsigned>;

Bytes bytesOf(const LoggedFrame& frame) {
    return {frame.data.begin(), frame.data.begin() + frame.length};
}

LoggedFrame read(const std::string& line) {
    const std::optional<LoggedFrame> frame = readCandumpLine(line);
    if (!frame) {
        throw std::runtime_error("no frame in: " + line);
    }
    return *frame;
}

// What the reader says of a line that is no frame.
std::string complaint(const std::string& line) {
    try {
        static_cast<void>(readCandumpLine(line));
    } catch (const CandumpError& error) {
        return error.what();
    }
    return "none";
}

TEST(CandumpLog, CompactLineHasTimeInterfaceIdentifierAndData) {
    const LoggedFrame frame = read("(1436509052.249713) vcan0 044#2A366C2BBA");
    EXPECT_EQ(frame.timeUs, 1436509052249713);
    EXPECT_EQ(frame.interface, "vcan0");
    EXPECT_EQ(frame.id, 0x044U);
    EXPECT_FALSE(frame.extended || frame.fd || frame.rateSwitch || frame.remote || frame.error);
    EXPECT_THAT(bytesOf(frame), ElementsAre(0x2A, 0x36, 0x6C, 0x2B, 0xBA));
}

TEST(CandumpLog, EightDigitsAreAnExtendedIdentifierHoweverSmall) {
    const LoggedFrame frame = read("(0.000001) can1 00000600#");
    EXPECT_EQ(frame.id, 0x600U);
    EXPECT_TRUE(frame.extended);
    EXPECT_THAT(bytesOf(frame), IsEmpty());
    EXPECT_EQ(read("(0.0) can1 1fffffff#00").id, 0x1FFFFFFFU);
}

TEST(CandumpLog, TwoHashesAndADigitOfFlagsAreCanFd) {
    const LoggedFrame frame = read("(0.000001) can1 640##1FF00");
    EXPECT_TRUE(frame.fd);
    EXPECT_TRUE(frame.rateSwitch);
    EXPECT_THAT(bytesOf(frame), ElementsAre(0xFF, 0x00));
    EXPECT_FALSE(read("(0.0) can1 640##2FF").rateSwitch);
    EXPECT_TRUE(read("(0.0) can1 640##0").fd);
    EXPECT_EQ(read("(0.0) can1 640##3" + std::string(128, 'a')).length, 64);
}

TEST(CandumpLog, RemoteRequestHasNoData) {
    for (const char* line : {"(0.0) can0 123#R", "(0.0) can0 123#R8", "  can0  123   [0]  remote request",
                             "  can0  123   [4]  remote request"}) {
        SCOPED_TRACE(line);
        EXPECT_TRUE(read(line).remote);
        EXPECT_EQ(read(line).length, 0);
    }
}

TEST(CandumpLog, DirectionBehindTheDataIsPassedOver) {
    EXPECT_THAT(bytesOf(read("(0.0) can0 123#11 R")), ElementsAre(0x11));
    EXPECT_THAT(bytesOf(read("(0.0) can0 123#11 T")), ElementsAre(0x11));
    EXPECT_THAT(bytesOf(read("(0.0) can0 123##122 R")), ElementsAre(0x22));
}

TEST(CandumpLog, PointsBetweenBytesAndTheRawLengthOfEightBytesArePassedOver) {
    EXPECT_THAT(bytesOf(read("(0.0) can0 123#11.22.33")), ElementsAre(0x11, 0x22, 0x33));
    EXPECT_EQ(read("(0.0) can0 123#1122334455667788_E").length, 8);
    EXPECT_THAT(complaint("(0.0) can0 123#1122_E"), HasSubstr("the data"));
    EXPECT_THAT(complaint("(0.0) can0 123#1122334455667788_8"), HasSubstr("the data"));
}

TEST(CandumpLog, SpacedLineNeedsNoTime) {
    const LoggedFrame frame = read("  can0  123   [8]  11 22 33 44 55 66 77 88");
    EXPECT_EQ(frame.timeUs, std::nullopt);
    EXPECT_EQ(frame.interface, "can0");
    EXPECT_EQ(frame.id, 0x123U);
    EXPECT_FALSE(frame.fd);
    EXPECT_THAT(bytesOf(frame), ElementsAre(0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88));
}

TEST(CandumpLog, SpacedLineMayHaveATimeSinceTheEpochTheStartOrTheLineBefore) {
    EXPECT_EQ(read(" (1436509052.249713)  can0  123   [1]  11").timeUs, 1436509052249713);
    EXPECT_EQ(read(" (000.000123)  can0  123   [1]  11").timeUs, 123);
}

TEST(CandumpLog, TimeMayBeADateOfTheCalendar) {
    EXPECT_EQ(read(" (1970-01-02 00:00:01.500000)  can0  123   [1]  11").timeUs, 86401500000);
    EXPECT_EQ(read(" (2015-07-10 06:17:32.249713)  can0  123   [1]  11").timeUs, 1436509052249713);
    EXPECT_THAT(complaint(" (2015-02-30 06:17:32.249713)  can0  123   [1]  11"), HasSubstr("the time"));
}

TEST(CandumpLog, FractionHasOneToNineDigitsAndIsCutToMicroseconds) {
    EXPECT_EQ(read("(1.5) can0 123#").timeUs, 1500000);
    EXPECT_EQ(read("(1.000000999) can0 123#").timeUs, 1000000);
    EXPECT_THAT(complaint("(1.) can0 123#"), HasSubstr("the time"));
    EXPECT_THAT(complaint("(1.0000000001) can0 123#"), HasSubstr("the time"));
}

TEST(CandumpLog, TwoDigitsOfLengthAreCanFd) {
    EXPECT_TRUE(read("  can0  123  [08]  11 22 33 44 55 66 77 88").fd);
    std::string line = "  can0  12345678  [64] ";
    for (int i = 0; i < 64; ++i) {
        line += " 5a";
    }
    const LoggedFrame frame = read(line);
    EXPECT_TRUE(frame.fd);
    EXPECT_TRUE(frame.extended);
    EXPECT_EQ(frame.length, 64);
    EXPECT_EQ(frame.data[63], 0x5A);
}

TEST(CandumpLog, DirectionAndFlagsAheadOfTheIdentifierArePassedOver) {
    EXPECT_THAT(bytesOf(read("  can0  RX - -  123   [2]  11 22")), ElementsAre(0x11, 0x22));
    EXPECT_TRUE(read("  can0  TX B E  123  [02]  11 22").rateSwitch);
}

TEST(CandumpLog, ClassicFrameHasNoFasterDataPhaseWhateverItsFlagsSay) {
    EXPECT_FALSE(read("  can0  TX B E  123   [2]  11 22").rateSwitch);
}

TEST(CandumpLog, CharactersBehindTheDataArePassedOver) {
    EXPECT_THAT(bytesOf(read("  can0  123   [3]  41 42 20   'AB '")), ElementsAre(0x41, 0x42, 0x20));
}

TEST(CandumpLog, ErrorFrameIsMarkedAndItsExplanationIsNoFrame) {
    const LoggedFrame frame = read("  can0  20000004   [8]  00 04 00 00 00 00 00 00   ERRORFRAME");
    EXPECT_TRUE(frame.error);
    EXPECT_EQ(frame.id, 4U);
    EXPECT_TRUE(read("(0.0) can0 20000088#0000000000000000").error);
    EXPECT_EQ(readCandumpLine("\tcontroller-problem{rx-error-warning}"), std::nullopt);
}

TEST(CandumpLog, BlankLinesAreNoFramesAndCarriageReturnsAreDropped) {
    EXPECT_FALSE(readCandumpLine(""));
    EXPECT_FALSE(readCandumpLine("  \t \r"));
    EXPECT_THAT(bytesOf(read("(0.0) can0 123#11\r")), ElementsAre(0x11));
}

TEST(CandumpLog, MalformedLineIsNamedWithWhatIsAllowed) {
    const std::string id = "; allowed are 3 hexadecimal digits up to 7FF and 8 of them up to 1FFFFFFF";
    const std::string time = "; allowed are (seconds.fraction) and (YYYY-MM-DD hh:mm:ss.fraction)";
    const std::string line =
        "; allowed are \"(seconds) interface ID#DATA\" and \"interface ID [length] DATA\"";
    const std::string eight = "; allowed are up to 8 bytes of two hexadecimal digits each";
    const std::string length = "; allowed are [0] to [8], and [00] to [64] for CAN FD";
    const std::string tail = "; allowed are as many bytes as the length says, and 'characters'";
    const std::pair<const char*, std::string> rows[] = {
        {"hello", "found \"hello\"" + line},
        {"(0.0)", "found \"(0.0)\"" + line},
        {"(0.0) can0", "found \"(0.0) can0\"" + line},
        {"123#11", "found \"123#11\"" + line},
        {"(0,5) can0 123#11", "found the time \"(0,5)\"" + time},
        {"(0.5 can0 123#11", "found the time \"(0.5 can0 123#11\"" + time},
        {"(-1.5) can0 123#11", "found the time \"(-1.5)\"" + time},
        {"() can0 123#11", "found the time \"()\"" + time},
        {"(0.0) can0 12#11", "found the identifier \"12\"" + id},
        {"(0.0) can0 800#11", "found the identifier \"800\"" + id},
        {"(0.0) can0 80000600#11", "found the identifier \"80000600\"" + id},
        {"(0.0) can0 12G#11", "found the identifier \"12G\"" + id},
        {"(0.0) can0 #11", "found the identifier \"\"" + id},
        {"(0.0) can0 123#1", "found the data \"1\"" + eight},
        {"(0.0) can0 123#1G", "found the data \"1G\"" + eight},
        {"(0.0) can0 123#112233445566778899", "found the data \"112233445566778899\"" + eight},
        {"(0.0) can0 123##", "found the flags \"\"; allowed are one hexadecimal digit behind ##"},
        {"(0.0) can0 123##111223",
         "found the data \"11223\"; allowed are up to 64 bytes of two hexadecimal digits each"},
        {"(0.0) can0 123#R9", "found the remote request \"R9\"; allowed are R and R0 to R8"},
        {"(0.0) can0 123#11 X", "found behind the data \"X\"; allowed are R and T for the direction"},
        {"can0 123 11 22", "found the length \"11\"" + length},
        {"can0 123 [9] 11", "found the length \"[9]\"" + length},
        {"can0 123 [65] 11", "found the length \"[65]\"" + length},
        {"can0 123 [] 11", "found the length \"[]\"" + length},
        {"can0 123 [2] 11", "found the data \"\"" + eight},
        {"can0 123 [1] 11 22", "found behind the data \"22\"" + tail},
        {"can0 123 [1] 11 ERRORFRAME", "found behind the data \"ERRORFRAME\"" + tail},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(complaint(text), expected) << text;
    }
}

TEST(CandumpLog, WhatWasFoundIsCutAndHasNoControlCharacters) {
    EXPECT_THAT(complaint("a\x01\xff" + std::string(60, 'b')),
                HasSubstr("found \"a??" + std::string(37, 'b') + "...\"; allowed"));
}

TEST(CandumpLog, WriterMakesTheLinesThatWereRead) {
    for (const char* line : {"(1436509052.249713) vcan0 044#2A366C2BBA", "(0000000000.000000) can0 7FF#",
                             "(0000000012.000001) can1 00000600#FF", "(0000000000.000001) can1 640##1FF00",
                             "(0000000000.000001) can1 18DA10F1##0", "(0000000000.000001) can0 123#R",
                             "(0000000000.000001) can0 20000004#0004"}) {
        EXPECT_EQ(candumpLine(read(line)), line);
    }
}

TEST(CandumpLog, ExampleIsWrittenAsItWasRead) {
    std::istringstream log(host_test::projectFile("examples/demo.log"));
    int count = 0;
    for (std::string line; std::getline(log, line); ++count) {
        EXPECT_EQ(candumpLine(read(line)), line);
    }
    EXPECT_EQ(count, 273);
}

// Lines near the real ones: one character of a good line replaced, dropped or doubled.
TEST(CandumpLog, AnyLineIsAFrameOrAComplaintAndNothingElse) {
    const std::uint32_t seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string good[] = {"(0000000012.000001) can1 640##1FF00 T", "  can0  TX B E  123  [02]  11 22",
                                " (2015-07-10 06:17:32.249713)  can0  20000004   [2]  00 04   ERRORFRAME",
                                "(0.0) can0 123#1122334455667788_E", "(0.0) can0 123#R8 R"};
    int frames = 0;
    for (int round = 0; round < 20'000; ++round) {
        std::string line = good[random() % std::size(good)];
        for (unsigned changes = random() % 4; changes > 0 && !line.empty(); --changes) {
            const std::size_t at = random() % line.size();
            switch (random() % 3) {
                case 0:
                    line[at] = static_cast<char>(random());
                    break;
                case 1:
                    line.erase(at, 1);
                    break;
                default:
                    line.insert(at, 1, line[at]);
            }
        }
        try {
            const std::optional<LoggedFrame> frame = readCandumpLine(line);
            frames += frame ? 1 : 0;
            if (frame) {
                EXPECT_LE(frame->length, frame->fd ? 64 : 8) << line;
                EXPECT_LE(frame->id, frame->extended ? 0x1FFFFFFFU : 0x7FFU) << line;
                EXPECT_THAT(frame->interface, ::testing::Not(IsEmpty())) << line;
            }
        } catch (const CandumpError& error) {
            EXPECT_THAT(error.what(), HasSubstr("; allowed are "));
        }
    }
    EXPECT_GT(frames, 4000);
}

TEST(CandumpWriter, WritesAFileOfLines) {
    const host_test::TempFile file("old content");
    host::CandumpWriter writer(file.path());
    writer.write(read("(0.5) can0 600#FF00"));
    writer.write(read("(0.6) can0 601#FF"));
    EXPECT_TRUE(writer.close());
    std::ifstream stream(file.path());
    std::stringstream content;
    content << stream.rdbuf();
    EXPECT_EQ(content.str(), "(0000000000.500000) can0 600#FF00\n(0000000000.600000) can0 601#FF\n");
}

TEST(CandumpWriter, FileThatCannotBeOpenedIsNamed) {
    try {
        const host::CandumpWriter writer("/nowhere/trace.log");
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_STREQ(error.what(), "/nowhere/trace.log cannot be written: No such file or directory");
    }
}

TEST(CandumpWriter, FullDiskIsToldWhenItIsClosed) {
    host::CandumpWriter writer("/dev/full");
    writer.write(read("(0.5) can0 600#FF00"));
    EXPECT_FALSE(writer.close());
}

}  // namespace
