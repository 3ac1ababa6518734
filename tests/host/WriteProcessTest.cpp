// `talvex write` as a process, on the ECUs of the example.

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
using host_test::startContent;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// Two bytes at an offset of a page as a number, least significant first.
unsigned wordAt(const std::string& page, std::size_t offset) {
    return static_cast<unsigned char>(page[offset]) |
           static_cast<unsigned>(static_cast<unsigned char>(page[offset + 1])) << 8U;
}

TEST(WriteProcess, ValueGoesFromOldToNewAndIsReadBack) {
    const MemoryFolder folder;
    const unsigned before = wordAt(startContent(0x20008001, 0x20), 0x10);
    const Outcome outcome = folder.talvex("write", "engine", {"idle_speed=780", "lambda_target=0.985"});
    EXPECT_THAT(outcome.out, StartsWith("idle_speed: " + std::to_string(before) +
                                        " -> 780\n"
                                        "lambda_target: "));
    EXPECT_THAT(outcome.out, ::testing::EndsWith(" -> 0.985\n"));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.code, 0);
}

TEST(WriteProcess, OfSeveralEcusEachLineNamesItsOwn) {
    const MemoryFolder folder;
    const Outcome outcome =
        folder.talvex("write", "engine", {"--ecu", "gearbox", "idle_speed=780", "creep_torque=-35"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith("engine.idle_speed: "));
    EXPECT_THAT(outcome.out, HasSubstr("\ngearbox.creep_torque: "));
}

TEST(WriteProcess, CcpEcuAndEcuOnCanFdTakeValuesToo) {
    const MemoryFolder folder;
    const Outcome gearbox = folder.talvex("write", "gearbox", {"creep_torque=-35", "lockup_gear=0x04"});
    EXPECT_THAT(gearbox.out, HasSubstr(" -> -35\n"));
    EXPECT_THAT(gearbox.out, HasSubstr(" -> 4\n"));
    EXPECT_EQ(gearbox.code, 0) << gearbox.err;
    const Outcome chassis = folder.talvex("write", "chassis", {"0x40000200:f64=-2.5"});
    EXPECT_EQ(chassis.out, "0x40000200:f64: 0 -> -2.5\n");
    EXPECT_EQ(chassis.code, 0) << chassis.err;
}

TEST(WriteProcess, NearestValueIsTakenAndSaid) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("write", "engine", {"rev_limit=6400.4"});
    EXPECT_THAT(outcome.out, HasSubstr(" -> 6400 (the nearest to 6400.4)\n"));
    EXPECT_EQ(outcome.code, 0);
}

TEST(WriteProcess, JsonTellsBeforeAndAfter) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("write", "engine", {"0x20000200:u16=258", "--json"});
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0], Json::parse(R"({"schema":1,"type":"written","ecu":"engine","name":"0x20000200:u16",
        "address":536871424,"raw_before":"0000","raw":"0201",
        "before":0,"value":258,"unit":"","exact":true})"));
    EXPECT_EQ(objects[1].at("code"), 0);
}

TEST(WriteProcess, ValueThatReadsDifferentlyIsNamedWithBoth) {
    const MemoryFolder folder;
    const Outcome outcome =
        folder.talvex("write", "engine", {"0x20000200:u16=258", "0x20000201:u8=7", "--json"});
    EXPECT_EQ(outcome.err, "talvex: engine: 0x20000200:u16 was written as 258 and reads 1794\n");
    EXPECT_EQ(outcome.code, 9);
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0].at("type"), "error");
    EXPECT_EQ(objects[1].at("value"), 7);
    EXPECT_EQ(objects[2].at("code"), 9);
}

TEST(WriteProcess, NothingIsSentIfOneOfTheValuesCannotBeWritten) {
    const MemoryFolder folder;
    const std::string trace = folder.path("frames.log");
    struct Row {
        const char* assignment;
        const char* message;
    };
    const Row rows[] = {
        {"spark_offset=300", "spark_offset=300: out of range; a i8 takes -128 to 127"},
        {"spark_ofset=3", "did you mean spark_offset?"},
        {"idle_speed", "\"idle_speed\": give NAME=VALUE"},
        {"idle_speed=fast", "idle_speed=fast: \"fast\" is no finite number"},
        {"0x80010:u8=1",
         "engine: 0x80010:u8 at 0x80010 lies in the flash at 0x80000, which cannot be written"},
        {"0x20000200:300=0x00", "it has 300 bytes"},
    };
    for (const Row& row : rows) {
        const Outcome outcome =
            folder.talvex("write", "engine", {"idle_speed=780", row.assignment, "--trace", trace});
        EXPECT_EQ(outcome.code, 2) << row.assignment;
        EXPECT_THAT(outcome.err, HasSubstr(row.message));
        EXPECT_EQ(outcome.out, "");
        EXPECT_FALSE(std::filesystem::exists(trace)) << row.assignment;
    }
}

TEST(WriteProcess, ReferencePageOfCcpAndRamThatIsNotWritableAreRefusedWithTheirSegment) {
    const MemoryFolder folder(replaced(patientConfig(),
                                       "{ address = 0x30000000, size = 0x200, writable = true }",
                                       "{ address = 0x30000000, size = 0x200 }"));
    EXPECT_THAT(
        folder.talvex("write", "gearbox", {"0xA0000:u8=1"}).err,
        HasSubstr("gearbox: 0xA0000:u8 at 0xA0000 lies in the reference page at 0xA0000, which cannot be "
                  "written says the configuration\n"));
    const Outcome ram = folder.talvex("write", "gearbox", {"drive_mode=1"});
    EXPECT_THAT(ram.err,
                HasSubstr("gearbox: drive_mode at 0x3000003E lies in the RAM at 0x30000000, which cannot "
                          "be written says the configuration; `writable = true` of the segment allows it\n"));
    EXPECT_EQ(ram.code, 2);
}

TEST(WriteProcess, WhatTheEcuRefusesEndsWithItsAnswer) {
    const MemoryFolder folder;
    const Outcome xcp = folder.talvex("write", "engine", {"0x70000000:u8=1"});
    EXPECT_THAT(xcp.err, HasSubstr("was answered with error 0x24, "));
    EXPECT_EQ(xcp.code, 8);
    EXPECT_EQ(xcp.out, "");
}

TEST(WriteProcess, LockedEcuIsToldFromOneThatRefuses) {
    const std::string locked = replaced(patientConfig(), "security = { seed_key = \"sim:\", lock",
                                        "security = { seed_key = \"sim:\", unlock = [\"programming\"], lock");
    const MemoryFolder folder(locked);
    const Outcome outcome = folder.talvex("write", "engine", {"idle_speed=780"});
    EXPECT_THAT(outcome.err,
                StartsWith("talvex: engine: write idle_speed: DOWNLOAD was answered with error 0x25, "));
    EXPECT_EQ(outcome.code, 7);
}

}  // namespace
