// Sessions drawn from seeds: an ECU, a bus, a plan and faults, through the exported functions.
//
//   TALVEX_SEED=123       runs this seed alone
//   TALVEX_SEEDS=100000   runs so many; a thousand without it
//   TALVEX_FIRST_SEED=500 begins with this one, not with 0
#include "tests/support/Trial.h"
#include "tests/sweep/CcpSeedBench.h"
#include "tests/sweep/SeedRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

namespace sweep {

SeedTally& SeedTally::operator+=(const SeedTally& other) {
    operations += other.operations;
    proven += other.proven;
    failed += other.failed;
    muddled += other.muddled;
    losses += other.losses;
    return *this;
}

namespace {

using systemtest::MemoryBench;

constexpr std::uint8_t kFirstXcpAnswer = 0xFE;
constexpr std::uint8_t kFirstCcpAnswer = 0xFF;

/// With time to wait for whatever keeps a machine busy.
EcuProtoCfg patient(EcuProtoCfg cfg) {
    systemtest::EcuPair pair;
    pair.cfg = std::move(cfg);
    systemtest::setPatience(pair, std::chrono::seconds(20), 0);
    pair.cfg.ccp.timeoutMs = pair.cfg.xcp.t1;
    pair.cfg.ccp.retryCount = 0;
    return pair.cfg;
}

SeedTally runXcp(Draw& draw, const support::Trial& trial) {
    XcpShape shape = drawXcpShape(draw);
    systemtest::EcuPair calm = shape.ecu;
    calm.cfg = patient(shape.ecu.cfg);
    MemoryBench bench(calm, shape.bus);
    SeedTally tally;
    {
        Wire wire(bench.bus, shape.ecu.cfg.canIdMaster, shape.ecu.cfg.canIdSlave, kFirstXcpAnswer);
        bench.host.configure(shape.ecu.cfg);
        EXPECT_EQ(bench.host.disconnects(), 0);
        tally = SeedRun<MemoryBench>(bench, shape, shape.ecu.ecu.memory, wire, draw, trial).run();
        bench.host.configure(calm.cfg);
        EXPECT_EQ(bench.connects(), 0);
    }
    return tally;
}

SeedTally runCcp(Draw& draw, const support::Trial& trial) {
    CcpShape shape = drawCcpShape(draw);
    systemtest::CcpPair calm = shape.ecu;
    calm.twin.cfg = patient(shape.ecu.twin.cfg);
    CcpSeedBench bench(calm, shape.bus);
    SeedTally tally;
    {
        const EcuProtoCfg& cfg = shape.ecu.twin.cfg;
        Wire wire(bench.bus, cfg.canIdMaster, cfg.canIdSlave, kFirstCcpAnswer);
        bench.host.configure(cfg);
        EXPECT_EQ(bench.host.disconnects(), 0);
        tally = SeedRun<CcpSeedBench>(bench, shape, shape.ecu.ecu.memory, wire, draw, trial).run();
        bench.host.configure(calm.twin.cfg);
        EXPECT_EQ(bench.connects(), 0);
    }
    return tally;
}

/// What a seed has shown, and whether the machine kept up with it.
struct SeedOutcome {
    SeedTally tally;
    bool stalled = false;
};

SeedOutcome trySeed(std::uint64_t seed, const support::Trial& trial) {
    SCOPED_TRACE("again: TALVEX_SEED=" + std::to_string(seed) +
                 " talvex_sweep_tests --gtest_filter='*EverySeed.*/0'");
    Draw draw(seed);
    return {draw.oneIn(2) ? runXcp(draw, trial) : runCcp(draw, trial), trial.stalled()};
}

/// A seed that fails while the machine stands still is run again, as often as it takes within reason.
SeedOutcome runSeed(std::uint64_t seed) {
    constexpr std::chrono::milliseconds kStall{5};  // a sixth of the time-outs of an impatient host
    SeedOutcome outcome;
    support::runTrials("seed " + std::to_string(seed), kStall,
                       [&](const support::Trial& trial) { outcome = trySeed(seed, trial); });
    return outcome;
}

std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

/// The seeds are split into parts that can run beside each other.
constexpr std::uint64_t kParts = 10;

class EverySeed : public testing::TestWithParam<std::uint64_t> {};

}  // namespace

TEST_P(EverySeed, HasResultsThatTheWireExplainsAndTheMemoryThatWasWanted) {
    const std::uint64_t part = GetParam();
    if (std::getenv("TALVEX_SEED") != nullptr) {
        if (part == 0) {
            runSeed(numberFrom("TALVEX_SEED", 0));
        }
        return;
    }
    const std::uint64_t count = numberFrom("TALVEX_SEEDS", 1'000) / kParts;
    const std::uint64_t first = numberFrom("TALVEX_FIRST_SEED", 0) + part * count;
    SeedTally tally;
    std::uint64_t calm = 0;
    for (std::uint64_t i = 0; i < count && !HasFailure(); ++i) {
        const SeedOutcome outcome = runSeed(first + i);
        if (!outcome.stalled) {
            tally += outcome.tally;
            ++calm;
        }
    }
    std::cout << count << " seeds, the machine kept up with " << calm << ": " << tally.operations
              << " operations, " << tally.proven << " proven, " << tally.failed << " failed for a reason, "
              << tally.muddled << " in doubt, " << tally.losses << " links lost\n";
    EXPECT_GE(tally.proven * 2, tally.operations);
    constexpr std::uint64_t kEnough = 30;  // for one that fails for a reason to be among them
    EXPECT_TRUE(tally.failed > 0 || calm < kEnough);
}

INSTANTIATE_TEST_SUITE_P(Parts, EverySeed, testing::Range<std::uint64_t>(0, kParts));

}  // namespace sweep
