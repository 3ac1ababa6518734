// Memory of a simulated CCP ECU through the exports: uploads, calibration, pages, downloads and checksums.
#include "tests/system/CcpMemoryBench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace systemtest {
namespace {

using sim::ByteOrder;

constexpr int kNotSupported = 72;
constexpr int kSelectPageFailed = 24;
constexpr int kChecksumFailed = 70;
constexpr int kNoBlocks = 28;

class CcpMemoryOrders : public testing::TestWithParam<ByteOrder> {
protected:
    [[nodiscard]] static CcpPair makePair() {
        CcpPair pair = ccpMemoryEcu();
        setByteOrder(pair, GetParam());
        return pair;
    }
};

INSTANTIATE_TEST_SUITE_P(All, CcpMemoryOrders, testing::Values(ByteOrder::intel, ByteOrder::motorola),
                         [](const auto& order) {
                             return order.param == ByteOrder::intel ? "LittleEndian" : "BigEndian";
                         });

// Upload

TEST_P(CcpMemoryOrders, UploadBringsEveryRangeWithRisingProgress) {
    CcpMemoryBench bench(makePair());
    ASSERT_EQ(bench.uploads(mcMemCode | mcMemDataWorking), 0);
    const std::vector<mcMemoryData> data = bench.host.memoryData();
    ASSERT_EQ(data.size(), 2U);
    EXPECT_EQ(data[0].address, kCodeBase);
    EXPECT_EQ(data[0].length, kCodeSize);
    EXPECT_EQ(data[0].data, bench.expected.at(kCodeBase, kCodeSize));
    EXPECT_EQ(data[1].address, kCcpWorkingPage);
    EXPECT_EQ(data[1].data, bench.expected.at(kCcpWorkingPage, kCcpPageSize));
    expectRisingTo100(CcpMemoryBench::takeProgress(kUploadPercent));
    EXPECT_EQ(bench.pageResult(), 0);
    bench.expected.expectIn(bench.ecu);
}

TEST_P(CcpMemoryOrders, UploadOfTheReferencePageIsThatOfTheDataSegments) {
    CcpMemoryBench bench(makePair());
    ASSERT_EQ(bench.uploads(mcMemDataReference), 0);
    ASSERT_EQ(bench.host.memoryData().size(), 1U);
    EXPECT_EQ(bench.host.memoryData()[0].data, bench.expected.at(kCcpWorkingPage, kCcpPageSize));
}

// Calibration

TEST_P(CcpMemoryOrders, WritesAndReadsVariablesOfEverySize) {
    CcpMemoryBench bench(makePair());
    std::uint32_t address = kCcpWorkingPage + 1;
    for (const std::size_t size : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 11U, 64U, 255U}) {
        const Bytes bytes = noise(size, address);
        EXPECT_EQ(bench.writes(address, bytes), 0);
        bench.expected.put(address, bytes);
        EXPECT_EQ(bench.reads(address, static_cast<std::uint32_t>(size)), bytes) << size;
        address += static_cast<std::uint32_t>(size) + 1;
    }
    bench.expected.expectIn(bench.ecu);
}

TEST(CcpMemoryWrite, Of256BytesWritesNothingAndOf300BytesWrites44) {
    CcpMemoryBench bench(ccpMemoryEcu());
    EXPECT_EQ(bench.writes(kCcpWorkingPage, noise(256)), 0);
    bench.expected.expectIn(bench.ecu);
    const Bytes bytes = noise(300);
    EXPECT_EQ(bench.writes(kCcpWorkingPage, bytes), 0);
    bench.expected.put(kCcpWorkingPage, Bytes(bytes.begin(), bytes.begin() + 44));
    bench.expected.expectIn(bench.ecu);
}

TEST(CcpMemoryWrite, ThatTheEcuRefusesChangesNothingAndCountsAsDone) {
    CcpMemoryBench bench(ccpMemoryEcu());
    EXPECT_EQ(bench.writes(kCodeBase, {1, 2, 3}), 0) << "flash";
    EXPECT_EQ(bench.host.logCount(3, "Access denied"), 1U);
    ASSERT_EQ(bench.connects(), 0) << "the refusal ended the link";
    EXPECT_EQ(bench.writes(kCodeBase + kCodeSize + kGuardSize - 2, {1, 2, 3}), 0) << "beyond the end";
    bench.expected.expectIn(bench.ecu);
}

TEST(CcpMemoryPages, AreSwitchedByTheirAddresses) {
    CcpMemoryBench bench(ccpMemoryEcu());
    EXPECT_EQ(bench.setsPage(false), 0);
    EXPECT_EQ(bench.ecu.activePage(), (sim::CcpCalPage{.address = kCcpReferencePage}));
    EXPECT_EQ(bench.setsPage(true), 0);
    EXPECT_EQ(bench.ecu.activePage(), (sim::CcpCalPage{.address = kCcpWorkingPage}));
    bench.expected.expectIn(bench.ecu);
}

TEST(CcpMemoryPages, ThatTheEcuDoesNotHaveCannotBeSelected) {
    CcpPair pair = ccpMemoryEcu();
    pair.twin.cfg.ccp.referencePageAddress = kCcpReferencePage + 1;
    CcpMemoryBench bench(pair);
    EXPECT_EQ(bench.setsPage(false), kSelectPageFailed);
    EXPECT_EQ(bench.ecu.activePage(), (sim::CcpCalPage{.address = kCcpWorkingPage}));
}

TEST(CcpMemoryPages, ArePutBackBehindAnUpload) {
    CcpMemoryBench bench(ccpMemoryEcu());
    EXPECT_EQ(bench.setsPage(false), 0);
    ASSERT_EQ(bench.uploads(mcMemDataWorking), 0);
    EXPECT_EQ(bench.pageResult(), 0);
    EXPECT_EQ(bench.ecu.activePage(), (sim::CcpCalPage{.address = kCcpReferencePage}))
        << "the page that the host set last";
}

/// MOVE copies from the address that was set last, here by the selection of the reference page.
TEST_P(CcpMemoryOrders, CopiesTheReferencePageThatWasSelectedToTheWorkingPage) {
    CcpMemoryBench bench(makePair());
    ASSERT_EQ(bench.setsPage(false), 0);
    EXPECT_EQ(bench.copiesPage(), 0);
    bench.expected.put(kCcpWorkingPage, bench.expected.at(kCcpReferencePage, kCcpPageSize));
    bench.expected.expectIn(bench.ecu);
}

TEST(CcpMemoryPages, NeedTheirCommands) {
    CcpPair pair = ccpMemoryEcu();
    forgetPages(pair);
    pair.twin.cfg.supportedCmds.erase(0x19);
    CcpMemoryBench bench(pair);
    bench.record();
    EXPECT_EQ(bench.setsPage(true), kNotSupported);
    EXPECT_EQ(bench.copiesPage(), kNotSupported);
    EXPECT_EQ(bench.recorded(), Bytes());
    bench.expected.expectIn(bench.ecu);
}

// Download

TEST_P(CcpMemoryOrders, DownloadsDataAndNothingBesideItsSegments) {
    CcpMemoryBench bench(makePair());
    const Bytes whole = noise(kCcpPageSize + kGuardSize, 11);
    ASSERT_EQ(bench.downloads(mcMemDataWorking, {{kCcpWorkingPage, whole}}), 0);
    const Bytes inside(whole.begin(), whole.begin() + kCcpPageSize);
    bench.expected.put(kCcpWorkingPage, inside);
    bench.expected.expectIn(bench.ecu);
    expectRisingTo100(CcpMemoryBench::takeProgress(kDownloadPercent));
    const Bytes part = noise(300, 12);
    ASSERT_EQ(bench.downloads(mcMemDataReference, {{kCcpWorkingPage + 57, part}}), 0);
    bench.expected.put(kCcpWorkingPage + 57, part);
    bench.expected.expectIn(bench.ecu);
    ASSERT_EQ(bench.uploads(mcMemDataWorking), 0);
    EXPECT_EQ(bench.host.memoryData()[0].data, bench.expected.at(kCcpWorkingPage, kCcpPageSize));
}

TEST(CcpMemoryDownload, OfNothingOrOutsideTheSegmentsSendsNothing) {
    CcpPair pair = ccpMemoryEcu();
    forgetPages(pair);
    CcpMemoryBench bench(pair);
    bench.record();
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {}), kNoBlocks);
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {{kCcpWorkingPage + kCcpPageSize, {1, 2, 3}}}), 0);
    EXPECT_EQ(bench.recorded(), Bytes());
    bench.expected.expectIn(bench.ecu);
}

// Check

/// The checksum as it comes from the ECU; a big endian one sends its high byte first.
Bytes inHostOrder(Bytes sum, ByteOrder order) {
    if (order == ByteOrder::motorola) {
        std::reverse(sum.begin(), sum.end());
    }
    return sum;
}

TEST_P(CcpMemoryOrders, CheckOfTheCrcsComparesTheEcuWithTheImage) {
    for (const auto& [kind, size] : {std::pair<std::uint8_t, std::uint8_t>{7, 2}, {8, 2}, {9, 4}}) {
        SCOPED_TRACE(int{kind});
        CcpPair pair = makePair();
        pair.ecu.checksum = static_cast<sim::XcpChecksum>(kind);
        pair.ecu.checksumSize = size;
        pair.twin.cfg.codeSegments[0].checksumType = kind;
        pair.twin.cfg.codeSegments[0].checksumBlockSize = 0x3000;
        CcpMemoryBench bench(pair);
        const std::list<mem_buf> image = {{kCodeBase, bench.expected.at(kCodeBase, kCodeSize)}};
        ASSERT_TRUE(bench.ecu.write(kCodeBase + 0x3000, 0, Bytes{0xFF, 0xFF}));
        ASSERT_EQ(bench.checks(mcMemCode, image), 0);
        const std::vector<mcMemoryData> sums = bench.host.memoryData();
        ASSERT_EQ(sums.size(), 3U);
        EXPECT_EQ(inHostOrder(sums[0].data, GetParam()), sums[0].expected);
        EXPECT_NE(inHostOrder(sums[1].data, GetParam()), sums[1].expected) << "two other bytes";
        EXPECT_EQ(inHostOrder(sums[2].data, GetParam()), sums[2].expected);
        EXPECT_EQ(sums[2].length, kCodeSize - 0x6000);
    }
}

TEST(CcpMemoryCheck, OfTheSumsComparesTheEcuWithTheImage) {
    for (const auto& [kind, size] :
         {std::pair<std::uint8_t, std::uint8_t>{1, 1}, {2, 2}, {3, 4}, {4, 2}, {5, 4}, {6, 4}}) {
        SCOPED_TRACE(int{kind});
        CcpPair pair = ccpMemoryEcu();
        pair.ecu.checksum = static_cast<sim::XcpChecksum>(kind);
        pair.ecu.checksumSize = size;
        pair.twin.cfg.codeSegments[0].checksumType = kind;
        CcpMemoryBench bench(pair);
        ASSERT_EQ(bench.checks(mcMemCode, {{kCodeBase, bench.expected.at(kCodeBase, kCodeSize)}}), 0);
        const std::vector<mcMemoryData> sums = bench.host.memoryData();
        ASSERT_EQ(sums.size(), 2U);
        for (const mcMemoryData& sum : sums) {
            EXPECT_EQ(sum.data.size(), size);
            EXPECT_EQ(sum.data, sum.expected);
        }
    }
}

TEST(CcpMemoryCheck, ThatTheEcuRefusesFails) {
    CcpPair pair = ccpMemoryEcu();
    pair.ecu.maxChecksumBlock = 0x100;
    CcpMemoryBench bench(pair);
    const std::list<mem_buf> image = {{kCodeBase, noise(0x101)}};
    EXPECT_EQ(bench.checks(mcMemCode, image), kChecksumFailed);
    EXPECT_EQ(bench.host.logCount(4, "BuildChksum failed"), 1U);
    pair.twin.cfg.codeSegments[0].checksumBlockSize = 0x100;
    bench.reconfigures(pair);
    EXPECT_EQ(bench.checks(mcMemCode, image), 0);
    EXPECT_EQ(bench.host.memoryData().size(), 2U);
}

}  // namespace
}  // namespace systemtest
