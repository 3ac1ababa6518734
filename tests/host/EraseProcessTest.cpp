// `talvex erase` as a process, on ECUs that are simulated in it.

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
using host_test::RunningEcus;
using host_test::withoutSecurity;
using ::testing::HasSubstr;

constexpr const char* kPlan =
    "engine: all of its flash\n"
    "  erase    0x00080000-0x00083fff       16384 bytes  flash, 4 sectors\n";

TEST(Erase, PlanAloneErasesNothing) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("erase", "engine", {"--dry-run"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out, kPlan);
    EXPECT_EQ(outcome.err, "");
}

TEST(Erase, ClearsTheFlashOfAnXcpEcuAndOnlyThat) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("erase", "engine", {"--trace", folder.path("trace.log")});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, kPlan);
    EXPECT_THAT(outcome.err, HasSubstr("talvex: engine: erased 16384 bytes in "));
    // SET_MTA to 0x80000, PROGRAM_CLEAR of 0x4000 bytes, PROGRAM_RESET.
    const std::string trace = folder.text("trace.log");
    const std::size_t address = trace.find("600#F600000000000800");
    const std::size_t clear = trace.find("600#D100000000400000");
    EXPECT_NE(address, std::string::npos);
    EXPECT_NE(clear, std::string::npos);
    EXPECT_LT(address, clear);
    EXPECT_NE(trace.find("600#CF", clear), std::string::npos);
    EXPECT_EQ(trace.find("600#D1", clear + 1), std::string::npos);
}

TEST(Erase, ClearsTheFlashOfACcpEcu) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("erase", "gearbox", {"--json"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0], Json::parse(R"({"schema":1,"type":"plan","ecu":"gearbox","address":786432,
        "last":802815,"length":16384,"segment":"flash","action":"erase","sectors":4})"));
    EXPECT_EQ(objects[1].at("action"), "erased");
    EXPECT_EQ(objects[2].at("code"), 0);
}

// The library calls an erase done whose PROGRAM_CLEAR was refused.
TEST(Erase, RefusedClearIsARefusalAlthoughTheLibraryGoesOn) {
    const MemoryFolder folder;
    const RunningEcus ecus(folder.path("ecus.toml"));
    folder.file("ecus.toml", replaced(patientConfig(), "address = 0x80000, size = 0x4000",
                                      "address = 0x80000, size = 0x5000"));
    const Outcome outcome = folder.talvex("erase", "engine", {"--bus", ecus.bus("powertrain")});
    EXPECT_EQ(outcome.code, 8);
    EXPECT_THAT(outcome.err,
                HasSubstr("talvex: engine: erase: PROGRAM_CLEAR was answered with error 0x24, "));
}

TEST(Erase, EcuThatWasNotUnlockedIsLocked) {
    const MemoryFolder folder;
    const RunningEcus ecus(folder.path("ecus.toml"));
    folder.file("ecus.toml", withoutSecurity(patientConfig()));
    const Outcome outcome = folder.talvex("erase", "engine", {"--bus", ecus.bus("powertrain")});
    EXPECT_EQ(outcome.code, 7);
    EXPECT_THAT(outcome.err,
                HasSubstr("talvex: engine: erase: PROGRAM_START was answered with error 0x25, "));
}

TEST(Erase, EcuWithoutTheCommandIsARefusalBeforeAnythingIsDone) {
    const MemoryFolder folder(replaced(patientConfig(), "0xD2, 0xD1, 0xD0", "0xD2, 0xD0"));
    const Outcome outcome = folder.talvex("erase", "engine", {});
    EXPECT_EQ(outcome.code, 8);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(
        outcome.err,
        "talvex: engine: PROGRAM_CLEAR (0xD1) is not among `commands` of the configuration; nothing was "
        "done\n");
}

TEST(Erase, EcuWithoutFlashIsAMatterOfTheConfiguration) {
    const MemoryFolder folder(
        replaced(patientConfig(), "0xDC, 0xDA, 0xD9, 0xD7]", "0xDC, 0xDA, 0xD9, 0xD7, 0xD2, 0xD1, 0xCF]"));
    const Outcome outcome = folder.talvex("erase", "chassis", {});
    EXPECT_EQ(outcome.code, 3);
    EXPECT_EQ(outcome.err, "talvex: chassis: the configuration gives it no flash; look at `segment`\n");
}

}  // namespace
