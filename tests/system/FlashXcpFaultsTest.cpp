// An ECU that fails at every frame of a download and of a programming sequence.
#include "tests/support/TempFolder.h"
#include "tests/system/MemoryBench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>

namespace systemtest {
namespace {

constexpr std::uint8_t kSetCalPageCode = 0xEB;
constexpr std::uint8_t kSetMtaCode = 0xF6;
constexpr std::uint8_t kDownloadCode = 0xF0;
constexpr std::uint8_t kProgramCode = 0xD0;
constexpr std::uint8_t kBusyCodes[] = {0x10, 0x12};
constexpr std::uint8_t kErrorCodes[] = {0x11, 0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26,
                                        0x27, 0x28, 0x29, 0x2A, 0x30, 0x31, 0x32};

/// What of the image a step of a plain download carries: 6 bytes and 1.
constexpr std::size_t kPlainStep = 7;
const Bytes kImage = noise(3 * kPlainStep, 21);

/// What became of an operation whose frame @p at of @p frames failed; @p dead if the ECU said nothing then.
using Rule = int (*)(const Bytes& frames, std::size_t at, bool dead);

int countOf(const Bytes& frames, std::size_t at, std::uint8_t code) {
    return static_cast<int>(
        std::count(frames.begin(), frames.begin() + static_cast<std::ptrdiff_t>(at), code));
}

/// The frame closes a step of two frames with @p code. It counts as sent even if it was refused; that it got
/// no answer ends the link, which the next frame finds out.
bool closesStep(const Bytes& frames, std::size_t at, std::uint8_t code) {
    return frames[at] == code && countOf(frames, at, code) % 2 == 1;
}

bool isLastOf(const Bytes& frames, std::size_t at, std::uint8_t code) {
    return countOf(frames, frames.size(), code) == countOf(frames, at, code) + 1;
}

int afterPlainDownload(const Bytes& frames, std::size_t at, bool dead) {
    const bool unnoticed = !dead || isLastOf(frames, at, kDownloadCode);
    return closesStep(frames, at, kDownloadCode) && unnoticed ? 0 : 35;
}

int afterBlockDownload(const Bytes& /*frames*/, std::size_t /*at*/, bool /*dead*/) {
    return 35;
}

/// A byte that was refused unnoticed leaves the ECU's address behind, so that the next bytes meet cells of
/// others.
int afterPlainProgram(const Bytes& frames, std::size_t at, bool dead) {
    if (frames[at] == 0xD2) {
        return 59;
    }
    if (closesStep(frames, at, kProgramCode) && isLastOf(frames, at, kProgramCode)) {
        return dead ? 64 : 0;
    }
    return frames[at] == 0xCF ? 64 : 35;
}

int afterBlockProgram(const Bytes& frames, std::size_t at, bool /*dead*/) {
    return frames[at] == 0xD2 ? 59 : frames[at] == 0xCF ? 64 : 35;
}

int afterForce(const Bytes& frames, std::size_t at, bool /*dead*/) {
    switch (frames[at]) {
        case kSetCalPageCode:
            return 23;
        case 0xD2:
            return 59;
        case 0xD1:
            return 60;
        case kSetMtaCode:
            return countOf(frames, at, kSetMtaCode) == 0 ? 37 : 61;
        case 0xCF:
            return 0;
        default:
            return 61;
    }
}

/// A failure of one segment does not stop the others, nor does it show; a link that is lost fails the reset.
int afterErase(const Bytes& frames, std::size_t at, bool dead) {
    if (frames[at] == 0xD2) {
        return 59;
    }
    return dead || frames[at] == 0xCF ? 64 : 0;
}

struct Operation {
    const char* name;
    bool blockMode;
    bool pages;  ///< the host may switch pages
    std::size_t frames;
    int (*run)(MemoryBench& bench, const std::string& path);
    Rule rule;
};

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

int download(MemoryBench& bench, const std::string& /*path*/) {
    return bench.downloads(mcMemDataWorking, {{kDataBase, kImage}});
}

int program(MemoryBench& bench, const std::string& /*path*/) {
    return bench.downloads(mcMemCode, {{kCodeBase, kImage}});
}

int force(MemoryBench& bench, const std::string& path) {
    return bench.forces(path);
}

int erase(MemoryBench& bench, const std::string& /*path*/) {
    return bench.erases();
}

const Operation kOperations[] = {
    {"PlainDownload", false, false, 7, download, afterPlainDownload},
    {"BlockDownload", true, false, 5, download, afterBlockDownload},
    {"PlainProgram", false, false, 9, program, afterPlainProgram},
    {"BlockProgram", true, false, 7, program, afterBlockProgram},
    {"Force", false, true, 10, force, afterForce},
    {"Erase", false, false, 4, erase, afterErase},
};

class FlashXcpFaults : public testing::TestWithParam<Operation> {
protected:
    FlashXcpFaults() {
        m_pair.cfg.dataSegments.resize(1);
        for (std::uint8_t& cell : m_pair.ecu.memory[kCodeSegment].pages[0].bytes) {
            cell = 0xFF;  // so that an image can be programmed, again and again
        }
        if (!GetParam().pages) {
            forgetPages(m_pair);
        }
    }

    void SetUp() override { ASSERT_TRUE(SaveToHexFile({{kDataBase, kImage}}, m_folder.path("image.hex"))); }

    int run(MemoryBench& bench) { return GetParam().run(bench, m_folder.path("image.hex")); }

    /// An ECU that refused a block answers what is left of it too, frame by frame. The host has its result by
    /// then, and would take one of these for the answer to its next command.
    static void awaitLastAnswer(MemoryBench& bench) { ASSERT_TRUE(bench.bus.waitUntilIdle(kPatience)); }

    /// Runs the operation with @p fault at each of its frames, and without it each time after that.
    void failsAtEachFrame(MemoryBench& bench, sim::EcuFault fault, bool dead) {
        bench.record();
        ASSERT_EQ(run(bench), 0);
        const Bytes frames = bench.recorded();
        ASSERT_EQ(frames.size(), GetParam().frames);
        for (std::size_t at = 0; at < frames.size(); ++at) {
            SCOPED_TRACE(testing::Message() << "frame " << at << ", code " << int{frames[at]});
            ASSERT_EQ(bench.connects(), 0);
            fault.after = static_cast<std::uint32_t>(at);
            bench.ecu.inject(fault);
            EXPECT_EQ(run(bench), GetParam().rule(frames, at, dead));
            awaitLastAnswer(bench);
            bench.ecu.clearFaults();
            ASSERT_EQ(bench.connects(), 0);
            ASSERT_EQ(run(bench), 0);
        }
        ASSERT_EQ(bench.connects(), 0);
    }

    EcuPair m_pair = memoryEcu(GetParam().blockMode);
    support::TempFolder m_folder;
};

TEST_P(FlashXcpFaults, AnErrorCodeAtEachFrameGivesTheCodeOfItsStep) {
    MemoryBench bench(m_pair);
    for (const std::uint8_t code : kErrorCodes) {
        SCOPED_TRACE(int{code});
        failsAtEachFrame(bench, {.kind = sim::EcuFaultKind::error, .code = code}, false);
    }
}

/// ERR_CMD_SYNCH is what a slave answers to SYNCH, and counts as a success for every command.
TEST_P(FlashXcpFaults, ASynchCodeIsTakenForAPositiveAnswer) {
    MemoryBench bench(m_pair);
    ASSERT_EQ(run(bench), 0);
    ASSERT_EQ(bench.connects(), 0);
    bench.record();
    bench.ecu.inject({.kind = sim::EcuFaultKind::error});
    static_cast<void>(run(bench));
    awaitLastAnswer(bench);
    EXPECT_GT(bench.recorded().size(), 1U) << "the operation goes on behind its first frame";
    ASSERT_EQ(bench.connects(), 0);
    EXPECT_EQ(run(bench), 0);
}

TEST_P(FlashXcpFaults, ABusyCodeAndNothingElseAtEachFrameIsNoAnswer) {
    m_pair.cfg.xcp.t7 = 250;
    MemoryBench bench(m_pair);
    for (const std::uint8_t code : kBusyCodes) {
        SCOPED_TRACE(int{code});
        failsAtEachFrame(bench, {.kind = sim::EcuFaultKind::error, .code = code}, true);
    }
}

TEST_P(FlashXcpFaults, SilenceFromEachFrameOnIsNoAnswer) {
    setPatience(m_pair, kImpatient, 0);
    MemoryBench bench(m_pair);
    failsAtEachFrame(bench, {.kind = sim::EcuFaultKind::silence, .count = sim::EcuFault::kForever}, true);
}

TEST_P(FlashXcpFaults, AResetAtEachFrameIsNoAnswer) {
    setPatience(m_pair, kImpatient, 0);
    MemoryBench bench(m_pair);
    failsAtEachFrame(bench, {.kind = sim::EcuFaultKind::reset}, true);
}

std::string nameOf(const testing::TestParamInfo<Operation>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, FlashXcpFaults, testing::ValuesIn(kOperations), nameOf);

}  // namespace
}  // namespace systemtest
