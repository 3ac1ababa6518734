// The library through its exports against simulated ECUs: whole sessions.
#include "sim/XcpEcuCodes.h"
#include "tests/support/TestHost.h"
#include "tests/system/BusHost.h"
#include "tests/system/EcuPair.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace systemtest {
namespace {

using support::waitFor;

constexpr std::uint8_t kDisconnectCode = 0xFE;
constexpr std::uint8_t kUnlockCode = 0xF7;
constexpr std::uint8_t kFreeDaqCode = 0xD6;
constexpr std::uint8_t kClearDaqListCode = 0xE3;

const char* const kNoKeyLine = "seedkey_path or XCP_GET_SEED_CMD not found";
const char* const kLockedLine = "Access denied, Seed& Key is required";

/// Measures all signals of the only ECU until each came @p count times.
void measuresAll(BusHost& host, const EcuPair& pair, std::uint64_t count) {
    const std::vector<mcMeasureVariable> variables = allVariables(pair);
    const std::string& name = pair.cfg.ecuName;
    ASSERT_EQ(host.starts({{name, variables}}), 0);
    EXPECT_TRUE(waitFor([&] { return host.proofOf(name).fewestSampled(variables) >= count; }, kPatience));
    ASSERT_EQ(host.stops(), 0);
}

TEST(AClassicEcu, IsConnectedUnlockedMeasuredPolledAndLeft) {
    EcuPair pair = classicEcu("engine");
    addLock(pair, sim::xcp::kCalPag, 4);
    addLock(pair, sim::xcp::kDaq, 10);  // seed and key take two frames each
    addSignals(pair, 0, "fast");
    addSignals(pair, 1, "slow");
    std::vector<mcMeasureVariable> variables = allVariables(pair);
    const std::vector<mcMeasureVariable> byDaq = variables;
    addCounter(pair, "polled", 0);
    variables.push_back(variableOf(pair, "polled", 10));
    BusHost host;
    host.addBus(fastBus());
    host.limitUndelivered(100);
    sim::XcpEcu& ecu = host.addEcu(pair);

    ASSERT_EQ(host.connects({"engine"}), 0);
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isEcuConnect("engine"));
    EXPECT_EQ(ecu.counters().unlocks, 2U);
    EXPECT_EQ(ecu.counters().commands[kUnlockCode], 3U);
    EXPECT_EQ(ecu.protection(), 0);

    ASSERT_EQ(host.starts({{"engine", variables}}), 0);
    EXPECT_EQ(host.resultCount(kMeasurementBegins), 1U);
    EXPECT_TRUE(isMeasureing());
    EXPECT_EQ(ecu.counters().commands[kFreeDaqCode], 1U);
    const SignalProof& proof = host.proofOf("engine");
    EXPECT_TRUE(
        waitFor([&] { return proof.fewestSampled(byDaq) >= 100 && proof.polled("polled") >= 5; }, kPatience));

    ASSERT_EQ(host.stops(), 0);
    EXPECT_FALSE(isMeasureing());
    EXPECT_FALSE(ecu.daqRunning());
    ASSERT_EQ(host.disconnects(), 0);
    EXPECT_FALSE(isConnectEcu());
    EXPECT_FALSE(ecu.connected());
    EXPECT_EQ(ecu.counters().commands[kDisconnectCode], 1U);
    EXPECT_EQ(proof.faults(), std::vector<std::string>());
}

TEST(ABigEndianFdEcu, IsMeasuredByStaticListsWithTimestamps) {
    EcuPair pair = fdEcu("gateway", 64);
    setByteOrder(pair, sim::ByteOrder::motorola);
    setTimestamp(pair, 4);
    useStaticLists(pair, 6, 2, 20);
    addLock(pair, sim::xcp::kDaq, 108);  // in frames of 64 and 48 bytes, which need no padding
    pair.ecu.daq.events = {
        {.name = "1 ms", .cycle = 1}, {.name = "10 ms", .cycle = 10}, {.name = "", .cycle = 100}};
    for (int i = 0; i < 20; ++i) {
        addCounter(pair, "fast" + std::to_string(i), 0);
    }
    for (int i = 0; i < 45; ++i) {  // more than one list of two ODTs can take
        addCounter(pair, "middle" + std::to_string(i), 1);
    }
    addSignals(pair, 2, "slow");
    addSignal(pair, {.name = "state",
                     .kind = sim::SignalKind::stateMachine,
                     .event = 2,
                     .length = 7,
                     .texts = {"off", "starting", "running"}});
    BusHost host;
    sim::VirtualBusConfig config = fastBus();
    config.rates = {.nominal = 1'000'000, .data = 8'000'000};
    host.addBus(config);
    sim::XcpEcu& ecu = host.addEcu(pair);

    ASSERT_EQ(host.connects({"gateway"}), 0);
    EXPECT_EQ(ecu.counters().commands[kUnlockCode], 2U);
    EXPECT_EQ(ecu.protection(), 0);
    measuresAll(host, pair, 50);
    EXPECT_EQ(ecu.counters().commands[kFreeDaqCode], 0U);
    EXPECT_EQ(ecu.counters().commands[kClearDaqListCode], 0U);
    ASSERT_EQ(host.disconnects(), 0);
    EXPECT_FALSE(ecu.connected());
}

TEST(AnEcu, IsMeasuredTwiceInOneSessionAndAgainInTheNext) {
    EcuPair pair = classicEcu("engine");
    addSignals(pair, 0, "fast");
    BusHost host;
    host.addBus(fastBus());
    const sim::XcpEcu& ecu = host.addEcu(pair);
    ASSERT_EQ(host.connects({"engine"}), 0);
    measuresAll(host, pair, 20);
    measuresAll(host, pair, 20);
    ASSERT_EQ(host.disconnects(), 0);
    ASSERT_EQ(host.connects({"engine"}), 0);
    measuresAll(host, pair, 20);
    EXPECT_EQ(ecu.counters().sessions, 2U);
}

TEST(FourEcusOnOneBus, DeliverSixtySecondsWithoutAGap) {
    constexpr std::uint64_t kCycles = 6'000;  // of 10 ms
    std::vector<EcuPair> pairs;
    BusHost host;
    const sim::VirtualBus& bus = host.addBus(fastBus());
    std::vector<std::string> names;
    Variables variables;
    for (unsigned number = 0; number < 4; ++number) {
        pairs.push_back(classicEcu("ecu" + std::to_string(number), number));
        addSignals(pairs.back(), 0, "fast");
        addSignals(pairs.back(), 1, "slow");
        host.addEcu(pairs.back());
        names.push_back(pairs.back().cfg.ecuName);
        variables[names.back()] = allVariables(pairs.back());
    }
    ASSERT_EQ(host.connects(names), 0);
    ASSERT_EQ(host.starts(variables), 0);
    for (const EcuPair& pair : pairs) {
        const SignalProof& proof = host.proofOf(pair.cfg.ecuName);
        EXPECT_TRUE(waitFor([&] { return proof.sampled("fast.count") >= kCycles; }, kPatience));
        EXPECT_GE(proof.sampled("slow.count"), kCycles / 10 - 1);
    }
    EXPECT_GE(bus.now(), 60'000'000'000U);
    ASSERT_EQ(host.stops(), 0);
    EXPECT_EQ(host.resultCount(kLinkLost), 0U);
}

TEST(ALockedEcu, IsConnectedWithoutKeysAndRefusesToTellItsDaqFacts) {
    EcuPair pair = classicEcu("engine");
    addLock(pair, sim::xcp::kDaq, 4);
    addSignals(pair, 0, "fast");
    pair.cfg.seedkey_path.clear();
    BusHost host;
    host.addBus(fastBus());
    const sim::XcpEcu& ecu = host.addEcu(pair);
    EXPECT_EQ(host.connects({"engine"}), 0);
    EXPECT_EQ(host.logCount(3, kNoKeyLine), 1U);
    EXPECT_EQ(ecu.protection(), sim::xcp::kDaq);
    EXPECT_EQ(host.starts({{"engine", allVariables(pair)}}), 16);
    EXPECT_EQ(host.logCount(3, kLockedLine), 1U);
    EXPECT_FALSE(isMeasureing());
}

TEST(ALockedEcu, RefusesToStartAMeasurementThatWasPlannedWithoutIt) {
    EcuPair pair = classicEcu("engine");
    addLock(pair, sim::xcp::kDaq, 4);
    addSignals(pair, 0, "fast");
    pair.cfg.seedkey_path.clear();
    tellDaqFacts(pair);
    BusHost host;
    host.addBus(fastBus());
    const sim::XcpEcu& ecu = host.addEcu(pair);
    EXPECT_EQ(host.connects({"engine"}), 0);
    EXPECT_EQ(host.starts({{"engine", allVariables(pair)}}), 15);
    EXPECT_FALSE(ecu.daqRunning());
    EXPECT_EQ(host.proofOf("engine").allSampled(), 0U);
}

TEST(ALockedEcu, EndsTheSessionOfAHostWithWrongKeysAndOpensToTheRightOnes) {
    EcuPair pair = classicEcu("engine");
    addLock(pair, sim::xcp::kDaq, 10);
    addSignals(pair, 0, "fast");
    pair.cfg.seedkey_path = kWrongKeyLibrary;
    pair.cfg.xcp.statusPeriodMs = 0;  // the ECU would not answer behind the end of its session
    BusHost host;
    host.addBus(fastBus());
    const sim::XcpEcu& ecu = host.addEcu(pair);
    EXPECT_EQ(host.connects({"engine"}), 11);
    EXPECT_EQ(host.logCount(3, kLockedLine), 1U);
    EXPECT_EQ(ecu.counters().unlocks, 0U);
    EXPECT_FALSE(ecu.connected());

    pair.cfg.seedkey_path = kKeyLibrary;
    host.configure(pair.cfg);
    ASSERT_EQ(host.connects({"engine"}), 0);
    EXPECT_EQ(ecu.counters().unlocks, 1U);
    measuresAll(host, pair, 10);
}

TEST(ALockedEcu, IsNotUnlockedByALibraryThatIsNotThere) {
    EcuPair pair = classicEcu("engine");
    addLock(pair, sim::xcp::kDaq, 4);
    pair.cfg.seedkey_path = kMissingKeyLibrary;
    BusHost host;
    host.addBus(fastBus());
    const sim::XcpEcu& ecu = host.addEcu(pair);
    EXPECT_EQ(host.connects({"engine"}), 10);
    EXPECT_EQ(host.logCount(4, "SeedKey dll load failed, seedkey_path=no library"), 1U);
    EXPECT_EQ(ecu.counters().commands[kUnlockCode], 0U);
}

TEST(ADisconnect, ThrowsAwayWhatIsQueuedBehindIt) {
    EcuPair alive = classicEcu("alive", 0);
    addCounter(alive, "count", 0);
    EcuPair silent = classicEcu("silent", 1);
    setPatience(silent, std::chrono::seconds(1), 0);
    const std::vector<mcMeasureVariable> count = {variableOf(alive, "count")};
    BusHost host;
    host.addBus(fastBus());
    host.addEcu(alive);
    host.addEcu(silent).inject({.kind = sim::EcuFaultKind::silence, .count = sim::EcuFault::kForever});
    ASSERT_EQ(host.connects({"alive"}), 0);

    EcuConnect({"silent"});  // waits for an answer while the others are queued
    MeasureVars("alive", count);
    EcuDisconnect();
    MeasureVars("alive", count);
    StartMeasurement({{"alive", count}});
    EcuConnect({"alive"});
    StopMeasurement();
    EXPECT_EQ(host.awaitResult(kConnect).result, 3);
    EXPECT_EQ(host.awaitResult(kDisconnect).result, 0);
    ASSERT_EQ(host.connects({"alive"}), 0);

    std::vector<std::uint32_t> commands;
    for (const TaskResult& result : host.results()) {
        commands.push_back(result.command);
    }
    EXPECT_EQ(commands,
              std::vector<std::uint32_t>({kConnect, kConnect, kMeasureVars, kDisconnect, kConnect}));
    EXPECT_EQ(host.proofOf("alive").polled("count"), 1U);
}

}  // namespace
}  // namespace systemtest
