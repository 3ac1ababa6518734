// The library through its exports against simulated CCP ECUs: whole sessions.
#include "sim/CcpEcuCodes.h"
#include "tests/support/TestHost.h"
#include "tests/system/CcpStation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace systemtest {
namespace {

using support::waitFor;

constexpr std::uint8_t kDisconnectCode = 0x07;
constexpr std::uint8_t kStartStopAllCode = 0x08;
constexpr std::uint8_t kGetSeedCode = 0x12;
constexpr std::uint8_t kUnlockCode = 0x13;
constexpr std::uint8_t kGetDaqSizeCode = 0x14;

/// Measures all signals of an ECU until each came @p count times.
void measuresAll(BusHost& host, const CcpPair& pair, std::uint64_t count) {
    const std::vector<mcMeasureVariable> variables = allVariables(pair.twin);
    const std::string& name = pair.ecu.name;
    ASSERT_EQ(host.starts({{name, variables}}), 0);
    EXPECT_TRUE(waitFor([&] { return host.proofOf(name).fewestSampled(variables) >= count; }, kPatience));
    ASSERT_EQ(host.stops(), 0);
}

TEST(ACcpEcu, IsConnectedUnlockedMeasuredPolledAndLeft) {
    CcpPair pair = ccpEcu("engine");
    for (const std::uint8_t resource : {sim::ccp::kCal, sim::ccp::kDaq, sim::ccp::kPgm}) {
        addLock(pair, resource);
    }
    addSignals(pair.twin, 0, "fast");
    addSignals(pair.twin, 1, "slow");
    std::vector<mcMeasureVariable> variables = allVariables(pair.twin);
    const std::vector<mcMeasureVariable> byDaq = variables;
    addCounter(pair.twin, "polled", 0);
    variables.push_back(variableOf(pair.twin, "polled", 10));
    BusHost host;
    sim::VirtualBus& bus = host.addBus(fastBus());
    host.limitUndelivered(100);
    CcpStation station(host, bus, pair);

    ASSERT_EQ(host.connects({"engine"}), 0);
    EXPECT_TRUE(isEcuConnect("engine"));
    EXPECT_EQ(host.logCount(2, "Get slave id :engine"), 1U);
    EXPECT_EQ(station.ecu.counters().unlocks, 3U);
    EXPECT_EQ(station.ecu.protection(), 0);
    EXPECT_EQ(station.ecu.sessionStatus(),
              sim::ccp::kStatusCal | sim::ccp::kStatusDaq | sim::ccp::kStatusRun);

    ASSERT_EQ(host.starts({{"engine", variables}}), 0);
    EXPECT_TRUE(isMeasureing());
    const SignalProof& proof = host.proofOf("engine");
    EXPECT_TRUE(
        waitFor([&] { return proof.fewestSampled(byDaq) >= 100 && proof.polled("polled") >= 5; }, kPatience));

    ASSERT_EQ(host.stops(), 0);
    EXPECT_FALSE(isMeasureing());
    EXPECT_FALSE(station.ecu.daqRunning());
    EXPECT_EQ(station.ecu.counters().commands[kStartStopAllCode], 1U);
    ASSERT_EQ(host.disconnects(), 0);
    EXPECT_FALSE(isConnectEcu());
    EXPECT_FALSE(station.ecu.connected());
    EXPECT_EQ(station.ecu.counters().commands[kDisconnectCode], 1U);
    EXPECT_EQ(proof.faults(), std::vector<std::string>());
}

TEST(ACcpEcu, IsMeasuredTwiceInOneSessionAndAgainInTheNext) {
    CcpPair pair = ccpEcu("engine");
    addSignals(pair.twin, 0, "fast");
    pair.twin.cfg.ccp.queryDaqSizes = 1;
    BusHost host;
    sim::VirtualBus& bus = host.addBus(fastBus());
    CcpStation station(host, bus, pair);
    ASSERT_EQ(host.connects({"engine"}), 0);
    measuresAll(host, pair, 20);
    measuresAll(host, pair, 20);
    ASSERT_EQ(host.disconnects(), 0);
    ASSERT_EQ(host.connects({"engine"}), 0);
    measuresAll(host, pair, 20);
    EXPECT_EQ(station.ecu.counters().sessions, 2U);
    EXPECT_EQ(station.ecu.counters().commands[kGetDaqSizeCode], 3U * kCcpLists);
}

/// The CONNECT of one takes the other off line, so a host has one of them at a time.
TEST(CcpStationsOnOneIdentifier, AreMeasuredOneAfterTheOther) {
    CcpPair first = ccpEcu("first", 0);
    CcpPair second = ccpEcu("second", 1);
    second.twin.cfg.canIdMaster = second.ecu.croId = first.ecu.croId;
    second.twin.cfg.canIdSlave = second.ecu.dtoId = first.ecu.dtoId;
    addSignals(first.twin, 0, "fast");
    addCounter(second.twin, "count", 0);
    BusHost host;
    sim::VirtualBus& bus = host.addBus(fastBus());
    CcpStation one(host, bus, first);
    CcpStation other(host, bus, second);
    ASSERT_EQ(host.connects({"first"}), 0);
    EXPECT_TRUE(one.ecu.connected());
    measuresAll(host, first, 20);
    ASSERT_EQ(host.disconnects(), 0);
    ASSERT_EQ(host.connects({"second"}), 0);
    EXPECT_FALSE(one.ecu.connected());
    EXPECT_TRUE(other.ecu.connected());
    measuresAll(host, second, 20);
    EXPECT_EQ(host.logCount(2, "Get slave id :first"), 1U);
    EXPECT_EQ(host.logCount(2, "Get slave id :second"), 1U);
    EXPECT_EQ(one.ecu.counters().sessions, 1U);
    EXPECT_EQ(other.ecu.counters().sessions, 1U);
}

TEST(ACcpEcuOfAnotherVersion, IsLeftInItsSession) {
    CcpPair pair = ccpEcu("engine");
    pair.ecu.versionMajor = 3;
    BusHost host;
    sim::VirtualBus& bus = host.addBus(fastBus());
    CcpStation station(host, bus, pair);
    EXPECT_EQ(host.connects({"engine"}), 5);
    EXPECT_TRUE(station.ecu.connected());
    EXPECT_TRUE(isEcuConnect("engine"));
}

class ALockedCcpEcu : public testing::Test {
protected:
    ALockedCcpEcu() {
        addLock(m_pair, sim::ccp::kDaq);
        addSignals(m_pair.twin, 0, "fast");
    }

    CcpPair m_pair = ccpEcu("engine");
    BusHost m_host;
    sim::VirtualBus& m_bus = m_host.addBus(fastBus());
};

/// The first protected command ends the link, which the polling thread reports with the text of its refusal.
TEST_F(ALockedCcpEcu, IsConnectedWithoutKeysAndLostAtItsFirstProtectedCommand) {
    m_pair.twin.cfg.seedkey_path.clear();
    setPatience(m_pair, kImpatient, 0);
    CcpStation station(m_host, m_bus, m_pair);
    EXPECT_EQ(m_host.connects({"engine"}), 0);
    EXPECT_EQ(station.ecu.counters().commands[kGetSeedCode], 0U);
    EXPECT_EQ(station.ecu.protection(), sim::ccp::kDaq);
    EXPECT_EQ(m_host.starts({{"engine", allVariables(m_pair.twin)}}), 0) << "no failure shows";
    EXPECT_GE(m_host.logCount(4, "CCP SetDaqPtr failed"), 1U);
    EXPECT_EQ(m_host.logCount(3, "Access locked"), 1U);
    EXPECT_EQ(m_host.awaitResult(kLinkLost).details, std::vector<std::string>({"ecu:engine-Access locked"}));
    EXPECT_EQ(m_host.awaitResult(kDisconnect).result, 0);
    EXPECT_FALSE(station.ecu.daqRunning());
    EXPECT_EQ(m_host.proofOf("engine").allSampled(), 0U);
}

TEST_F(ALockedCcpEcu, RefusesWrongKeysAndOpensToTheRightOnes) {
    m_pair.twin.cfg.seedkey_path = kWrongKeyLibrary;
    CcpStation station(m_host, m_bus, m_pair);
    EXPECT_EQ(m_host.connects({"engine"}), 8);
    EXPECT_EQ(station.ecu.counters().commands[kUnlockCode], 1U);
    EXPECT_EQ(station.ecu.counters().unlocks, 0U);
    m_pair.twin.cfg.seedkey_path = kKeyLibrary;
    m_host.configure(m_pair.twin.cfg);
    ASSERT_EQ(m_host.connects({"engine"}), 0);
    EXPECT_EQ(station.ecu.counters().unlocks, 1U);
    measuresAll(m_host, m_pair, 20);
}

TEST_F(ALockedCcpEcu, IsNotUnlockedByALibraryThatIsNotThere) {
    m_pair.twin.cfg.seedkey_path = kMissingKeyLibrary;
    CcpStation station(m_host, m_bus, m_pair);
    EXPECT_EQ(m_host.connects({"engine"}), 8);
    EXPECT_EQ(m_host.logCount(4, "SeedKey dll load failed, seedkey_path=no library"), 1U);
    EXPECT_EQ(station.ecu.counters().commands[kGetSeedCode], 0U);
}

TEST_F(ALockedCcpEcu, IsNotAskedForSeedsThatTheMaskLeavesOut) {
    m_pair.twin.cfg.ccp.unlockMask = sim::ccp::kCal | sim::ccp::kPgm;
    CcpStation station(m_host, m_bus, m_pair);
    EXPECT_EQ(m_host.connects({"engine"}), 0);
    EXPECT_EQ(station.ecu.counters().commands[kGetSeedCode], 0U);
    EXPECT_EQ(station.ecu.protection(), sim::ccp::kDaq);
}

}  // namespace
}  // namespace systemtest
