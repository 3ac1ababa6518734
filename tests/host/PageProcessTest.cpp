// `talvex page` as a process, on the ECUs of the example.

#include "tests/host/MemoryTesting.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host_test::Json;
using host_test::MemoryFolder;
using host_test::objectsOf;
using host_test::Outcome;
using host_test::patientConfig;
using host_test::replaced;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// Does that to the pages of an ECU, with a trace.
Outcome page(const MemoryFolder& folder, const std::string& action, const std::string& ecu,
             const std::vector<std::string>& further = {}) {
    std::vector<std::string> arguments{"page",  action, "--config", folder.path("ecus.toml"),
                                       "--ecu", ecu,    "--trace",  folder.path("frames.log")};
    arguments.insert(arguments.end(), further.begin(), further.end());
    return host_test::runProgram(arguments);
}

TEST(PageProcess, PagesOfAnXcpEcuAreSelectedAndCopied) {
    const MemoryFolder folder;
    const Outcome reference = page(folder, "reference", "engine");
    EXPECT_EQ(reference.out, "engine: the reference page is selected\n") << reference.err;
    EXPECT_EQ(reference.code, 0);
    EXPECT_THAT(folder.text("frames.log"), HasSubstr("600#EB030001"));
    EXPECT_EQ(page(folder, "working", "engine").out, "engine: the working page is selected\n");
    EXPECT_THAT(folder.text("frames.log"), HasSubstr("600#EB030000"));
    EXPECT_EQ(page(folder, "copy", "engine").out,
              "engine: the reference page is copied to the working page\n");
    EXPECT_THAT(folder.text("frames.log"), HasSubstr("600#E400010000"));
}

// The library moves what the two addresses of MOVE happen to be.
TEST(PageProcess, CopyOfCcpIsRefusedBeforeAnythingIsSent) {
    const MemoryFolder folder;
    const Outcome outcome = page(folder, "copy", "gearbox");
    EXPECT_THAT(
        outcome.err,
        HasSubstr("gearbox: a CCP ECU cannot be told to copy its pages; select the reference page and read"));
    EXPECT_EQ(outcome.code, 2);
    EXPECT_FALSE(std::filesystem::exists(folder.path("frames.log")));
}

TEST(PageProcess, JsonTellsWhatWasDone) {
    const MemoryFolder folder;
    const Outcome outcome = page(folder, "working", "gearbox", {"--json"});
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 2U) << outcome.err;
    EXPECT_EQ(objects[0], Json::parse(R"({"schema":1,"type":"page","ecu":"gearbox","action":"working"})"));
    EXPECT_EQ(objects[1].at("code"), 0);
}

TEST(PageProcess, EcuWithoutPagesIsAnErrorOfTheConfiguration) {
    const MemoryFolder folder;
    const Outcome outcome = page(folder, "working", "chassis");
    EXPECT_THAT(outcome.err, HasSubstr("has no segment of kind \"calibration\", so chassis has no pages"));
    EXPECT_EQ(outcome.code, 3);
}

TEST(PageProcess, CommandThatTheConfigurationDoesNotListIsNotSent) {
    const MemoryFolder folder(replaced(patientConfig(), "0xF3, 0xEB, 0xE4,", "0xF3,"));
    for (const char* action : {"working", "copy"}) {
        const Outcome outcome = page(folder, action, "engine");
        EXPECT_THAT(outcome.err,
                    HasSubstr("the command for this is not among `commands` of the configuration; "
                              "result 72"));
        EXPECT_EQ(outcome.code, 8);
    }
}

TEST(PageProcess, LockedEcuSaysSo) {
    const MemoryFolder folder(replaced(patientConfig(), "security = { seed_key = \"sim:\", lock",
                                       "security = { seed_key = \"sim:\", unlock = [\"programming\"], lock"));
    const Outcome outcome = page(folder, "reference", "engine");
    EXPECT_THAT(outcome.err,
                StartsWith("talvex: engine: select the reference page: SET_CAL_PAGE was answered "
                           "with error 0x25, "));
    EXPECT_EQ(outcome.code, 7);
}

TEST(PageProcess, OneEcuHasToBeChosenAndOneAction) {
    EXPECT_EQ(host_test::runProgram({"page"}).code, 2);
    const Outcome outcome = host_test::runProgram({"page", "working"});
    EXPECT_THAT(outcome.err,
                HasSubstr("this works on one ECU; say which with --ecu: engine, chassis, gearbox"));
    EXPECT_EQ(outcome.code, 2);
}

}  // namespace
