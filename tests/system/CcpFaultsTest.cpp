// A CCP ECU that fails at every frame of each operation.
#include "tests/support/TempFolder.h"
#include "tests/support/TestHost.h"
#include "tests/system/CcpMemoryBench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace systemtest {
namespace {

using sim::EcuFault;
using sim::EcuFaultKind;
using support::waitFor;

// Codes of commands.
constexpr std::uint8_t kConnectCode = 0x01;
constexpr std::uint8_t kSetMta = 0x02;
constexpr std::uint8_t kUploadCode = 0x04;
constexpr std::uint8_t kGetActiveCalPage = 0x09;
constexpr std::uint8_t kSetSStatus = 0x0C;
constexpr std::uint8_t kGetSStatus = 0x0D;
constexpr std::uint8_t kGetSeed = 0x12;
constexpr std::uint8_t kExchangeId = 0x17;
constexpr std::uint8_t kGetCcpVersion = 0x1B;

// Return codes by what the library does with them. Those that it does not know count as done.
constexpr std::uint8_t kCountAsDone[] = {0x01, 0x31, 0x02, 0x24, 0x37, 0x7F, 0x81, 0xFF};
constexpr std::uint8_t kRepeatedTwice[] = {0x10, 0x11, 0x12, 0x18, 0x19};
constexpr std::uint8_t kRepeatedOnce[] = {0x20, 0x21, 0x22, 0x23};
constexpr std::uint8_t kEndTheLink[] = {0x30, 0x32, 0x33, 0x34, 0x35, 0x36};

/// What became of the command that failed.
enum class Fate : std::uint8_t {
    countedAsDone,  ///< the ECU refused it, the library went on
    repeated,       ///< it was done the second time
    refused,        ///< it was not done, the link lives
    ended,          ///< it was not done, the link was given up
    silent,         ///< the same, and the ECU said nothing any more
};

bool isDead(Fate fate) {
    return fate == Fate::ended || fate == Fate::silent;
}

std::size_t countOf(const Bytes& frames, std::size_t at, std::uint8_t code) {
    return static_cast<std::size_t>(
        std::count(frames.begin(), frames.begin() + static_cast<std::ptrdiff_t>(at), code));
}

bool isFirst(const Bytes& frames, std::size_t at) {
    return countOf(frames, at, frames[at]) == 0;
}

/// The result of an operation whose frame @p at of @p frames had that fate.
using Rule = int (*)(const Bytes& frames, std::size_t at, Fate fate);

/// A CONNECT that counts as done has made no session, and the next command meets silence. A version of zeros
/// is another one; an identification of no bytes is no failure, nor is a seed of none: it means no lock.
int afterConnect(const Bytes& frames, std::size_t at, Fate fate) {
    const bool done = fate == Fate::countedAsDone;
    switch (frames[at]) {
        case kConnectCode:
            return done ? 57 : 3;
        case kGetCcpVersion:
            return done ? 5 : 57;
        case kExchangeId:
            return done ? 0 : 6;
        case kUploadCode:  // of the identification
            return fate == Fate::silent ? 8 : 0;
        case kGetActiveCalPage:
            return isDead(fate) ? 3 : 0;
        case kGetSStatus:
            return isDead(fate) || (!done && !isFirst(frames, at)) ? 3 : 0;
        case kSetSStatus:
            return done ? 0 : 3;
        default:
            return done ? 0 : 8;
    }
}

/// A SET_MTA that counts as done leaves the address where it was: behind the identification of the ECU, where
/// nothing can be selected, read or written.
int afterPage(const Bytes& frames, std::size_t at, Fate fate) {
    if (frames[at] == kSetMta) {
        return fate == Fate::countedAsDone ? 24 : 37;
    }
    return fate == Fate::countedAsDone ? 0 : 24;
}

/// A range that was read in part counts as read.
int afterUpload(const Bytes& frames, std::size_t at, Fate fate) {
    if (frames[at] == kSetMta) {
        return fate == Fate::countedAsDone ? 34 : 37;
    }
    return isFirst(frames, at) ? 34 : 0;
}

/// Two blocks: what is refused inside one does not show, but a dead link fails the address of the next.
int afterDownload(const Bytes& frames, std::size_t at, Fate fate) {
    const bool inFirstBlock = countOf(frames, at + 1, kSetMta) == 1;
    if (frames[at] == kSetMta) {
        return fate == Fate::countedAsDone && !inFirstBlock ? 0 : 37;
    }
    return isDead(fate) && inFirstBlock ? 37 : 0;
}

int neverShown(const Bytes& /*frames*/, std::size_t /*at*/, Fate /*fate*/) {
    return 0;
}

/// A step without an address is left out.
int afterCheck(const Bytes& frames, std::size_t at, Fate fate) {
    const bool done = fate == Fate::countedAsDone;
    if (frames[at] == kSetMta) {
        return done && isFirst(frames, at) ? 70 : 0;
    }
    return done ? 0 : 70;
}

/// What is refused once the flash is clear does not show.
int afterForce(const Bytes& frames, std::size_t at, Fate fate) {
    switch (frames[at]) {
        case kGetSeed:
        case 0x10:
            return fate == Fate::countedAsDone ? 0 : 1;
        case kSetMta:
            return 1;
        default:
            return 0;
    }
}

const Bytes kImage = noise(7, 21);
const Bytes kMore = noise(8, 22);
constexpr std::uint32_t kGap = 0x40;

struct Operation {
    const char* name;
    std::size_t frames;
    int (*run)(CcpMemoryBench& bench, const std::string& path);
    Rule rule;
    void (*put)(CcpExpectedMemory& memory);  ///< what the operation does to the memory
};

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

std::list<mem_buf> blocksAt(std::uint32_t address) {
    return {{address, kImage}, {address + kGap, kMore}};
}

void nothing(CcpExpectedMemory& /*memory*/) {}

void putBlocks(CcpExpectedMemory& memory, std::uint32_t address) {
    memory.put(address, kImage);
    memory.put(address + kGap, kMore);
}

const Operation kOperations[] = {
    {"Connect", 11, [](CcpMemoryBench& bench, const std::string&) { return bench.connects(); }, afterConnect,
     nothing},
    {"Page", 2, [](CcpMemoryBench& bench, const std::string&) { return bench.setsPage(false); }, afterPage,
     nothing},
    {"Write", 3,
     [](CcpMemoryBench& bench, const std::string&) { return bench.writes(kCcpWorkingPage, kImage); },
     neverShown, [](CcpExpectedMemory& memory) { memory.put(kCcpWorkingPage, kImage); }},
    {"Upload", 4, [](CcpMemoryBench& bench, const std::string&) { return bench.uploads(mcMemDataWorking); },
     afterUpload, nothing},
    {"Download", 6,
     [](CcpMemoryBench& bench, const std::string&) {
         return bench.downloads(mcMemDataWorking, blocksAt(kCcpWorkingPage + 0x100));
     },
     afterDownload, [](CcpExpectedMemory& memory) { putBlocks(memory, kCcpWorkingPage + 0x100); }},
    {"Program", 6,
     [](CcpMemoryBench& bench, const std::string&) {
         return bench.downloads(mcMemCode, blocksAt(kCodeBase));
     },
     afterDownload, [](CcpExpectedMemory& memory) { putBlocks(memory, kCodeBase); }},
    {"Erase", 4, [](CcpMemoryBench& bench, const std::string&) { return bench.erases(mcMemCode); },
     neverShown, nothing},
    {"Check", 4,
     [](CcpMemoryBench& bench, const std::string&) {
         return bench.checks(mcMemCode, {{kCodeBase, Bytes(kSectorSize, 0xFF)}});
     },
     afterCheck, nothing},
    {"Force", 6, [](CcpMemoryBench& bench, const std::string& path) { return bench.forces(path); },
     afterForce,
     [](CcpExpectedMemory& memory) {
         memory.clear(kCcpReferencePage, kCcpPageSize);
         memory.put(kCcpReferencePage, noise(15, 23));
     }},
};

/// The code segments are the first two sectors, which are clear; the data segment is the place of the test.
CcpPair makePair(const std::string& operation) {
    CcpPair pair = ccpMemoryEcu();
    setPatience(pair, kImpatient, 0);
    pair.ecu.id = "station";  // two UPLOADs
    addLock(pair, sim::ccp::kDaq);
    for (sim::MemorySegment& segment : pair.ecu.memory) {
        if (segment.base == kCodeBase) {
            segment.pages[0].bytes.assign(kCodeSize, 0xFF);
        }
    }
    EcuProtoCfg& cfg = pair.twin.cfg;
    cfg.codeSegments[0].length = kSectorSize;
    cfg.codeSegments[0].checksumBlockSize = kSectorSize / 2;
    if (operation == "Erase") {
        cfg.codeSegments.push_back(cfg.codeSegments[0]);
        cfg.codeSegments[1].address += kSectorSize;
    } else if (operation == "Upload") {
        cfg.dataSegments[0].length = 12;
    } else if (operation == "Force") {
        makeForcible(pair);
    }
    if (operation != "Page") {
        forgetPages(pair);
    }
    return pair;
}

class CcpFaults : public testing::TestWithParam<Operation> {
protected:
    void SetUp() override {
        ASSERT_TRUE(SaveToHexFile({{kCcpReferencePage, noise(15, 23)}}, m_folder.path("image.hex")));
        m_isConnect = std::string(GetParam().name) == "Connect";
        ASSERT_EQ(runs(), 0);
        prepares();
        m_bench.record();
        ASSERT_EQ(runs(), 0);
        m_frames = m_bench.recorded();
        ASSERT_EQ(m_frames.size(), GetParam().frames);
        GetParam().put(m_bench.expected);
    }

    int runs() { return GetParam().run(m_bench, m_folder.path("image.hex")); }

    void prepares() { ASSERT_EQ(m_isConnect ? m_bench.host.disconnects() : m_bench.connects(), 0); }

    /// Runs the operation with @p fault at each of its frames, and without it each time after that.
    void failsAtEachFrame(EcuFault fault, Fate fate) {
        for (std::size_t at = 0; at < m_frames.size(); ++at) {
            SCOPED_TRACE(testing::Message() << "frame " << at << ", command " << int{m_frames[at]});
            prepares();
            if (fault.kind == EcuFaultKind::error) {
                fault.command = m_frames[at];
                fault.after = static_cast<std::uint32_t>(countOf(m_frames, at, m_frames[at]));
            } else {
                fault.after = static_cast<std::uint32_t>(at);
            }
            clearsCode();
            m_bench.ecu.inject(fault);
            const bool againAtOnce = fate == Fate::repeated && m_frames[at] != kUploadCode;
            EXPECT_EQ(runs(), againAtOnce ? 0 : GetParam().rule(m_frames, at, fate));
            m_bench.ecu.clearFaults();
            if (fate == Fate::countedAsDone) {
                forgetsWhatWentAstray();
            }
            prepares();
            ASSERT_EQ(runs(), 0) << "without the fault";
            m_bench.expected.expectIn(m_bench.ecu);
        }
    }

    void failsAtEachFrameByCodes(std::span<const std::uint8_t> codes, std::uint32_t count, Fate fate) {
        for (const std::uint8_t code : codes) {
            SCOPED_TRACE(testing::Message() << "return code " << int{code});
            failsAtEachFrame({.kind = EcuFaultKind::error, .count = count, .code = code}, fate);
        }
    }

    /// So that an image can be programmed, in whole and in parts.
    void clearsCode() { ASSERT_TRUE(m_bench.ecu.write(kCodeBase, 0, Bytes(2 * kGap, 0xFF))); }

    /// Behind an address that was not set, bytes go elsewhere in the segment.
    void forgetsWhatWentAstray() {
        for (const std::uint32_t address : {kCcpWorkingPage + 0x100, kCodeBase}) {
            ASSERT_TRUE(m_bench.ecu.write(address, 0, m_bench.expected.at(address, 2 * kGap)));
        }
    }

    CcpMemoryBench m_bench{makePair(GetParam().name)};
    support::TempFolder m_folder;
    bool m_isConnect = false;
    Bytes m_frames;
};

TEST_P(CcpFaults, SilenceFromEachFrameOnGivesTheCodeOfItsStep) {
    failsAtEachFrame({.kind = EcuFaultKind::silence, .count = EcuFault::kForever}, Fate::silent);
}

TEST_P(CcpFaults, AResetAtEachFrameGivesTheCodeOfItsStep) {
    failsAtEachFrame({.kind = EcuFaultKind::reset}, Fate::silent);
}

TEST_P(CcpFaults, ACodeThatEndsTheLinkAtEachFrameGivesTheCodeOfItsStep) {
    failsAtEachFrameByCodes(kEndTheLink, 1, Fate::ended);
}

TEST_P(CcpFaults, ACodeThatIsRepeatedIsGoneTheSecondTime) {
    failsAtEachFrameByCodes(kRepeatedTwice, 1, Fate::repeated);
    failsAtEachFrameByCodes(kRepeatedOnce, 1, Fate::repeated);
}

TEST_P(CcpFaults, ACodeThatStaysOverAllRepeatsGivesTheCodeOfItsStepAndLeavesTheLink) {
    failsAtEachFrameByCodes(kRepeatedTwice, 3, Fate::refused);
    failsAtEachFrameByCodes(kRepeatedOnce, 2, Fate::refused);
}

TEST_P(CcpFaults, ACodeThatCountsAsDoneIsFollowedByTheNextFrame) {
    failsAtEachFrameByCodes(kCountAsDone, 1, Fate::countedAsDone);
}

INSTANTIATE_TEST_SUITE_P(All, CcpFaults, testing::ValuesIn(kOperations),
                         [](const auto& operation) { return operation.param.name; });

// Measurement

/// Two ODTs: SET_DAQ_PTR and WRITE_DAQ for each, then START_STOP twice.
class CcpStartFaults : public testing::Test {
protected:
    static constexpr std::size_t kStartFrames = 6;
    static constexpr const char* kNoAnswer = "UnKnow 0x80";  ///< the status of a time-out is no code of CCP

    CcpStartFaults() {
        addCounter(m_pair.twin, "first", 0);
        addCounter(m_pair.twin, "second", 0);
        m_pair.twin.cfg.ccp.statusPeriodMs = 0;
        setPatience(m_pair, kImpatient, 0);
        m_host.limitUndelivered(50);
    }

    /// A start that fails does not show by its result, but the link is reported as lost.
    void failsAtEachFrame(EcuFault fault, const std::string& text) {
        CcpStation station(m_host, m_bus, m_pair);
        const Variables variables = {{"ecu", allVariables(m_pair.twin)}};
        for (std::uint32_t at = 0; at < kStartFrames; ++at) {
            SCOPED_TRACE(at);
            m_host.forgetResults();
            ASSERT_EQ(m_host.connects({"ecu"}), 0);
            fault.after = at;
            station.ecu.inject(fault);
            EXPECT_EQ(m_host.starts(variables), 0);
            EXPECT_EQ(m_host.awaitResult(kLinkLost).details, std::vector<std::string>({"ecu:ecu-" + text}));
            EXPECT_EQ(m_host.awaitResult(kDisconnect).result, 0);
            EXPECT_FALSE(isConnectEcu());

            station.ecu.clearFaults();
            ASSERT_EQ(m_host.connects({"ecu"}), 0);
            ASSERT_EQ(m_host.starts(variables), 0);
            const SignalProof& proof = m_host.proofOf("ecu");
            EXPECT_TRUE(waitFor([&] { return proof.fewestSampled(variables.at("ecu")) >= 10; }, kPatience));
            ASSERT_EQ(m_host.stops(), 0);
        }
    }

    CcpPair m_pair = ccpEcu("ecu");
    BusHost m_host;
    sim::VirtualBus& m_bus = m_host.addBus(fastBus());
};

TEST_F(CcpStartFaults, SilenceFromEachFrameOnIsALostLink) {
    failsAtEachFrame({.kind = EcuFaultKind::silence, .count = EcuFault::kForever}, kNoAnswer);
}

TEST_F(CcpStartFaults, AResetAtEachFrameIsALostLink) {
    failsAtEachFrame({.kind = EcuFaultKind::reset}, kNoAnswer);
}

TEST_F(CcpStartFaults, ACodeThatEndsTheLinkAtEachFrameIsALostLink) {
    failsAtEachFrame({.kind = EcuFaultKind::error, .code = 0x33}, "Access denied");
}

}  // namespace
}  // namespace systemtest
