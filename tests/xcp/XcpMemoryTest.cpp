// Memory ranges: choosing, uploading, checking.
#include "tests/xcp/XcpTestSupport.h"

using namespace xcp_test;

namespace {

class XcpMemory : public XcpTest {
protected:
    XcpMemory() { hasMemory(); }

    /// The ranges of an operation as "1000:0,1 2000:", address and page numbers.
    std::string ranges(mcMemOperType operation) {
        std::string shown;
        for (const mcMemoryInfo& range : task().memoryRanges(operation)) {
            shown.append(shown.empty() ? "" : " ").append(std::to_string(range.address)).append(":");
            for (const mcMemoryPage& one : range.pages) {
                shown += std::to_string(one.pageNumber) + ",";
            }
        }
        return shown;
    }

    /// @return the calls of `memResultFun`, as in the journal
    Texts reports() const {
        Texts entries;
        for (const std::string& entry : host.journal()) {
            if (entry.rfind("mem", 0) == 0) {
                entries.push_back(entry);
            }
        }
        return entries;
    }

    std::vector<mcMemoryData> results;
};

using XcpRanges = XcpMemory;

class XcpCheck : public XcpMemory {
protected:
    static mcMemoryInfo checked(std::uint32_t address, std::uint32_t length, std::uint32_t blockSize = 0) {
        mcMemoryInfo made = segment(address, length);
        made.checksumType = 1;
        made.checksumBlockSize = blockSize;
        return made;
    }

    /// Entries as "1000+4 0a 0a": address, length, the ECU's checksum, the local one.
    Texts entries() const {
        Texts shown;
        for (const mcMemoryData& entry : results) {
            EXPECT_TRUE(entry.actual.empty());
            shown.push_back(std::to_string(entry.address) + "+" + std::to_string(entry.length) + " " +
                            support::hexText(entry.data) + " / " + support::hexText(entry.expected));
        }
        return shown;
    }
};

}  // namespace

TEST_F(XcpRanges, NothingIsSelectedByZeroOrUnknownBits) {
    cfg.codeSegments = cfg.dataSegments = {segment(1, 1)};
    EXPECT_EQ(ranges(0), "");
    EXPECT_EQ(ranges(8), "");
}

TEST_F(XcpRanges, CodeSegmentsKeepTheirFirstPage) {
    cfg.codeSegments = {segment(1, 1, {page(5, true), page(6, false), page(7, true)}), segment(2, 1)};
    cfg.dataSegments = {segment(3, 1)};
    EXPECT_EQ(ranges(1), "1:5, 2:");
}

TEST_F(XcpRanges, DataSegmentsAreSplitByTheirPages) {
    cfg.codeSegments = {segment(9, 1)};
    cfg.dataSegments = {segment(1, 1, {page(0, true), page(1, false)}), segment(2, 1),
                        segment(3, 1, {page(4, true), page(5, true)})};
    EXPECT_EQ(ranges(2), "1:1, 2: 3:");
    EXPECT_EQ(ranges(4), "1:0, 2: 3:4, 3:5,");
    EXPECT_EQ(ranges(6), "1:0, 1:1, 2: 3:4, 3:5,");
    EXPECT_EQ(ranges(7), "9: 1:0, 1:1, 2: 3:4, 3:5,");
}

TEST_F(XcpRanges, CopiesKeepEveryOtherField) {
    mcMemoryInfo full = segment(1, 2, {page(0, true), page(1, false)});
    full.addressExtension = 3;
    full.segmentNumber = 4;
    full.programType = 5;
    full.memoryType = 6;
    full.checksumBlockSize = 7;
    full.checksumType = 8;
    cfg.dataSegments = {full};
    const mcMemoryInfo range = task().memoryRanges(2).at(0);
    EXPECT_EQ(range.length, 2U);
    EXPECT_EQ(range.addressExtension, 3);
    EXPECT_EQ(range.segmentNumber, 4);
    EXPECT_EQ(range.programType, 5U);
    EXPECT_EQ(range.memoryType, 6U);
    EXPECT_EQ(range.checksumBlockSize, 7U);
    EXPECT_EQ(range.checksumType, 8U);
}

TEST_F(XcpMemory, RangeIsReadBehindItsPageAndAddress) {
    supports("eb");
    mcMemoryInfo range = segment(0x1000, 10, {page(2, true), page(3, true)});
    range.segmentNumber = 1;
    range.addressExtension = 5;
    EXPECT_EQ(task().uploadRange(range, &results, nullptr, nullptr), 0U);
    EXPECT_EQ(sent(), Texts({"eb 03 01 02", "f6 00 00 05 00 10 00 00", "f5 07", "f5 03"}));
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0].address, 0x1000U);
    EXPECT_EQ(results[0].length, 10U);
    EXPECT_EQ(support::hexText(results[0].data), "00 01 02 03 04 05 06 07 08 09");
    EXPECT_TRUE(results[0].expected.empty());
    EXPECT_TRUE(host.memResults().empty());
}

TEST_F(XcpMemory, ProgramTypeOneSelectsNoPage) {
    supports("eb");
    mcMemoryInfo range = segment(0x1000, 1, {page(2, true)});
    range.programType = 1;
    EXPECT_EQ(task().uploadRange(range, nullptr, nullptr, nullptr), 0U);
    EXPECT_EQ(sent(), Texts({"f6 00 00 00 00 10 00 00", "f5 01"}));
}

TEST_F(XcpMemory, PageThatCannotBeSelectedEndsTheRange) {
    const mcMemoryInfo range = segment(0x1000, 1, {page(2, true)});
    EXPECT_EQ(task().uploadRange(range, &results, nullptr, nullptr), 23U);
    EXPECT_EQ(host.logTexts(3), Texts{"SET_CAL_PAGE not supported"});
    EXPECT_EQ(host.logTexts(4), Texts{"SET_CAL_PAGE failed"});
    EXPECT_TRUE(sent().empty());
    supports("eb");
    startsAnew();
    ecu.answers("eb ..", {"fe 26"});
    EXPECT_EQ(task().uploadRange(range, &results, nullptr, nullptr), 23U);
    EXPECT_EQ(host.logTexts(4), Texts{"SET_CAL_PAGE failed"});
}

TEST_F(XcpMemory, RefusedAddressIs37) {
    ecu.answers("f6 ..", {"fe 24"});
    EXPECT_EQ(task().uploadRange(segment(0x1000, 1), &results, nullptr, nullptr), 37U);
    EXPECT_EQ(host.logTexts(4), Texts{"SET_MTA failed"});
}

TEST_F(XcpMemory, NothingReadIs34) {
    ecu.answers("f5 ..", {"fe 24"});
    EXPECT_EQ(task().uploadRange(segment(0x1000, 300), &results, nullptr, nullptr), 34U);
    EXPECT_EQ(task().uploadRange(segment(0x1000, 0), &results, nullptr, nullptr), 34U);
    EXPECT_TRUE(results.empty());
}

TEST_F(XcpMemory, ShortStepGoesOnAndAnEmptyOneEnds) {
    ecu.answersInTurn("f5 ..", {{"ff 01 02 03 04 05 06 07"}, {"fe 24"}, {"ff 08"}, {"fe 24"}, {"fe 24"}});
    const std::uint32_t total = 20;
    std::uint32_t done = 0;
    EXPECT_EQ(task().uploadRange(segment(0x1000, 20), &results, &total, &done), 0U);
    EXPECT_EQ(reports(), Texts({"mem 12 35", "mem 12 40"}));
    EXPECT_EQ(done, 8U);
    EXPECT_EQ(results.at(0).length, 8U);
}

TEST_F(XcpMemory, RangeIsReadWithGranularityOne) {
    cfg.xcp.addressGranularity = 4;
    EXPECT_EQ(task().uploadRange(segment(0x1000, 8), &results, nullptr, nullptr), 0U);
    EXPECT_EQ(sent(), Texts({"f6 00 00 00 00 10 00 00", "f5 07", "f5 01"}));
}

TEST_F(XcpMemory, StepsOf255BytesReportProgress) {
    const std::uint32_t total = 600;
    std::uint32_t done = 0;
    EXPECT_EQ(task().uploadRange(segment(0x1000, 600), &results, &total, &done), 0U);
    EXPECT_EQ(reports(), Texts({"mem 12 42", "mem 12 85", "mem 12 100"}));
    EXPECT_EQ(results.at(0).data, support::countingBytes(600));
}

TEST_F(XcpMemory, UploadReportsInsideBehindAndAtTheEnd) {
    cfg.codeSegments = {segment(0x1000, 29), segment(0x2000, 71)};
    EXPECT_EQ(task().uploadMemory(1, &results), 0U);
    EXPECT_EQ(reports(), Texts({"mem 12 29", "mem 12 28", "mem 12 100", "mem 12 100", "mem 10 0 +2"}));
    EXPECT_EQ(results.size(), 2U);
    EXPECT_EQ(host.memResults().back().data[1].length, 71U);
}

TEST_F(XcpMemory, UploadWithoutResultsDeliversThemAllTheSame) {
    cfg.codeSegments = {segment(0x1000, 10)};
    EXPECT_EQ(task().uploadMemory(1, nullptr), 0U);
    EXPECT_EQ(reports(), Texts({"mem 12 100", "mem 12 100", "mem 10 0 +1"}));
    callBacks.memResultFun = nullptr;
    startsAnew();
    EXPECT_EQ(task().uploadMemory(1, &results), 0U);
    EXPECT_EQ(results.size(), 1U);
}

TEST_F(XcpMemory, UploadWithoutRangesIs26AndSilent) {
    EXPECT_EQ(task().uploadMemory(7, &results), 26U);
    EXPECT_TRUE(host.journal().empty());
}

TEST_F(XcpMemory, FailedRangeEndsTheUpload) {
    cfg.codeSegments = {segment(0x1000, 5), segment(0x2000, 5), segment(0x3000, 5)};
    ecu.answers("f6 00 00 00 00 20 00 00", {"fe 24"});
    EXPECT_EQ(task().uploadMemory(1, &results), 37U);
    EXPECT_EQ(reports(), Texts({"mem 12 33", "mem 12 33", "mem 10 37"}));
    EXPECT_EQ(ecu.count("f6 .."), 2U);
}

TEST_F(XcpMemory, SilentUploadKeepsTheLink) {
    cfg.codeSegments = {segment(0x1000, 5)};
    cfg.xcp.t1 = 5;
    ecu.answers("f5 ..", {});
    EXPECT_EQ(task().uploadMemory(1, &results), 34U);
    EXPECT_FALSE(task().m_linkLost);
    EXPECT_EQ(reports(), Texts{"mem 10 34"});
}

TEST_F(XcpCheck, PartIsCheckedInStepsWithOneAddress) {
    mcMemoryInfo range = checked(0x1000, 10, 4);
    range.addressExtension = 5;
    ecu.answers("f3 ..", {"ff 01 00 00 0a 0b 0c 0d"});
    EXPECT_EQ(task().checkRange(range, {{0x1000, support::countingBytes(10, 1)}}, &results), 0U);
    EXPECT_EQ(sent(), Texts({"f6 00 00 05 00 10 00 00", "f3 00 00 00 04 00 00 00", "f3 00 00 00 04 00 00 00",
                             "f3 00 00 00 02 00 00 00"}));
    EXPECT_EQ(entries(), Texts({"4096+4 0a / 0a", "4100+4 0a / 1a", "4104+2 0a / 13"}));
}

// As a download of such a block, which sets the address too.
TEST_F(XcpCheck, BlockWithoutBytesSetsTheAddressAlone) {
    EXPECT_EQ(task().checkRange(checked(0x1000, 4), {{0x1002, {}}}, &results), 0U);
    EXPECT_EQ(sent(), Texts{"f6 00 00 00 02 10 00 00"});
    EXPECT_TRUE(results.empty());
}

TEST_F(XcpCheck, WidthFollowsTheKindThatTheEcuNames) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"01", "0a / 05"},
        {"02", "0a 0b / 05 00"},
        {"03", "0a 0b 0c 0d / 05 00 00 00"},
        {"04", "0a 0b / 05 00"},
        {"05", "0a 0b 0c 0d / 05 00 00 00"},
        {"06", "0a 0b 0c 0d / 05 00 00 00"},
        {"0a", "0a 0b 0c 0d / 00 00 00 00"},
        {"00", "0a 0b 0c 0d / 00 00 00 00"},
    };
    for (const auto& [kind, checksums] : rows) {
        results.clear();
        ecu.answers("f3 ..", {"ff " + kind + " 00 00 0a 0b 0c 0d"});
        task().checkRange(checked(0x1000, 4), {{0x1000, {5, 0, 0, 0}}}, &results);
        EXPECT_EQ(entries(), Texts{"4096+4 " + checksums}) << kind;
    }
}

// CRC-16/ARC, CRC-16/CCITT-FALSE and CRC-32 of "123456789": the published check values.
TEST_F(XcpCheck, CrcKindsGiveThePublishedCheckValues) {
    const std::vector<std::uint8_t> digits = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    for (const auto& [kind, expected] :
         std::map<std::string, std::string>{{"07", "3d bb"}, {"08", "b1 29"}, {"09", "26 39 f4 cb"}}) {
        results.clear();
        ecu.answers("f3 ..", {"ff " + kind + " 00 00 00 00 00 00"});
        task().checkRange(checked(0x1000, 9), {{0x1000, digits}}, &results);
        EXPECT_EQ(support::hexText(results.at(0).expected), expected);
    }
}

TEST_F(XcpCheck, TypeZeroSendsNothing) {
    supports("eb");
    mcMemoryInfo range = segment(0x1000, 10, {page(0, true)});
    EXPECT_EQ(task().checkRange(range, {{0x1000, {1}}}, &results), 0U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpCheck, PageIsSelectedAndItsFailureIgnored) {
    mcMemoryInfo range = checked(0x1000, 10);
    range.pages = {page(2, true)};
    range.segmentNumber = 1;
    EXPECT_EQ(task().checkRange(range, {{0x1000, {1}}}, &results), 0U);
    EXPECT_EQ(host.logTexts(3), Texts{"SET_CAL_PAGE not supported"});
    EXPECT_TRUE(host.logTexts(4).empty());
    supports("eb");
    startsAnew();
    ecu.answers("eb ..", {"fe 26"});
    EXPECT_EQ(task().checkRange(range, {{0x1000, {1}}}, &results), 0U);
    EXPECT_EQ(sent(), Texts({"eb 03 01 02", "f6 00 00 00 00 10 00 00", "f3 00 00 00 01 00 00 00"}));
    range.programType = 1;
    EXPECT_EQ(task().checkRange(range, {}, &results), 0U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpCheck, RefusedAddressIsIgnored) {
    ecu.answers("f6 ..", {"fe 24"});
    EXPECT_EQ(task().checkRange(checked(0x1000, 10), {{0x1000, {1}}}, nullptr), 0U);
    EXPECT_EQ(ecu.count("f3 .."), 1U);
    EXPECT_TRUE(host.logTexts(4).empty());
}

TEST_F(XcpCheck, RefusedChecksumIs70) {
    ecu.answersInTurn("f3 ..", {{"ff 01 00 00 01 00 00 00"}, {"fe 31"}});
    EXPECT_EQ(task().checkRange(checked(0x1000, 10, 1), {{0x1000, {1, 2, 3}}}, &results), 70U);
    EXPECT_EQ(host.logTexts(4), Texts{"BuildChecksum failed"});
    EXPECT_EQ(results.size(), 1U);
}

TEST_F(XcpCheck, PartsOutsideTheRangeAreCutAway) {
    EXPECT_EQ(task().checkRange(checked(0x1000, 4), {{0x0FFE, {1, 2, 3}}, {0x2000, {1}}, {0x1002, {4, 5, 6}}},
                                nullptr),
              0U);
    EXPECT_EQ(sent(), Texts({"f6 00 00 00 00 10 00 00", "f3 00 00 00 01 00 00 00", "f6 00 00 00 02 10 00 00",
                             "f3 00 00 00 02 00 00 00"}));
}

TEST_F(XcpCheck, StepIs16384BytesIfNoneIsSet) {
    task().checkRange(checked(0, 20000), {{0, std::vector<std::uint8_t>(16385)}}, nullptr);
    EXPECT_EQ(sent(),
              Texts({"f6 00 00 00 00 00 00 00", "f3 00 00 00 00 40 00 00", "f3 00 00 00 01 00 00 00"}));
}

TEST_F(XcpCheck, CheckOfNothingHasItsCodes) {
    EXPECT_EQ(task().checkMemory({}, 1, &results), 28U);
    EXPECT_EQ(task().checkMemory({{0x1000, {1}}}, 1, &results), 29U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpCheck, BlockOutsideEveryRangeIsNoEntry) {
    cfg.codeSegments = {checked(0x1000, 4)};
    EXPECT_EQ(task().checkMemory({{0x5000, {1}}}, 1, &results), 0U);
    EXPECT_TRUE(results.empty());
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpCheck, FirstFailedRangeEndsTheCheck) {
    cfg.codeSegments = {checked(0x1000, 4), checked(0x2000, 4), checked(0x3000, 4)};
    ecu.answersInTurn("f3 ..", {{"ff 01"}, {"fe 31"}});
    EXPECT_EQ(task().checkMemory({{0x1000, {1}}, {0x2000, {1}}, {0x3000, {1}}}, 1, &results), 70U);
    EXPECT_EQ(ecu.count("f3 .."), 2U);
    EXPECT_EQ(task().checkMemory({{0x1000, {1}}}, 1, nullptr), 0U);
}
