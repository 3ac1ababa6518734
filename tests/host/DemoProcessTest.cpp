// The built program: what it prints and what it tells its caller.

#include "tests/host/Program.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using host_test::Program;
using host_test::projectFile;
using host_test::replaced;
using host_test::TempFile;
using ::testing::Each;
using ::testing::EndsWith;
using ::testing::HasSubstr;

std::vector<std::string> lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> found;
    for (std::string line; std::getline(stream, line);) {
        found.push_back(line);
    }
    return found;
}

std::size_t characters(const std::string& line) {
    std::size_t count = 0;
    for (const char byte : line) {
        count += (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U ? 1U : 0U;
    }
    return count;
}

// The example with longer time-outs, for a machine full of other work. One long wait bears a stall that two
// short ones do not: an ECU that speaks CCP is given up after its first command without an answer.
std::string patientExample() {
    const std::regex timeouts("command_ms = [0-9]+,(.*) retries = [0-9]+,");
    return std::regex_replace(projectFile("examples/demo.toml"), timeouts,
                              "command_ms = 3000,$1 retries = 0,");
}

// The example without flash, which takes most of the time.
std::string shortened(const std::string& example) {
    return replaced(replaced(example, "    { kind = \"flash\", address = 0x80000, size = 0x4000 },\n", ""),
                    "    { kind = \"flash\", address = 0xC0000, size = 0x4000 },\n", "");
}

std::string shortExample() {
    return shortened(patientExample());
}

// The line of a step of an ECU, without the time; empty if there is none.
std::string stepLine(const std::string& output, const std::string& step, const std::string& ecu) {
    std::smatch match;
    const std::regex pattern("s (" + step + " +" + ecu + ": [^\n]*)\n");
    return std::regex_search(output, match, pattern) ? match[1].str() : std::string();
}

bool hasObjcopy() {
    return std::system("command -v objcopy >/dev/null 2>&1") == 0;
}

// The load that the line of a bus names, in percent; -1 without such a line.
double load(const std::string& output, const std::string& bus) {
    std::smatch match;
    const bool found = std::regex_search(output, match, std::regex("bus " + bus + " .* load +([0-9.]+) %"));
    return found ? std::stod(match[1]) : -1.0;
}

MATCHER(FitsTheTerminal, "") {
    return characters(arg) <= 110;
}

TEST(DemoProcess, ExampleEndsWellAndShowsEveryStep) {
    if (!hasObjcopy()) {
        GTEST_SKIP() << "objcopy is not installed on this machine";
    }
    const TempFile file(patientExample());
    Program program({"demo", "--config", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 0) << program.output();
    for (const char* text :
         {"connect     engine, chassis, gearbox answered",
          "unlock      engine: calibration (4-byte seed), daq (10-byte seed), programming (6-byte seed)",
          "unlock      chassis: daq (18-byte seed)",
          "unlock      gearbox: calibration (4-byte seed), daq (4-byte seed), programming (4-byte seed)",
          "read        engine: 3 memory values, rejected by the library: removed_sensor",
          "read        chassis: 2 memory values",
          "read        gearbox: 2 memory values, rejected by the library: removed_sensor",
          "upload      engine: 5120 bytes of RAM and both calibration pages",
          "pages       engine: switched to the reference page and back to the working page",
          "copy        engine: reference page to working page, 2048 bytes by one command",
          "calibrate   engine: 4 values written and read back",
          "image       engine: 16256 bytes from 0x80040 on, made by objcopy",
          "erase       engine: 16384 bytes in 4 sectors",
          "reset       engine: the ECU ended its session; connected and unlocked again",
          "program     engine: 16256 bytes",
          "check       engine: 16256 bytes have the checksum of the image",
          "proof       engine: all 21418 bytes that do not move are right",
          "upload      gearbox: 2560 bytes of RAM and both calibration pages",
          "pages       gearbox: switched to the reference page and back to the working page",
          "copy        gearbox: reference page to working page, 1024 bytes by writing them",
          "calibrate   gearbox: 4 values written and read back",
          "image       gearbox: 16256 bytes from 0xC0040 on, made by objcopy",
          "erase       gearbox: 16384 bytes in 4 sectors",
          "program     gearbox: 16256 bytes",
          "check       gearbox: 16256 bytes have the checksum of the image",
          "proof       gearbox: all 18863 bytes that do not move are right",
          "start       engine: 26 variables in 3 DAQ lists, 3 polled",
          "start       chassis: 27 variables in 3 DAQ lists, 3 polled",
          "start       gearbox: 26 variables in 3 DAQ lists, 3 polled",
          "measure     1.0 s of bus time",
          "silence     chassis sends nothing any more",
          ": ecu:chassis-Recive msg timeout",
          "disconnect  the library disconnected all by itself",
          "removed_sensor     rejected       -        -",
          "verdict: good; no counter has a gap, every value and every byte is the ECU's, every callback "
          "came"}) {
        EXPECT_THAT(program.output(), HasSubstr(text));
    }
    EXPECT_THAT(lines(program.output()), Each(FitsTheTerminal()));
    EXPECT_THAT(program.output(), ::testing::Not(HasSubstr("\033[")));
    EXPECT_EQ(stepLine(program.output(), "upload", "chassis"), "") << "it has no calibration pages";
    EXPECT_EQ(stepLine(program.output(), "reset", "gearbox"), "") << "CCP keeps its session";
}

TEST(DemoProcess, WithoutObjcopyItSaysSoAndFails) {
    const TempFile file(patientExample());
    ASSERT_EQ(setenv("PATH", "/nowhere", 1), 0);
    Program program({"demo", file.path()});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_THAT(program.output(), HasSubstr("  - engine: image: objcopy cannot be started: No such file or "
                                            "directory; it is part of binutils\n"));
    EXPECT_THAT(program.output(), HasSubstr("disconnect  all ECUs"));
}

TEST(DemoProcess, ProgrammingThatTheEcuDoesNotKnowFailsWithItsReason) {
    if (!hasObjcopy()) {
        GTEST_SKIP() << "objcopy is not installed on this machine";
    }
    const TempFile file(replaced(patientExample(), "0xD7, 0xD2, 0xD1", "0xD7, 0xD1"));
    Program program({"demo", file.path()});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_THAT(program.output(), HasSubstr("  - engine: program: result 72, "));
    EXPECT_THAT(program.output(), HasSubstr("log: PROGRAM_START not support"));
}

TEST(DemoProcess, PagesThatTheEcuDoesNotSwitchFailWithTheirReason) {
    const TempFile file(replaced(shortExample(), "0x10, 0x11, 0x12", "0x10, 0x12"));
    Program program({"demo", file.path()});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_THAT(stepLine(program.output(), "calibrate", "engine"), HasSubstr("4 values"));
    EXPECT_THAT(program.output(), HasSubstr("  - gearbox: upload: the page was not put back, result 72\n"));
    EXPECT_THAT(program.output(), HasSubstr("  - gearbox: switch of the page: result 72, "));
}

TEST(DemoProcess, DaqLoadsEachBusToFiftyToSeventyPercent) {
    const TempFile file(shortExample());
    Program program({"demo", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_THAT(load(program.output(), "powertrain"),
                ::testing::AllOf(::testing::Ge(50.0), ::testing::Le(70.0)));
    EXPECT_THAT(load(program.output(), "chassis"),
                ::testing::AllOf(::testing::Ge(50.0), ::testing::Le(70.0)));
    EXPECT_THAT(load(program.output(), "transmission"),
                ::testing::AllOf(::testing::Ge(50.0), ::testing::Le(70.0)));
}

TEST(DemoProcess, OtherEcuCanBeTheOneThatIsLost) {
    const TempFile file(replaced(shortExample(), "silenced = \"chassis\"", "silenced = \"engine\""));
    Program program({"demo", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_THAT(program.output(), HasSubstr(": ecu:engine-Recive msg timeout"));
}

TEST(DemoProcess, DaqListsOfACcpEcuCanSendWithIdentifiersOfTheirOwn) {
    const TempFile file(replaced(replaced(shortExample(), "[\"10ms\"] }", "[\"10ms\"], id = 0x682 }"),
                                 "[\"100ms\"] }", "[\"100ms\"], id = 0x683 }"));
    Program program({"demo", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 0) << program.output();
}

TEST(DemoProcess, CcpEcuCanBeTheOneThatIsLost) {
    const TempFile file(replaced(shortExample(), "silenced = \"chassis\"", "silenced = \"gearbox\""));
    Program program({"demo", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_THAT(program.output(), HasSubstr(": ecu:gearbox-"));
}

TEST(DemoProcess, MissingKeyFunctionFailsWithItsReason) {
    const TempFile file(
        replaced(projectFile("examples/demo.toml"), "seed_key = \"sim:\"", "seed_key = \"other:\""));
    Program program({"demo", file.path()});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_THAT(program.output(), HasSubstr("  - connect: result 10, "));
    EXPECT_THAT(program.output(), HasSubstr("log: SeedKey dll load failed, seedkey_path=other:"));
    EXPECT_THAT(program.output(), EndsWith("verdict: FAILED, 1 of 2 checks\n"));
}

// At an eighth of its bit rate the bus carries an eighth of the frames; the rest waits without end.
TEST(DemoProcess, BusThatCannotCarryTheMeasurementFails) {
    const TempFile file(replaced(shortened(projectFile("examples/demo.toml")), "nominal_rate = 500_000",
                                 "nominal_rate = 62_500"));
    Program program({"demo", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 1) << program.output();
    EXPECT_THAT(program.output(), HasSubstr("\n  - "));
    EXPECT_THAT(program.output(), HasSubstr("verdict: FAILED"));
}

TEST(DemoProcess, MistakeInTheFileIsShownAndIsExitCodeThree) {
    const TempFile file(replaced(projectFile("examples/demo.toml"), "schema = 1", "schema = 1\nspeed = 3"));
    Program program({"demo", file.path()});
    EXPECT_EQ(program.wait(), 3);
    EXPECT_EQ(program.output(),
              "talvex: " + file.path() +
                  ":5: speed: is not a key of this table; allowed are bus, demo, ecu, schema\n");
}

TEST(DemoProcess, MissingFileIsExitCodeThree) {
    Program program({"demo", "--config", "/nowhere/demo.toml"});
    EXPECT_EQ(program.wait(), 3);
    EXPECT_EQ(program.output(), "talvex: /nowhere/demo.toml: cannot be read: No such file or directory\n");
}

TEST(DemoProcess, WithoutASubCommandItPrintsItsHelp) {
    Program program({});
    EXPECT_EQ(program.wait(), 0);
    EXPECT_THAT(program.output(), HasSubstr("Subcommands:\n  demo"));
}

TEST(DemoProcess, UnknownOptionIsExitCodeTwo) {
    Program program({"demo", "--fast"});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_THAT(program.output(), HasSubstr("not expected: --fast"));
}

TEST(DemoProcess, SecondsOutOfRangeAreExitCodeTwo) {
    Program program({"demo", "--seconds", "0"});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_THAT(program.output(), HasSubstr("--seconds"));
}

TEST(DemoProcess, CtrlCInAMeasurementDisconnectsAndSaysSo) {
    const TempFile file(shortExample());
    Program program({"demo", file.path(), "--seconds", "600"});
    ASSERT_TRUE(program.readUntil("start       chassis")) << program.output();
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 130) << program.output();
    EXPECT_THAT(program.output(), HasSubstr("disconnect  all ECUs"));
    EXPECT_THAT(program.output(), EndsWith("verdict: interrupted; all is disconnected\n"));
}

TEST(DemoProcess, ReaderThatGoesAwayEndsItWithoutACrash) {
    const TempFile file(shortExample());
    Program program({"demo", file.path(), "--seconds", "2"});
    ASSERT_TRUE(program.readUntil("talvex demo")) << program.output();
    program.closeOutput();
    EXPECT_EQ(program.wait(), 1);
}

}  // namespace
