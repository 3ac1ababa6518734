// The built program: what it prints and what it tells its caller.

#include "tests/host/Program.h"

#include <gmock/gmock.h>

#include <csignal>
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

std::string replacedInBothEcus(std::string text, const std::string& what, const std::string& with) {
    return replaced(replaced(std::move(text), what, with), what, with);
}

// The example with longer time-outs, for a machine full of other work.
std::string patientExample() {
    return replacedInBothEcus(projectFile("examples/demo.toml"), "command_ms = 200", "command_ms = 500");
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
    const TempFile file(patientExample());
    Program program({"demo", "--config", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 0) << program.output();
    for (const char* text :
         {"connect     engine and chassis answered",
          "unlock      engine: calibration (seed of 4 bytes), daq (seed of 10 bytes)",
          "unlock      chassis: daq (seed of 18 bytes)",
          "read        engine: 3 memory values, rejected by the library: removed_sensor",
          "read        chassis: 2 memory values", "start       engine: 26 variables in 3 DAQ lists, 3 polled",
          "start       chassis: 27 variables in 3 DAQ lists, 3 polled", "measure     1.0 s of bus time",
          "silence     chassis sends nothing any more", ": ecu:chassis-Recive msg timeout",
          "disconnect  the library disconnected all by itself",
          "removed_sensor     rejected       -        -",
          "verdict: good; no counter has a gap, every value is the ECU's, every callback came"}) {
        EXPECT_THAT(program.output(), HasSubstr(text));
    }
    EXPECT_THAT(lines(program.output()), Each(FitsTheTerminal()));
    EXPECT_THAT(program.output(), ::testing::Not(HasSubstr("\033[")));
}

TEST(DemoProcess, DaqLoadsEachBusToFiftyToSeventyPercent) {
    const TempFile file(patientExample());
    Program program({"demo", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_THAT(load(program.output(), "powertrain"),
                ::testing::AllOf(::testing::Ge(50.0), ::testing::Le(70.0)));
    EXPECT_THAT(load(program.output(), "chassis"),
                ::testing::AllOf(::testing::Ge(50.0), ::testing::Le(70.0)));
}

TEST(DemoProcess, OtherEcuCanBeTheOneThatIsLost) {
    const TempFile file(replaced(patientExample(), "silenced = \"chassis\"", "silenced = \"engine\""));
    Program program({"demo", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_THAT(program.output(), HasSubstr(": ecu:engine-Recive msg timeout"));
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
    const TempFile file(
        replaced(projectFile("examples/demo.toml"), "nominal_rate = 500_000", "nominal_rate = 62_500"));
    Program program({"demo", file.path(), "--seconds", "1"});
    EXPECT_EQ(program.wait(), 1) << program.output();
    EXPECT_THAT(program.output(), HasSubstr("\n  - "));
    EXPECT_THAT(program.output(), HasSubstr("verdict: FAILED"));
}

TEST(DemoProcess, MistakeInTheFileIsShownAndIsExitCodeTwo) {
    const TempFile file(replaced(projectFile("examples/demo.toml"), "schema = 1", "schema = 1\nspeed = 3"));
    Program program({"demo", file.path()});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_EQ(program.output(),
              "talvex: " + file.path() +
                  ":4: speed: is not a key of this table; allowed are bus, demo, ecu, schema\n");
}

TEST(DemoProcess, MissingFileIsExitCodeTwo) {
    Program program({"demo", "--config", "/nowhere/demo.toml"});
    EXPECT_EQ(program.wait(), 2);
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
    const TempFile file(patientExample());
    Program program({"demo", file.path(), "--seconds", "600"});
    ASSERT_TRUE(program.readUntil("start       chassis")) << program.output();
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 130) << program.output();
    EXPECT_THAT(program.output(), HasSubstr("disconnect  all ECUs"));
    EXPECT_THAT(program.output(), EndsWith("verdict: interrupted; all is disconnected\n"));
}

TEST(DemoProcess, ReaderThatGoesAwayEndsItWithoutACrash) {
    const TempFile file(patientExample());
    Program program({"demo", file.path(), "--seconds", "2"});
    ASSERT_TRUE(program.readUntil("talvex demo")) << program.output();
    program.closeOutput();
    EXPECT_EQ(program.wait(), 1);
}

}  // namespace
