// Erasing and programming.
#include "TalvexMemory.h"
#include "tests/support/TempFolder.h"
#include "tests/xcp/XcpTestSupport.h"

using namespace xcp_test;

namespace {

constexpr const char* kStart = "d2";
constexpr const char* kReset = "cf";
constexpr const char* kMta = "f6 00 00 00 00 10 00 00";
constexpr const char* kMta2 = "f6 00 00 00 00 20 00 00";
constexpr const char* kClear = "d1 00 00 00 08 00 00 00";

mem_buf block(std::uint32_t address, std::size_t count) {
    return {address, support::countingBytes(count, 1)};
}

/// The journal without warnings of refused commands: what host and ECU see.
class XcpFlash : public XcpTest {
protected:
    XcpFlash() { supports("d2"); }

    Texts reports() const {
        Texts entries;
        for (const std::string& entry : host.journal()) {
            if (entry.rfind("mem", 0) == 0) {
                entries.push_back(entry);
            }
        }
        return entries;
    }

    void usesMasterBlock(std::uint8_t maxBs) {
        cfg.xcp.commModeOptional = 1;
        cfg.xcp.useMasterBlockMode = 1;
        cfg.xcp.maxBs = maxBs;
    }
};

using XcpErase = XcpFlash;
using XcpDownload = XcpFlash;

class XcpForceDownload : public XcpFlash {
protected:
    XcpForceDownload() {
        supports("eb");
        cfg.dataSegments = {forced(0x1000)};
    }

    static mcMemoryInfo forced(std::uint32_t address) {
        mcMemoryInfo made = segment(address, 8, {page(3, true), page(5, false), page(6, false)});
        made.memoryType = 2;
        made.segmentNumber = 1;
        return made;
    }

    /// Downloads an image of @p blocks.
    std::uint32_t downloads(const std::list<mem_buf>& blocks) {
        const std::string path = folder.path("image.hex");
        EXPECT_TRUE(SaveToHexFile(blocks, path));
        return task().forceDownload(path);
    }

    const support::TempFolder folder;
};

}  // namespace

TEST_F(XcpErase, EachCodeSegmentIsClearedWhateverTheOperation) {
    mcMemoryInfo second = segment(0x2000, 0x11223344);
    second.addressExtension = 5;
    cfg.codeSegments = {segment(0x1000, 8), second};
    cfg.dataSegments = {segment(0x3000, 8)};
    cfg.supportedCmds.clear();
    for (const mcMemOperType operation : {0U, 1U, 2U}) {
        EXPECT_EQ(task().eraseMemory(operation), 0U);
        EXPECT_EQ(sent(), Texts({kStart, kMta, kClear, "f6 00 00 05 00 20 00 00", "d1 00 00 00 44 33 22 11",
                                 kReset}));
    }
}

TEST_F(XcpErase, WithoutCodeSegmentsStartAndResetGoOutAlone) {
    EXPECT_EQ(task().eraseMemory(1), 0U);
    EXPECT_EQ(sent(), Texts({kStart, kReset}));
}

TEST_F(XcpErase, EachRefusalHasItsCodeLineAndFrames) {
    struct Row {
        const char* refused;
        std::uint32_t code;
        const char* line;
        Texts frames;
    };
    cfg.codeSegments = {segment(0x1000, 8), segment(0x2000, 8)};
    const std::vector<Row> rows = {
        {"d2", 59, "PROGRAM_START failed", {kStart}},
        {kMta, 0, "SET_MTA failed", {kStart, kMta, kMta2, kClear, kReset}},
        {"d1 ..", 0, "PROGRAM_CLEAR failed", {kStart, kMta, kClear, kMta2, kClear, kReset}},
        {"cf", 64, "PROGRAM_RESET failed", {kStart, kMta, kClear, kMta2, kClear, kReset}},
    };
    for (const Row& row : rows) {
        startsAnew();
        ecu.answersOnce(row.refused, {"fe 31"});
        EXPECT_EQ(task().eraseMemory(1), row.code);
        EXPECT_EQ(host.logTexts(4), Texts{row.line});
        EXPECT_EQ(sent(), row.frames);
    }
}

TEST_F(XcpDownload, CodeIsProgrammedBetweenStartAndReset) {
    cfg.codeSegments = {segment(0x1000, 16)};
    EXPECT_EQ(task().downloadMemory({block(0x1000, 10)}, 1), 0U);
    EXPECT_EQ(sent(), Texts({kStart, kMta, "d0 06 01 02 03 04 05 06", "d0 01 07", "d0 03 08 09 0a", kReset}));
    EXPECT_EQ(reports(), Texts({"mem 13 70", "mem 13 100", "mem 13 100"}));
}

TEST_F(XcpDownload, DataIsWrittenByDownloadFramesAlone) {
    cfg.codeSegments = {segment(0x1000, 16)};
    cfg.dataSegments = {segment(0x2000, 16)};
    for (const mcMemOperType operation : {2U, 4U, 6U}) {
        EXPECT_EQ(task().downloadMemory({block(0x1000, 1), block(0x2000, 3)}, operation), 0U);
        EXPECT_EQ(sent(), Texts({kMta2, "f0 03 01 02 03"}));
    }
}

TEST_F(XcpDownload, CodeGoesFirstAndIsResetBeforeTheData) {
    cfg.codeSegments = {segment(0x1000, 16)};
    cfg.dataSegments = {segment(0x2000, 16)};
    EXPECT_EQ(task().downloadMemory({block(0x2000, 3), block(0x1000, 1)}, 7), 0U);
    EXPECT_EQ(host.journal(),
              Texts({"snd d2", std::string("snd ") + kMta, "snd d0 01 01", "mem 13 25", "mem 13 25", "snd cf",
                     std::string("snd ") + kMta2, "snd f0 03 01 02 03", "mem 13 100", "mem 13 100"}));
}

TEST_F(XcpDownload, ProgressIsTheWholePartOfAFloatingPointNumber) {
    cfg.codeSegments = {segment(0x1000, 29), segment(0x2000, 71)};
    cfg.maxCto = 64;
    EXPECT_EQ(task().downloadMemory({block(0x1000, 29), block(0x2000, 71)}, 1), 0U);
    EXPECT_EQ(reports(), Texts({"mem 13 28", "mem 13 28", "mem 13 92", "mem 13 100", "mem 13 100"}));
}

TEST_F(XcpDownload, BlockAtASegmentsStartSelectsItsPageZero) {
    supports("eb");
    cfg.dataSegments = {segment(0x1000, 16, {page(1, true), page(0, false)}),
                        segment(0x2000, 16, {page(1, true)})};
    cfg.dataSegments[0].segmentNumber = 4;
    ecu.answers("eb ..", {"fe 26"});
    EXPECT_EQ(task().downloadMemory({block(0x1000, 1), block(0x1004, 1), block(0x2000, 1)}, 2), 0U);
    EXPECT_EQ(sent(), Texts({"eb 03 04 00", kMta, "f0 01 01", "f6 00 00 00 04 10 00 00", "f0 01 01", kMta2,
                             "f0 01 01"}));
}

TEST_F(XcpDownload, UnsupportedPageSwitchIsReportedAndTheBlockWrittenAllTheSame) {
    cfg.dataSegments = {segment(0x1000, 16, {page(0, true)})};
    EXPECT_EQ(task().downloadMemory({block(0x1000, 3)}, 2), 0U);
    EXPECT_EQ(host.logTexts(3), Texts{"SET_CAL_PAGE not supported"});
    EXPECT_EQ(sent(), Texts({kMta, "f0 03 01 02 03"}));
}

TEST_F(XcpDownload, OnlyTheFirstSegmentWithPagesAtTheAddressCounts) {
    supports("eb");
    cfg.dataSegments = {segment(0x1000, 1), segment(0x1000, 1, {page(1, true)}),
                        segment(0x1000, 1, {page(0, true)})};
    EXPECT_EQ(task().downloadMemory({block(0x1000, 1)}, 2), 0U);
    EXPECT_EQ(ecu.count("eb .."), 0U);
    EXPECT_EQ(ecu.count("f0 .."), 3U);
}

TEST_F(XcpDownload, EmptyImageIs28) {
    cfg.codeSegments = {segment(0x1000, 16)};
    EXPECT_EQ(task().downloadMemory({}, 1), 28U);
    EXPECT_EQ(task().downloadMemory({block(0x1000, 1)}, 0), 0U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpDownload, CodeNeedsProgramStart) {
    cfg.codeSegments = {segment(0x1000, 16)};
    cfg.supportedCmds.clear();
    EXPECT_EQ(task().downloadMemory({block(0x1000, 1)}, 1), 72U);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(host.logTexts(4), Texts{"PROGRAM_START not support"});
}

TEST_F(XcpDownload, WithoutCodeSegmentsTheCodeIsLeftOut) {
    cfg.dataSegments = {segment(0x1000, 16)};
    EXPECT_EQ(task().downloadMemory({block(0x1000, 3)}, 1), 0U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpDownload, WithoutCodeSegmentsProgramStartIsNotNeeded) {
    cfg.dataSegments = {segment(0x1000, 16)};
    cfg.supportedCmds.clear();
    EXPECT_EQ(task().downloadMemory({block(0x1000, 3)}, 7), 0U);
    EXPECT_EQ(sent(), Texts({kMta, "f0 03 01 02 03"}));
    EXPECT_TRUE(host.logTexts(4).empty());
}

TEST_F(XcpDownload, ImageOutsideTheCodeIs29BehindProgramStart) {
    cfg.codeSegments = {segment(0x1000, 16)};
    EXPECT_EQ(task().downloadMemory({block(0x5000, 1)}, 1), 29U);
    EXPECT_EQ(sent(), Texts{kStart});
}

TEST_F(XcpDownload, ImageOutsideTheDataIs29) {
    cfg.dataSegments = {segment(0x1000, 16)};
    EXPECT_EQ(task().downloadMemory({block(0x5000, 1)}, 2), 29U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpDownload, ImageOutsideTheDataIs29BehindTheProgrammedCode) {
    cfg.codeSegments = {segment(0x1000, 16)};
    cfg.dataSegments = {segment(0x2000, 16)};
    EXPECT_EQ(task().downloadMemory({block(0x1000, 3)}, 3), 29U);
    EXPECT_EQ(sent(), Texts({kStart, kMta, "d0 03 01 02 03", kReset}));
}

TEST_F(XcpDownload, EachRefusalHasItsCodeLinesAndFrames) {
    struct Row {
        const char* refused;
        mcMemOperType operation;
        std::uint32_t code;
        Texts lines;
        Texts frames;
    };
    cfg.codeSegments = {segment(0x1000, 16)};
    cfg.dataSegments = {segment(0x2000, 16)};
    const std::vector<Row> rows = {
        {"d2", 1, 59, {}, {kStart}},
        {kMta, 1, 35, {"downloadMemBlock SET_MTA failed", "Download Fegment Failed:4096"}, {kStart, kMta}},
        {"d0 ..", 1, 35, {"Download Fegment Failed:4096"}, {kStart, kMta, "d0 06 01 02 03 04 05 06"}},
        {"cf", 1, 64, {}, {kStart, kMta, "d0 06 01 02 03 04 05 06", "d0 01 07", kReset}},
        {kMta2, 2, 35, {"downloadMemBlock SET_MTA failed", "Download Fegment Failed:8192"}, {kMta2}},
        {"f0 ..", 2, 35, {"Download Fegment Failed:8192"}, {kMta2, "f0 06 01 02 03 04 05 06"}},
    };
    for (const Row& row : rows) {
        startsAnew();
        ecu.answersOnce(row.refused, {"fe 31"});
        EXPECT_EQ(task().downloadMemory({block(0x1000, 7), block(0x2000, 7)}, row.operation), row.code);
        EXPECT_EQ(host.logTexts(4), row.lines);
        EXPECT_EQ(sent(), row.frames);
    }
}

// A plain transfer counts its last frame also if the ECU refused it.
TEST_F(XcpDownload, RefusedLastFrameOfAPlainDownloadPasses) {
    cfg.dataSegments = {segment(0x1000, 16)};
    ecu.answers("f0 ..", {"fe 31"});
    EXPECT_EQ(task().downloadMemory({block(0x1000, 3)}, 2), 0U);
    EXPECT_TRUE(host.logTexts(4).empty());
}

TEST_F(XcpDownload, MasterBlockStepsOf70BytesTakeTwelveFrames) {
    usesMasterBlock(10);
    cfg.codeSegments = {segment(0x1000, 150)};
    EXPECT_EQ(task().downloadMemory({block(0x1000, 150)}, 1), 0U);
    EXPECT_EQ(ecu.count("d0 46 .."), 2U);
    EXPECT_EQ(ecu.count("d0 0a .."), 1U);
    EXPECT_EQ(ecu.count("ef .."), 23U);
    EXPECT_EQ(reports(), Texts({"mem 13 46", "mem 13 93", "mem 13 100", "mem 13 100"}));
}

TEST_F(XcpDownload, MasterBlockOfDataUsesDownloadFrames) {
    usesMasterBlock(1);
    cfg.dataSegments = {segment(0x1000, 16)};
    EXPECT_EQ(task().downloadMemory({block(0x1000, 8)}, 2), 0U);
    EXPECT_EQ(sent(), Texts({kMta, "f0 07 01 02 03 04 05 06", "ef 01 07", "f0 01 08"}));
}

TEST_F(XcpDownload, RefusedBlockFails) {
    usesMasterBlock(10);
    cfg.dataSegments = {segment(0x1000, 16)};
    ecu.answersOnce("ef ..", {"fe 31"});
    EXPECT_EQ(task().downloadMemory({block(0x1000, 8)}, 2), 35U);
    EXPECT_EQ(reports(), Texts{"mem 13 0"});
}

TEST_F(XcpDownload, MasterBlockNeedsTheHostsWordAndTheEcus) {
    cfg.dataSegments = {segment(0x1000, 16)};
    usesMasterBlock(10);
    cfg.xcp.useMasterBlockMode = 0;
    EXPECT_EQ(task().downloadMemory({block(0x1000, 8)}, 2), 0U);
    cfg.xcp.useMasterBlockMode = 1;
    cfg.xcp.commModeOptional = 0xFE;
    EXPECT_EQ(ecu.count("ef .."), 0U);
    startsAnew();
    EXPECT_EQ(task().downloadMemory({block(0x1000, 8)}, 2), 0U);
    EXPECT_EQ(ecu.count("ef .."), 0U);
}

TEST_F(XcpDownload, BlockWithoutBytesTakesItsAddressOnly) {
    std::uint32_t done = 0;
    EXPECT_TRUE(task().downloadMemBlock({0x1000, {}}, true, 10, done));
    EXPECT_EQ(sent(), Texts{kMta});
    EXPECT_TRUE(reports().empty());
}

TEST_F(XcpDownload, ProgressNeedsATotalAndAFunction) {
    std::uint32_t done = 5;
    EXPECT_TRUE(task().downloadMemBlock(block(0x1000, 3), false, 0, done));
    EXPECT_EQ(done, 8U);
    EXPECT_TRUE(reports().empty());
    callBacks.memResultFun = nullptr;
    startsAnew();
    EXPECT_TRUE(task().downloadMemBlock(block(0x1000, 3), false, 10, done));
}

TEST_F(XcpDownload, NoConfigurationMakesADownloadRunForever) {
    for (const std::uint8_t maxCto : std::vector<std::uint8_t>{0, 1, 2, 3, 4, 7, 8, 255}) {
        for (const std::uint8_t granularity : std::vector<std::uint8_t>{0, 1, 3, 4, 255}) {
            for (const std::uint8_t maxBs : std::vector<std::uint8_t>{0, 255}) {
                startsAnew();
                usesMasterBlock(maxBs);
                cfg.xcp.useMasterBlockMode = maxBs & 1;
                cfg.maxCto = maxCto;
                cfg.xcp.addressGranularity = granularity;
                std::uint32_t done = 0;
                task().downloadMemBlock(block(0x1000, 300), true, 300, done);
                EXPECT_LE(done, 300U);
            }
        }
    }
}

TEST_F(XcpDownload, StepOfNoBytesIsAFailure) {
    cfg.maxCto = 4;
    cfg.xcp.addressGranularity = 4;
    std::uint32_t done = 0;
    EXPECT_FALSE(task().downloadMemBlock(block(0x1000, 1), true, 1, done));
    EXPECT_EQ(done, 0U);
    EXPECT_EQ(sent(), Texts{kMta});
}

TEST_F(XcpForceDownload, SegmentIsSelectedClearedAndProgrammed) {
    cfg.dataSegments[0].addressExtension = 7;
    EXPECT_EQ(downloads({block(0x1000, 8)}), 0U);
    EXPECT_EQ(sent(), Texts({"eb 03 01 05", kStart, "f6 00 00 07 00 10 00 00", kClear, kMta,
                             "d0 08 01 02 03 04 05 06", "ca 02 07 08", kReset}));
    EXPECT_TRUE(reports().empty());
}

TEST_F(XcpForceDownload, SegmentWithoutAReadOnlyPageSelectsPage255) {
    cfg.dataSegments[0].pages = {page(3, true)};
    EXPECT_EQ(downloads({block(0x1000, 1)}), 0U);
    EXPECT_EQ(sent().at(0), "eb 03 01 ff");
}

TEST_F(XcpForceDownload, WithoutAForcedSegmentOnlyTheResetGoesOut) {
    cfg.dataSegments[0].memoryType = 1;
    EXPECT_EQ(downloads({block(0x1000, 8)}), 0U);
    EXPECT_EQ(sent(), Texts{kReset});
}

TEST_F(XcpForceDownload, FileWithoutABlockIs28AndSendsNothing) {
    EXPECT_EQ(task().forceDownload(folder.path("missing.hex")), 28U);
    EXPECT_EQ(task().forceDownload(folder.file("empty.hex", "")), 28U);
    EXPECT_EQ(task().forceDownload(folder.file("truncated.hex", ":1\n")), 28U);
    EXPECT_EQ(task().forceDownload(folder.file("image.txt", "1234")), 28U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpForceDownload, TwoForcedSegmentsProgramEveryBlockTwice) {
    cfg.dataSegments.push_back(forced(0x2000));
    cfg.dataSegments.push_back(segment(0x3000, 8));
    EXPECT_EQ(downloads({block(0x1000, 1), block(0x2000, 2), block(0x3000, 3)}), 0U);
    EXPECT_EQ(ecu.count("d0 01 01"), 2U);
    EXPECT_EQ(ecu.count("d0 02 01 02"), 2U);
    EXPECT_EQ(ecu.count("d0 03 01 02 03"), 2U);
    EXPECT_EQ(ecu.count(kStart), 2U);
    EXPECT_EQ(ecu.count(kReset), 1U);
}

TEST_F(XcpForceDownload, StepsHave210BytesAtMost) {
    cfg.dataSegments[0].length = 300;
    EXPECT_EQ(downloads({block(0x1000, 300)}), 0U);
    EXPECT_EQ(ecu.count("d0 d2 .."), 1U);
    EXPECT_EQ(ecu.count("d0 5a .."), 1U);
    EXPECT_EQ(ecu.count("d0 .."), 2U);
    EXPECT_EQ(ecu.count("ca .."), 48U);
}

TEST_F(XcpForceDownload, EachRefusalHasItsCodeLineAndFrames) {
    struct Row {
        const char* refused;
        std::uint32_t code;
        Texts lines;
        Texts frames;
    };
    const char* select = "eb 03 01 05";
    const std::vector<Row> rows = {
        {"eb ..", 23, {}, {select, kReset}},
        {"d2", 59, {}, {select, kStart, kReset}},
        {"f6 ..", 37, {"SET_MTA failed"}, {select, kStart, kMta, kReset}},
        {"d1 ..", 60, {"PROGRAM_CLEAR failed"}, {select, kStart, kMta, kClear, kReset}},
        {"d0 ..",
         61,
         {"Program Fegment Failed:4096"},
         {select, kStart, kMta, kClear, kMta, "d0 01 01", kReset}},
        {"cf", 0, {}, {select, kStart, kMta, kClear, kMta, "d0 01 01", kReset}},
    };
    for (const Row& row : rows) {
        startsAnew();
        ecu.answersOnce(row.refused, {"fe 31"});
        EXPECT_EQ(downloads({block(0x1000, 1)}), row.code);
        EXPECT_EQ(host.logTexts(4), row.lines);
        EXPECT_EQ(sent(), row.frames);
    }
}

TEST_F(XcpForceDownload, UnsupportedPageSwitchIs23) {
    cfg.supportedCmds.clear();
    EXPECT_EQ(downloads({block(0x1000, 1)}), 23U);
    EXPECT_EQ(sent(), Texts{kReset});
    EXPECT_EQ(host.logTexts(3), Texts{"SET_CAL_PAGE not supported"});
}

TEST_F(XcpForceDownload, UnsupportedProgramStartIsSentAllTheSame) {
    cfg.supportedCmds = {0xEB};
    EXPECT_EQ(downloads({block(0x1000, 1)}), 0U);
    EXPECT_EQ(ecu.count(kStart), 1U);
}

TEST_F(XcpForceDownload, ImageOutsideTheSegmentIs29BehindItsClear) {
    EXPECT_EQ(downloads({block(0x5000, 1)}), 29U);
    EXPECT_EQ(sent(), Texts({"eb 03 01 05", kStart, kMta, kClear, kReset}));
}

TEST_F(XcpForceDownload, RefusedAddressOfABlockIs61) {
    ecu.answersInTurn("f6 ..", {{"ff"}, {"fe 24"}});
    EXPECT_EQ(downloads({block(0x1000, 1)}), 61U);
    EXPECT_EQ(host.logTexts(4), Texts({"downloadMemBlock SET_MTA failed", "Program Fegment Failed:4096"}));
    EXPECT_EQ(sent(), Texts({"eb 03 01 05", kStart, kMta, kClear, kMta, kReset}));
}

TEST_F(XcpForceDownload, BlockThatFailsDropsTheRestAndTheNextSegmentGoesOn) {
    cfg.dataSegments.push_back(forced(0x2000));
    ecu.answersOnce("d0 ..", {"fe 31"});
    EXPECT_EQ(downloads({block(0x1000, 1), block(0x2000, 2)}), 61U);
    EXPECT_EQ(host.logTexts(4), Texts{"Program Fegment Failed:4096"});
    EXPECT_EQ(ecu.count("d0 01 01"), 2U);
    EXPECT_EQ(ecu.count("d0 02 01 02"), 1U);
    EXPECT_EQ(ecu.count(kStart), 2U);
    EXPECT_EQ(sent().back(), kReset);
}

TEST_F(XcpForceDownload, LaterFailureReplacesANotedOne) {
    cfg.dataSegments.push_back(forced(0x2000));
    ecu.answersOnce("d0 ..", {"fe 31"});
    ecu.answersInTurn("d2", {{"ff"}, {"fe 31"}});
    EXPECT_EQ(downloads({block(0x1000, 1), block(0x2000, 2)}), 59U);
}
