// ECUs that fall silent, and come back in time or too late.
#include "tests/support/TestHost.h"
#include "tests/system/BusHost.h"
#include "tests/system/EcuPair.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace systemtest {
namespace {

using std::chrono::milliseconds;
using support::waitFor;

constexpr std::uint8_t kGetStatusCode = 0xFD;

/// Two ECUs on a bus in real time: "steady", which never fails, and "shaky", which is asked for its status.
class TwoEcus : public testing::Test {
protected:
    TwoEcus() {
        addSignals(m_steady, 0, "fast");
        addCounter(m_shaky, "first", 0);
        addCounter(m_shaky, "second", 0);
    }

    /// @param statusPeriodMs  how often "shaky" is asked for its status; 0 for never
    void areMeasured(std::uint32_t statusPeriodMs, milliseconds timeout, std::int32_t retryCount) {
        setPatience(m_shaky, timeout, retryCount);
        m_shaky.cfg.xcp.statusPeriodMs = statusPeriodMs;
        m_bus = &m_host.addBus(realTimeBus());
        m_steadyEcu = &m_host.addEcu(m_steady);
        m_shakyEcu = &m_host.addEcu(m_shaky);
        m_host.proofOf("shaky").expect(Expected::losses);
        ASSERT_EQ(m_host.connects({"steady", "shaky"}), 0);
        start();
    }

    void start() {
        ASSERT_EQ(m_host.starts({{"steady", allVariables(m_steady)}, {"shaky", allVariables(m_shaky)}}), 0);
        expectMore("steady", 10);
        expectMore("shaky", 10);
    }

    /// Waits until all variables of an ECU came @p count times more.
    void expectMore(const std::string& name, std::uint64_t count) {
        const SignalProof& proof = m_host.proofOf(name);
        const std::vector<mcMeasureVariable> variables = allVariables(name == "steady" ? m_steady : m_shaky);
        const std::uint64_t before = proof.fewestSampled(variables);
        EXPECT_TRUE(waitFor([&] { return proof.fewestSampled(variables) >= before + count; }, kPatience))
            << name;
    }

    void silence() { m_bus->silenceNow(m_host.portOf("shaky")); }
    void restore() { m_bus->restore(m_host.portOf("shaky")); }
    [[nodiscard]] std::uint64_t statusRequests() const {
        return m_shakyEcu->counters().commands[kGetStatusCode];
    }

    EcuPair m_steady = classicEcu("steady", 0);
    EcuPair m_shaky = classicEcu("shaky", 1);
    BusHost m_host;
    sim::VirtualBus* m_bus = nullptr;
    sim::XcpEcu* m_steadyEcu = nullptr;
    sim::XcpEcu* m_shakyEcu = nullptr;
};

TEST_F(TwoEcus, DoNotLoseALinkThatNobodyAsksForAnything) {
    areMeasured(0, milliseconds(5'000), 0);
    silence();
    EXPECT_TRUE(waitFor([this] { return m_bus->counters().silenced >= 50; }, kPatience));
    expectMore("steady", 10);
    restore();
    expectMore("shaky", 10);
    expectMore("steady", 10);
    EXPECT_EQ(m_host.resultCount(kLinkLost), 0U);
    EXPECT_TRUE(isConnectEcu());
    EXPECT_EQ(m_host.stops(), 0);
}

/// Each time at least one answer is missing for 250 ms, so that all losses together last longer than the
/// budget of 3 s: the clock of the loss has to start anew each time.
TEST_F(TwoEcus, DoNotReportALinkThatIsFoundAgainBeforeItsBudgetRanOut) {
    areMeasured(20, milliseconds(250), 11);
    for (int round = 0; round < 13; ++round) {
        SCOPED_TRACE(round);
        const std::uint64_t before = statusRequests();
        silence();
        // One may still be answered, the next waits in vain, the third repeats it.
        EXPECT_TRUE(waitFor([&] { return statusRequests() >= before + 3; }, kPatience));
        restore();
        expectMore("shaky", 3);
        expectMore("steady", 3);
    }
    EXPECT_EQ(m_host.resultCount(kLinkLost), 0U);
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isMeasureing());
    EXPECT_EQ(m_host.stops(), 0);
}

TEST_F(TwoEcus, AreDisconnectedWhenOneIsLostAndCanBeConnectedAgain) {
    areMeasured(20, milliseconds(400), 1);
    silence();
    const TaskResult lost = m_host.awaitResult(kLinkLost);
    EXPECT_EQ(lost.result, 0);
    EXPECT_EQ(lost.details, std::vector<std::string>({"ecu:shaky-Recive msg timeout"}));
    EXPECT_EQ(m_host.logCount(1, "Task cmd result:(0) ecu:shaky-Recive msg timeout;"), 1U);
    EXPECT_EQ(m_host.awaitResult(kDisconnect).result, 0);
    EXPECT_FALSE(isConnectEcu());
    EXPECT_FALSE(isMeasureing());
    EXPECT_FALSE(isEcuConnect("steady"));
    EXPECT_FALSE(m_steadyEcu->connected());
    EXPECT_TRUE(m_shakyEcu->connected()) << "nothing is sent on a link that is lost";

    restore();
    ASSERT_EQ(m_host.connects({"steady", "shaky"}), 0);
    start();
    EXPECT_EQ(m_host.resultCount(kLinkLost), 1U);
    EXPECT_EQ(m_host.stops(), 0);
}

/// A measurement of the others goes on for the budget of the one that never answered.
TEST_F(TwoEcus, AreDisconnectedWhenOneDidNotEvenAnswerToConnect) {
    setPatience(m_shaky, milliseconds(100), 1);
    m_host.addBus(realTimeBus());
    m_host.addEcu(m_steady);
    m_host.addEcu(m_shaky).inject({.kind = sim::EcuFaultKind::silence, .count = sim::EcuFault::kForever});
    EXPECT_EQ(m_host.connects({"steady", "shaky"}), 3);
    EXPECT_FALSE(isConnectEcu()) << "a failed CONNECT leaves the flag as it was";
    ASSERT_EQ(m_host.starts({{"steady", allVariables(m_steady)}}), 0);
    EXPECT_EQ(m_host.awaitResult(kLinkLost).details,
              std::vector<std::string>({"ecu:shaky-Recive msg timeout"}));
    EXPECT_EQ(m_host.awaitResult(kDisconnect).result, 0);
    EXPECT_FALSE(isMeasureing());
}

}  // namespace
}  // namespace systemtest
