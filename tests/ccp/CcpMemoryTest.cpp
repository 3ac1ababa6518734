// Pages, writing, uploading, downloading, checking and flashing.
#include "TalvexMemory.h"
#include "tests/ccp/CcpTestSupport.h"
#include "tests/support/TempFolder.h"

using namespace ccp_test;

namespace {

class CcpMemory : public CcpTest {
protected:
    static mem_buf block(std::uint32_t address, std::size_t size) {
        return {address, support::countingBytes(size, 0)};
    }

    /// Calls of `memResultFun` as "12:50".
    Texts reports() const {
        Texts texts;
        for (const support::MemResult& result : host.memResults()) {
            texts.push_back(std::to_string(result.command) + ":" + std::to_string(result.result));
        }
        return texts;
    }

    /// Writes an image file. @return its path
    std::string file(const std::list<mem_buf>& blocks) const {
        const std::string path = m_folder.path("image.hex");
        EXPECT_TRUE(SaveToHexFile(blocks, path));
        return path;
    }

    const support::TempFolder m_folder;
};

}  // namespace

TEST_F(CcpMemory, PageWithoutTheCommandIsAWarningAndNoFrame) {
    EXPECT_EQ(task().selectWorkingPage(), 72U);
    EXPECT_EQ(task().selectReferencePage(), 72U);
    EXPECT_EQ(host.logTexts(3), (Texts{"SELECT_CAL_PAGE not supported", "SELECT_CAL_PAGE not supported"}));
    EXPECT_TRUE(sent().empty());
}

TEST_F(CcpMemory, PagesAreSelectedByAddress) {
    supports("11");
    cfg.ccp.workingPageAddress = 0x100;
    cfg.ccp.referencePageAddress = 0x200;
    EXPECT_EQ(task().selectWorkingPage(), 0U);
    EXPECT_EQ(task().selectReferencePage(), 0U);
    EXPECT_EQ(sent(), (Texts{"02 ## 00 00 00 01 00 00", "11 ##", "02 ## 00 00 00 02 00 00", "11 ##"}));
    refuses("11 ..");
    EXPECT_EQ(task().selectWorkingPage(), 24U);
    task().m_linkLost = true;
    EXPECT_EQ(task().selectWorkingPage(), 37U);
}

TEST_F(CcpMemory, CopyMovesTheLengthOfTheSegmentOfTypesTwoAndTwoWithoutSettingMtas) {
    supports("19");
    EXPECT_EQ(task().copyReferenceToWorking(), 0U);
    EXPECT_EQ(sent(), Texts{"19 ## 00 00 00 00"});
    mcMemoryInfo moved = segment(0x8000, 0x1234);
    moved.programType = 2;
    moved.memoryType = 2;
    task().m_cfg.dataSegments = {segment(0, 5), moved};
    refuses("19 ..");
    EXPECT_EQ(task().copyReferenceToWorking(), 0U);
    EXPECT_EQ(sent().front(), "19 ## 34 12 00 00");
}

TEST_F(CcpMemory, CopyMovesTheLengthOfTheFirstOfSeveralSegmentsOfTypesTwoAndTwo) {
    supports("19");
    const auto typed = [](std::uint32_t programType, std::uint32_t memoryType, std::uint32_t length) {
        mcMemoryInfo made = segment(0x1000, length);
        made.programType = programType;
        made.memoryType = memoryType;
        return made;
    };
    cfg.dataSegments = {typed(2, 1, 0x11), typed(1, 2, 0x22), typed(2, 2, 0x1234), typed(2, 2, 0x5678)};
    EXPECT_EQ(task().copyReferenceToWorking(), 0U);
    EXPECT_EQ(sent(), Texts{"19 ## 34 12 00 00"});
}

TEST_F(CcpMemory, CopyWithoutMoveIsAWarning) {
    EXPECT_EQ(task().copyReferenceToWorking(), 72U);
    EXPECT_EQ(host.logTexts(3), Texts{"CCP has no MOVE; copy reference to working page not supported"});
}

TEST_F(CcpMemory, WriteOf256BytesWritesNothingAnd257WriteOne) {
    EXPECT_EQ(task().writeVariable(variable("v", 0x10, 4), support::countingBytes(256, 0)), 0U);
    EXPECT_EQ(sent(), Texts{"02 ## 00 00 10 00 00 00"});
    task().writeVariable(variable("v", 0x10, 4), support::countingBytes(257, 9));
    EXPECT_EQ(sent(), (Texts{"02 ## 00 00 10 00 00 00", "03 ## 01 09"}));
}

TEST_F(CcpMemory, WriteNamesTheVariableIfTheAddressIsRefused) {
    refuses("02 ..");
    EXPECT_EQ(task().writeVariable(variable("speed", 0x10, 4), {1}), 37U);
    EXPECT_EQ(host.logTexts(4), Texts{"error set mtaspeed"});
}

TEST_F(CcpMemory, EraseGoesOnAfterFailuresAndIsAlwaysZero) {
    cfg.codeSegments = {segment(0x1000, 0x100), segment(0x2000, 0x200)};
    ecu.answersInTurn("02 ..", {{"ff 22 @1"}, {"ff 22 @1"}});
    EXPECT_EQ(task().eraseMemory(1), 0U);
    EXPECT_EQ(host.logTexts(4), Texts{"SET_MTA failed"});
    EXPECT_TRUE(ecu.showed("10 ?? 00 02 00 00"));
    refuses("10 ..");
    task().eraseMemory(1);
    EXPECT_EQ(host.logTexts(4)[1], "CLEAR_MEMORY failed");
}

TEST_F(CcpMemory, RangesAreCodeThenData) {
    cfg.codeSegments = {segment(1, 1)};
    cfg.dataSegments = {segment(2, 2)};
    for (const auto& [operation, count] :
         std::vector<std::pair<std::uint32_t, std::size_t>>{{0, 0}, {1, 1}, {2, 1}, {4, 1}, {6, 1}, {7, 2}}) {
        EXPECT_EQ(task().memoryRanges(operation).size(), count) << operation;
    }
    EXPECT_EQ(task().memoryRanges(7)[0].address, 1U);
}

TEST_F(CcpMemory, UploadOfNothingIsCode26WithoutACallback) {
    EXPECT_EQ(task().uploadMemory(0, nullptr), 26U);
    EXPECT_TRUE(reports().empty());
}

TEST_F(CcpMemory, UploadOfTenThousandBytesReportsThreeStepsTheRangeAndTheResult) {
    cfg.dataSegments = {segment(0x1000, 10000)};
    hasMemory();
    EXPECT_EQ(task().uploadMemory(2, nullptr), 0U);
    EXPECT_EQ(reports(), (Texts{"12:40", "12:81", "12:100", "12:100", "10:0"}));
    EXPECT_EQ(host.memResults().back().data[0].data, support::countingBytes(10000, 0));
}

TEST_F(CcpMemory, UploadThatReadsNothingReportsItsCode) {
    cfg.dataSegments = {segment(0x1000, 10)};
    refuses("04 ..");
    EXPECT_EQ(task().uploadMemory(2, nullptr), 34U);
    EXPECT_EQ(reports(), Texts{"10:34"});
}

TEST_F(CcpMemory, DownloadOfNothingIsOtherWithItsLine) {
    EXPECT_EQ(task().downloadMemory({}, 1), 73U);
    EXPECT_EQ(host.logTexts(4), Texts{"SetDownEcu: empty records"});
}

TEST_F(CcpMemory, DownloadGoesInStepsOf255WithAnAddressEachAndDataAheadOfCode) {
    cfg.codeSegments = {segment(0x9000, 5)};
    cfg.dataSegments = {segment(0x1000, 300)};
    EXPECT_EQ(task().downloadMemory({block(0x1000, 300), block(0x9000, 5)}, 3), 0U);
    EXPECT_EQ(ecu.count("02 .."), 3U);
    EXPECT_EQ(ecu.count("03 .."), 60U);
    EXPECT_TRUE(ecu.showed("02 ?? 00 00 00 10 00 00"));
    EXPECT_TRUE(ecu.showed("02 ?? 00 00 ff 10 00 00"));
    EXPECT_TRUE(ecu.showed("18 ?? 05 00 01 02 03 04"));
    EXPECT_EQ(reports(), (Texts{"13:83", "13:98", "13:100"}));
}

TEST_F(CcpMemory, DownloadEndsAtARefusedAddress) {
    cfg.dataSegments = {segment(0x1000, 300)};
    refuses("02 ..");
    EXPECT_EQ(task().downloadMemory({block(0x1000, 300)}, 2), 37U);
}

TEST_F(CcpMemory, CheckOf40000BytesMakesThreeEntries) {
    mcMemoryInfo range = segment(0x1000, 40000);
    range.checksumType = 8;
    cfg.dataSegments = {range};
    ecu.answers("0e ..", {"ff 00 @1 02 34 12"});
    std::vector<mcMemoryData> results;
    EXPECT_EQ(task().checkMemory({block(0x1000, 40000)}, 2, &results), 0U);
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(results[2].length, 7232U);
    EXPECT_EQ(results[2].address, 0x1000U + 2 * 16384);
    EXPECT_EQ(results[0].data, (std::vector<std::uint8_t>{0x34, 0x12}));
    EXPECT_EQ(results[0].expected.size(), 2U);
    EXPECT_TRUE(results[0].actual.empty());
}

TEST_F(CcpMemory, CheckFailuresHaveTheirCodes) {
    EXPECT_EQ(task().checkMemory({}, 2, nullptr), 28U);
    EXPECT_EQ(task().checkMemory({block(0, 4)}, 2, nullptr), 33U);
    mcMemoryInfo range = segment(0, 4);
    range.checksumType = 1;
    task().m_cfg.dataSegments = {range};
    refuses("0e ..");
    EXPECT_EQ(task().checkMemory({block(0, 4)}, 2, nullptr), 70U);
    EXPECT_EQ(host.logTexts(4), Texts{"BuildChksum failed"});
}

TEST_F(CcpMemory, CheckStepWithoutAnAddressMakesNoEntry) {
    mcMemoryInfo range = segment(0, 8);
    range.checksumType = 1;
    range.checksumBlockSize = 4;
    cfg.dataSegments = {range};
    ecu.answersInTurn("02 ..", {{"ff 22 @1"}, {"ff 22 @1"}});
    std::vector<mcMemoryData> results;
    EXPECT_EQ(task().checkMemory({block(0, 8)}, 2, &results), 0U);
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].address, 4U);
}

TEST_F(CcpMemory, RangeWithoutAKindIsNotChecked) {
    cfg.dataSegments = {segment(0, 8)};
    EXPECT_EQ(task().checkMemory({block(0, 8)}, 2, nullptr), 0U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(CcpMemory, ForcedBlocksOfFourAndEightGoAsTwoGroupsOfSixOverTheGap) {
    cfg.dataSegments = {segment(0x1000, 0x100)};
    const std::string path = file({block(0x1000, 4), block(0x1020, 8)});
    EXPECT_EQ(task().forceDownload(path), 0U);
    const Texts frames = sent();
    EXPECT_EQ(frames, (Texts{"12 ## ff", "02 ## 00 00 00 10 00 00", "10 ## 00 01 00 00",
                             "22 ## 00 01 02 03 00 01", "22 ## 02 03 04 05 06 07"}));
}

TEST_F(CcpMemory, ForcedFileOfTwoBytesIsOneProgramFrame) {
    cfg.dataSegments = {segment(0x1000, 0x100)};
    const std::string path = file({block(0x1000, 2)});
    EXPECT_EQ(task().forceDownload(path), 0U);
    EXPECT_EQ(ecu.count("22 .."), 0U);
    EXPECT_TRUE(ecu.showed("18 ?? 02 00 01"));
}

TEST_F(CcpMemory, RestOfAForcedDownloadIsCutToTheFrame) {
    cfg.maxCto = 5;
    cfg.dataSegments = {segment(0x1000, 0x100)};
    const std::string path = file({block(0x1000, 5)});
    EXPECT_EQ(task().forceDownload(path), 0U);
    EXPECT_EQ(sent(), (Texts{"12 ## ff", "02 ## 00 00 00 10 00 00", "10 ## 00 01 00 00", "18 ## 02 00 01",
                             "18 ## 02 02 03", "18 ## 01 04"}));
}

TEST_F(CcpMemory, ForcedDownloadFailuresHaveTheirCodesAndLines) {
    cfg.dataSegments = {segment(0x1000, 0x100)};
    EXPECT_EQ(task().forceDownload("nowhere.hex"), 73U);
    EXPECT_EQ(host.logTexts(4), Texts{"Download ecu parse file nowhere.hex failed"});
    const std::string outside = file({block(0x5000, 2)});
    EXPECT_EQ(task().forceDownload(outside), 29U);
    refuses("10 ..");
    EXPECT_EQ(task().forceDownload("nowhere.hex"), 1U);
    EXPECT_EQ(host.logTexts(4).back(), "ForceWrite2Flash CLEAR_MEMORY failed");
    task().m_linkLost = false;
    refuses("02 ..");
    EXPECT_EQ(task().forceDownload("nowhere.hex"), 1U);
    EXPECT_EQ(host.logTexts(4).back(), "ForceWrite2Flash SET_MTA failed");
    task().m_linkLost = false;
    refuses("12 ..");
    EXPECT_EQ(task().forceDownload("nowhere.hex"), 1U);
}

TEST_F(CcpMemory, UploadGoesOnBehindARefusedFrameFromWhereTheEcuStands) {
    cfg.dataSegments = {segment(0x1000, 20)};
    hasMemory();
    int uploads = 0;
    ecu.answersBy("04 ..", [&](const std::string&) {
        const auto first = static_cast<std::uint8_t>(5 * (uploads - (uploads > 2 ? 1 : 0)));
        return ++uploads == 3 ? Texts{"ff 10 @1"}
                              : Texts{"ff 00 @1 " + support::hexText(support::countingBytes(5, first))};
    });
    EXPECT_EQ(task().uploadMemory(2, nullptr), 0U);
    EXPECT_EQ(reports(), (Texts{"12:50", "12:100", "12:100", "10:0"}));
    EXPECT_EQ(host.memResults().back().data[0].data, support::countingBytes(20, 0));
}

TEST_F(CcpMemory, RangeThatWasReadInPartCountsAsReadAndTheNextOneIsTried) {
    cfg.dataSegments = {segment(0x1000, 10), segment(0x2000, 10)};
    ecu.answersInTurn("04 ..", {{"ff 00 @1 01 02 03 04 05"}, {"ff 10 @1"}, {"ff 10 @1"}});
    EXPECT_EQ(task().uploadMemory(2, nullptr), 0U);
    ASSERT_EQ(host.memResults().back().data.size(), 2U);
    EXPECT_EQ(host.memResults().back().data[0].length, 5U);
    EXPECT_EQ(host.memResults().back().data[0].data, support::countingBytes(5, 1));
    EXPECT_EQ(host.memResults().back().data[1].length, 10U);
}

TEST_F(CcpMemory, SecondRangeWithoutAnAddressReportsItsCodeAndNoData) {
    cfg.dataSegments = {segment(0x1000, 5), segment(0x2000, 5)};
    ecu.answersInTurn("02 ..", {{"ff 00 @1"}, {"ff 33 @1"}});
    EXPECT_EQ(task().uploadMemory(2, nullptr), 37U);
    EXPECT_EQ(reports(), (Texts{"12:50", "12:50", "10:37"}));
    EXPECT_TRUE(host.memResults().back().data.empty());
    EXPECT_EQ(host.logTexts(4), Texts{"SET_MTA failed"});
}

TEST_F(CcpMemory, AddressExtensionIsThatOfTheSegmentButForDownloadAndCheck) {
    mcMemoryInfo range = segment(0x1000, 4);
    range.addressExtension = 3;
    range.checksumType = 1;
    cfg.dataSegments = {range};
    const std::vector<std::pair<std::function<void()>, const char*>> rows = {
        {[this] { task().eraseMemory(2); }, "02 ## 00 03 00 10 00 00"},
        {[this] { task().uploadMemory(2, nullptr); }, "02 ## 00 03 00 10 00 00"},
        {[this] { task().downloadMemory({block(0x1000, 4)}, 2); }, "02 ## 00 00 00 10 00 00"},
        {[this] { task().checkMemory({block(0x1000, 4)}, 2, nullptr); }, "02 ## 00 00 00 10 00 00"},
    };
    for (const auto& [run, frame] : rows) {
        run();
        EXPECT_EQ(sent().front(), frame);
    }
}

TEST_F(CcpMemory, RefusedBytesOfADownloadDoNotShow) {
    cfg.codeSegments = {segment(0x9000, 20)};
    cfg.dataSegments = {segment(0x1000, 20)};
    ecu.answers("03 ..", {"ff 10 @1"});
    ecu.answers("18 ..", {"ff 10 @1"});
    EXPECT_EQ(task().downloadMemory({block(0x1000, 20), block(0x9000, 20)}, 3), 0U);
    EXPECT_EQ(ecu.count("03 .."), 3U) << "one frame, its two repeats, and nothing behind it";
    EXPECT_EQ(ecu.count("18 .."), 3U);
    EXPECT_EQ(reports(), (Texts{"13:50", "13:100"}));
}

TEST_F(CcpMemory, DownloadOverADeadLinkEndsAtTheNextAddress) {
    cfg.dataSegments = {segment(0x1000, 600)};
    refuses("03 ..");
    EXPECT_EQ(task().downloadMemory({block(0x1000, 600)}, 2), 37U);
    EXPECT_EQ(sent().size(), 2U);
    EXPECT_EQ(reports(), Texts{"13:42"});
}

TEST_F(CcpMemory, ChecksumHasTheWidthOfItsKind) {
    const std::vector<std::size_t> widths = {1, 2, 4, 2, 4, 4, 2, 2, 4, 4};
    ecu.answers("0e ..", {"ff 00 @1 04 11 22 33 44"});
    for (std::size_t i = 0; i < widths.size(); ++i) {
        startsAnew();
        mcMemoryInfo range = segment(0x1000, 8);
        range.checksumType = static_cast<std::uint32_t>(i + 1);
        cfg.dataSegments = {range};
        std::vector<mcMemoryData> results;
        EXPECT_EQ(task().checkMemory({block(0x1000, 8)}, 2, &results), 0U);
        ASSERT_EQ(results.size(), 1U);
        const std::vector<std::uint8_t> sum = support::bytes("11 22 33 44");
        EXPECT_EQ(results[0].data, std::vector<std::uint8_t>(
                                       sum.begin(), sum.begin() + static_cast<std::ptrdiff_t>(widths[i])));
        EXPECT_EQ(results[0].expected.size(), widths[i]);
    }
}

/// Over the bytes 0 to 7, least significant byte first.
TEST_F(CcpMemory, ExpectedChecksumIsThatOfTheImage) {
    const std::vector<std::pair<std::uint32_t, const char*>> rows = {
        {1, "1c"},          {2, "1c 00"}, {3, "1c 00 00 00"}, {4, "0c 10"},       {5, "0c 10 00 00"},
        {6, "04 06 08 0a"}, {7, "06 71"}, {8, "8d 17"},       {9, "9f 68 aa 88"}, {10, "00 00 00 00"},
    };
    ecu.answers("0e ..", {"ff 00 @1 04 11 22 33 44"});
    for (const auto& [kind, expected] : rows) {
        startsAnew();
        mcMemoryInfo range = segment(0x1000, 8);
        range.checksumType = kind;
        cfg.dataSegments = {range};
        std::vector<mcMemoryData> results;
        EXPECT_EQ(task().checkMemory({block(0x1000, 8)}, 2, &results), 0U);
        ASSERT_EQ(results.size(), 1U);
        EXPECT_EQ(support::hexText(results[0].expected), expected) << kind;
    }
}

TEST_F(CcpMemory, ExpectedChecksumOfEachStepIsThatOfItsOwnBytes) {
    mcMemoryInfo range = segment(0x1002, 6);
    range.checksumType = 2;
    range.checksumBlockSize = 4;
    cfg.dataSegments = {range};
    ecu.answers("0e ..", {"ff 00 @1 02 34 12"});
    std::vector<mcMemoryData> results;
    EXPECT_EQ(task().checkMemory({block(0x1000, 8)}, 2, &results), 0U);
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(support::hexText(results[0].expected), "0e 00");  // 2 + 3 + 4 + 5
    EXPECT_EQ(support::hexText(results[1].expected), "0d 00");  // 6 + 7
}

TEST_F(CcpMemory, ChecksumThatIsShorterThanItsKindIsFilledWithZeros) {
    mcMemoryInfo range = segment(0x1000, 4);
    range.checksumType = 9;
    cfg.dataSegments = {range};
    ecu.answers("0e ..", {"ff 00 @1 01 aa bb cc dd"});
    std::vector<mcMemoryData> results;
    EXPECT_EQ(task().checkMemory({block(0x1000, 4)}, 2, &results), 0U);
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].data, support::bytes("aa 00 00 00"));
}

TEST_F(CcpMemory, CheckStopsAtTheFirstRangeThatFails) {
    mcMemoryInfo range = segment(0x1000, 4);
    range.checksumType = 1;
    cfg.dataSegments = {range, range};
    cfg.dataSegments[1].address = 0x2000;
    ecu.answers("0e ..", {"ff 10 @1"});
    EXPECT_EQ(task().checkMemory({block(0x1000, 4), block(0x2000, 4)}, 2, nullptr), 70U);
    EXPECT_EQ(ecu.count("02 .."), 1U);
}

TEST_F(CcpMemory, ForcedDownloadSelectsTheWorkingPageAheadOfTheClearingAndOfTheImage) {
    supports("11");
    cfg.ccp.unlockMask = 0x40;
    cfg.ccp.workingPageAddress = 0x8000;
    cfg.dataSegments = {segment(0x1000, 0x100), segment(0x2000, 0x200)};
    const std::string path = file({block(0x1000, 6)});
    EXPECT_EQ(task().forceDownload(path), 0U);
    EXPECT_EQ(sent(), (Texts{"12 ## 40", "02 ## 00 00 00 80 00 00", "11 ##", "02 ## 00 00 00 10 00 00",
                             "10 ## 00 01 00 00", "02 ## 00 00 00 20 00 00", "10 ## 00 02 00 00",
                             "02 ## 00 00 00 80 00 00", "11 ##", "22 ## 00 01 02 03 04 05"}));
}

TEST_F(CcpMemory, ForcedDownloadIgnoresThePageAndWhatItPrograms) {
    supports("11");
    ecu.answers("11 ..", {"ff 10 @1"});
    ecu.answers("22 ..", {"ff 10 @1"});
    ecu.answers("18 ..", {"ff 10 @1"});
    cfg.dataSegments = {segment(0x1000, 0x100)};
    const std::string path = file({block(0x1000, 13)});
    EXPECT_EQ(task().forceDownload(path), 0U);
    EXPECT_EQ(ecu.count("22 .."), 6U) << "two groups, each sent three times";
    EXPECT_EQ(ecu.count("18 .."), 3U);
}

TEST_F(CcpMemory, ForcedDownloadWithoutSegmentsProgramsNothingAndSucceeds) {
    const std::string path = file({block(0x1000, 13)});
    EXPECT_EQ(task().forceDownload(path), 0U);
    EXPECT_EQ(sent(), Texts{"12 ## ff"});
}
