// `talvex measure` as a process, on simulated ECUs.

#include "tests/host/JsonSchema.h"
#include "tests/host/Places.h"
#include "tests/host/Program.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using host_test::inTerminal;
using host_test::jsonMistake;
using host_test::JsonShape;
using host_test::Program;
using host_test::projectFile;
using host_test::replaced;
using host_test::Streams;
using host_test::TempFile;
using Json = nlohmann::json;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

const std::vector<JsonShape> kShapes{
    {"start", {{"unix_time", "n"}, {"variables", "a"}}},
    {"values", {{"ecu", "s"}, {"time", "n"}, {"source", "s"}, {"event", "n", false}, {"values", "o"}}},
    {"loss",
     {{"total", "n"},
      {"bus_overflows", "n"},
      {"library_discards", "n"},
      {"not_written", "n"},
      {"short_values", "n"},
      {"silent", "a"},
      {"ecus", "o"}}},
    {"losses",
     {{"total", "n"},
      {"bus_overflows", "n"},
      {"library_discards", "n"},
      {"not_written", "n"},
      {"short_values", "n"},
      {"silent", "a"},
      {"ecus", "o"}}},
    {"summary", {{"ecu", "s"}, {"losses", "o"}, {"strangers", "n"}, {"lists", "a"}}},
    {"variable",
     {{"ecu", "s"},
      {"name", "s"},
      {"unit", "s"},
      {"count", "n"},
      {"missing", "n"},
      {"rate", "n"},
      {"minimum", "n0"},
      {"maximum", "n0"},
      {"last", "nsa0"}}},
    {"result", {{"command", "s"}, {"code", "n"}, {"error", "s0"}}}};

// The example with time-outs for a machine full of other work.
std::string patientExample() {
    const std::regex timeouts("command_ms = [0-9]+,(.*) retries = [0-9]+,");
    return std::regex_replace(projectFile("examples/demo.toml"), timeouts,
                              "command_ms = 4000,$1 retries = 0,");
}

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> found;
    for (std::string line; std::getline(stream, line);) {
        found.push_back(line);
    }
    return found;
}

std::vector<std::string> cellsOf(const std::string& line) {
    std::istringstream stream(line + ",");
    std::vector<std::string> cells;
    for (std::string cell; std::getline(stream, cell, ',');) {
        cells.push_back(cell);
    }
    return cells;
}

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

// Whether all numbers of a column follow each other; cells may be empty.
bool isConsecutive(const std::vector<std::string>& lines, std::size_t column) {
    unsigned long last = 0;
    std::size_t count = 0;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::string cell = cellsOf(lines[i]).at(column);
        if (cell.empty()) {
            continue;
        }
        if (count++ > 0 && std::stoul(cell) != last + 1) {
            return false;
        }
        last = std::stoul(cell);
    }
    return count > 10;
}

TEST(MeasureProcess, CsvHasACounterWithoutAGapAndAPolledVariable) {
    const TempFile config(patientExample());
    const TempFile csv("");
    Program program({"measure", "-c", config.path(), "-e", "engine", "ctl_count", "torque", "uptime",
                     "--seconds", "0.5", "--csv", csv.path(), "--fail-on-loss"},
                    Streams::apart);
    EXPECT_EQ(program.wait(), 0) << program.output() << program.errors();
    const std::vector<std::string> lines = linesOf(contentOf(csv.path()));
    ASSERT_GT(lines.size(), 10U);
    EXPECT_EQ(lines[0], "time,ctl_count,torque,uptime");
    EXPECT_TRUE(isConsecutive(lines, 1));
    EXPECT_THAT(contentOf(csv.path()), ::testing::ContainsRegex("\n[0-9]+\\.[0-9]{6},,,[0-9.]+\n"));
    EXPECT_THAT(program.errors(), HasSubstr("; nothing lost\n"));
    EXPECT_EQ(program.output(), "");
}

TEST(MeasureProcess, CsvOfSeveralEcusNamesThemAndGoesToStandardOutputForADash) {
    const TempFile config(patientExample());
    Program program({"measure", "-c", config.path(), "crank_count", "gearbox.turbine_count", "loop_count",
                     "--seconds", "0.5", "--csv", "-"},
                    Streams::apart);
    EXPECT_EQ(program.wait(), 0) << program.errors();
    const std::vector<std::string> lines = linesOf(program.output());
    ASSERT_GT(lines.size(), 10U);
    EXPECT_EQ(lines[0], "time,engine.crank_count,chassis.loop_count,gearbox.turbine_count");
    EXPECT_TRUE(isConsecutive(lines, 1));
    EXPECT_TRUE(isConsecutive(lines, 2));
    EXPECT_TRUE(isConsecutive(lines, 3));
}

TEST(MeasureProcess, EveryLineOfJsonHasItsShape) {
    const TempFile config(patientExample());
    Program program({"measure", "-c", config.path(), "--seconds", "0.5", "--json"}, Streams::apart);
    EXPECT_EQ(program.wait(), 0) << program.errors();
    const std::vector<std::string> lines = linesOf(program.output());
    std::map<std::string, int> types;
    for (const std::string& line : lines) {
        EXPECT_EQ(jsonMistake(line, kShapes), "");
        ++types[Json::parse(line).at("type")];
    }
    EXPECT_EQ(types["start"], 1);
    EXPECT_GT(types["values"], 10);
    EXPECT_EQ(types["summary"], 3);
    EXPECT_EQ(types["variable"], 88);
    EXPECT_EQ(types["losses"], 1);
    EXPECT_EQ(
        Json::parse(lines.back()),
        Json({{"schema", 1}, {"type", "result"}, {"command", "measure"}, {"code", 0}, {"error", nullptr}}));
    EXPECT_EQ(program.errors(),
              "talvex: not measured, because the library refuses address 0 (reject_zero_address): "
              "engine.removed_sensor, gearbox.removed_sensor\n");
}

TEST(MeasureProcess, PeriodPollsEverything) {
    const TempFile config(patientExample());
    Program program(
        {"measure", "-c", config.path(), "engine_speed", "--period", "20", "--seconds", "0.5", "--json"},
        Streams::apart);
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_THAT(program.output(), AllOf(HasSubstr("\"source\":\"poll\""), Not(HasSubstr("\"daq\""))));
}

TEST(MeasureProcess, WithoutATerminalThereIsATableAtTheEnd) {
    const TempFile config(patientExample());
    Program program(
        {"measure", "-c", config.path(), "engine.*w_count", "engine.ctl_count", "--seconds", "0.5"},
        Streams::apart);
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_THAT(program.output(), StartsWith("variable"));
    for (const char* text :
         {"\nctl_count ", "\nslow_count ", "engine: list 0 (10ms): ", " s measured; nothing lost\n"}) {
        EXPECT_THAT(program.output(), HasSubstr(text));
    }
    EXPECT_THAT(program.output(), Not(HasSubstr("\033")));
}

TEST(MeasureProcess, UnknownVariableNamesTheNearest) {
    Program program({"measure", "-c", std::string(host_test::kProjectFolder) + "/examples/demo.toml", "-e",
                     "engine", "engine_sped"});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_THAT(program.output(),
                StartsWith("talvex: there is no variable \"engine_sped\"; did you mean engine.engine_speed"));
}

TEST(MeasureProcess, NameInSeveralEcusIsRefusedWithThem) {
    Program program(
        {"measure", "-c", std::string(host_test::kProjectFolder) + "/examples/demo.toml", "ctl_count"});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_EQ(program.output(),
              "talvex: \"ctl_count\" is a variable of several ECUs; say which of "
              "engine.ctl_count, chassis.ctl_count, gearbox.ctl_count\n");
}

TEST(MeasureProcess, OnlyVariablesThatTheLibraryRefusesAreAMistake) {
    const std::string file = std::string(host_test::kProjectFolder) + "/examples/demo.toml";
    Program program({"measure", "-c", file, "engine.removed_sensor"});
    EXPECT_EQ(program.wait(), 3);
    EXPECT_EQ(program.output(),
              "talvex: " + file + ": nothing to measure: all variables that were named stand at address 0\n");
}

TEST(MeasureProcess, TwoFormsForOneStandardOutputAreRefused) {
    Program program({"measure", "--json", "--csv", "-"});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_THAT(program.output(), HasSubstr("--json and --csv - both want standard output"));
}

TEST(MeasureProcess, CsvThatCannotBeWrittenIsNamed) {
    const TempFile config(patientExample());
    Program program({"measure", "-c", config.path(), "engine_speed", "--csv", "/nowhere/values.csv"});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_EQ(program.output(),
              "talvex: /nowhere/values.csv: cannot be written: No such file or directory\n");
}

TEST(MeasureProcess, FullDiskEndsItWithTheNameOfTheFile) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "/dev/full is not to be had on this machine";
    }
    const TempFile config(patientExample());
    Program program({"measure", "-c", config.path(), "engine_speed", "--csv", "/dev/full"});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_THAT(program.output(),
                HasSubstr("talvex: /dev/full: cannot be written: No space left on device\n"));
}

TEST(MeasureProcess, CtrlCDisconnectsAndLeavesWholeLines) {
    const TempFile config(patientExample());
    const TempFile csv("");
    Program program({"measure", "-c", config.path(), "crank_count", "--json", "--csv", csv.path()});
    ASSERT_TRUE(program.readUntil("\"type\":\"values\"")) << program.output();
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 130) << program.output();
    const std::string content = contentOf(csv.path());
    ASSERT_FALSE(content.empty());
    EXPECT_EQ(content.back(), '\n');
    EXPECT_THAT(linesOf(program.output()).back(), HasSubstr("\"code\":130"));
    for (const std::string& line : linesOf(program.output())) {
        EXPECT_EQ(jsonMistake(line, kShapes), "");
    }
}

TEST(MeasureProcess, ReaderThatGoesAwayEndsIt) {
    const TempFile config(patientExample());
    Program program({"measure", "-c", config.path(), "crank_count", "--json"});
    ASSERT_TRUE(program.readUntil("\"type\":\"values\"")) << program.output();
    program.closeOutput();
    EXPECT_EQ(program.wait(), 1);
}

TEST(MeasureProcess, ReaderThatGoesAwayEndsItEvenIfNothingIsWritten) {
    const TempFile config(patientExample());
    Program program({"measure", "-c", config.path(), "crank_count"});
    program.closeOutput();
    EXPECT_EQ(program.wait(), 1);
}

TEST(MeasureProcess, ReaderOfTheTableOnStandardOutputThatGoesAwayEndsIt) {
    const TempFile config(patientExample());
    Program program({"measure", "-c", config.path(), "crank_count", "--csv", "-"});
    ASSERT_TRUE(program.readUntil("time,crank_count\n")) << program.output();
    program.closeOutput();
    EXPECT_EQ(program.wait(), 1);
}

TEST(MeasureProcess, NobodyNeedsToReadStandardOutputIfTheValuesGoToAFile) {
    const TempFile config(patientExample());
    const TempFile csv("");
    Program program(
        {"measure", "-c", config.path(), "engine.ctl_count", "--seconds", "0.5", "--csv", csv.path()},
        Streams::apart);
    program.closeOutput();
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_GT(linesOf(contentOf(csv.path())).size(), 10U);
}

TEST(MeasureProcess, StandardOutputThatTakesNothingIsAFailure) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "/dev/full is not to be had on this machine";
    }
    const TempFile config(patientExample());
    const TempFile errors("");
    const std::string line = std::string(host_test::kProgram) + " measure -c " + config.path() +
                             " engine.ctl_count --seconds 0.2 >/dev/full 2>" + errors.path();
    const int status = std::system(line.c_str());
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_THAT(contentOf(errors.path()), HasSubstr("talvex: standard output: cannot be written\n"));
}

TEST(MeasureProcess, CtrlCEndsItThoughTheReaderOfAPipeStandsStill) {
    const TempFile config(patientExample());
    const TempFile fifo("");
    std::remove(fifo.path().c_str());
    ASSERT_EQ(mkfifo(fifo.path().c_str(), 0600), 0);
    const int reader = open(fifo.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    Program program({"measure", "-c", config.path(), "-e", "engine", "--csv", fifo.path()}, Streams::apart);
    // Full once nothing is added, though the program writes every second.
    int held = 0;
    for (int still = 0, turns = 0; (held < 32 * 1024 || still < 250) && turns < 6000; ++turns) {
        int now = 0;
        ASSERT_EQ(ioctl(reader, FIONREAD, &now), 0);
        still = now == held ? still + 1 : 0;
        held = now;
        usleep(10'000);
    }
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 130);
    EXPECT_THAT(program.errors(), HasSubstr(": cannot be written: its reader stands still\n"));
    close(reader);
}

TEST(MeasureProcess, OlderRecordingStaysIfTheBusCannotBeOpened) {
    const TempFile config(patientExample());
    const TempFile csv("an older recording\n");
    Program program({"measure", "-c", config.path(), "-e", "engine", "crank_count", "--bus",
                     "powertrain=socketcand://127.0.0.1:1/powertrain", "--csv", csv.path()});
    EXPECT_EQ(program.wait(), 4) << program.output();
    EXPECT_EQ(contentOf(csv.path()), "an older recording\n");
}

// The second list never yields a value, so that the first goes on for two seconds behind the end.
TEST(MeasureProcess, NothingIsWrittenThatCameBehindTheEnd) {
    const TempFile config(replaced(patientExample(), "\"relative byte\"", "\"relative word\""));
    const TempFile csv("");
    Program program({"measure", "-c", config.path(), "chassis.loop_count", "chassis.ctl_count", "--seconds",
                     "0.5", "--csv", csv.path()},
                    Streams::apart);
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_THAT(program.errors(), HasSubstr("no value came of chassis.ctl_count"));
    const std::vector<std::string> lines = linesOf(contentOf(csv.path()));
    ASSERT_GT(lines.size(), 1U);
    EXPECT_LT(std::stod(lines.back()) - std::stod(lines[1]), 1.5);
}

// Without the command that puts a list on its event, the ECU refuses to start it.
TEST(MeasureProcess, EcuThatRefusesTheStartIsExitCodeEightAndLeavesAnOlderRecording) {
    const TempFile config(replaced(patientExample(), "0xE0, ", ""));
    const TempFile csv("an older recording\n");
    Program program({"measure", "-c", config.path(), "-e", "engine", "crank_count", "--csv", csv.path()});
    EXPECT_EQ(program.wait(), 8);
    EXPECT_THAT(program.output(), StartsWith("talvex: engine: start of the measurement: START_STOP_DAQ_LIST "
                                             "was answered with error 0x2A, "));
    EXPECT_EQ(contentOf(csv.path()), "an older recording\n");
}

TEST(MeasureProcess, PeriodCountsMoreThanThatOfTheConfiguration) {
    const TempFile config(replaced(patientExample(), "daq = { identification",
                                   "daq = { poll_period_ms = 60000, identification"));
    Program program(
        {"measure", "-c", config.path(), "-e", "engine", "engine_speed", "--period", "20", "--json"});
    EXPECT_TRUE(program.readUntil("\"source\":\"poll\"")) << program.output();
    EXPECT_THAT(program.output(), HasSubstr("\"period_ms\":20"));
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 130);
    EXPECT_GE(linesOf(program.output()).size(), 3U);
}

// The ECU puts list numbers of two bytes into its packets high byte first; the library reads them low byte
// first and finds no list 256, so that the second list never yields a value.
TEST(MeasureProcess, WholeCyclesWithoutValuesShowAndAreExitCodeSixIfThatIsWanted) {
    const TempFile config(replaced(patientExample(), "\"relative byte\"", "\"relative word\""));
    Program program({"measure", "-c", config.path(), "chassis.loop_count", "chassis.ctl_count", "--seconds",
                     "0.5", "--json", "--fail-on-loss"},
                    Streams::apart);
    EXPECT_EQ(program.wait(), 6) << program.output() << program.errors();
    const std::vector<std::string> lines = linesOf(program.output());
    ASSERT_GT(lines.size(), 4U);
    EXPECT_EQ(jsonMistake(lines[lines.size() - 2], kShapes), "");
    const Json losses = Json::parse(lines[lines.size() - 2]);
    EXPECT_EQ(losses.at("type"), "losses");
    EXPECT_GT(losses.at("ecus").at("chassis").at("undelivered_cycles"), 10);
    EXPECT_EQ(losses.at("ecus").at("chassis").at("gaps"), 0);
    EXPECT_THAT(lines.back(), HasSubstr("\"code\":6"));
}

// The lines of the live table, without the codes that draw it.
std::vector<std::string> tableLines(const std::string& output) {
    const std::string drawn = output.substr(0, output.rfind("\033[J"));
    return linesOf(std::regex_replace(drawn, std::regex("\033\\[[0-9]*[A-Z]|\r"), ""));
}

MATCHER_P(FitsColumns, columns, "") {
    std::size_t count = 0;
    for (const char byte : arg) {
        count += (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U ? 1U : 0U;
    }
    return count <= columns;
}

TEST(MeasureProcess, LiveTableFitsATerminalOfFortyColumns) {
    const TempFile config(patientExample());
    int code = -1;
    const std::string output =
        inTerminal(40, 24, {"measure", "-c", config.path(), "engine.*count", "--seconds", "1"}, code);
    EXPECT_EQ(code, 0) << output;
    EXPECT_THAT(output, AllOf(HasSubstr("\033[K"), HasSubstr("crank_count"), Not(HasSubstr("maximum"))));
    EXPECT_THAT(tableLines(output), Each(FitsColumns(40U)));
}

TEST(MeasureProcess, LiveTableFitsATerminalOfEightyColumns) {
    const TempFile config(patientExample());
    int code = -1;
    const std::string output = inTerminal(80, 24, {"measure", "-c", config.path(), "--seconds", "1"}, code);
    EXPECT_EQ(code, 0) << output;
    EXPECT_THAT(output, AllOf(HasSubstr("maximum"), HasSubstr(" more\033[K")));
    std::vector<std::string> lines = tableLines(output);
    lines.erase(lines.begin());  // tells what is not measured, on standard error
    EXPECT_THAT(lines, Each(FitsColumns(80U)));
}

}  // namespace
