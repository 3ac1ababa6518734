// Memory of a simulated ECU through the exports: uploads, calibration, pages, downloads and checksums.
#include "tests/system/MemoryBench.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace systemtest {
namespace {

constexpr int kNotSupported = 72;
constexpr int kPageFailed = 23;
constexpr int kNothingInRange = 29;
constexpr int kDownloadFailed = 35;
constexpr int kChecksumFailed = 70;

struct Form {
    const char* name;
    bool blockMode;
    bool fd;
};

void PrintTo(const Form& form, std::ostream* out) {
    *out << form.name;
}

std::string nameOf(const testing::TestParamInfo<Form>& info) {
    return info.param.name;
}

class MemoryAccessForms : public testing::TestWithParam<Form> {
protected:
    [[nodiscard]] static EcuPair makePair() { return memoryEcu(GetParam().blockMode, GetParam().fd); }
};

INSTANTIATE_TEST_SUITE_P(All, MemoryAccessForms,
                         testing::Values(Form{"Plain", false, false}, Form{"Blocks", true, false},
                                         Form{"FdPlain", false, true}, Form{"FdBlocks", true, true}),
                         nameOf);

// Upload

TEST_P(MemoryAccessForms, UploadBringsEveryRangeWithRisingProgress) {
    MemoryBench bench(makePair());
    ASSERT_EQ(bench.uploads(mcMemCode | mcMemDataReference | mcMemDataWorking), 0);
    const std::vector<mcMemoryData> data = bench.host.memoryData();
    ASSERT_EQ(data.size(), 5U) << "the code, and two pages of two segments";
    EXPECT_EQ(data[0].address, kCodeBase);
    EXPECT_EQ(data[0].length, kCodeSize);
    EXPECT_EQ(data[0].data, bench.ecu.readPage(kCodeSegment, 0));
    EXPECT_EQ(data[1].address, kDataBase);
    EXPECT_EQ(data[1].data, bench.ecu.readPage(kDataSegment, kRamPage));
    EXPECT_EQ(data[2].address, kDataBase);
    EXPECT_EQ(data[2].data, bench.ecu.readPage(kDataSegment, kFlashPage));
    EXPECT_EQ(data[3].data, bench.ecu.readPage(kMoreDataSegment, kRamPage));
    EXPECT_EQ(data[4].address, kMoreDataBase);
    EXPECT_EQ(data[4].data, bench.ecu.readPage(kMoreDataSegment, kFlashPage));
    expectRisingTo100(MemoryBench::takeProgress(kUploadPercent));
    EXPECT_EQ(bench.pageResult(), 0);
    EXPECT_EQ(bench.ecu.read(kDataBase, 0, kDataSize), bench.ecu.readPage(kDataSegment, kRamPage))
        << "the working page was put back";
    bench.expected.expectIn(bench.ecu);
}

TEST(MemoryUpload, OfPagesPicksThemByTheirAccess) {
    MemoryBench bench(memoryEcu());
    ASSERT_EQ(bench.uploads(mcMemDataReference), 0);
    ASSERT_EQ(bench.host.memoryData().size(), 2U);
    EXPECT_EQ(bench.host.memoryData()[0].data, bench.ecu.readPage(kDataSegment, kFlashPage));
    ASSERT_EQ(bench.uploads(mcMemDataWorking), 0);
    ASSERT_EQ(bench.host.memoryData().size(), 2U);
    EXPECT_EQ(bench.host.memoryData()[0].data, bench.ecu.readPage(kDataSegment, kRamPage));
}

TEST(MemoryUpload, ThatThePagesRefuseFails) {
    EcuPair pair = memoryEcu();
    pair.cfg.dataSegments[1].pages[1].pageNumber = 9;
    MemoryBench bench(pair);
    EXPECT_EQ(bench.uploads(mcMemDataReference), kPageFailed);
    EXPECT_EQ(bench.host.logCount(4, "SET_CAL_PAGE failed"), 1U);
    forgetPages(pair);
    bench.host.configure(pair.cfg);
    ASSERT_EQ(bench.connects(), 0);
    EXPECT_EQ(bench.uploads(mcMemDataReference), kPageFailed);
    EXPECT_EQ(bench.pageResult(), kNotSupported);
}

// Calibration

TEST_P(MemoryAccessForms, WritesAndReadsVariablesOfEverySize) {
    MemoryBench bench(makePair());
    std::uint32_t address = kDataBase + 1;
    for (const std::size_t size : {1U, 2U, 3U, 4U, 6U, 7U, 8U, 13U, 62U, 63U, 64U, 255U}) {
        const Bytes bytes = noise(size, address);
        EXPECT_EQ(bench.writes(address, bytes), 0);
        bench.expected.put(kDataSegment, kRamPage, address, bytes);
        EXPECT_EQ(bench.reads(address, static_cast<std::uint32_t>(size)), bytes) << size;
        address += static_cast<std::uint32_t>(size) + 1;
    }
    bench.expected.expectIn(bench.ecu);
}

TEST(MemoryWrite, Of300BytesWrites44) {
    MemoryBench bench(memoryEcu());
    const Bytes bytes = noise(300);
    EXPECT_EQ(bench.writes(kDataBase, bytes), 0);
    bench.expected.put(kDataSegment, kRamPage, kDataBase, Bytes(bytes.begin(), bytes.begin() + 44));
    bench.expected.expectIn(bench.ecu);
}

TEST(MemoryWrite, ThatTheEcuRefusesChangesNothingAndCountsAsDone) {
    MemoryBench bench(memoryEcu());
    EXPECT_EQ(bench.writes(kCodeBase, {1, 2, 3}), 0) << "flash";
    EXPECT_EQ(bench.writes(kDataBase + kDataSize - 2, {1, 2, 3}), 0) << "beyond the end";
    bench.expected.expectIn(bench.ecu);
}

TEST(MemoryPages, AreSwitchedForEcuAndToolAlike) {
    MemoryBench bench(memoryEcu());
    EXPECT_EQ(bench.setsPage(false), 0);
    EXPECT_EQ(bench.ecu.read(kDataBase, 0, kDataSize), bench.ecu.readPage(kDataSegment, kFlashPage));
    EXPECT_EQ(bench.ecu.read(kDataBase, 0, kDataSize, sim::MemoryView::ecu),
              bench.ecu.readPage(kDataSegment, kFlashPage));
    EXPECT_EQ(bench.writes(kDataBase, {1, 2, 3}), 0);
    bench.expected.expectIn(bench.ecu);
    EXPECT_EQ(bench.setsPage(true), 0);
    EXPECT_EQ(bench.ecu.read(kDataBase, 0, kDataSize), bench.ecu.readPage(kDataSegment, kRamPage));
    EXPECT_EQ(bench.ecu.read(kMoreDataBase, 0, kMoreDataSize),
              bench.ecu.readPage(kMoreDataSegment, kRamPage));
}

TEST(MemoryPages, CopyTheReferenceToTheWorkingPage) {
    EcuPair pair = memoryEcu();
    MemoryBench bench(pair);
    EXPECT_EQ(bench.copiesPage(), 0);
    bench.expected.put(kDataSegment, kRamPage, kDataBase, bench.ecu.readPage(kDataSegment, kFlashPage));
    bench.expected.expectIn(bench.ecu);
    pair.cfg.supportedCmds.erase(0xE4);
    pair.cfg.supportedCmds.erase(0xEB);
    bench.host.configure(pair.cfg);
    ASSERT_EQ(bench.connects(), 0);
    EXPECT_EQ(bench.copiesPage(), kNotSupported);
    EXPECT_EQ(bench.setsPage(true), kNotSupported);
    bench.expected.expectIn(bench.ecu);
}

// Download

TEST_P(MemoryAccessForms, DownloadsDataAndNothingBesideItsSegments) {
    MemoryBench bench(makePair());
    const Bytes whole = noise(kDataSize + 2 * kGuardSize, 11);
    const Bytes part = noise(123, 12);
    const std::list<mem_buf> blocks = {{kDataBase - kGuardSize, whole}, {kMoreDataBase + 57, part}};
    ASSERT_EQ(bench.downloads(mcMemDataWorking, blocks), 0);
    bench.expected.put(kDataSegment, kRamPage, kDataBase,
                       Bytes(whole.begin() + kGuardSize, whole.begin() + kGuardSize + kDataSize));
    bench.expected.put(kMoreDataSegment, kRamPage, kMoreDataBase + 57, part);
    bench.expected.expectIn(bench.ecu);
    expectRisingTo100(MemoryBench::takeProgress(kDownloadPercent));
}

TEST(MemoryDownload, SelectsPage0OfABlockAtTheStartOfItsSegment) {
    MemoryBench bench(memoryEcu());
    ASSERT_EQ(bench.setsPage(false), 0);
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {{kDataBase + 1, noise(7)}}), kDownloadFailed)
        << "flash is no place for DOWNLOAD";
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {{kDataBase + 1, noise(6)}}), 0)
        << "the last frame of a step counts as sent";
    bench.expected.expectIn(bench.ecu);
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {{kDataBase, {1, 2, 3}}}), 0);
    bench.expected.put(kDataSegment, kRamPage, kDataBase, {1, 2, 3});
    bench.expected.expectIn(bench.ecu);
}

TEST(MemoryDownload, OfABlockOutsideTheSegmentsSendsNothing) {
    MemoryBench bench(memoryEcu());
    bench.record();
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {{kDataBase - 3, {1, 2, 3}}}), kNothingInRange);
    EXPECT_EQ(bench.recorded(), (Bytes{0xEB})) << "for the page that is put back";
    bench.expected.expectIn(bench.ecu);
}

/// Steps of MAX_BS times 7 bytes go in frames of 6, so that they have more frames than the ECU told.
TEST(MemoryDownload, InBlocksThatOverrunTheEcuFails) {
    EcuPair pair = memoryEcu(true);
    pair.ecu.maxBs = 10;
    MemoryBench bench(pair);
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {{kDataBase, noise(70)}}), kDownloadFailed);
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {{kDataBase, noise(60)}}), 0);
    bench.expected.put(kDataSegment, kRamPage, kDataBase, noise(60));
    bench.expected.expectIn(bench.ecu);
}

/// A step of MAX_BS times 7 bytes that is a multiple of 6, so that all frames of a block end equally far
/// apart.
TEST(MemoryDownload, KeepsTheTimeBetweenFramesThatTheEcuNeeds) {
    EcuPair pair = memoryEcu(true);
    pair.ecu.maxBs = 6;
    pair.ecu.blockFrames = 7;
    pair.ecu.minSt = 5;
    sim::VirtualBusConfig config = realTimeBus();
    config.maxLag = 100'000'000'000;  // a machine that stalls must not make the pauses shorter
    MemoryBench bench(pair, config);
    const Bytes bytes = noise(42 * 20);
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {{kDataBase, bytes}}), 0);
    bench.expected.put(kDataSegment, kRamPage, kDataBase, bytes);
    bench.expected.expectIn(bench.ecu);
}

TEST(MemoryDownload, FasterThanTheEcuNeedsFails) {
    EcuPair pair = memoryEcu(true);
    pair.ecu.minSt = 255;
    MemoryBench bench(pair);  // on a fast bus no time passes between frames
    EXPECT_EQ(bench.downloads(mcMemDataWorking, {{kDataBase, noise(12)}}), kDownloadFailed);
    bench.expected.expectIn(bench.ecu);
}

// Check

/// Holds the checksums of the ECU against those of the image.
void expectEqualSums(const std::vector<mcMemoryData>& sums, std::size_t count) {
    ASSERT_EQ(sums.size(), count);
    for (const mcMemoryData& sum : sums) {
        EXPECT_FALSE(sum.data.empty());
        EXPECT_EQ(sum.data, sum.expected);
    }
}

TEST(MemoryCheck, OfEveryKindComparesTheEcuWithTheImage) {
    for (std::uint8_t kind = 1; kind <= 9; ++kind) {
        SCOPED_TRACE(int{kind});
        EcuPair pair = memoryEcu();
        pair.ecu.checksum = static_cast<sim::XcpChecksum>(kind);
        pair.cfg.codeSegments[0].checksumBlockSize = 0x3000;
        MemoryBench bench(pair);
        const std::list<mem_buf> image = {{kCodeBase, bench.ecu.readPage(kCodeSegment, 0)}};
        ASSERT_EQ(bench.checks(mcMemCode, image), 0);
        expectEqualSums(bench.host.memoryData(), 3);
        EXPECT_EQ(bench.host.memoryData()[2].length, kCodeSize - 0x6000);
        ASSERT_TRUE(bench.ecu.write(kCodeBase + 0x3000, 0, Bytes{0xFF, 0xFF}));
        ASSERT_EQ(bench.checks(mcMemCode, image), 0);
        const std::vector<mcMemoryData> sums = bench.host.memoryData();
        ASSERT_EQ(sums.size(), 3U);
        EXPECT_EQ(sums[0].data, sums[0].expected);
        EXPECT_NE(sums[1].data, sums[1].expected) << "two other bytes";
        EXPECT_EQ(sums[2].data, sums[2].expected);
    }
}

TEST(MemoryCheck, OfPagesComparesEachWithTheImage) {
    MemoryBench bench(memoryEcu());
    const std::list<mem_buf> image = {{kDataBase, bench.ecu.readPage(kDataSegment, kFlashPage)}};
    ASSERT_EQ(bench.checks(mcMemDataReference | mcMemDataWorking, image), 0);
    const std::vector<mcMemoryData> sums = bench.host.memoryData();
    ASSERT_EQ(sums.size(), 2U);
    EXPECT_NE(sums[0].data, sums[0].expected) << "the page of RAM";
    EXPECT_EQ(sums[1].data, sums[1].expected);
}

TEST(MemoryCheck, ThatTheEcuRefusesFails) {
    EcuPair pair = memoryEcu();
    pair.ecu.maxChecksumBlock = 0x100;
    MemoryBench bench(pair);
    const std::list<mem_buf> image = {{kCodeBase, noise(0x101)}};
    EXPECT_EQ(bench.checks(mcMemCode, image), kChecksumFailed);
    EXPECT_EQ(bench.host.logCount(4, "BuildChecksum failed"), 1U);
    pair.cfg.codeSegments[0].checksumBlockSize = 0x100;
    bench.host.configure(pair.cfg);
    ASSERT_EQ(bench.connects(), 0);
    EXPECT_EQ(bench.checks(mcMemCode, image), 0);
    EXPECT_EQ(bench.host.memoryData().size(), 2U);
}

}  // namespace
}  // namespace systemtest
