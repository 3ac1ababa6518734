#include "tests/engine/EngineTest.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

namespace {

using engine_test::EngineTest;
using engine_test::Journal;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const char* const kNoPages = "log 3 SET_CAL_PAGE not supported";
const char* const kPageFailed = "log 3 Set calibration page ecu(a) failed: 不支持的协议指令 - NoOptCmd";
const char* const kPageLine = "log 3 Task cmd result:(72) Set memory page failed;a;";
const char* const kPageResult = "task 9 72 [Set memory page failed, a]";

/// Memory commands for "a", an ECU without calibration pages.
class MemoryCommand : public EngineTest {
protected:
    /// Four bytes of code at 0x2000, four of data at 0x4000.
    void SetUp() override {
        EngineTest::SetUp();
        m_cfgA.codeSegments = {segment(0x2000)};
        m_cfgA.dataSegments = {segment(0x4000)};
        m_cfgA.supportedCmds = {0xD2};
        configure();
    }

    static mcMemoryInfo segment(std::uint32_t address) {
        mcMemoryInfo made;
        made.address = address;
        made.length = 4;
        made.memoryType = 2;
        made.checksumType = 1;
        return made;
    }

    static std::list<mem_buf> image(std::uint32_t address) { return {{address, {1, 2, 3, 4}}}; }

    /// @return the journal ahead of the page that is put back
    Journal ahead(const Journal& journal) {
        const auto page = std::find(journal.begin(), journal.end(), "log 2 Set calibration page ecu(a)");
        EXPECT_EQ(Journal(page, journal.end()), (Journal{"log 2 Set calibration page ecu(a)", kNoPages,
                                                         kPageFailed, kPageLine, kPageResult}));
        return {journal.begin(), page};
    }
};

/// What puts the page of an unknown ECU back.
const Journal kUnknownPage{"log 2 Set calibration page ecu(ghost)", "log 3 Can't find task ecughost)",
                           "log 4 Task cmd result:(2) Set memory page failed;ghost;",
                           "task 9 2 [Set memory page failed, ghost]"};

Journal joined(Journal first, const Journal& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

using UploadCommand = MemoryCommand;

TEST_F(UploadCommand, DeliversTheBytesByItselfAndNoOtherMemoryResult) {
    connected();
    m_a.answers("f5 04", {"ff 0a 0b 0c 0d"});
    EXPECT_THAT(ahead(journalOf(9, [] { UploadFromEcuMem("a", mcMemCode); })),
                ElementsAre("log 2 Upload ecu to mem(a)", "snd f6 00 00 00 00 20 00 00", "snd f5 04",
                            "mem 12 100", "mem 12 100", "mem 10 0 +1"));
    const mcMemoryData data = m_host.memResults().back().data.at(0);
    EXPECT_EQ(data.address, 0x2000U);
    EXPECT_EQ(data.length, 4U);
    EXPECT_THAT(data.data, ElementsAre(10, 11, 12, 13));
}

TEST_F(UploadCommand, AFailureIsNamedAndDeliveredByItself) {
    connected();
    m_a.answers("f5 ..", {"fe 24"});
    EXPECT_THAT(ahead(journalOf(9, [] { UploadFromEcuMem("a", mcMemCode); })),
                ElementsAre("log 2 Upload ecu to mem(a)", "snd f6 00 00 00 00 20 00 00", "snd f5 04",
                            "log 3 The memory location is not accessible.", "mem 10 34",
                            "log 4 Upload to mem failed: 内存上传为空 - UploadEmpty"));
}

TEST_F(UploadCommand, OfMemoryType0GivesNoMemoryResult) {
    connected();
    EXPECT_THAT(
        ahead(journalOf(9, [] { UploadFromEcuMem("a", 0); })),
        ElementsAre("log 2 Upload ecu to mem(a)", "log 4 Upload to mem failed: 文件读取失败 - MemFileEmpty"));
}

TEST_F(UploadCommand, ForAnUnknownEcuGivesOnlyThePageResultWithCode9AndResult2) {
    EXPECT_EQ(journalOf(9, [] { UploadFromEcuMem("ghost", mcMemCode); }),
              joined({"log 2 Upload ecu to mem(ghost)"}, kUnknownPage));
    settles();
    EXPECT_THAT(m_host.memResults(), IsEmpty());
    EXPECT_EQ(count("task 10"), 0U);
}

using DownloadCommand = MemoryCommand;

TEST_F(DownloadCommand, WritesAndDeliversAMemoryResultWithoutSegments) {
    connected();
    EXPECT_THAT(ahead(journalOf(9, [] { DownToEcuMem("a", mcMemDataWorking, image(0x4000)); })),
                ElementsAre("log 2 Download ecu from mem(a)", "snd f6 00 00 00 00 40 00 00",
                            "snd f0 04 01 02 03 04", "mem 13 100", "mem 13 100",
                            "log 1 Task cmd syn result: cmd:11 ret:0 segments:0", "mem 11 0"));
}

TEST_F(DownloadCommand, AFailureIsNamedAndDelivered) {
    connected();
    m_a.answers("f6 ..", {"fe 22"});
    EXPECT_THAT(ahead(journalOf(9, [] { DownToEcuMem("a", mcMemDataWorking, image(0x4000)); })),
                ElementsAre("log 2 Download ecu from mem(a)", "snd f6 00 00 00 00 40 00 00",
                            "log 3 Command syntax valid but command parameter(s) out of range.",
                            "log 4 downloadMemBlock SET_MTA failed", "log 4 Download Fegment Failed:16384",
                            "log 4 Download from mem failed: 内存下载内存块失败 - DownloadMemBlock",
                            "log 4 Task cmd syn result: cmd:11 ret:35 segments:0", "mem 11 35"));
}

TEST_F(DownloadCommand, AnEmptyListGives28BehindTheFirstLineAndBeforeTheLookUp) {
    EXPECT_EQ(journalOf(9, [] { DownToEcuMem("ghost", mcMemCode, {}); }),
              joined({"log 2 Download ecu from mem(ghost)",
                      "log 4 Task cmd syn result: cmd:11 ret:28 segments:0", "mem 11 28"},
                     kUnknownPage));
}

TEST_F(DownloadCommand, ForAnUnknownEcuGives2) {
    EXPECT_EQ(journalOf(9, [] { DownToEcuMem("ghost", mcMemCode, image(0x2000)); }),
              joined({"log 2 Download ecu from mem(ghost)",
                      "log 4 Task cmd syn result: cmd:11 ret:2 segments:0", "mem 11 2"},
                     kUnknownPage));
}

TEST_F(DownloadCommand, AnUnsupportedOneLogsAnErrorThoughItsResultIs72) {
    m_cfgA.supportedCmds.clear();
    configure();
    connected();
    EXPECT_THAT(ahead(journalOf(9, [] { DownToEcuMem("a", mcMemCode, image(0x2000)); })),
                ElementsAre("log 2 Download ecu from mem(a)", "log 4 PROGRAM_START not support",
                            "log 4 Download from mem failed: 不支持的协议指令 - NoOptCmd",
                            "log 4 Task cmd syn result: cmd:11 ret:72 segments:0", "mem 11 72"));
}

using EraseCommand = MemoryCommand;

TEST_F(EraseCommand, ErasesAndDeliversAMemoryResultWithoutSegments) {
    connected();
    EXPECT_THAT(ahead(journalOf(9, [] { EarseEcu("a", mcMemCode); })),
                ElementsAre("log 2 Erase ecu(a)", "snd d2", "snd f6 00 00 00 00 20 00 00",
                            "snd d1 00 00 00 04 00 00 00", "snd cf",
                            "log 1 Task cmd syn result: cmd:15 ret:0 segments:0", "mem 15 0"));
}

TEST_F(EraseCommand, AFailureDeliversAMemoryResultWithCode15ThenAResultWithCode9) {
    connected();
    m_a.answers("d2", {"fe 33"});
    EXPECT_THAT(ahead(journalOf(9, [] { EarseEcu("a", mcMemCode); })),
                ElementsAre("log 2 Erase ecu(a)", "snd d2",
                            "log 3 Access to the requested resource is temporary not possible",
                            "log 4 PROGRAM_START failed", "log 4 Erase failed: 指令发送失败 - ProgramStart",
                            "log 4 Task cmd syn result: cmd:15 ret:59 segments:0", "mem 15 59"));
    EXPECT_EQ(m_host.taskResults().size(), 1U);
    EXPECT_EQ(m_host.taskResults().at(0).command, 9U);
}

TEST_F(EraseCommand, OfMemoryType0GivesZeroAMemoryResultAndThePageResult) {
    connected();
    EXPECT_THAT(
        ahead(journalOf(9, [] { EarseEcu("a", 0); })),
        ElementsAre("log 2 Erase ecu(a)", "log 1 Task cmd syn result: cmd:15 ret:0 segments:0", "mem 15 0"));
    EXPECT_THAT(m_a.sentFrames(), ElementsAre("ff 00"));
}

TEST_F(EraseCommand, OfMemoryType0OfAnUnknownEcuGivesZeroToo) {
    EXPECT_EQ(
        journalOf(9, [] { EarseEcu("ghost", 0); }),
        joined({"log 2 Erase ecu(ghost)", "log 1 Task cmd syn result: cmd:15 ret:0 segments:0", "mem 15 0"},
               kUnknownPage));
}

TEST_F(EraseCommand, OfAnUnknownEcuGives2WithoutAMessage) {
    EXPECT_EQ(
        journalOf(9, [] { EarseEcu("ghost", mcMemCode); }),
        joined({"log 2 Erase ecu(ghost)", "log 4 Task cmd syn result: cmd:15 ret:2 segments:0", "mem 15 2"},
               kUnknownPage));
}

using CheckCommand = MemoryCommand;

TEST_F(CheckCommand, DeliversBothChecksums) {
    connected();
    m_a.answers("f3 ..", {"ff 01 00 00 0b 00 00 00"});
    EXPECT_THAT(
        ahead(journalOf(9, [] { CheckEcuMemory("a", image(0x2000), mcMemCode); })),
        ElementsAre("log 2 Checksum ecu(a)", "snd f6 00 00 00 00 20 00 00", "snd f3 00 00 00 04 00 00 00",
                    "log 1 Task cmd syn result: cmd:16 ret:0 segments:1", "mem 16 0 +1"));
    const mcMemoryData data = m_host.memResults().at(0).data.at(0);
    EXPECT_EQ(data.address, 0x2000U);
    EXPECT_EQ(data.length, 4U);
    EXPECT_THAT(data.data, ElementsAre(11));
    EXPECT_THAT(data.expected, ElementsAre(10));
    EXPECT_THAT(data.actual, IsEmpty());
}

TEST_F(CheckCommand, AFailureIsNamedAndDelivered) {
    connected();
    m_a.answers("f3 ..", {"fe 22"});
    EXPECT_THAT(
        ahead(journalOf(9, [] { CheckEcuMemory("a", image(0x2000), mcMemCode); })),
        ElementsAre("log 2 Checksum ecu(a)", "snd f6 00 00 00 00 20 00 00", "snd f3 00 00 00 04 00 00 00",
                    "log 3 Command syntax valid but command parameter(s) out of range.",
                    "log 4 BuildChecksum failed",
                    "log 4 Checksum ecu(a) failed: 指令发送失败 - BuildChecksum",
                    "log 4 Task cmd syn result: cmd:16 ret:70 segments:0", "mem 16 70"));
}

TEST_F(CheckCommand, WithoutBlocksFailsInTheOperation) {
    connected();
    EXPECT_THAT(
        ahead(journalOf(9, [] { CheckEcuMemory("a", {}, mcMemCode); })),
        ElementsAre("log 2 Checksum ecu(a)", "log 4 Checksum ecu(a) failed: 文件内存解析失败 - MemFileParse",
                    "log 4 Task cmd syn result: cmd:16 ret:28 segments:0", "mem 16 28"));
}

TEST_F(CheckCommand, ForAnUnknownEcuReportsSuccess) {
    EXPECT_EQ(journalOf(9, [] { CheckEcuMemory("ghost", image(0x2000), mcMemCode); }),
              joined({"log 2 Checksum ecu(ghost)", "log 1 Task cmd syn result: cmd:16 ret:0 segments:0",
                      "mem 16 0"},
                     kUnknownPage));
}

class ForceDownloadCommand : public MemoryCommand {
protected:
    /// @return the name of a file with four bytes at 0x4000
    std::string file() const { return m_folder.file("image.hex", ":0440000001020304B2\n:00000001FF\n"); }

    const support::TempFolder m_folder;
};

TEST_F(ForceDownloadCommand, ProgramsTheFileAndIsReportedAsATask) {
    m_cfgA.supportedCmds = {0xEB};
    configure();
    connected();
    EXPECT_THAT(
        journalOf(14, [this] { ForceDataDownToEcu("a", file()); }),
        ElementsAre("log 2 Force Download ecu(a)", "snd eb 03 00 ff", "snd d2", "snd f6 00 00 00 00 40 00 00",
                    "snd d1 00 00 00 04 00 00 00", "snd f6 00 00 00 00 40 00 00", "snd d0 04 01 02 03 04",
                    "snd cf", "log 1 Task cmd result:(0) Force download success;a;",
                    "task 14 0 [Force download success, a]"));
}

TEST_F(ForceDownloadCommand, AFileWithoutABlockIsAFailure) {
    connected();
    EXPECT_THAT(
        journalOf(14, [] { ForceDataDownToEcu("a", "missing.hex"); }),
        ElementsAre("log 2 Force Download ecu(a)", "log 4 Download failed: 文件内存解析失败 - MemFileParse",
                    "log 4 Task cmd result:(28) Force download failed;a;",
                    "task 14 28 [Force download failed, a]"));
}

TEST_F(ForceDownloadCommand, ATruncatedFileDoesNotEndTheProcess) {
    connected();
    const std::string truncated = m_folder.file("truncated.hex", ":04\n");
    EXPECT_EQ(resultOf(14, [&] { ForceDataDownToEcu("a", truncated); }).result, 28);
    EXPECT_EQ(resultOf(14, [] { ForceDataDownToEcu("a", ""); }).result, 28);
}

TEST_F(ForceDownloadCommand, ForAnUnknownEcuReportsSuccess) {
    EXPECT_THAT(journalOf(14, [] { ForceDataDownToEcu("ghost", "missing.hex"); }),
                ElementsAre("log 2 Force Download ecu(ghost)",
                            "log 1 Task cmd result:(0) Force download success;ghost;",
                            "task 14 0 [Force download success, ghost]"));
}

}  // namespace
