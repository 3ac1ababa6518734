// `talvex upload` as a process, on ECUs that are simulated in it.

#include "tests/host/MemoryTesting.h"
#include "tests/host/Places.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using host_test::inTerminal;
using host_test::Json;
using host_test::linesOf;
using host_test::MemoryFolder;
using host_test::objectsOf;
using host_test::Outcome;
using host_test::startContent;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

// What stood on the line while the bar was shown.
std::vector<std::string> barsOf(const std::string& shown) {
    const std::string empty = "\r\033[K";
    std::vector<std::string> bars;
    for (std::size_t at = shown.find(empty); at != std::string::npos; at = shown.find(empty, at + 1)) {
        const std::size_t begin = at + empty.size();
        const std::string bar = shown.substr(begin, shown.find_first_of("\r\n", begin) - begin);
        if (bar.find(" %") != std::string::npos) {
            bars.push_back(bar);
        }
    }
    return bars;
}

TEST(Upload, WorkingPageOfAnXcpEcuIsWhatSrecCatReadsInTheFile) {
    NEEDS_TOOL("srec_cat");
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "engine", {"page.hex"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "engine: to page.hex\n"
              "  read     0x20008000-0x200087ff        2048 bytes  working page\n"
              "  along    0x20000000-0x200003ff        1024 bytes  RAM, read along and left out\n");
    EXPECT_THAT(outcome.err, HasSubstr("talvex: engine: read 3072 bytes in "));
    EXPECT_THAT(outcome.err, EndsWith("talvex: engine: page.hex, 1 block, 2048 bytes\n"));
    EXPECT_TRUE(folder.bytesOf("page.hex", "-intel", "0x20008000", "0x20008800") ==
                startContent(0x20008001, 2048));
}

TEST(Upload, ReferencePageOfAnXcpEcuIsAnotherOneAtTheSameAddress) {
    NEEDS_TOOL("srec_cat");
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "engine", {"page.s19", "--segment", "reference"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_TRUE(folder.bytesOf("page.s19", "-motorola", "0x20008000", "0x20008800") ==
                startContent(0x20008002, 2048));
}

TEST(Upload, BothPagesOfACcpEcuGoIntoOneFile) {
    NEEDS_TOOL("srec_cat");
    const MemoryFolder folder;
    const Outcome outcome =
        folder.talvex("upload", "gearbox", {"pages.mot", "--segment", "working,reference"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_TRUE(folder.bytesOf("pages.mot", "-motorola", "0x30004000", "0x30004400") ==
                startContent(0x30004001, 1024));
    EXPECT_TRUE(folder.bytesOf("pages.mot", "-motorola", "0xA0000", "0xA0400") ==
                startContent(0xA0002, 1024));
}

TEST(Upload, FlashOfACcpEcuIsWhatObjcopyReadsInTheFile) {
    NEEDS_TOOL("objcopy");
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "gearbox", {"code.s19", "--segment", "code"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    folder.run("objcopy -I srec -O binary code.s19 code.bin");
    EXPECT_TRUE(folder.text("code.bin") == startContent(0xC0003, 0x4000));
}

TEST(Upload, BothPagesOfAnXcpEcuDoNotFitIntoOneFile) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "engine", {"p.hex", "--segment", "working,reference"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.err,
              "talvex: --segment: the pages of engine lie at the same addresses; take working and reference "
              "one after the other\n");
}

TEST(Upload, PlanAloneReadsNothingAndWritesNothing) {
    const MemoryFolder folder;
    const Outcome outcome =
        folder.talvex("upload", "engine", {"all.hex", "--segment", "ram,code", "--dry-run"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out,
              "engine: to all.hex\n"
              "  read     0x20000000-0x200003ff        1024 bytes  RAM\n"
              "  read     0x00080000-0x00083fff       16384 bytes  flash\n"
              "  along    0x20008000-0x200087ff        2048 bytes  working page, read along and left out\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(folder.names(), ElementsAre("ecus.toml"));
}

TEST(Upload, JsonTellsThePlanWhatItTookAndTheResult) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "gearbox", {"page.hex", "--json"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    std::vector<Json> objects = objectsOf(outcome.out);
    ASSERT_EQ(objects.size(), 6U);
    EXPECT_EQ(objects[0], Json::parse(R"({"schema":1,"type":"plan","ecu":"gearbox","address":805322752,
        "last":805323775,"length":1024,"segment":"working page","action":"read"})"));
    // All that is read is in the plan: 1024 bytes and 1536 along with them.
    for (std::size_t i : {1U, 2U}) {
        EXPECT_EQ(objects[i].at("action"), "along");
    }
    EXPECT_EQ(objects[1].at("length").get<int>() + objects[2].at("length").get<int>(), 1536);
    EXPECT_GT(objects[3].at("seconds"), 0.0);
    objects[3].erase("seconds");
    EXPECT_EQ(objects[3], Json::parse(R"({"schema":1,"type":"transfer","ecu":"gearbox","action":"read",
        "bytes":2560})"));
    EXPECT_EQ(objects[4], Json::parse(R"({"schema":1,"type":"file_written","file":"page.hex","blocks":1,
        "bytes":1024})"));
    EXPECT_EQ(objects[5], Json::parse(R"({"schema":1,"type":"result","command":"upload","code":0,
        "error":null})"));
}

TEST(Upload, WithoutATerminalProgressIsALineForEachTenPercentAndNoBar) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "gearbox", {"code.hex", "--segment", "code"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("gearbox: upload: 100 %, "));
    EXPECT_THAT(outcome.err, Not(HasSubstr("\r")));
    EXPECT_LE(linesOf(outcome.err).size(), 12U);
}

TEST(Upload, BarFitsATerminalOf40Columns) {
    const MemoryFolder folder;
    int code = -1;
    const std::string shown = inTerminal(
        40, 10, folder.commandLine("upload", "gearbox", {folder.path("code.hex"), "--segment", "code"}),
        code);
    EXPECT_EQ(code, 0) << shown;
    const std::vector<std::string> bars = barsOf(shown);
    ASSERT_FALSE(bars.empty()) << shown;
    for (const std::string& bar : bars) {
        EXPECT_LT(bar.size(), 40U) << bar;
        EXPECT_THAT(bar, HasSubstr("["));
    }
}

TEST(Upload, NameWithoutAKnownEndingIsAWrongUsage) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "engine", {"page.bin"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, HasSubstr("talvex: page.bin: the ending of the name tells the format"));
}

TEST(Upload, FolderThatIsNotThereIsToldBeforeAnythingIsRead) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "engine", {"no/page.hex"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err,
              "talvex: no/page.hex: cannot be written: no is no folder that files can be made in\n");
}

TEST(Upload, FolderOfThatNameIsToldBeforeAnythingIsRead) {
    const MemoryFolder folder;
    folder.run("mkdir page.hex");
    const Outcome outcome = folder.talvex("upload", "engine", {"page.hex"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "talvex: page.hex: is no regular file\n");
}

TEST(Upload, FullDiskLeavesTheOldFile) {
    const MemoryFolder folder;
    folder.file("page.hex", "old");
    // Files of at most 1024 bytes; the image needs more.
    const std::string command = "ulimit -f 2; cd '" + folder.path("") + "' && '" + host_test::kProgram +
                                "' upload -c ecus.toml -e gearbox page.hex >/dev/null 2>&1";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
    EXPECT_EQ(folder.text("page.hex"), "old");
    EXPECT_THAT(folder.names(), ElementsAre("ecus.toml", "page.hex"));
}

TEST(Upload, EcuWithoutPagesHasNoWorkingPage) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "chassis", {"p.hex", "--segment", "working"});
    EXPECT_EQ(outcome.code, 3);
    EXPECT_EQ(outcome.err,
              "talvex: chassis: the configuration gives it no working page; look at `segment`\n");
}

TEST(Upload, UnknownEcuIsAWrongUsageThatNamesTheKnownOnes) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("upload", "nobody", {"p.hex"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, HasSubstr("has no ECU \"nobody\"; it has engine, chassis, gearbox"));
}

}  // namespace
