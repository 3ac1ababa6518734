/// @file
/// A session with a simulated ECU: operations and faults drawn from a seed, every result held against what
/// went over the wire.
#pragma once

#include "tests/support/HexText.h"
#include "tests/support/TestHost.h"
#include "tests/support/Trial.h"
#include "tests/sweep/SeedImage.h"
#include "tests/sweep/SeedShape.h"
#include "tests/sweep/Wire.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <list>
#include <string>
#include <utility>
#include <vector>

namespace sweep {

/// What a run has shown.
struct SeedTally {
    std::size_t operations = 0;
    std::size_t proven = 0;   ///< operations that succeeded without a doubt, memory and values with them
    std::size_t failed = 0;   ///< operations with a failure that the wire explains
    std::size_t muddled = 0;  ///< operations that allow any result
    std::size_t losses = 0;   ///< links that were lost during a measurement

    SeedTally& operator+=(const SeedTally& other);
};

/// @tparam Bench  `MemoryBench` or `CcpSeedBench`, connected to the ECU of the shape
template <typename Bench>
class SeedRun {
public:
    SeedRun(Bench& bench, const SeedShape& shape, std::vector<sim::MemorySegment> memory, Wire& wire,
            Draw& draw, const support::Trial& trial)
        : m_bench(bench),
          m_shape(shape),
          m_operations(shape.patience.xcp ? xcpOperations() : ccpOperations()),
          m_image(std::move(memory)),
          m_wire(wire),
          m_draw(draw),
          m_trial(trial),
          m_story(shape.summary + "\n") {}

    /// Runs the plan. Stops at the first failure.
    SeedTally run() {
        m_bench.setsPage(true);  // the library remembers the page of the session before
        reconnects();
        for (std::uint32_t step = m_draw.between(3, 7); step > 0 && !m_trial.failed(); --step) {
            m_doubtful = false;
            injects();
            runStep(m_draw.below(10));
            settles();
        }
        expectMemory();
        if (m_trial.failed()) {
            std::cout << m_story << '\n';
        }
        return m_tally;
    }

private:
    using Tally = SeedTally;

    // What comes around each step.

    void injects() {
        m_faulty = m_draw.oneIn(2);
        if (m_faulty) {
            expectMemory();
            m_fault = drawFault(m_draw, m_shape);
            m_bench.ecu.inject(m_fault);
            tells("fault " + std::to_string(static_cast<int>(m_fault.kind)) + " behind " +
                  std::to_string(m_fault.after) + " commands, " + std::to_string(m_fault.count) +
                  " times, code " + std::to_string(m_fault.code));
        }
        static_cast<void>(m_wire.take());
    }

    /// An ECU that may have done something else than it was told is taken as it is, and connected to again.
    void settles() {
        m_bench.ecu.clearFaults();
        if (m_doubtful) {
            reconnects();
            m_image.adopt(m_bench.ecu);  // only now has it done with all it was told before
        }
    }

    void reconnects() {
        m_bench.ecu.clearFaults();
        m_faulty = false;
        constexpr int kMostTries = 20;  // of an impatient host on a machine that does other things too
        for (int i = 0; i < kMostTries; ++i) {
            static_cast<void>(m_wire.take());
            m_doubtful = false;
            connects();
            if (!m_doubtful) {
                return;
            }
        }
        ADD_FAILURE() << "no connect without a doubt";
    }

    void expectMemory() { EXPECT_EQ(m_image.differenceTo(m_bench.ecu), ""); }

    // Results.

    /// @return whether the operation has succeeded beyond doubt
    bool expectResult(const Operation& operation, int result, const std::vector<WireEntry>& entries) {
        const Evidence evidence = judge(entries, 0, resultsIn(entries).at(0), m_shape.patience);
        return expectResult(operation, result, evidence);
    }

    bool expectResult(const Operation& operation, int result, Evidence evidence) {
        evidence.muddled = evidence.muddled || spoils();
        const std::set<int> allowed = resultsOf(operation, evidence);
        EXPECT_TRUE(allowed.contains(result))
            << operation.name << " gave " << result << " and not " << testing::PrintToString(allowed)
            << ", failed on the wire: " << testing::PrintToString(evidence.failed);
        if (!evidence.muddled) {  // else an answer may be that of another command
            EXPECT_EQ(evidence.breaches, std::vector<std::string>()) << operation.name;
        }
        tells(std::string(operation.name) + ": " + std::to_string(result) +
              (evidence.clean ? "" : ", unclean") +
              (evidence.failed.empty() ? "" : ", refused " + support::hexText(evidence.failed)) +
              (evidence.muddled ? ", muddled" : "") + (evidence.lost ? ", link lost" : ""));
        return note(evidence, result);
    }

    void tells(const std::string& line) { m_story += line + "\n"; }

    bool note(const Evidence& evidence, int result) {
        ++m_tally.operations;
        m_tally.muddled += evidence.muddled ? 1U : 0U;
        const bool proven = evidence.clean && result == 0 && !evidence.muddled;
        m_tally.proven += proven ? 1U : 0U;
        m_tally.failed += !evidence.muddled && !evidence.failed.empty() ? 1U : 0U;
        m_doubtful = m_doubtful || !proven;
        return proven;
    }

    /// Answers that are positive and wrong can have made any trouble.
    [[nodiscard]] bool spoils() const {
        return m_faulty &&
               (m_fault.kind == sim::EcuFaultKind::truncate || m_fault.kind == sim::EcuFaultKind::extend ||
                m_fault.kind == sim::EcuFaultKind::repeat);
    }

    /// The result of a memory operation ends what it sent; what follows belongs to the page that is put back.
    bool expectMemoryResult(const Operation& operation, int result) {
        const std::vector<WireEntry> entries = m_wire.take();
        const std::vector<std::size_t> ends = resultsIn(entries);
        const Evidence evidence = judge(entries, 0, ends.at(0), m_shape.patience);
        const bool proven = expectResult(operation, result, evidence);
        if (m_shape.pages) {
            Evidence behind = judge(entries, ends.at(0), ends.at(1), m_shape.patience);
            behind.lost = behind.lost || evidence.lost;
            behind.muddled = behind.muddled || evidence.muddled;
            expectResult(m_operations.page, m_bench.pageResult(), behind);
        } else {
            EXPECT_EQ(m_bench.pageResult(), kNotSupported);
        }
        return proven;
    }

    // Steps.

    void runStep(std::uint32_t choice) {
        switch (choice) {
            case 0:
                m_bench.host.disconnects();
                EXPECT_FALSE(isConnectEcu());
                static_cast<void>(m_wire.take());
                connects();
                break;
            case 1:
            case 2:
                measures();
                break;
            case 3:
                calibrates();
                break;
            case 4:
                reads();
                break;
            case 5:
                m_shape.pages ? switchesPage() : calibrates();
                break;
            case 6:
                uploads();
                break;
            case 7:
                m_shape.pages ? downloads() : flashes();
                break;
            case 8:
                checks();
                break;
            default:
                m_shape.deaf ? losesLink() : flashes();
                break;
        }
    }

    bool connects() {
        const int result = m_bench.connects();
        if (result == 0) {
            EXPECT_TRUE(isConnectEcu());
        }
        return expectResult(m_operations.connect, result, m_wire.take());
    }

    void calibrates() {
        const SeedMemory& memory = m_shape.memory;
        const std::uint32_t offset = m_draw.below(memory.scratchSize - 1);
        const std::uint32_t most = std::min<std::uint32_t>(memory.scratchSize - offset, 60);
        const Bytes bytes = m_draw.bytes(m_draw.between(1, most));
        const int result = m_bench.writes(memory.scratchBase + offset, bytes);
        if (expectResult(m_operations.calibrate, result, m_wire.take())) {
            m_image.put(memory.scratchBase + offset, bytes);
        }
    }

    void reads() {
        const std::uint32_t offset = m_draw.below(m_shape.memory.scratchSize - 60);
        const std::uint32_t size = m_draw.between(2, 60);
        const Bytes found = m_bench.reads(m_shape.memory.scratchBase + offset, size);
        if (expectResult(m_operations.read, 0, m_wire.take())) {
            EXPECT_EQ(found, m_image.at(m_shape.memory.scratchBase + offset, size));
        }
    }

    void switchesPage() {
        const int result = m_bench.setsPage(m_draw.oneIn(2));
        const bool proven = expectResult(m_operations.page, result, m_wire.take());
        if (proven && m_shape.patience.xcp && m_draw.oneIn(2)) {
            const int copied = m_bench.copiesPage();
            if (expectResult(m_operations.copyPage, copied, m_wire.take())) {
                m_image.copyPage(m_shape.memory.dataBase, systemtest::kFlashPage, systemtest::kRamPage);
            }
        }
    }

    /// The pages of the data segment that @p type selects. CCP has one, whatever is selected.
    [[nodiscard]] std::vector<std::size_t> pagesOf(mcMemOperType type) const {
        if (!m_shape.patience.xcp) {
            return {0};
        }
        std::vector<std::size_t> pages;
        if ((type & mcMemDataWorking) != 0) {
            pages.push_back(systemtest::kRamPage);
        }
        if ((type & mcMemDataReference) != 0) {
            pages.push_back(systemtest::kFlashPage);
        }
        return pages;
    }

    /// XCP reads data by switching to its page, so that without page commands there is only code to read.
    void uploads() {
        const SeedMemory& memory = m_shape.memory;
        const bool code = m_shape.patience.xcp ? !m_shape.pages : m_draw.oneIn(2);
        const mcMemOperType type =
            code ? mcMemCode : m_draw.oneOf<mcMemOperType>({mcMemDataWorking, mcMemDataReference, 6});
        const int result = m_bench.uploads(type);
        if (!expectMemoryResult(m_operations.upload, result)) {
            return;
        }
        std::vector<Bytes> wanted;
        if (code) {
            wanted = {m_image.at(memory.codeBase, memory.codeSize)};
        } else {
            for (const std::size_t page : pagesOf(type)) {
                wanted.push_back(m_image.at(memory.dataBase, memory.dataSize, page));
            }
        }
        std::vector<Bytes> found;
        for (const mcMemoryData& range : m_bench.host.memoryData()) {
            found.push_back(range.data);
        }
        EXPECT_EQ(found, wanted);
    }

    /// A block that begins with the segment, because XCP switches to the page of no other one.
    void downloads() {
        const SeedMemory& memory = m_shape.memory;
        const Bytes bytes = m_draw.bytes(m_draw.between(1, memory.dataSize));
        const int result = m_bench.downloads(mcMemDataWorking, {{memory.dataBase, bytes}});
        if (expectMemoryResult(m_operations.download, result)) {
            m_image.put(memory.dataBase, bytes);
        }
    }

    /// The checksum of the ECU is that of the blocks if they are what the memory holds.
    void checks() {
        const SeedMemory& memory = m_shape.memory;
        const bool code = m_shape.patience.xcp && !m_shape.pages;
        if (!m_shape.canCheck) {
            return;
        }
        const std::uint32_t base = code ? memory.codeBase : memory.dataBase;
        Bytes bytes = m_image.at(base, code ? memory.codeSize : memory.dataSize);
        const bool altered = m_draw.oneIn(2);
        if (altered) {
            bytes[m_draw.below(static_cast<std::uint32_t>(bytes.size()))] ^= 0x40;
        }
        const int result = m_bench.checks(code ? mcMemCode : mcMemDataWorking, {{base, bytes}});
        if (!expectMemoryResult(m_operations.check, result)) {
            return;
        }
        const std::vector<mcMemoryData> ranges = m_bench.host.memoryData();
        ASSERT_EQ(ranges.size(), 1U);
        EXPECT_EQ(ranges[0].data == ranges[0].expected, !altered);
    }

    /// Erases the code, connects again because the reset ends the session of XCP, and programs.
    void flashes() {
        if (!m_shape.canErase || m_shape.pages) {
            return;
        }
        const SeedMemory& memory = m_shape.memory;
        const int erased = m_bench.erases();
        if (!expectMemoryResult(m_operations.erase, erased)) {
            return;
        }
        m_image.put(memory.codeBase, Bytes(memory.codeSize, 0xFF));
        expectMemory();
        reconnects();
        if (m_trial.failed()) {
            return;
        }
        if (m_faulty) {
            m_bench.ecu.inject(m_fault);
        }
        const Bytes low = m_draw.bytes(m_draw.between(1, 300));
        const Bytes high = m_draw.bytes(m_draw.between(1, 300));
        const std::uint32_t middle = memory.codeBase + memory.codeSize / 2;
        const int result = m_bench.downloads(mcMemCode, {{memory.codeBase, low}, {middle, high}});
        if (expectMemoryResult(m_operations.download, result)) {
            m_image.put(memory.codeBase, low);
            m_image.put(middle, high);
            reconnects();
        }
    }

    /// DAQ values are held against the signals unless a fault has made a mess of them on purpose.
    void measures() {
        const bool isExact = !m_faulty;
        if (m_faulty && m_draw.oneIn(2)) {
            m_bench.ecu.clearFaults();
            m_faulty = false;
            m_bench.ecu.inject(drawDaqFault(m_draw, m_shape.patience.xcp));
        }
        systemtest::SignalProof& proof = m_bench.host.proofOf(kName);
        proof.expect(isExact ? systemtest::Expected::everyCycle : systemtest::Expected::anything);
        std::vector<mcMeasureVariable> variables = m_shape.sampled;
        variables.insert(variables.end(), m_shape.polled.begin(), m_shape.polled.end());
        const std::size_t disconnects = m_bench.host.resultCount(systemtest::kDisconnect);
        const std::size_t losses = m_bench.host.resultCount(systemtest::kLinkLost);
        const bool started = starts(variables);
        if (started && isExact) {
            awaitValues(proof);
        }
        stops(disconnects);
        if (m_bench.host.resultCount(systemtest::kLinkLost) > losses) {
            endsWithTheLink();
            return;
        }
        if (m_faulty && !m_shape.polled.empty() && !m_doubtful) {
            expectMemory();
            m_doubtful = true;  // a poll that was refused may have cost the link
        }
        if (started && m_shape.polled.empty()) {
            expectResult(m_operations.stop, 0, m_wire.take());
        }
    }

    /// A host that is slow, or an ECU that refuses too much, may lose the link, and the disconnect behind
    /// that report takes with it what waits in the queue: a stop may have no result.
    /// @param disconnects  how many there had been ahead of the measurement
    void stops(std::size_t disconnects) {
        systemtest::BusHost& host = m_bench.host;
        const std::size_t stops = host.resultCount(systemtest::kStop);
        StopMeasurement();
        const auto ended = [&] {
            return host.resultCount(systemtest::kStop) > stops ||
                   host.resultCount(systemtest::kDisconnect) > disconnects;
        };
        EXPECT_TRUE(support::waitFor(ended, systemtest::kPatience));
        if (host.resultCount(systemtest::kStop) > stops) {
            EXPECT_EQ(host.awaitResult(systemtest::kStop).result, 0);
        }
    }

    /// Waits for the disconnect behind a lost link, and makes sure that nothing of the measurement is left in
    /// the queue.
    void endsWithTheLink() {
        EXPECT_EQ(m_bench.host.awaitResult(systemtest::kDisconnect).result, 0);
        EXPECT_EQ(m_bench.host.disconnects(), 0);
        EXPECT_FALSE(isConnectEcu());
        m_bench.host.forgetResults();
        tells("lost the link");
        m_doubtful = true;
        ++m_tally.losses;
    }

    /// Polling begins ahead of the result: the operation ends with the first frame that is not one of its
    /// own.
    bool starts(const std::vector<mcMeasureVariable>& variables) {
        const int result = m_bench.host.starts({{kName, variables}});
        std::vector<WireEntry> entries = m_wire.take();
        const auto isForeign = [this](const WireEntry& entry) {
            return entry.kind == WireEntry::Kind::request &&
                   !m_operations.start.failures.contains(entry.bytes[0]);
        };
        const auto foreign = std::find_if(entries.begin(), entries.end(), isForeign);
        if (foreign != entries.end()) {
            foreign->kind = WireEntry::Kind::result;
        }
        return expectResult(m_operations.start, result, entries);
    }

    void awaitValues(const systemtest::SignalProof& proof) {
        constexpr std::uint64_t kCycles = 12;
        for (const mcMeasureVariable& variable : m_shape.sampled) {
            const bool came = support::waitFor([&] { return proof.sampled(variable.name) >= kCycles; });
            EXPECT_TRUE(came) << variable.name << " came " << proof.sampled(variable.name)
                              << " times by DAQ, " << proof.polled(variable.name) << " times by polling";
        }
        for (const mcMeasureVariable& variable : m_shape.polled) {
            EXPECT_TRUE(support::waitFor([&] { return proof.polled(variable.name) >= 2; })) << variable.name;
        }
    }

    /// A polled variable makes the host notice that nobody answers.
    void losesLink() {
        m_bench.ecu.clearFaults();
        m_bench.host.proofOf(kName).expect(systemtest::Expected::anything);
        mcMeasureVariable polled = m_shape.sampled.front();
        polled.period = 1;
        m_doubtful = true;
        if (m_bench.host.starts({{kName, {polled}}}) != 0) {
            return;
        }
        m_bench.ecu.inject({.kind = sim::EcuFaultKind::silence, .count = sim::EcuFault::kForever});
        EXPECT_EQ(m_bench.host.awaitResult(systemtest::kLinkLost).result, 0);
        endsWithTheLink();
        EXPECT_FALSE(isMeasureing());
    }

    static constexpr const char* kName = "ecu";
    static constexpr int kNotSupported = 72;

    Bench& m_bench;
    const SeedShape& m_shape;
    const Operations& m_operations;
    SeedImage m_image;
    Wire& m_wire;
    Draw& m_draw;
    const support::Trial& m_trial;
    bool m_faulty = false;    ///< a fault waits in the ECU
    bool m_doubtful = false;  ///< the ECU may have done something else than it was told
    sim::EcuFault m_fault{};
    Tally m_tally;
    std::string m_story;  ///< what was done so far, for the reader of a failure
};

}  // namespace sweep
