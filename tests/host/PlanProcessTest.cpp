// `talvex plan` as a process.

#include "tests/host/DecodeTesting.h"
#include "tests/host/Places.h"
#include "tests/host/Program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace {

using host_test::linesOf;
using host_test::Outcome;
using host_test::projectFile;
using host_test::replaced;
using host_test::runProgram;
using host_test::TempFile;
using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::vector<json> objectsOf(const Outcome& outcome) {
    std::vector<json> objects;
    for (const std::string& line : linesOf(outcome.out)) {
        objects.push_back(json::parse(line));
        EXPECT_EQ(objects.back().at("schema"), 1) << line;
    }
    return objects;
}

std::vector<json> ofType(const std::vector<json>& objects, const std::string& type) {
    std::vector<json> found;
    for (const json& object : objects) {
        if (object.at("type") == type) {
            found.push_back(object);
        }
    }
    return found;
}

TEST(PlanProcess, PlansTheExampleOnStandardOutput) {
    const Outcome outcome = runProgram({"plan"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_THAT(outcome.out, HasSubstr("engine: XCP on powertrain\n"));
    EXPECT_THAT(outcome.out, HasSubstr("gearbox: CCP on transmission\n"));
    EXPECT_THAT(outcome.out, HasSubstr("removed_sensor"));
}

TEST(PlanProcess, JsonHasAnObjectForEachListVariableAndBus) {
    const Outcome outcome = runProgram({"plan", "--json"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<json> objects = objectsOf(outcome);
    const std::vector<json> lists = ofType(objects, "list");
    ASSERT_EQ(lists.size(), 9U);
    EXPECT_EQ(lists[0].at("ecu"), "engine");
    EXPECT_EQ(lists[0].at("event_name"), "1ms");
    EXPECT_EQ(lists[0].at("period_ms"), 1.0);
    EXPECT_EQ(lists[0].at("odts"), 2);
    EXPECT_EQ(lists[0].at("bytes"), 14);
    EXPECT_EQ(lists[0].at("id"), 0x601);
    EXPECT_EQ(lists[0].at("variables").size(), 7U);
    EXPECT_EQ(ofType(objects, "polled").size(), 9U);
    EXPECT_EQ(ofType(objects, "rejected").size(), 2U);
    EXPECT_EQ(ofType(objects, "bus").size(), 3U);
    EXPECT_EQ(objects.back().at("type"), "result");
    EXPECT_EQ(objects.back().at("code"), 0);
}

TEST(PlanProcess, ChosenVariablesOfAnEcuAreAllThatIsPlanned) {
    const Outcome outcome =
        runProgram({"plan", "--ecu", "engine", "--json", "crank_count", "uptime", "engine.crank_count"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<json> objects = objectsOf(outcome);
    ASSERT_EQ(ofType(objects, "list").size(), 1U);
    EXPECT_EQ(ofType(objects, "list")[0].at("variables"), json::array({"crank_count"}));
    ASSERT_EQ(ofType(objects, "polled").size(), 1U);
    EXPECT_EQ(ofType(objects, "polled")[0].at("variable"), "uptime");
    EXPECT_EQ(ofType(objects, "bus").size(), 1U);
}

TEST(PlanProcess, PatternsChooseAsInAMeasurement) {
    const Outcome outcome = runProgram({"plan", "--json", "engine.crank_c*", "crank_count"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<json> lists = ofType(objectsOf(outcome), "list");
    ASSERT_EQ(lists.size(), 1U);
    EXPECT_EQ(lists[0].at("ecu"), "engine");
    EXPECT_EQ(lists[0].at("variables"), json::array({"crank_count"}));
    EXPECT_EQ(lists[0].at("bytes"), 4) << "named twice, planned once";
}

TEST(PlanProcess, PeriodPollsWhatElseWouldBeInLists) {
    const Outcome outcome = runProgram({"plan", "--json", "--period", "20", "crank_count"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<json> objects = objectsOf(outcome);
    EXPECT_THAT(ofType(objects, "list"), IsEmpty());
    ASSERT_EQ(ofType(objects, "polled").size(), 1U);
    EXPECT_EQ(ofType(objects, "polled")[0].at("period_ms"), 20);
    EXPECT_EQ(ofType(objects, "polled")[0].at("reason"), "a period is given");
}

TEST(PlanProcess, PeriodStandsInThePlaceOfThatOfTheConfiguration) {
    const TempFile file(replaced(projectFile("examples/demo.toml"), "daq = { identification = \"absolute\"",
                                 "daq = { poll_period_ms = 300, identification = \"absolute\""));
    const std::vector<std::string> plan{"plan", "--json", "-c", file.path(), "crank_count"};
    EXPECT_EQ(ofType(objectsOf(runProgram(plan)), "polled").at(0).at("period_ms"), 300);
    std::vector<std::string> faster = plan;
    faster.insert(faster.end(), {"--period", "20"});
    EXPECT_EQ(ofType(objectsOf(runProgram(faster)), "polled").at(0).at("period_ms"), 20);
}

// Runs the program with its standard output on a file of the system, which it closes.
int codeWithOutput(int output, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "talvex");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t process = -1;
    EXPECT_EQ(posix_spawn(&process, host_test::kProgram, &actions, nullptr, pointers.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(output);
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::vector<std::string> planOfTheExample(bool asJson) {
    std::vector<std::string> arguments{"plan", "-c",
                                       std::string(host_test::kProjectFolder) + "/examples/demo.toml"};
    if (asJson) {
        arguments.emplace_back("--json");
    }
    return arguments;
}

TEST(PlanProcess, OutputThatNobodyReadsIsAFailureAndNoSignal) {
    for (const bool asJson : {false, true}) {
        std::array<int, 2> pipe{};
        ASSERT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
        close(pipe[0]);
        EXPECT_EQ(codeWithOutput(pipe[1], planOfTheExample(asJson)), 1);
    }
}

TEST(PlanProcess, OutputIntoAFullFileIsAFailure) {
    for (const bool asJson : {false, true}) {
        const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
        ASSERT_GE(full, 0);
        EXPECT_EQ(codeWithOutput(full, planOfTheExample(asJson)), 1);
    }
}

TEST(PlanProcess, UnknownEcuIsNamedWithTheNearest) {
    const Outcome outcome = runProgram({"plan", "--ecu", "engin", "--json"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.err,
              "talvex: --ecu: examples/demo.toml has no ECU \"engin\"; it has engine, chassis, gearbox\n");
    EXPECT_EQ(objectsOf(outcome).back().at("code"), 2);
}

TEST(PlanProcess, UnknownVariableIsNamedWithTheNearest) {
    const Outcome outcome = runProgram({"plan", "crank_coumt"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, HasSubstr("crank_coumt"));
    EXPECT_THAT(outcome.err, HasSubstr("crank_count"));
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(PlanProcess, WrongConfigurationEndsJsonWithItsResult) {
    const TempFile file(replaced(projectFile("examples/demo.toml"), "schema = 1", "schema = 1\nspeed = 3"));
    const Outcome outcome = runProgram({"plan", "-c", file.path(), "--json"});
    EXPECT_EQ(outcome.code, 3);
    EXPECT_EQ(outcome.err, "talvex: " + file.path() +
                               ":5: speed: is not a key of this table; allowed are bus, demo, ecu, schema\n");
    const std::vector<json> objects = objectsOf(outcome);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].at("code"), 3);
}

TEST(PlanProcess, DemoNeedsItsTableAndPlanDoesNot) {
    const std::string content = std::regex_replace(
        projectFile("examples/demo.toml"), std::regex("\\[demo\\]\nseconds[^\n]*\nsilenced[^\n]*\n"), "");
    const TempFile file(content);
    EXPECT_EQ(runProgram({"plan", "-c", file.path()}).code, 0);
    const Outcome demo = runProgram({"demo", file.path()});
    EXPECT_EQ(demo.code, 3);
    EXPECT_EQ(demo.err, "talvex: " + file.path() + ": demo: is missing; give a [demo] for a demo\n");
}

// What the simulated buses count while the demo measures: load in percent and frames per second, by bus.
std::map<std::string, std::pair<double, double>> measuredBuses(const std::string& demo) {
    const std::regex line("bus ([a-z]+) .* load +([0-9.]+) % +([0-9]+) frames/s");
    std::map<std::string, std::pair<double, double>> buses;
    for (const std::string& text : linesOf(demo)) {
        std::smatch found;
        if (std::regex_search(text, found, line)) {
            buses[found[1]] = {std::stod(found[2]), std::stod(found[3])};
        }
    }
    return buses;
}

// Frames per second of the lists of the ECU on that bus of the example.
double framesOfLists(const std::vector<json>& objects, const std::string& bus) {
    const std::map<std::string, std::string> ecus = {
        {"powertrain", "engine"}, {"chassis", "chassis"}, {"transmission", "gearbox"}};
    double sum = 0.0;
    for (const json& list : ofType(objects, "list")) {
        sum += list.at("ecu") == ecus.at(bus) ? list.at("frames_per_second").get<double>() : 0.0;
    }
    return sum;
}

TEST(PlanProcess, LoadIsThatOfTheMeasurementWithinThreePoints) {
    const std::string shorter =
        replaced(replaced(projectFile("examples/demo.toml"),
                          "    { kind = \"flash\", address = 0x80000, size = 0x4000 },\n", ""),
                 "    { kind = \"flash\", address = 0xC0000, size = 0x4000 },\n", "");
    const TempFile file(shorter);
    const Outcome demo = runProgram({"demo", file.path(), "--seconds", "1"});
    ASSERT_EQ(demo.code, 0) << demo.out << demo.err;
    const auto measured = measuredBuses(demo.out);
    ASSERT_EQ(measured.size(), 3U) << demo.out << demo.err;
    const std::vector<json> objects = objectsOf(runProgram({"plan", "-c", file.path(), "--json"}));
    const std::vector<json> planned = ofType(objects, "bus");
    ASSERT_EQ(planned.size(), 3U);
    for (const json& bus : planned) {
        const auto& [load, frames] = measured.at(bus.at("bus"));
        // Lists are sent in the time of the bus; a machine that is busy asks for what is polled more rarely.
        EXPECT_GE(load, bus.at("daq_load_percent").get<double>() - 3.0) << bus;
        EXPECT_LE(load, bus.at("load_percent").get<double>() + 3.0) << bus;
        EXPECT_GE(bus.at("worst_load_percent").get<double>(), load) << bus;
        EXPECT_GE(frames, framesOfLists(objects, bus.at("bus")) * 0.98) << bus;
        EXPECT_LE(frames, bus.at("frames_per_second").get<double>() * 1.02) << bus;
    }
}

}  // namespace
