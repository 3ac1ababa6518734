// What is refused in an image file, by its message. Checksums are worked by hand.

#include "host/HexFile.h"
#include "host/HostError.h"
#include "tests/host/HexTesting.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using host::ExitCode;
using host::HostError;
using host_test::HexFolder;

constexpr const char* kEnd = ":00000001FF\n";

// The message of a file, without its folder; empty if it is in order.
std::string complaint(const std::string& name, const std::string& content) {
    const HexFolder folder;
    const std::string path = folder.file(name, content);
    try {
        static_cast<void>(host::loadHexFile(path));
        return "";
    } catch (const HostError& error) {
        EXPECT_EQ(error.code(), ExitCode::failed);
        const std::string text = error.what();
        const std::string prefix = path.substr(0, path.size() - name.size());
        EXPECT_EQ(text.substr(0, prefix.size()), prefix);
        return text.substr(prefix.size());
    }
}

std::string usage(const std::string& path) {
    try {
        static_cast<void>(host::loadHexFile(path));
        return "";
    } catch (const HostError& error) {
        EXPECT_EQ(error.code(), ExitCode::usage);
        return error.what();
    }
}

TEST(HexLinesIntelHex, BlanksEmptyLinesCarriageReturnsAndLowerCaseAreInOrder) {
    const HexFolder folder;
    const host::HexFile file =
        host::loadHexFile(folder.file("a.hex", "\r\n:020010000aBc28 \t\r\n\n:00000001ff\r\n"));
    EXPECT_EQ(file.format, host::HexFormat::intelHex);
    ASSERT_EQ(file.blocks.size(), 1U);
    EXPECT_EQ(file.blocks.front().address, 0x10U);
    EXPECT_EQ(file.blocks.front().data, (std::vector<std::uint8_t>{0x0A, 0xBC}));
}

TEST(HexLinesIntelHex, AWrongChecksumIsNamedWithTheRightOne) {
    EXPECT_EQ(complaint("a.hex", std::string(":020010000ABC29\n") + kEnd),
              "a.hex:1: the checksum is 29 and must be 28");
}

TEST(HexLinesIntelHex, ASumOfZeroHasTheChecksumZero) {
    EXPECT_EQ(complaint("a.hex", std::string(":02000000FE0000\n") + kEnd), "");
    EXPECT_EQ(complaint("a.hex", std::string(":02000000FE0001\n") + kEnd),
              "a.hex:1: the checksum is 01 and must be 00");
}

TEST(HexLinesIntelHex, ACutLineIsRefusedWhereverItIsCut) {
    EXPECT_EQ(complaint("a.hex", std::string(":020010000ABC\n") + kEnd),
              "a.hex:1: 2 data bytes are announced and 1 are there");
    EXPECT_EQ(complaint("a.hex", std::string(":020010000AB\n") + kEnd),
              "a.hex:1: an odd number of digits: the line is cut");
    EXPECT_EQ(complaint("a.hex", ":0200100\n"), "a.hex:1: an odd number of digits: the line is cut");
    EXPECT_EQ(complaint("a.hex", ":02001000\n"),
              "a.hex:1: has 4 bytes; a record has at least 5: the line is cut");
    EXPECT_EQ(complaint("a.hex", ":\n"), "a.hex:1: has 0 bytes; a record has at least 5: the line is cut");
}

TEST(HexLinesIntelHex, ALineThatIsTooLongIsRefused) {
    EXPECT_EQ(complaint("a.hex", std::string(":020010000ABC2800\n") + kEnd),
              "a.hex:1: 2 data bytes are announced and 3 are there");
}

TEST(HexLinesIntelHex, ACharacterThatIsNoDigitIsNamedWithItsColumn) {
    EXPECT_EQ(complaint("a.hex", ":02001000OABC28\n"), "a.hex:1: column 10: 'O' is no hexadecimal digit");
    EXPECT_EQ(complaint("a.hex", ":02001000 ABC28\n"), "a.hex:1: column 10: byte 20 is no hexadecimal digit");
    EXPECT_EQ(complaint("a.hex", ":020010000\xC3\xA4"),
              "a.hex:1: column 11: byte C3 is no hexadecimal digit");
}

TEST(HexLinesIntelHex, ALineThatIsNoRecordIsRefusedWithItsNumberEmptyLinesCounted) {
    EXPECT_EQ(complaint("a.hex", "\n\n; by hand\n"), "a.hex:3: does not begin with ':'");
    EXPECT_EQ(complaint("a.hex", " :020010000ABC28\n"), "a.hex:1: does not begin with ':'");
}

TEST(HexLinesIntelHex, AnUnknownTypeAndAWrongLengthOfAKnownOneAreRefused) {
    EXPECT_EQ(complaint("a.hex", ":00000006FA\n"),
              "a.hex:1: record type 06 is not known; allowed are 00 to 05");
    EXPECT_EQ(complaint("a.hex", ":0100000408F3\n"),
              "a.hex:1: a record of type 04 (upper address) has 1 data bytes and must have 2");
    EXPECT_EQ(complaint("a.hex", ":00000002FE\n"),
              "a.hex:1: a record of type 02 (segment address) has 0 data bytes and must have 2");
    EXPECT_EQ(complaint("a.hex", ":0100000100FE\n"),
              "a.hex:1: a record of type 01 (end) has 1 data bytes and must have 0");
    EXPECT_EQ(complaint("a.hex", ":00000003FD\n"),
              "a.hex:1: a record of type 03 (segment start) has 0 data bytes and must have 4");
    EXPECT_EQ(complaint("a.hex", ":00000005FB\n"),
              "a.hex:1: a record of type 05 (start) has 0 data bytes and must have 4");
}

TEST(HexLinesIntelHex, AMissingEndIsNamedWithTheLineToAdd) {
    EXPECT_EQ(complaint("a.hex", ":020010000ABC28\n"),
              "a.hex:1: the end record is missing, the file may be cut; if it is whole, add :00000001FF");
}

TEST(HexLinesIntelHex, ARecordBehindTheEndIsRefusedThoughTheLibraryWouldLoadIt) {
    EXPECT_EQ(
        complaint("a.hex", std::string(kEnd) + ":020010000ABC28\n"),
        "a.hex:2: a record behind the end record of line 1; other programs do not read it: remove one of "
        "the two");
}

TEST(HexLinesSrecord, AllTypesInUseAreInOrder) {
    EXPECT_EQ(complaint("a.s19",
                        "S0030000FC\n"
                        "S104000001FA\n"
                        "S20500001002E8\n"
                        "S3060000002003D6\n"
                        "S5030003F9\n"
                        "S9030000FC\n"),
              "");
    EXPECT_EQ(complaint("a.mot", "S104000001FA\nS604000001FA\nS804000000FB\n"), "");
    EXPECT_EQ(complaint("a.mot", "S104000001FA\nS70500000000FA\n"), "");
}

TEST(HexLinesSrecord, AWrongChecksumIsNamedWithTheRightOne) {
    EXPECT_EQ(complaint("a.s19", "S104000001FB\n"), "a.s19:1: the checksum is FB and must be FA");
}

TEST(HexLinesSrecord, ACutLineIsRefusedWhereverItIsCut) {
    EXPECT_EQ(complaint("a.s19", "S1040000FB\n"), "a.s19:1: 4 bytes are announced and 3 are there");
    EXPECT_EQ(complaint("a.s19", "S104000001F\n"), "a.s19:1: an odd number of digits: the line is cut");
    EXPECT_EQ(complaint("a.s19", "S30500FA\n"),
              "a.s19:1: has 3 bytes; an S3 record has at least 6: the line is cut");
    EXPECT_EQ(complaint("a.s19", "S1\n"),
              "a.s19:1: has 0 bytes; an S1 record has at least 4: the line is cut");
    EXPECT_EQ(complaint("a.s19", "S\n"), "a.s19:1: does not begin with 'S' and a digit");
}

TEST(HexLinesSrecord, ALineThatIsNoRecordIsRefused) {
    EXPECT_EQ(complaint("a.s19", "s104000001FA\n"), "a.s19:1: does not begin with 'S' and a digit");
    EXPECT_EQ(complaint("a.s19", "SA04000001FA\n"), "a.s19:1: does not begin with 'S' and a digit");
    EXPECT_EQ(complaint("a.s19", "S4060000000000F9\n"), "a.s19:1: S4 is not in use");
    EXPECT_EQ(complaint("a.s19", "S10400G001FA\n"), "a.s19:1: column 7: 'G' is no hexadecimal digit");
}

TEST(HexLinesSrecord, ALostLineIsFoundByTheCount) {
    EXPECT_EQ(complaint("a.s19", "S104000001FA\nS5030002FA\nS9030000FC\n"),
              "a.s19:2: 2 data records are announced and 1 are there: lines are missing");
}

TEST(HexLinesSrecord, ACountDoesForAnEndUnlessDataFollow) {
    EXPECT_EQ(complaint("a.s19", "S104000001FA\nS5030001FB\n"), "");
    EXPECT_EQ(complaint("a.s19", "S104000001FA\nS5030001FB\nS104000101F9\n"),
              "a.s19:3: the end record is missing, the file may be cut; if it is whole, add S70500000000FA");
}

TEST(HexLinesSrecord, ARecordBehindTheEndIsRefused) {
    EXPECT_EQ(
        complaint("a.s19", "S9030000FC\nS104000001FA\n"),
        "a.s19:2: a record behind the end record of line 1; other programs do not read it: remove one of "
        "the two");
}

TEST(HexFile, TheOtherFormatUnderTheEndingIsNamedWithTheEndingItNeeds) {
    EXPECT_EQ(complaint("a.hex", "S104000001FA\n"),
              "a.hex:1: an S-record, but the ending of the name says Intel HEX: rename the file to .s19");
    EXPECT_EQ(
        complaint("a.s19", kEnd),
        "a.s19:1: an Intel HEX record, but the ending of the name says S-record: rename the file to .hex");
}

TEST(HexFile, AnEmptyFileIsRefused) {
    EXPECT_EQ(complaint("a.hex", ""), "a.hex: the file is empty");
    EXPECT_EQ(complaint("a.s19", "\n \r\n"), "a.s19: the file is empty");
}

TEST(HexFile, ABlockThatEndsBehindTheAddressSpaceIsRefused) {
    EXPECT_EQ(complaint("a.s19", "S306FFFFFFFF01FC\nS9030000FC\n"), "");
    EXPECT_EQ(complaint("a.s19", "S307FFFFFFFF0102F9\nS9030000FC\n"),
              "a.s19: the block at 0xffffffff has 2 bytes and ends behind 0xffffffff");
}

TEST(HexFile, ARecordWithoutBytesIsNoBlock) {
    const HexFolder folder;
    EXPECT_TRUE(host::loadHexFile(folder.file("b.hex", std::string(":00001000F0\n") + kEnd)).blocks.empty());
}

TEST(HexFile, TheEndingIsKnownInLowerCaseOnly) {
    for (const char* name : {"FLASH.HEX", "a.S19", "a.srec", "a.bin", "hex", "a", ""}) {
        EXPECT_EQ(usage(name), std::string(name) +
                                   ": the ending of the name tells the format: .hex is Intel HEX, .s19 and "
                                   ".mot are S-records, all in lower case");
    }
}

TEST(HexFile, AFileThatCannotBeOpenedAndAFolderAreNamed) {
    const HexFolder folder;
    const auto message = [](const std::string& path) -> std::string {
        try {
            static_cast<void>(host::loadHexFile(path));
            return "";
        } catch (const HostError& error) {
            return error.what();
        }
    };
    EXPECT_EQ(message(folder.path("no.hex")),
              folder.path("no.hex") + ": cannot be read: No such file or directory");
    std::filesystem::create_directory(folder.path("folder.hex"));
    EXPECT_EQ(message(folder.path("folder.hex")), folder.path("folder.hex") + ": is no regular file");
}

}  // namespace
