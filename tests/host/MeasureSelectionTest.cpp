// Which variables names and patterns mean.

#include "host/HostError.h"
#include "host/MeasureSelection.h"

#include <gmock/gmock.h>

namespace {

using host::Config;
using host::MeasureSelection;
using host::selectVariables;
using ::testing::ElementsAre;

host::VariableRecord variable(const std::string& name, std::uint32_t address = 0x100) {
    host::VariableRecord record;
    record.name = name;
    record.address = address;
    record.size = 2;
    record.type = host::ValueType::u16;
    return record;
}

Config twoEcus() {
    Config config;
    config.file = "two.toml";
    config.ecus.resize(2);
    config.ecus[0].name = "one";
    config.ecus[0].variables = {variable("speed"), variable("count"), variable("gone", 0)};
    config.ecus[0].rejectZeroAddress = true;
    config.ecus[1].name = "two";
    config.ecus[1].variables = {variable("torque"), variable("count"), variable("start", 0)};
    return config;
}

std::vector<std::string> namesOf(const MeasureSelection& selection) {
    const Config config = twoEcus();
    std::vector<std::string> names;
    for (const host::EcuSelection& ecu : selection.ecus) {
        for (const host::VariableRecord& item : ecu.variables) {
            names.push_back(config.ecus[ecu.ecu].name + "." + item.name);
        }
    }
    return names;
}

std::vector<std::string> chosen(const std::vector<std::string>& names) {
    return namesOf(selectVariables(twoEcus(), {0, 1}, names, 0));
}

std::string mistake(const std::vector<std::string>& names) {
    try {
        static_cast<void>(chosen(names));
    } catch (const host::HostError& error) {
        return error.what() + std::string(" (") + std::to_string(static_cast<int>(error.code())) + ")";
    }
    return "";
}

TEST(MeasureSelecting, NoNamesAreAllVariablesThatTheLibraryTakes) {
    const MeasureSelection all = selectVariables(twoEcus(), {0, 1}, {}, 0);
    EXPECT_THAT(namesOf(all), ElementsAre("one.speed", "one.count", "two.torque", "two.count", "two.start"));
    EXPECT_THAT(all.rejected, ElementsAre("one.gone"));
}

TEST(MeasureSelecting, NamesKeepTheirOrderWithinTheirEcuAndCountOnce) {
    EXPECT_THAT(chosen({"two.count", "torque", "one.count", "speed", "speed"}),
                ElementsAre("one.count", "one.speed", "two.count", "two.torque"));
}

TEST(MeasureSelecting, PatternsMatchNamesAndFullNames) {
    EXPECT_THAT(chosen({"*count"}), ElementsAre("one.count", "two.count"));
    EXPECT_THAT(chosen({"two.?o*"}), ElementsAre("two.torque", "two.count"));
}

TEST(MeasureSelecting, OtherEcusAreNotLookedAt) {
    EXPECT_THAT(namesOf(selectVariables(twoEcus(), {1}, {"count"}, 0)), ElementsAre("two.count"));
}

TEST(MeasureSelecting, PeriodTakesThePlaceOfEvents) {
    const MeasureSelection polled = selectVariables(twoEcus(), {0}, {"speed"}, 25);
    ASSERT_EQ(polled.ecus.size(), 1U);
    EXPECT_EQ(polled.ecus[0].variables[0].periodMs, 25);
}

TEST(MeasureSelecting, MistakesNameWhatIsThere) {
    EXPECT_EQ(mistake({"count"}),
              "\"count\" is a variable of several ECUs; say which of one.count, two.count (2)");
    EXPECT_EQ(mistake({"sped"}), "there is no variable \"sped\"; did you mean one.speed? (2)");
    EXPECT_EQ(mistake({"coun"}), "there is no variable \"coun\"; did you mean one.count, two.count? (2)");
    EXPECT_EQ(mistake({"two.torqe"}), "there is no variable \"two.torqe\"; did you mean two.torque? (2)");
    EXPECT_EQ(mistake({"xxxxx*"}), "there is no variable \"xxxxx*\"; give a name of the configuration (2)");
    EXPECT_EQ(mistake({"gone"}),
              "two.toml: nothing to measure: all variables that were named stand at address 0 (3)");
}

Config oddNames() {
    Config config;
    config.ecus.resize(1);
    config.ecus[0].name = "odd";
    config.ecus[0].variables = {variable("map[0]"), variable("map[1]"), variable("map0"),
                                variable("a*b"),    variable("aab"),    variable("c\\d")};
    return config;
}

std::vector<std::string> chosenOdd(const std::string& name) {
    std::vector<std::string> names;
    const MeasureSelection selection = selectVariables(oddNames(), {0}, {name}, 0);
    for (const host::VariableRecord& item : selection.ecus[0].variables) {
        names.push_back(item.name);
    }
    return names;
}

TEST(MeasureSelecting, BracketsAndBackslashesStandForThemselves) {
    EXPECT_THAT(chosenOdd("map[0]"), ElementsAre("map[0]"));
    EXPECT_THAT(chosenOdd("map[*"), ElementsAre("map[0]", "map[1]"));
    EXPECT_THAT(chosenOdd("c\\?"), ElementsAre("c\\d"));
}

TEST(MeasureSelecting, NameThatIsThereIsNoPattern) {
    EXPECT_THAT(chosenOdd("a*b"), ElementsAre("a*b"));
    EXPECT_THAT(chosenOdd("a?b"), ElementsAre("a*b", "aab"));
}

TEST(MeasureSelecting, EcuThatPollsEverythingHasItsPeriodUnlessAnotherIsAskedFor) {
    Config config = twoEcus();
    config.ecus[0].daq.pollPeriodMs = 50;
    EXPECT_EQ(selectVariables(config, {0}, {"speed"}, 0).ecus[0].variables[0].periodMs, 50);
    EXPECT_EQ(selectVariables(config, {0}, {"speed"}, 20).ecus[0].variables[0].periodMs, 20);
    host::pollAll(config, {0}, 20);
    EXPECT_EQ(config.ecus[0].daq.pollPeriodMs, 20);
    EXPECT_EQ(config.ecus[1].daq.pollPeriodMs, 0);
}

}  // namespace
