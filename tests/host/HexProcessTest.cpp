// `talvex hex` as a process, on files that other programs make and read.

#include "tests/host/HexTesting.h"
#include "tests/host/Places.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using host_test::HexFolder;
using host_test::linesOf;
using host_test::Outcome;
using host_test::someBytes;
using Json = nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* kSmall = ":020010000ABC28\n:00000001FF\n";                 // 0A BC at 0x10
constexpr const char* kInside = ":01001100DD11\n:00000001FF\n";                  // DD at 0x11
constexpr const char* kApart = ":0100200005DA\n:00000001FF\n";                   // 05 at 0x20
constexpr const char* kEmpty = ":00000001FF\n";                                  // nothing
constexpr const char* kTwice = ":0100200005DA\n:020020000607D1\n:00000001FF\n";  // 0x20 twice

std::vector<Json> objectsOf(const std::string& text) {
    std::vector<Json> objects;
    for (const std::string& line : linesOf(text)) {
        objects.push_back(Json::parse(line));
        EXPECT_EQ(objects.back().at("schema"), 1) << line;
    }
    return objects;
}

// A limit on the size of files for as long as it lives, as a disk that is nearly full.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit now = m_before;
        now.rlim_cur = bytes;
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &now), 0);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

// Two images with a gap between them, as other programs write them: app.hex at 0x8000FFF0, cal.s19 at 0x100.
void writeImages(const HexFolder& folder) {
    folder.file("app.bin", someBytes(70001, 1));
    folder.file("cal.bin", someBytes(100, 2));
    folder.run("objcopy -I binary -O ihex --change-addresses 0x8000FFF0 app.bin app.hex");
    folder.run("srec_cat cal.bin -binary -offset 0x100 -o cal.s19 -motorola");
}

TEST(HexInfo, TellsBlocksGapsAndChecksumsOfAFileFromObjcopy) {
    NEEDS_TOOL("objcopy");
    const HexFolder folder;
    folder.file("digits.bin", "123456789");
    folder.run("objcopy -I binary -O ihex --change-addresses 0x1234FFFA digits.bin digits.hex");
    const Outcome outcome = folder.hex({"info", "digits.hex", "--checksum", "crc32"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "digits.hex: Intel HEX, 1 block, 9 bytes, 0 gaps of 0 bytes\n"
              "  block    0x1234fffa-0x12350002           9 bytes  crc32 0xcbf43926\n");
    EXPECT_EQ(outcome.err, "");
}

TEST(HexInfo, KnowsTheNineChecksumsByName) {
    // Over 31 32 .. 39: bytes 0x1DD; words 0x3231+0x3433+0x3635+0x3837 = 0xD4D0, the last byte left out;
    // words of 4 bytes 0x34333231+0x38373635 = 0x6C6A6866. The CRCs are the published check values.
    const std::vector<std::pair<const char*, const char*>> sums{
        {"add11", "0xdd"},   {"add12", "0x01dd"},     {"add14", "0x000001dd"},
        {"add22", "0xd4d0"}, {"add24", "0x0000d4d0"}, {"add44", "0x6c6a6866"},
        {"crc16", "0xbb3d"}, {"crc16citt", "0x29b1"}, {"crc32", "0xcbf43926"}};
    const HexFolder folder;
    folder.file("d.s19", "S10C000031323334353637383916\nS9030000FC\n");
    for (const auto& [name, value] : sums) {
        const Outcome outcome = folder.hex({"info", "d.s19", "--checksum", name});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_THAT(outcome.out, ::testing::EndsWith(std::string(name) + " " + value + "\n"));
    }
}

TEST(HexInfo, AnUnknownChecksumIsAWrongUsageThatNamesTheKnownOnes) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    const Outcome outcome = folder.hex({"info", "a.hex", "--checksum", "md5"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("add11,add12,add14,add22,add24,add44,crc16,crc16citt,crc32"));
}

TEST(HexInfo, ShowsGapsAndOverlapsInOrder) {
    const HexFolder folder;
    folder.file("c.hex", ":01002000FFE0\n:020010000ABC28\n:020020000607D1\n:00000001FF\n");
    const Outcome outcome = folder.hex({"info", "c.hex"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(
        outcome.out,
        "c.hex: Intel HEX, 2 blocks, 4 bytes, 1 gap of 14 bytes\n"
        "  block    0x00000010-0x00000011           2 bytes\n"
        "  gap      0x00000012-0x0000001f          14 bytes\n"
        "  block    0x00000020-0x00000021           2 bytes\n"
        "  overlap  0x00000020-0x00000020           1 byte   the later line of the file counts above\n");
}

TEST(HexInfo, SpeaksJsonWithTheResultLast) {
    const HexFolder folder;
    folder.file("c.hex", ":01002000FFE0\n:020010000ABC28\n:020020000607D1\n:00000001FF\n");
    folder.file("d.s19", "S10C000031323334353637383916\nS9030000FC\n");
    const Outcome outcome = folder.hex({"info", "c.hex", "d.s19", "--json", "--checksum", "add12"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<Json> objects = objectsOf(outcome.out);
    std::vector<std::string> types;
    for (const Json& object : objects) {
        types.push_back(object.at("type"));
    }
    ASSERT_THAT(types, ElementsAre("hex_block", "hex_block", "gap", "overlap", "file", "hex_block", "file",
                                   "result"));
    EXPECT_EQ(objects[1], Json::parse(R"({"schema":1,"type":"hex_block","file":"c.hex","address":32,"last":33,
                                          "length":2,"checksum_kind":"add12","checksum":"0x000d"})"));
    EXPECT_EQ(objects[2], Json::parse(R"({"schema":1,"type":"gap","file":"c.hex","address":18,"last":31,
                                          "length":14})"));
    EXPECT_EQ(objects[3], Json::parse(R"({"schema":1,"type":"overlap","file":"c.hex","address":32,"last":32,
                                          "length":1})"));
    EXPECT_EQ(objects[4], Json::parse(R"({"schema":1,"type":"file","file":"c.hex","format":"intel_hex",
                                          "blocks":2,"bytes":4,"gaps":1,"gap_bytes":14,"overlaps":1})"));
    EXPECT_EQ(objects[6].at("format"), "s_record");
    EXPECT_EQ(objects[7], Json::parse(R"({"schema":1,"type":"result","command":"hex info","code":0,
                                          "error":null})"));
}

TEST(HexInfo, AFaultIsTheErrorOfTheResultAndAMessage) {
    const HexFolder folder;
    folder.file("a.hex", ":020010000ABC29\n");
    const Outcome outcome = folder.hex({"info", "a.hex", "--json"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "talvex: a.hex:1: the checksum is 29 and must be 28\n");
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].at("code"), 1);
    EXPECT_EQ(objects[0].at("error"), "a.hex:1: the checksum is 29 and must be 28");
}

TEST(HexInfo, AFileNameThatIsNoUtf8LeavesJsonWhole) {
    const HexFolder folder;
    folder.file("\xE4.hex", kSmall);
    const Outcome outcome = folder.hex({"info", "\xE4.hex", "--json"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(objectsOf(outcome.out).at(0).at("file"), "\xEF\xBF\xBD.hex");
}

TEST(HexInfo, OutputThatCannotBeWrittenIsAFailure) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    const std::string command =
        std::string("'") + host_test::kProgram + "' hex info '" + folder.path("a.hex") + "' >/dev/full 2>&1";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
}

TEST(HexMerge, FilesOfObjcopyAndSrecCatReadBackByteForByte) {
    NEEDS_TOOL("objcopy");
    NEEDS_TOOL("srec_cat");
    for (const std::string out : {"both.hex", "both.s19", "both.mot"}) {
        const HexFolder folder;
        writeImages(folder);
        const Outcome outcome = folder.hex({"merge", "app.hex", "cal.s19", "-o", out});
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "talvex: " + out + ": 2 blocks, 70101 bytes\n");
        const std::string format = out == "both.hex" ? " -intel" : " -motorola";
        folder.run("srec_cat " + out + format + " -crop 0x100 0x164 -offset -0x100 -o cal2.bin -binary");
        folder.run("srec_cat " + out + format +
                   " -crop 0x80000000 0x90000000 -offset -0x8000FFF0 -o app2.bin "
                   "-binary");
        EXPECT_TRUE(folder.text("cal2.bin") == folder.text("cal.bin"));
        EXPECT_TRUE(folder.text("app2.bin") == folder.text("app.bin"));
    }
}

TEST(HexMerge, AnOverlapIsAnErrorThatNamesTheLowestAddressAndBothFiles) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    folder.file("b.hex", kInside);
    folder.file("out.hex", "old");
    const Outcome outcome = folder.hex({"merge", "a.hex", "b.hex", "-o", "out.hex"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err,
              "talvex: a.hex and b.hex both hold 0x00000011 (1 byte to 0x00000011); talvex hex merge with "
              "--overlap first or last settles it\n");
    EXPECT_EQ(folder.text("out.hex"), "old");
}

TEST(HexMerge, FirstAndLastSettleAnOverlap) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    folder.file("b.hex", kInside);
    EXPECT_EQ(folder.hex({"merge", "a.hex", "b.hex", "-o", "f.hex", "--overlap", "first"}).code, 0);
    EXPECT_EQ(folder.text("f.hex"), ":020000040000FA\n:020010000ABC28\n:00000001FF\n");
    EXPECT_EQ(folder.hex({"merge", "a.hex", "b.hex", "-o", "l.hex", "--overlap", "last"}).code, 0);
    EXPECT_EQ(folder.text("l.hex"), ":020000040000FA\n:020010000ADD07\n:00000001FF\n");
    EXPECT_EQ(folder.hex({"merge", "a.hex", "b.hex", "-o", "l.hex", "--overlap", "both"}).code, 2);
}

TEST(HexMerge, TheOutputMayBeOneOfTheInputs) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    folder.file("b.hex", kApart);
    EXPECT_EQ(folder.hex({"merge", "a.hex", "b.hex", "-o", "a.hex"}).code, 0);
    EXPECT_EQ(folder.text("a.hex"),
              ":020000040000FA\n:020010000ABC28\n:020000040000FA\n:0100200005DA\n:00000001FF\n");
}

TEST(HexMerge, AFileWithoutBytesIsAnError) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    folder.file("e.hex", kEmpty);
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"merge", "a.hex", "e.hex", "-o", "o.hex"},
          {"crop", "e.hex", "-o", "o.hex", "--range", "0:1", "--fill", "0"},
          {"convert", "e.hex", "-o", "o.hex"}}) {
        const Outcome outcome = folder.hex(command);
        EXPECT_EQ(outcome.code, 1) << command[0];
        EXPECT_EQ(outcome.err, "talvex: e.hex: holds no bytes\n");
    }
    EXPECT_THAT(folder.names(), ElementsAre("a.hex", "e.hex"));
}

TEST(HexCropProcess, CutsAsSrecCatDoes) {
    NEEDS_TOOL("objcopy");
    NEEDS_TOOL("srec_cat");
    const HexFolder folder;
    writeImages(folder);
    const Outcome outcome = folder.hex({"crop", "app.hex", "-o", "part.s19", "--range",
                                        "0x8000FFFE:5,0x80010010-0x8001FFFF", "--range", "2147614720:1"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    folder.run(
        "srec_cat app.hex -intel -crop 0x8000FFFE 0x80010003 0x80010010 0x80020001 -o right.s19 -motorola");
    folder.run("srec_cat part.s19 -motorola -offset -0x80000000 -o part.bin -binary");
    folder.run("srec_cat right.s19 -motorola -offset -0x80000000 -o right.bin -binary");
    EXPECT_EQ(folder.text("part.bin").size(), 0x20001U);
    EXPECT_TRUE(folder.text("part.bin") == folder.text("right.bin"));
}

TEST(HexCropProcess, FillsAsSrecCatDoes) {
    NEEDS_TOOL("srec_cat");
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    const Outcome outcome =
        folder.hex({"crop", "a.hex", "-o", "f.hex", "--range", "0x8-0x4F", "--fill", "0xFF"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "talvex: f.hex: 1 block, 72 bytes\n");
    folder.run("srec_cat a.hex -intel -fill 0xFF 8 0x50 -offset -8 -o right.bin -binary");
    folder.run("srec_cat f.hex -intel -offset -8 -o f.bin -binary");
    EXPECT_EQ(folder.text("f.bin"), folder.text("right.bin"));
}

TEST(HexCropProcess, ARangeWithoutContentIsToldOfAndNothingAtAllIsAnError) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    Outcome outcome = folder.hex({"crop", "a.hex", "-o", "o.hex", "--range", "0x11:1", "--range", "0x80:16"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err,
              "talvex: a.hex: holds nothing from 0x00000080 to 0x0000008f\ntalvex: o.hex: 1 block, 1 byte\n");
    outcome = folder.hex({"crop", "a.hex", "-o", "p.hex", "--range", "0x80:16"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.err, HasSubstr("talvex: a.hex: nothing of it lies in the ranges\n"));
    EXPECT_THAT(folder.names(), ElementsAre("a.hex", "o.hex"));
}

TEST(HexCropProcess, WrongArgumentsAreAWrongUsage) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    EXPECT_EQ(folder.hex({"crop", "a.hex", "-o", "o.hex"}).code, 2);
    EXPECT_EQ(folder.hex({"crop", "a.hex", "-o", "o.bin", "--range", "0:1"}).code, 2);
    EXPECT_EQ(folder.hex({"crop", "a.hex", "-o", "o.hex", "--range", "0:1", "--fill", "256"}).code, 2);
    const Outcome outcome = folder.hex({"crop", "a.hex", "-o", "o.hex", "--range", "0"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.err, "talvex: --range 0: must be ADDRESS:LENGTH or FIRST-LAST\n");
}

TEST(HexConvert, ObjcopyReadsBackWhatSrecCatWroteAndTheOtherWayRound) {
    NEEDS_TOOL("objcopy");
    NEEDS_TOOL("srec_cat");
    const HexFolder folder;
    writeImages(folder);
    EXPECT_EQ(folder.hex({"convert", "app.hex", "-o", "app.s19"}).code, 0);
    EXPECT_EQ(folder.hex({"convert", "cal.s19", "-o", "cal.hex"}).code, 0);
    folder.run("objcopy -I srec -O binary app.s19 app2.bin");
    folder.run("objcopy -I ihex -O binary cal.hex cal2.bin");
    folder.run("srec_cat app.s19 -motorola -offset -0x8000FFF0 -o app3.bin -binary");
    EXPECT_TRUE(folder.text("app2.bin") == folder.text("app.bin"));
    EXPECT_TRUE(folder.text("app3.bin") == folder.text("app.bin"));
    EXPECT_EQ(folder.text("cal2.bin"), folder.text("cal.bin"));
}

TEST(HexConvert, AFileThatHoldsAnAddressTwiceIsRefused) {
    const HexFolder folder;
    folder.file("t.hex", kTwice);
    const Outcome outcome = folder.hex({"convert", "t.hex", "-o", "o.s19"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err,
              "talvex: t.hex: holds 0x00000020 (1 byte to 0x00000020) twice; talvex hex merge with --overlap "
              "first or last settles it\n");
    EXPECT_EQ(folder.hex({"merge", "t.hex", "-o", "o.hex", "--overlap", "last"}).code, 0);
    EXPECT_EQ(folder.text("o.hex"), ":020000040000FA\n:020020000607D1\n:00000001FF\n");
}

TEST(HexConvert, TheLastByteOfTheAddressSpaceStays) {
    const HexFolder folder;
    folder.file("a.s19", "S306FFFFFFFF01FC\nS9030000FC\n");
    EXPECT_EQ(folder.hex({"convert", "a.s19", "-o", "a.hex"}).code, 0);
    EXPECT_EQ(folder.text("a.hex"), ":02000004FFFFFC\n:01FFFF000100\n:00000001FF\n");
}

TEST(HexConvert, TellsInJsonWhatItWrote) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    const Outcome outcome = folder.hex({"convert", "a.hex", "-o", "a.s19", "--json"});
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0],
              Json::parse(R"({"schema":1,"type":"file_written","file":"a.s19","blocks":1,"bytes":2})"));
    EXPECT_EQ(objects[1].at("command"), "hex convert");
    EXPECT_EQ(objects[1].at("code"), 0);
}

TEST(HexConvert, AFullDiskLeavesTheOldFileWholeAndNothingBeside) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    folder.file("old.s19", "old");
    // 4096 bytes are more than 8192 digits, four times what the limit lets through.
    folder.file("pad.hex", ":0100000000FF\n:00000001FF\n");
    ASSERT_EQ(folder.hex({"crop", "pad.hex", "-o", "big.hex", "--range", "0:4096", "--fill", "0"}).code, 0);
    Outcome outcome;
    {
        const FileSizeLimit limit(2048);
        outcome = folder.hex({"convert", "big.hex", "-o", "old.s19"});
    }
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(
        outcome.err,
        "talvex: old.s19: not written: the disk is full or files are limited in size; what was there is "
        "as it was\n");
    EXPECT_EQ(folder.text("old.s19"), "old");
    EXPECT_THAT(folder.names(), ElementsAre("a.hex", "big.hex", "old.s19", "pad.hex"));
}

TEST(HexConvert, ALimitThatCutsOnlyTheEndRecordIsNoticed) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    Outcome outcome;
    {
        const FileSizeLimit limit(32);  // of 44 bytes
        outcome = folder.hex({"convert", "a.hex", "-o", "b.hex"});
    }
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(folder.names(), ElementsAre("a.hex"));
}

TEST(HexConvert, APlaceThatCannotBeWrittenIsNamedWithTheReason) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    Outcome outcome = folder.hex({"convert", "a.hex", "-o", "no/b.hex"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "talvex: no/b.hex: cannot be written: No such file or directory\n");
    std::filesystem::create_directory(folder.path("folder.hex"));
    outcome = folder.hex({"convert", "a.hex", "-o", "folder.hex"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "talvex: folder.hex: is no regular file\n");
}

TEST(HexConvert, KeepsThePermissionsOfTheFileItReplaces) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    chmod(folder.file("o.hex", "old").c_str(), 0640);
    EXPECT_EQ(folder.hex({"convert", "a.hex", "-o", "o.hex"}).code, 0);
    struct stat status {};
    ASSERT_EQ(stat(folder.path("o.hex").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST(HexConvert, ANewFileHasThePermissionsOfOne) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    const mode_t before = umask(027);
    EXPECT_EQ(folder.hex({"convert", "a.hex", "-o", "o.hex"}).code, 0);
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(folder.path("o.hex").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST(HexConvert, ALinkStaysAndItsTargetIsReplaced) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    folder.file("target.bin", "old");
    std::filesystem::create_symlink("target.bin", folder.path("link.hex"));
    EXPECT_EQ(folder.hex({"convert", "a.hex", "-o", "link.hex"}).code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link.hex")));
    EXPECT_EQ(folder.text("target.bin"), ":020000040000FA\n:020010000ABC28\n:00000001FF\n");
}

TEST(HexCompareProcess, FilesOfTwoFormatsAreEqualIfTheirBytesAre) {
    NEEDS_TOOL("srec_cat");
    const HexFolder folder;
    folder.file("a.bin", someBytes(5000, 3));
    folder.run("srec_cat a.bin -binary -offset 0xFF00 -o a.hex -intel");
    folder.run("srec_cat a.bin -binary -offset 0xFF00 -o a.s19 -motorola -line-length=46");
    const Outcome outcome = folder.hex({"compare", "a.hex", "a.s19"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "a.hex and a.s19 are equal: 5000 bytes\n");
}

TEST(HexCompareProcess, DifferencesAreATableAndExitCode9) {
    const HexFolder folder;
    folder.file("a.hex", ":0A00100000010203040506070809B9\n:0100200005DA\n:00000001FF\n");
    folder.file("b.hex", ":0A0010000F010203040506070800B3\n:0100210005D9\n:00000001FF\n");
    const Outcome outcome = folder.hex({"compare", "a.hex", "b.hex"});
    EXPECT_EQ(outcome.code, 9) << outcome.err;
    EXPECT_EQ(outcome.out,
              "a.hex and b.hex differ from 0x00000010 on: 4 bytes in 4 ranges\n"
              "  0x00000010-0x00000010           1 byte   00 | 0f\n"
              "  0x00000019-0x00000019           1 byte   09 | 00\n"
              "  0x00000020-0x00000020           1 byte   only in a.hex\n"
              "  0x00000021-0x00000021           1 byte   only in b.hex\n");
}

TEST(HexCompareProcess, ALongTableIsCutAndJsonIsNot) {
    const HexFolder folder;
    folder.file("p.hex", ":0100000000FF\n:00000001FF\n");
    std::string ranges;
    for (int i = 0; i < 21; ++i) {
        ranges += (i == 0 ? "" : ",") + std::to_string(2 * i) + ":1";
    }
    ASSERT_EQ(folder.hex({"crop", "p.hex", "-o", "a.hex", "--range", "0:41", "--fill", "1"}).code, 0);
    ASSERT_EQ(folder.hex({"crop", "a.hex", "-o", "b.hex", "--range", ranges}).code, 0);
    const Outcome text = folder.hex({"compare", "a.hex", "b.hex"});
    EXPECT_EQ(text.code, 9);
    EXPECT_EQ(linesOf(text.out).size(), 21U);
    const Outcome more = folder.hex({"compare", "p.hex", "b.hex", "--json"});
    EXPECT_EQ(more.code, 9);
    EXPECT_EQ(objectsOf(more.out).size(), 22U);
}

TEST(HexCompareProcess, SpeaksJson) {
    const HexFolder folder;
    folder.file("a.hex", ":0A00100000010203040506070809B9\n:00000001FF\n");
    folder.file("b.hex", kSmall);
    const Outcome outcome = folder.hex({"compare", "a.hex", "b.hex", "--json"});
    EXPECT_EQ(outcome.code, 9);
    const std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 4U);
    EXPECT_EQ(objects[0],
              Json::parse(R"({"schema":1,"type":"hex_difference","kind":"values","address":16,"last":17,
                                          "length":2,"first":"0001","second":"0abc"})"));
    EXPECT_EQ(objects[1],
              Json::parse(R"({"schema":1,"type":"hex_difference","kind":"only_first","address":18,"last":25,
                              "length":8,"first":"0203040506070809","second":null})"));
    EXPECT_EQ(objects[2], Json::parse(R"({"schema":1,"type":"comparison","first":"a.hex","second":"b.hex",
                                          "equal":false,"ranges":2,"bytes":10,"address":16})"));
    EXPECT_EQ(objects[3].at("code"), 9);
}

TEST(HexCompareProcess, NeedsTwoFilesThatHoldNoAddressTwice) {
    const HexFolder folder;
    folder.file("a.hex", kSmall);
    folder.file("t.hex", kTwice);
    EXPECT_EQ(folder.hex({"compare", "a.hex"}).code, 2);
    EXPECT_EQ(folder.hex({"compare", "a.hex", "a.hex", "a.hex"}).code, 2);
    EXPECT_EQ(folder.hex({"compare", "a.hex", "t.hex"}).code, 1);
    EXPECT_EQ(folder.hex({"compare", "a.hex", "no.hex"}).code, 1);
}

TEST(HexCommandLine, WithoutASubCommandIsAWrongUsage) {
    const HexFolder folder;
    const Outcome outcome = folder.hex({});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, HasSubstr("subcommand is required"));
    EXPECT_EQ(outcome.out, "");
}

TEST(HexCommandLine, HelpNamesTheSubCommands) {
    const HexFolder folder;
    const Outcome outcome = folder.hex({"--help"});
    EXPECT_EQ(outcome.code, 0);
    for (const char* name : {"info", "merge", "crop", "convert", "compare"}) {
        EXPECT_THAT(outcome.out, HasSubstr(name));
    }
}

}  // namespace
