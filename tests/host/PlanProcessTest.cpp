// `talvex plan` as a process.

#include "tests/host/DecodeTesting.h"
#include "tests/host/Program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

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
        runProgram({"plan", "--ecu", "engine", "--variables", "crank_count,uptime", "--json"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<json> objects = objectsOf(outcome);
    ASSERT_EQ(ofType(objects, "list").size(), 1U);
    EXPECT_EQ(ofType(objects, "list")[0].at("variables"), json::array({"crank_count"}));
    ASSERT_EQ(ofType(objects, "polled").size(), 1U);
    EXPECT_EQ(ofType(objects, "polled")[0].at("variable"), "uptime");
    EXPECT_EQ(ofType(objects, "bus").size(), 1U);
}

TEST(PlanProcess, UnknownEcuIsNamedWithTheNearest) {
    const Outcome outcome = runProgram({"plan", "--ecu", "engin", "--json"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.err, "talvex: examples/demo.toml: there is no ECU \"engin\"; give one of \"engine\"\n");
    EXPECT_EQ(objectsOf(outcome).back().at("code"), 2);
}

TEST(PlanProcess, UnknownVariableIsNamedWithTheNearest) {
    const Outcome outcome = runProgram({"plan", "--variables", "crank_coumt"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, HasSubstr("crank_coumt"));
    EXPECT_THAT(outcome.err, HasSubstr("crank_count"));
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(PlanProcess, WrongConfigurationEndsJsonWithItsResult) {
    const TempFile file(replaced(projectFile("examples/demo.toml"), "schema = 1", "schema = 1\nspeed = 3"));
    const Outcome outcome = runProgram({"plan", file.path(), "--json"});
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
    EXPECT_EQ(runProgram({"plan", file.path()}).code, 0);
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

TEST(PlanProcess, LoadIsThatOfTheMeasurementWithinThreePoints) {
    const std::string shorter =
        replaced(replaced(projectFile("examples/demo.toml"),
                          "    { kind = \"flash\", address = 0x80000, size = 0x4000 },\n", ""),
                 "    { kind = \"flash\", address = 0xC0000, size = 0x4000 },\n", "");
    const TempFile file(shorter);
    const Outcome demo = runProgram({"demo", file.path(), "--seconds", "1"});
    // Whatever else went wrong with the demo is for its own tests: the buses count all the same.
    const auto measured = measuredBuses(demo.out);
    ASSERT_EQ(measured.size(), 3U) << demo.out << demo.err;
    const std::vector<json> planned = ofType(objectsOf(runProgram({"plan", file.path(), "--json"})), "bus");
    ASSERT_EQ(planned.size(), 3U);
    for (const json& bus : planned) {
        const auto& [load, frames] = measured.at(bus.at("bus"));
        EXPECT_NEAR(bus.at("load_percent").get<double>(), load, 3.0) << bus;
        EXPECT_GE(bus.at("worst_load_percent").get<double>(), load) << bus;
        EXPECT_NEAR(bus.at("frames_per_second").get<double>(), frames, frames * 0.02) << bus;
    }
}

}  // namespace
