// A CCP ECU that falls silent beside one that does not, and comes back in time or too late.
#include "tests/support/TestHost.h"
#include "tests/system/CcpStation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace systemtest {
namespace {

using support::waitFor;

constexpr std::uint8_t kGetSStatusCode = 0x0D;

/// Two ECUs on a bus in real time: "steady", which never fails, and "shaky", which is asked for its status
/// every 20 ms.
class TwoCcpEcus : public testing::Test {
protected:
    TwoCcpEcus() {
        for (CcpPair* pair : {&m_steady, &m_shaky}) {
            addCounter(pair->twin, "first", 0);
            addCounter(pair->twin, "second", 0);
        }
        m_shaky.twin.cfg.ccp.statusPeriodMs = 20;
        setPatience(m_shaky, kImpatient, 0);
    }

    void connectAndAskForStart() {
        ASSERT_EQ(m_host.connects({"steady", "shaky"}), 0);
        ASSERT_EQ(
            m_host.starts({{"steady", allVariables(m_steady.twin)}, {"shaky", allVariables(m_shaky.twin)}}),
            0);
    }

    void connectAndStart() {
        connectAndAskForStart();
        expectMore("steady");
        expectMore("shaky");
    }

    /// Waits until all variables of an ECU came 10 times more.
    void expectMore(const std::string& name) {
        const SignalProof& proof = m_host.proofOf(name);
        const std::vector<mcMeasureVariable> variables = allVariables(m_shaky.twin);  // named alike in both
        const std::uint64_t before = proof.fewestSampled(variables);
        EXPECT_TRUE(waitFor([&] { return proof.fewestSampled(variables) >= before + 10; }, kPatience))
            << name;
    }

    CcpPair m_steady = ccpEcu("steady", 0);
    CcpPair m_shaky = ccpEcu("shaky", 1);
    BusHost m_host;
    sim::VirtualBus& m_bus = m_host.addBus(realTimeBus());
};

/// GET_DAQ_SIZE stops and empties the lists that still run when the link is found again.
TEST_F(TwoCcpEcus, AreDisconnectedWhenOneIsLostAndCanBeConnectedAgain) {
    m_shaky.twin.cfg.ccp.queryDaqSizes = 1;
    CcpStation steady(m_host, m_bus, m_steady);
    CcpStation shaky(m_host, m_bus, m_shaky);
    m_host.proofOf("shaky").expect(Expected::losses);
    connectAndStart();
    m_bus.silenceNow(shaky.port());
    EXPECT_EQ(m_host.awaitResult(kLinkLost).details, std::vector<std::string>({"ecu:shaky-UnKnow 0x80"}));
    EXPECT_EQ(m_host.logCount(1, "Task cmd result:(0) ecu:shaky-UnKnow 0x80;"), 1U);
    EXPECT_EQ(m_host.awaitResult(kDisconnect).result, 0);
    EXPECT_FALSE(isConnectEcu());
    EXPECT_FALSE(isMeasureing());
    EXPECT_FALSE(steady.ecu.connected());
    EXPECT_FALSE(steady.ecu.daqRunning());
    EXPECT_TRUE(shaky.ecu.connected()) << "nothing is sent on a link that is lost";
    EXPECT_TRUE(shaky.ecu.daqRunning());

    m_bus.restore(shaky.port());
    connectAndStart();
    EXPECT_EQ(m_host.logCount(4, "CCP WriteDaq failed"), 0U);
    EXPECT_EQ(m_host.stops(), 0);
    EXPECT_EQ(m_host.resultCount(kLinkLost), 1U);
    EXPECT_FALSE(shaky.ecu.daqRunning());
}

/// Nothing stops the lists of the lost ECU but a new session's own stop, and none can be written while it
/// runs.
TEST_F(TwoCcpEcus, LoseTheLinkAgainIfTheListsThatStillRunAreNotAskedForTheirSizes) {
    CcpStation steady(m_host, m_bus, m_steady);
    CcpStation shaky(m_host, m_bus, m_shaky);
    m_host.proofOf("shaky").expect(Expected::losses);
    connectAndStart();
    m_bus.silenceNow(shaky.port());
    EXPECT_EQ(m_host.awaitResult(kLinkLost).result, 0);
    EXPECT_EQ(m_host.awaitResult(kDisconnect).result, 0);
    m_bus.restore(shaky.port());
    connectAndAskForStart();
    EXPECT_EQ(m_host.logCount(4, "CCP WriteDaq failed"), 1U);
    EXPECT_EQ(m_host.awaitResult(kLinkLost).details, std::vector<std::string>({"ecu:shaky-Access denied"}));
    EXPECT_EQ(m_host.awaitResult(kDisconnect).result, 0);

    ASSERT_EQ(m_host.connects({"shaky"}), 0);
    m_host.forgetResults();
    EXPECT_EQ(m_host.disconnects(), 0);
    EXPECT_FALSE(shaky.ecu.daqRunning()) << "the end of its session stops them";
    connectAndStart();
    EXPECT_EQ(m_host.stops(), 0);
}

/// 150 ms late, which is well ahead of the time-out.
TEST_F(TwoCcpEcus, GoOnWhenAnswersOnlyComeLate) {
    setPatience(m_shaky, std::chrono::seconds(20), 0);
    CcpStation steady(m_host, m_bus, m_steady);
    CcpStation shaky(m_host, m_bus, m_shaky);
    connectAndStart();
    const std::uint64_t before = shaky.ecu.counters().commands[kGetSStatusCode];
    shaky.ecu.inject(
        {.kind = sim::EcuFaultKind::delay, .command = kGetSStatusCode, .count = 3, .delay = 150'000'000});
    EXPECT_TRUE(
        waitFor([&] { return shaky.ecu.counters().commands[kGetSStatusCode] >= before + 5; }, kPatience));
    expectMore("steady");
    expectMore("shaky");
    EXPECT_EQ(m_host.resultCount(kLinkLost), 0U);
    EXPECT_EQ(m_host.stops(), 0);
}

/// The repeat gets its answer, so the last status is a good one and the link does not look lost. Nothing is
/// sent on it any more, though, until the host connects again.
TEST_F(TwoCcpEcus, KeepMeasuringOverALinkThatARepeatWonBackAndThatIsDeadForCommands) {
    setPatience(m_shaky, kImpatient, 1);
    CcpStation steady(m_host, m_bus, m_steady);
    CcpStation shaky(m_host, m_bus, m_shaky);
    connectAndStart();
    shaky.ecu.inject({.kind = sim::EcuFaultKind::drop, .command = kGetSStatusCode});
    EXPECT_TRUE(waitFor([this] { return m_host.logCount(3, "Send GetStatus failed.") >= 3; }, kPatience));
    const std::uint64_t requests = shaky.ecu.counters().commands[kGetSStatusCode];
    expectMore("steady");
    expectMore("shaky");
    EXPECT_EQ(shaky.ecu.counters().commands[kGetSStatusCode], requests);
    EXPECT_EQ(m_host.resultCount(kLinkLost), 0U);
    EXPECT_EQ(m_host.stops(), 0);
    EXPECT_TRUE(shaky.ecu.daqRunning()) << "its stop was not sent";
    EXPECT_FALSE(steady.ecu.daqRunning());
}

}  // namespace
}  // namespace systemtest
