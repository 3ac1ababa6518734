// `talvex flash` as a process, on ECUs that are simulated in it and over a server.

#include "tests/host/MemoryTesting.h"

#include <gmock/gmock.h>

#include <csignal>
#include <string>
#include <vector>

namespace {

using host_test::Json;
using host_test::MemoryFolder;
using host_test::objectsOf;
using host_test::Outcome;
using host_test::patientConfig;
using host_test::Program;
using host_test::replaced;
using host_test::RunningEcus;
using host_test::someBytes;
using host_test::withoutSecurity;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// "123456789" gives the published check values: 0x29B1 and 0xCBF43926.
constexpr const char* kDigits = "123456789";

constexpr const char* kEnginePlan =
    "engine: digits.hex, 1 block, 9 bytes\n"
    "  erase    0x00080000-0x00083fff       16384 bytes  flash, 4 sectors, 16375 bytes stay erased\n"
    "  program  0x00080100-0x00080108           9 bytes  flash\n";

TEST(Flash, PlanAloneIsExactAndDoesNothing) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("digits.hex", kDigits, "0x80100");
    const Outcome outcome = folder.talvex("flash", "engine", {"digits.hex", "--dry-run"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, kEnginePlan);
    EXPECT_EQ(outcome.err, "");
}

TEST(Flash, XcpEcuIsErasedProgrammedAndVerified) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("digits.hex", kDigits, "0x80100");
    const Outcome outcome = folder.talvex("flash", "engine", {"digits.hex"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, std::string(kEnginePlan) +
                               "  block    0x00080100-0x00080108           9 bytes  flash, ECU 0x29b1, file "
                               "0x29b1, equal\n"
                               "engine: verified, 9 bytes\n");
    EXPECT_THAT(outcome.err, HasSubstr("talvex: engine: erased 16384 bytes in "));
    EXPECT_THAT(outcome.err, HasSubstr("talvex: engine: programmed 9 bytes in "));
}

TEST(Flash, CcpEcuIsErasedProgrammedAndVerified) {
    NEEDS_TOOL("srec_cat");
    const MemoryFolder folder;
    folder.file("digits.bin", kDigits);
    folder.run("srec_cat digits.bin -binary -offset 0xC0100 -o digits.s19 -motorola");
    const Outcome outcome = folder.talvex("flash", "gearbox", {"digits.s19", "--json"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 6U);
    EXPECT_EQ(objects[0], Json::parse(R"({"schema":1,"type":"plan","ecu":"gearbox","address":786432,
        "last":802815,"length":16384,"segment":"flash","action":"erase","sectors":4,"not_in_file":16375})"));
    EXPECT_EQ(objects[1].at("action"), "program");
    EXPECT_EQ(objects[2].at("action"), "erased");
    EXPECT_EQ(objects[3].at("action"), "programmed");
    EXPECT_EQ(objects[4], Json::parse(R"({"schema":1,"type":"block","ecu":"gearbox","address":786688,
        "last":786696,"length":9,"segment":"flash","ecu_checksum":"0xcbf43926",
        "file_checksum":"0xcbf43926","equal":true})"));
    EXPECT_EQ(objects[5].at("code"), 0);
}

TEST(Flash, BytesOutsideAreRefusedWithTheirRange) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("over.hex", someBytes(32, 1), "0x83FF0");
    const Outcome outcome = folder.talvex("flash", "engine", {"over.hex"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, EndsWith("  program  0x00083ff0-0x00083fff          16 bytes  flash\n"
                                      "  outside  0x00084000-0x0008400f          16 bytes  in no segment\n"));
    EXPECT_EQ(outcome.err,
              "talvex: over.hex: 0x00084000-0x0008400f lies outside of the memory of engine (flash "
              "0x00080000-0x00083fff); --ignore-outside leaves it out\n");
}

TEST(Flash, BytesOutsideAreLeftOutOnRequest) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("over.hex", someBytes(32, 1), "0xC3FF0");
    const Outcome outcome = folder.talvex("flash", "gearbox", {"over.hex", "--ignore-outside"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("          16 bytes  in no segment, left out\n"));
    EXPECT_THAT(outcome.out, EndsWith("gearbox: verified, 16 bytes\n"));
}

TEST(Flash, FileThatLiesElsewhereIsRefusedAltogether) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("else.hex", kDigits, "0x0");
    const Outcome outcome = folder.talvex("flash", "gearbox", {"else.hex", "--ignore-outside"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(
        outcome.err,
        "talvex: else.hex: nothing of it lies in the memory of gearbox (flash 0x000c0000-0x000c3fff)\n");
}

TEST(Flash, FileWithoutBytesAndFileWithTwoReadingsAreRefused) {
    const MemoryFolder folder;
    folder.file("empty.hex", ":00000001FF\n");
    folder.file("twice.hex", ":0100200005DA\n:020020000607D1\n:00000001FF\n");
    Outcome outcome = folder.talvex("flash", "gearbox", {"empty.hex"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "talvex: empty.hex: holds no bytes\n");
    outcome = folder.talvex("flash", "gearbox", {"twice.hex"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.err, HasSubstr("talvex: twice.hex: holds 0x00000020 (1 byte to 0x00000020) twice;"));
}

TEST(Flash, EcuThatCannotProgramIsNotErasedEither) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder(replaced(patientConfig(), "0xD1, 0xD0, 0xCF]", "0xD1, 0xCF]"));
    folder.image("digits.hex", kDigits, "0x80100");
    const Outcome outcome = folder.talvex("flash", "engine", {"digits.hex"});
    EXPECT_EQ(outcome.code, 8);
    EXPECT_EQ(
        outcome.err,
        "talvex: engine: PROGRAM (0xD0) is not among `commands` of the configuration; nothing was done\n");
}

TEST(Flash, EcuThatWasNotUnlockedIsLockedAndItsFlashIsAsItWas) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    const RunningEcus ecus(folder.path("ecus.toml"));
    folder.file("ecus.toml", withoutSecurity(patientConfig()));
    folder.image("digits.hex", kDigits, "0x80100");
    const Outcome outcome = folder.talvex("flash", "engine", {"digits.hex", "--bus", ecus.bus("powertrain")});
    EXPECT_EQ(outcome.code, 7) << outcome.out << outcome.err;
    EXPECT_THAT(outcome.err,
                StartsWith("talvex: engine: erase: PROGRAM_START was answered with error 0x25, "));
}

TEST(Flash, FlashThatWasNotErasedDoesNotTakeTheBytes) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("digits.hex", kDigits, "0xC0100");
    const Outcome outcome = folder.talvex("flash", "gearbox", {"digits.hex", "--no-erase"});
    EXPECT_EQ(outcome.code, 8);
    EXPECT_EQ(
        outcome.err,
        "talvex: gearbox: its flash may be incomplete now; give the same command again without --no-erase "
        "before it is used\n"
        "talvex: gearbox: program: PROGRAM was answered with error 0x33, Access denied\n");
}

TEST(Flash, InterruptIsFollowedByWhatBecameOfTheFlash) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("full.hex", someBytes(0x4000, 3), "0xC0000");
    Program program(folder.commandLine("flash", "gearbox", {folder.path("full.hex")}));
    ASSERT_TRUE(program.readUntil("gearbox: program: 10 %")) << program.output();
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 130);
    EXPECT_THAT(
        program.output(),
        EndsWith("talvex: gearbox: its flash may be incomplete now; give the same command again before it "
                 "is used\ntalvex: program: interrupted; what was open is closed\n"));
}

TEST(Flash, StaysInAnEcuThatGoesOnRunning) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    const std::string bytes = someBytes(3000, 4);
    folder.image("app.hex", bytes, "0xC0800");
    const RunningEcus ecus(folder.path("ecus.toml"));
    const std::string bus = ecus.bus("transmission");
    Outcome outcome = folder.talvex("flash", "gearbox", {"app.hex", "--bus", bus});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    outcome = folder.talvex("check", "gearbox", {"app.hex", "--bus", bus});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    outcome = folder.talvex("upload", "gearbox", {"back.hex", "--segment", "code", "--bus", bus});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    folder.run("objcopy -I ihex -O binary back.hex back.bin");
    EXPECT_TRUE(folder.text("back.bin") ==
                std::string(0x800, '\xFF') + bytes + std::string(0x4000 - 0x800 - 3000, '\xFF'));
}

}  // namespace
