#include "transport/MemoryTask.h"

#include "tests/support/HexText.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestHost.h"

#include <sstream>

#include <gtest/gtest.h>

using support::MemResult;
using Texts = std::vector<std::string>;

namespace {

mcMemoryInfo range(std::uint32_t address, std::uint32_t length, std::uint32_t checksumType = 1,
                   std::uint32_t blockSize = 0) {
    mcMemoryInfo made;
    made.address = address;
    made.length = length;
    made.checksumType = checksumType;
    made.checksumBlockSize = blockSize;
    return made;
}

/// The parts and steps of a walk as "@1000 1000+4 1004+2".
std::string walk(const mcMemoryInfo& walked, const std::list<mem_buf>& blocks) {
    std::ostringstream shown;
    shown << std::hex;
    const std::uint32_t result = walkChecksums(
        walked, blocks, [&shown](std::uint32_t address) { shown << "@" << address << " "; },
        [&shown](const ChecksumStep& step) {
            shown << step.address << "+" << step.length << "=" << int{*step.data} << " ";
            return 0U;
        });
    return shown.str() + std::to_string(result);
}

class MemoryTask : public testing::Test {
protected:
    const MemResultFun report = support::TestHost::callBacks().memResultFun;
    support::TestHost host;
};

}  // namespace

TEST_F(MemoryTask, PercentInARangeIsWholeNumbered) {
    EXPECT_EQ(percentInRange(0, 3), 0U);
    EXPECT_EQ(percentInRange(1, 3), 33U);
    EXPECT_EQ(percentInRange(29, 100), 29U);
    EXPECT_EQ(percentInRange(4'000'000'000U, 4'000'000'001U), 99U);
    EXPECT_EQ(percentInRange(5, 3), 100U);
}

// 29 / 100 * 100 is a little below 29 in floating point.
TEST_F(MemoryTask, PercentOfAllIsTheWholePartOfAFloatingPointNumber) {
    EXPECT_EQ(percentOfAll(29, 100), 28U);
    EXPECT_EQ(percentOfAll(1, 3), 33U);
    EXPECT_EQ(percentOfAll(3, 3), 100U);
    EXPECT_EQ(percentOfAll(5, 3), 100U);
}

TEST_F(MemoryTask, PercentOfNothingIsNotReported) {
    reportPercent(report, 13, 0, 0);
    reportPercent(nullptr, 13, 1, 2);
    EXPECT_TRUE(host.journal().empty());
    reportPercent(report, 13, 1, 2);
    EXPECT_EQ(host.journal(), Texts{"mem 13 50"});
}

TEST_F(MemoryTask, RangeProgressNeedsEveryPart) {
    const std::uint32_t total = 200;
    const std::uint32_t nothing = 0;
    std::uint32_t done = 10;
    reportRangeProgress(nullptr, 5, &total, &done);
    reportRangeProgress(report, 5, nullptr, &done);
    reportRangeProgress(report, 5, &total, nullptr);
    reportRangeProgress(report, 5, &nothing, &done);
    EXPECT_EQ(done, 10U);
    EXPECT_TRUE(host.journal().empty());
    reportRangeProgress(report, 40, &total, &done);
    EXPECT_EQ(done, 50U);
    EXPECT_EQ(host.journal(), Texts{"mem 12 25"});
}

TEST_F(MemoryTask, FileThatMakesTheReaderThrowHasNoBlock) {
    const support::TempFolder folder;
    const std::string path = folder.file("truncated.hex", ":1\n");
    EXPECT_THROW(ParseMemFile(path), std::exception);
    EXPECT_TRUE(readImage(path).empty());
}

TEST_F(MemoryTask, BytesOfAllBlocksAreCounted) {
    EXPECT_EQ(totalBytes({}), 0U);
    EXPECT_EQ(totalBytes({{0, {1, 2}}, {9, {}}, {5, {3}}}), 3U);
}

TEST_F(MemoryTask, UploadOfNoRangeIs26WithoutACallback) {
    const auto never = [](const auto&, auto*, const auto*, auto*) { return 99U; };
    EXPECT_EQ(uploadRanges({}, never, nullptr, report), 26U);
    EXPECT_TRUE(host.journal().empty());
}

TEST_F(MemoryTask, UploadReportsProgressBehindEachRangeAndTheResultAtTheEnd) {
    const auto upload = [](const mcMemoryInfo& one, auto* results, const auto* total, auto* done) {
        EXPECT_EQ(*total, 100U);
        *done += one.length;
        results->push_back({one.address, one.length, {}, {}, {}});
        return 0U;
    };
    std::vector<mcMemoryData> results;
    EXPECT_EQ(uploadRanges({range(0x10, 29), range(0x20, 71)}, upload, &results, report), 0U);
    EXPECT_EQ(host.journal(), Texts({"mem 12 28", "mem 12 100", "mem 10 0 +2"}));
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(host.memResults().back().data[1].address, 0x20U);
    EXPECT_EQ(uploadRanges({range(0x10, 29), range(0x20, 71)}, upload, nullptr, nullptr), 0U);
}

TEST_F(MemoryTask, FailedRangeEndsTheUploadWithItsCode) {
    const auto upload = [](const mcMemoryInfo& one, auto*, const auto*, auto*) {
        return one.address == 0x20 ? 37U : 0U;
    };
    EXPECT_EQ(uploadRanges({range(0x10, 1), range(0x20, 1), range(0x30, 1)}, upload, nullptr, report), 37U);
    EXPECT_EQ(host.journal(), Texts({"mem 12 0", "mem 10 37"}));
}

TEST_F(MemoryTask, ChecksumWalkGoesThroughEachPartInSteps) {
    const mem_buf block{0x1000, support::countingBytes(10, 1)};
    EXPECT_EQ(walk(range(0x1000, 10, 1, 4), {block}), "@1000 1000+4=1 1004+4=5 1008+2=9 0");
    EXPECT_EQ(walk(range(0x1004, 3, 1, 0), {block}), "@1004 1004+3=5 0");
    EXPECT_EQ(walk(range(0x1000, 10, 0, 4), {block}), "0");
    EXPECT_EQ(walk(range(0x2000, 10, 1, 4), {block}), "0");
    EXPECT_EQ(walk(range(0x1000, 10, 1, 64), {{0x1008, {7, 8, 9}}, {0x1000, {}}, {0x1000, {1}}}),
              "@1008 1008+2=7 @1000 @1000 1000+1=1 0");
}

TEST_F(MemoryTask, ChecksumStepIs16384BytesIfNoneIsSet) {
    const mem_buf block{0, std::vector<std::uint8_t>(16385, 1)};
    EXPECT_EQ(walk(range(0, 20000), {block}), "@0 0+4000=1 4000+1=1 0");
}

TEST_F(MemoryTask, FailedStepEndsTheWalk) {
    int steps = 0;
    const auto failing = [&steps](const ChecksumStep&) { return ++steps == 2 ? 70U : 0U; };
    const auto ignore = [](std::uint32_t) {};
    EXPECT_EQ(walkChecksums(range(0, 9, 1, 1), {{0, {1, 2, 3}}}, ignore, failing), 70U);
    EXPECT_EQ(steps, 2);
}

TEST_F(MemoryTask, EntryOfACheckHoldsBothChecksums) {
    const std::vector<std::uint8_t> image = {0xFF, 0x02, 0x03};
    const mcMemoryData entry = checksumEntry({0x1000, 3, image.data()}, 2, {0x0A, 0x0B});
    EXPECT_EQ(entry.address, 0x1000U);
    EXPECT_EQ(entry.length, 3U);
    EXPECT_EQ(support::hexText(entry.data), "0a 0b");
    EXPECT_EQ(support::hexText(entry.expected), "04 01");
    EXPECT_TRUE(entry.actual.empty());
}

TEST_F(MemoryTask, BytesOfANumberComeLeastSignificantFirst) {
    EXPECT_EQ(support::hexText(littleEndianBytes(0x11223344, 4)), "44 33 22 11");
    EXPECT_EQ(support::hexText(littleEndianBytes(0x11223344, 1)), "44");
    EXPECT_EQ(support::hexText(littleEndianBytes(5, 0)), "");
}
