// Erasing, programming and checking the flash of a simulated ECU with images that another program made.
#include "tests/support/TempFolder.h"
#include "tests/system/MemoryBench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <string>

namespace systemtest {
namespace {

constexpr int kProgramFailed = 61;
constexpr int kNothingInRange = 29;
constexpr int kDownloadFailed = 35;
constexpr int kPageFailed = 23;
constexpr int kNotSupported = 72;

#define NEEDS_OBJCOPY()                                             \
    if (std::system("command -v objcopy >/dev/null 2>&1") != 0) {   \
        GTEST_SKIP() << "objcopy is not installed on this machine"; \
    }

/// Images of the machine code of the library itself.
class ImageFiles {
public:
    /// The code of the library as a file of that name, beginning at @p address.
    std::string make(const std::string& name, std::uint32_t address) {
        const bool hex = name.ends_with(".hex");
        return run(std::string(hex ? "-O ihex" : "-O srec") +
                       " --change-section-address .text=" + std::to_string(address),
                   name);
    }

    /// The same as bare bytes.
    Bytes code() {
        const std::string content = support::contentOf(run("-O binary", "code.bin"));
        return {content.begin(), content.end()};
    }

    /// @p bytes as a file of that name, beginning at @p address.
    std::string convert(const std::string& name, const Bytes& bytes, std::uint32_t address) {
        const std::string raw = m_folder.file("raw.bin", std::string(bytes.begin(), bytes.end()));
        const bool hex = name.ends_with(".hex");
        return command("objcopy -I binary " + std::string(hex ? "-O ihex" : "-O srec") +
                           " --change-addresses " + std::to_string(address) + " '" + raw + "' ",
                       name);
    }

    /// Both files behind each other.
    std::string join(const std::string& name, const std::string& first, const std::string& second) {
        return m_folder.file(name, support::contentOf(first) + support::contentOf(second));
    }

private:
    std::string run(const std::string& options, const std::string& name) {
        return command("objcopy -j .text " + options + " '" TALVEX_LIBRARY_FILE "' ", name);
    }

    std::string command(const std::string& text, const std::string& name) {
        EXPECT_EQ(std::system((text + "'" + m_folder.path(name) + "'").c_str()), 0) << text;
        return m_folder.path(name);
    }

    support::TempFolder m_folder;
};

Bytes firstOf(const Bytes& bytes, std::size_t size) {
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(size, bytes.size()))};
}

struct Form {
    const char* name;
    bool blockMode;
    bool fd;
    const char* file;
};

void PrintTo(const Form& form, std::ostream* out) {
    *out << form.name;
}

std::string nameOf(const testing::TestParamInfo<Form>& info) {
    return info.param.name;
}

class FlashXcpForms : public testing::TestWithParam<Form> {
protected:
    void SetUp() override { NEEDS_OBJCOPY(); }
    [[nodiscard]] static EcuPair makePair() { return memoryEcu(GetParam().blockMode, GetParam().fd); }
};

INSTANTIATE_TEST_SUITE_P(All, FlashXcpForms,
                         testing::Values(Form{"Plain", false, false, "code.hex"},
                                         Form{"Blocks", true, false, "code.s19"},
                                         Form{"FdPlain", false, true, "code.s19"},
                                         Form{"FdBlocks", true, true, "code.hex"}),
                         nameOf);

/// The image begins inside the code segment and runs beyond its end.
TEST_P(FlashXcpForms, ErasesProgramsAndChecksAnImageOfObjcopy) {
    constexpr std::uint32_t kStart = 0x45;
    ImageFiles files;
    const Bytes code = files.code();
    ASSERT_GT(code.size(), kCodeSize);
    const std::list<mem_buf> image = ParseMemFile(files.make(GetParam().file, kCodeBase + kStart));
    EcuPair pair = makePair();
    forgetPages(pair);
    MemoryBench bench(pair);

    ASSERT_EQ(bench.erases(), 0);
    EXPECT_EQ(bench.pageResult(), kNotSupported);
    bench.expected.clear(kCodeSegment, kRamPage, kCodeBase, kCodeSize);
    bench.expected.expectIn(bench.ecu);
    EXPECT_FALSE(bench.ecu.connected()) << "PROGRAM_RESET ends the session";

    ASSERT_EQ(bench.connects(), 0);
    ASSERT_EQ(bench.downloads(mcMemCode, image), 0);
    const Bytes programmed = firstOf(code, kCodeSize - kStart);
    bench.expected.put(kCodeSegment, kRamPage, kCodeBase + kStart, programmed);
    bench.expected.expectIn(bench.ecu);
    EXPECT_FALSE(bench.ecu.programming());
    expectRisingTo100(MemoryBench::takeProgress(kDownloadPercent));

    ASSERT_EQ(bench.connects(), 0);
    ASSERT_EQ(bench.checks(mcMemCode, image), 0);
    const std::vector<mcMemoryData> sums = bench.host.memoryData();
    ASSERT_EQ(sums.size(), 2U);
    EXPECT_EQ(sums[0].length + sums[1].length, programmed.size());
    EXPECT_EQ(sums[0].data, sums[0].expected);
    EXPECT_EQ(sums[1].data, sums[1].expected);
}

TEST_P(FlashXcpForms, ForcesAnImageIntoTheFlashOfTwoSegments) {
    ImageFiles files;
    const Bytes code = firstOf(files.code(), kDataSize + 0x100);
    const Bytes more = noise(0x123, 5);
    const std::string path =
        files.join(std::string("all") + (GetParam().fd ? ".hex" : ".s19"),
                   files.convert(GetParam().fd ? "a.hex" : "a.s19", code, kDataBase),
                   files.convert(GetParam().fd ? "b.hex" : "b.s19", more, kMoreDataBase + 0x10));
    EcuPair pair = makePair();
    // The first pass programs the second segment as well, ahead of its own clear.
    for (std::uint8_t& cell : pair.ecu.memory[kMoreDataSegment].pages[kFlashPage].bytes) {
        cell = 0xFF;
    }
    MemoryBench bench(pair);
    ASSERT_EQ(bench.forces(path), 0);
    bench.expected.put(kDataSegment, kFlashPage, kDataBase, firstOf(code, kDataSize));
    bench.expected.clear(kMoreDataSegment, kFlashPage, kMoreDataBase, kMoreDataSize);
    bench.expected.put(kMoreDataSegment, kFlashPage, kMoreDataBase + 0x10, more);
    bench.expected.expectIn(bench.ecu);
    EXPECT_FALSE(bench.ecu.connected());
    EXPECT_EQ(bench.ecu.counters().commands[0xD1], 2U) << "each segment is cleared";
}

class FlashXcp : public testing::Test {
protected:
    void SetUp() override { NEEDS_OBJCOPY(); }
    ImageFiles m_files;
};

/// A second segment that still holds another program cannot take the new one in the first pass, yet does in
/// its own.
TEST_F(FlashXcp, AForcedImageOfTwoSegmentsReportsThePassThatFailed) {
    const Bytes first = noise(0x80, 5);
    const Bytes second = noise(0x90, 6);
    const std::string path = m_files.join("all.hex", m_files.convert("a.hex", first, kDataBase),
                                          m_files.convert("b.hex", second, kMoreDataBase));
    MemoryBench bench(memoryEcu());
    EXPECT_EQ(bench.forces(path), kProgramFailed);
    EXPECT_EQ(bench.host.logCount(4, "Program Fegment Failed:" + std::to_string(kMoreDataBase)), 1U);
    bench.expected.clear(kDataSegment, kFlashPage, kDataBase, kDataSize);
    bench.expected.put(kDataSegment, kFlashPage, kDataBase, first);
    bench.expected.clear(kMoreDataSegment, kFlashPage, kMoreDataBase, kMoreDataSize);
    bench.expected.put(kMoreDataSegment, kFlashPage, kMoreDataBase, second);
    bench.expected.expectIn(bench.ecu);
    ASSERT_EQ(bench.connects(), 0);
    EXPECT_EQ(bench.forces(path), 0) << "what holds the new program already takes it again";
    bench.expected.expectIn(bench.ecu);
}

TEST_F(FlashXcp, AForcedImageBesideTheSegmentsLeavesThemCleared) {
    MemoryBench bench(memoryEcu());
    EXPECT_EQ(bench.forces(m_files.convert("out.hex", {1, 2, 3}, kDataBase - 3)), kNothingInRange);
    bench.expected.clear(kDataSegment, kFlashPage, kDataBase, kDataSize);
    bench.expected.expectIn(bench.ecu);
    EXPECT_FALSE(bench.ecu.connected());
}

TEST_F(FlashXcp, CodeThatWasNotErasedIsNotProgrammed) {
    EcuPair pair = memoryEcu();
    forgetPages(pair);
    MemoryBench bench(pair);
    EXPECT_EQ(bench.downloads(mcMemCode, {{kCodeBase + 1, Bytes(7, 0xFF)}}), kDownloadFailed);
    bench.expected.expectIn(bench.ecu);
    EXPECT_TRUE(bench.ecu.programming()) << "no PROGRAM_RESET after a failure";
}

TEST_F(FlashXcp, WhatWasErasedStaysSoOverSessions) {
    EcuPair pair = memoryEcu();
    forgetPages(pair);
    MemoryBench bench(pair);
    ASSERT_EQ(bench.erases(), 0);
    ASSERT_EQ(bench.connects(), 0);
    ASSERT_EQ(bench.downloads(mcMemCode, {{kCodeBase, {1, 2, 3}}}), 0);
    ASSERT_EQ(bench.connects(), 0);
    ASSERT_EQ(bench.downloads(mcMemCode, {{kCodeBase + 3, {4, 5, 6}}}), 0);
    bench.expected.clear(kCodeSegment, kRamPage, kCodeBase, kCodeSize);
    bench.expected.put(kCodeSegment, kRamPage, kCodeBase, {1, 2, 3, 4, 5, 6});
    bench.expected.expectIn(bench.ecu);
}

/// The rest of a block of code goes as DOWNLOAD_NEXT, which an ECU of the standard does not take for it.
TEST_F(FlashXcp, BlocksOfCodeNeedAnEcuThatTakesDownloadNext) {
    EcuPair pair = memoryEcu(true);
    pair.ecu.program.takesDownloadNext = false;
    forgetPages(pair);
    MemoryBench bench(pair);
    ASSERT_EQ(bench.erases(), 0);
    ASSERT_EQ(bench.connects(), 0);
    EXPECT_EQ(bench.downloads(mcMemCode, {{kCodeBase, noise(7)}}), kDownloadFailed);
    ASSERT_EQ(bench.connects(), 0);
    EXPECT_EQ(bench.downloads(mcMemCode, {{kCodeBase, noise(6)}}), 0) << "a block of one frame";
}

/// The library puts the page back after each of these, which the ECU does not answer after a PROGRAM_RESET.
TEST_F(FlashXcp, ThePageCannotBePutBackAfterAReset) {
    EcuPair pair = memoryEcu();
    pair.cfg.xcp.t1 = 250;
    MemoryBench bench(pair);
    EXPECT_EQ(bench.erases(), 0);
    EXPECT_EQ(bench.pageResult(), kPageFailed);
    ASSERT_EQ(bench.connects(), 0);
    EXPECT_EQ(bench.setsPage(true), 0);
}

TEST_F(FlashXcp, WaitsForAFlashThatIsSlow) {
    for (const sim::XcpFlashAnswer answer : {sim::XcpFlashAnswer::whenDone, sim::XcpFlashAnswer::pending}) {
        EcuPair pair = memoryEcu();
        pair.ecu.program.answer = answer;
        pair.ecu.program.flash.clearTime = 40'000'000;
        pair.ecu.program.flash.programTime = 2'000'000;
        pair.ecu.program.pendingPeriod = 15'000'000;
        MemoryBench bench(pair);
        const sim::Time before = bench.bus.now();
        ASSERT_EQ(bench.forces(m_files.convert("slow.hex", noise(1'000), kDataBase)), kNothingInRange)
            << "nothing for the second segment";
        bench.expected.clear(kDataSegment, kFlashPage, kDataBase, kDataSize);
        bench.expected.put(kDataSegment, kFlashPage, kDataBase, noise(1'000));
        bench.expected.clear(kMoreDataSegment, kFlashPage, kMoreDataBase, kMoreDataSize);
        bench.expected.expectIn(bench.ecu);
        // 8 sectors and one, and five blocks.
        EXPECT_GE(bench.bus.now() - before, 9 * pair.ecu.program.flash.clearTime + 10'000'000);
    }
}

/// Each PROGRAM but the first meets a flash that is at work, waits 20 ms for it, and goes out once more.
TEST_F(FlashXcp, RepeatsWhatABusyFlashRefused) {
    EcuPair pair = memoryEcu();
    pair.cfg.xcp.retryCount = 50;
    pair.cfg.xcp.t7 = 20;
    pair.ecu.program.answer = sim::XcpFlashAnswer::atOnce;
    pair.ecu.program.flash.clearTime = 1'000'000;
    pair.ecu.program.flash.programTime = 100'000'000;
    forgetPages(pair);
    MemoryBench bench(pair, realTimeBus());
    ASSERT_EQ(bench.erases(), 0);
    ASSERT_EQ(bench.connects(), 0);
    ASSERT_EQ(bench.downloads(mcMemCode, {{kCodeBase, noise(30)}}), 0);
    bench.expected.clear(kCodeSegment, kRamPage, kCodeBase, kCodeSize);
    bench.expected.put(kCodeSegment, kRamPage, kCodeBase, noise(30));
    bench.expected.expectIn(bench.ecu);
    // Steps of 7 bytes go as 6 and 1: 30 bytes are 9 frames.
    EXPECT_GT(bench.ecu.counters().commands[0xD0], 9U);
}

}  // namespace
}  // namespace systemtest
