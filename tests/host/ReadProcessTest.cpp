// `talvex read` as a process, on the ECUs of the example.

#include "tests/host/MemoryTesting.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host_test::Json;
using host_test::MemoryFolder;
using host_test::objectsOf;
using host_test::Outcome;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(ReadProcess, ValuesStandBelowEachOtherInTheirUnits) {
    const MemoryFolder folder;
    const Outcome outcome =
        folder.talvex("read", "engine", {"idle_setpoint", "boost_limit", "variant_code", "--raw"});
    EXPECT_EQ(outcome.out,
              "idle_setpoint = 780 rpm  0x0c03\n"
              "boost_limit   = 182.5 kPa  0x00803643\n"
              "variant_code  = 20240117  0xf5d63401\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.code, 0);
}

TEST(ReadProcess, BigEndianEcuOnCanFdReadsInItsByteOrder) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex(
        "read", "chassis", {"spring_rate", "0x40000120:f64", "build_number", "0x40000108:4", "--raw"});
    EXPECT_EQ(outcome.out,
              "spring_rate    = 31.75 N/mm  0x403fc00000000000\n"
              "0x40000120:f64 = 31.75  0x403fc00000000000\n"
              "build_number   = 40961  0x0000a001\n"
              "0x40000108:4   = 0x0000a001  0x0000a001\n");
    EXPECT_EQ(outcome.code, 0);
}

TEST(ReadProcess, VariableOfManyElementsAndAStateAreReadWhole) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("read", "chassis", {"vibration_front", "abs_state", "--json"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0].at("value").size(), 16U);
    EXPECT_EQ(objects[0].at("raw").get<std::string>().size(), 128U);
    EXPECT_EQ(objects[1].at("value"), Json());
    EXPECT_THAT(objects[1].at("text").get<std::string>(),
                ::testing::AnyOf("idle", "prepare", "hold", "release"));
}

TEST(ReadProcess, EcusOfBothProtocolsAreReadInOneGo) {
    const MemoryFolder folder;
    const Outcome outcome =
        folder.talvex("read", "engine", {"--ecu", "gearbox", "idle_setpoint", "software_id", "--raw"});
    EXPECT_EQ(outcome.out,
              "engine.idle_setpoint = 780 rpm  0x0c03\n"
              "gearbox.software_id  = 7340121  0x59007000\n");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
}

TEST(ReadProcess, JsonHasOneObjectForEachValueAndAResult) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("read", "engine", {"idle_setpoint", "--json"});
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0], Json::parse(R"({"schema":1,"type":"value","ecu":"engine","name":"idle_setpoint",
        "address":536870992,"raw":"0c03","value":780,"unit":"rpm"})"));
    EXPECT_EQ(objects[1],
              Json::parse(R"({"schema":1,"type":"result","command":"read","code":0,"error":null})"));
}

TEST(ReadProcess, WhatTheEcuRefusesIsNamedAndTheRestIsReadAllTheSame) {
    const MemoryFolder folder;
    const Outcome outcome =
        folder.talvex("read", "engine", {"0x70000000:4", "removed_sensor", "idle_setpoint"});
    EXPECT_EQ(outcome.out, "idle_setpoint  = 780 rpm\n");
    EXPECT_THAT(
        outcome.err,
        AllOf(StartsWith("talvex: engine: read 0x70000000:4: SHORT_UPLOAD was answered with error 0x24, "),
              EndsWith("talvex: engine: read removed_sensor: address 0 is no variable, says "
                       "reject_zero_address of the configuration\n")));
    EXPECT_EQ(outcome.code, 8);
}

TEST(ReadProcess, RefusedVariableOfCcpAndInJsonIsAnErrorToo) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("read", "gearbox", {"0x70000000:4", "drive_mode", "--json"});
    EXPECT_EQ(outcome.code, 8) << outcome.err;
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0].at("type"), "error");
    EXPECT_EQ(objects[0].at("name"), "0x70000000:4");
    EXPECT_EQ(objects[1].at("value"), 3);
    EXPECT_EQ(objects[2].at("code"), 8);
}

TEST(ReadProcess, UnknownNameIsAUsageErrorBeforeAnythingIsSent) {
    const MemoryFolder folder;
    const Outcome outcome =
        folder.talvex("read", "engine", {"engine_sped", "--trace", folder.path("frames.log")});
    EXPECT_THAT(outcome.err, HasSubstr("engine has no variable \"engine_sped\"; did you mean engine_speed?"));
    EXPECT_EQ(outcome.code, 2);
    EXPECT_FALSE(std::filesystem::exists(folder.path("frames.log")));
}

TEST(ReadProcess, NoNameAtAllIsAUsageError) {
    const MemoryFolder folder;
    EXPECT_EQ(folder.talvex("read", "engine", {}).code, 2);
}

}  // namespace
