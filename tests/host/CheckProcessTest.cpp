// `talvex check` as a process, on ECUs that are simulated in it.

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
using ::testing::EndsWith;
using ::testing::HasSubstr;

// Flash as it is at the start, from an address inside of it on, with one byte changed.
std::string changedFlash(unsigned base, std::size_t place) {
    std::string bytes = startContent(base + 3, 0x4000);
    bytes[place] = static_cast<char>(~bytes[place]);
    return bytes;
}

TEST(Check, FlashThatHoldsTheFileIsVerified) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("same.hex", startContent(0x80003, 0x4000), "0x80000");
    const Outcome outcome = folder.talvex("check", "engine", {"same.hex"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("same.hex, 1 block, 16384 bytes\n"
                                       "  check    0x00080000-0x00083fff       16384 bytes  flash\n"
                                       "  block    0x00080000-0x00083fff       16384 bytes  flash, ECU 0x"));
    EXPECT_THAT(outcome.out, EndsWith(", equal\nengine: verified, 16384 bytes\n"));
    EXPECT_EQ(outcome.err, "");
}

TEST(Check, FirstByteThatDiffersIsNamedWithBothValues) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("other.hex", changedFlash(0x80000, 0x1234), "0x80000");
    const Outcome outcome = folder.talvex("check", "engine", {"other.hex", "--json"});
    EXPECT_EQ(outcome.code, 9) << outcome.err;
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 4U);
    EXPECT_EQ(objects[1].at("equal"), false);
    EXPECT_EQ(objects[2].at("type"), "difference");
    EXPECT_EQ(objects[2].at("address"), 0x81234);
    EXPECT_EQ(objects[2].at("file_byte").get<int>() ^ objects[2].at("ecu_byte").get<int>(), 0xFF);
    EXPECT_EQ(objects[3].at("code"), 9);
}

TEST(Check, FirstByteOfACcpEcuThatDiffersIsNamed) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    folder.image("other.hex", changedFlash(0xC0000, 0x3FFF), "0xC0000");
    const Outcome outcome = folder.talvex("check", "gearbox", {"other.hex"});
    EXPECT_EQ(outcome.code, 9) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("gearbox: first difference at 0x000c3fff: file 0x"));
}

TEST(Check, SegmentsOfAFileAreEachABlock) {
    NEEDS_TOOL("srec_cat");
    const MemoryFolder folder;
    folder.file("page.bin", startContent(0x30004001, 1024));
    folder.file("code.bin", startContent(0xC0003, 256));
    folder.run(
        "srec_cat page.bin -binary -offset 0x30004000 code.bin -binary -offset 0xC0000 -o two.s19 -motorola");
    const Outcome outcome = folder.talvex("check", "gearbox", {"two.s19"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out,
                HasSubstr("  block    0x30004000-0x300043ff        1024 bytes  working page, ECU 0x"));
    EXPECT_THAT(outcome.out, HasSubstr("  block    0x000c0000-0x000c00ff         256 bytes  flash, ECU 0x"));
    EXPECT_THAT(outcome.out, EndsWith("gearbox: verified, 1280 bytes\n"));
}

TEST(Check, DifferenceInTheReferencePageOfAnXcpEcuIsLookedForInThatPage) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    std::string bytes = startContent(0x20008002, 2048);
    folder.image("page.hex", bytes, "0x20008000");
    EXPECT_EQ(folder.talvex("check", "engine", {"page.hex", "--segment", "reference"}).code, 0);
    bytes[2000] = static_cast<char>(~bytes[2000]);
    folder.image("page.hex", bytes, "0x20008000");
    const Outcome outcome = folder.talvex("check", "engine", {"page.hex", "--segment", "reference"});
    EXPECT_EQ(outcome.code, 9);
    EXPECT_THAT(outcome.out, HasSubstr("engine: first difference at 0x200087d0: "));
}

TEST(Check, EcuThatBuildsNoChecksumsIsReadBack) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder(replaced(patientConfig(), "0xF4, 0xF3, 0xEB", "0xF4, 0xEB"));
    folder.image("same.hex", startContent(0x80003, 500), "0x80000");
    Outcome outcome = folder.talvex("check", "engine", {"same.hex"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out,
                HasSubstr("         500 bytes  flash, read back, equal\nengine: verified, 500 bytes\n"));
    folder.image("other.hex", changedFlash(0x80000, 300).substr(0, 500), "0x80000");
    outcome = folder.talvex("check", "engine", {"other.hex"});
    EXPECT_EQ(outcome.code, 9);
    EXPECT_THAT(outcome.out,
                HasSubstr("flash, read back, different\nengine: first difference at 0x0008012c: "));
}

TEST(Check, FileThatIsNotThereOrIsBrokenIsToldWithItsLine) {
    const MemoryFolder folder;
    folder.file("bad.hex", ":00000001FF\n:020010000ABC29\n");
    EXPECT_EQ(folder.talvex("check", "engine", {"no.hex"}).code, 1);
    const Outcome outcome = folder.talvex("check", "engine", {"bad.hex"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("talvex: bad.hex:2: "));
}

}  // namespace
