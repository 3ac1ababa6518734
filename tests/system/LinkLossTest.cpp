// ECUs that fall silent, and come back in time or too late.
#include "tests/support/TestHost.h"
#include "tests/support/Trial.h"
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
struct LinkBench {
    LinkBench() {
        addSignals(steady, 0, "fast");
        addCounter(shaky, "first", 0);
        addCounter(shaky, "second", 0);
    }

    /// @param statusPeriodMs  how often "shaky" is asked for its status; 0 for never
    void areMeasured(std::uint32_t statusPeriodMs, milliseconds timeout, std::int32_t retryCount) {
        setPatience(shaky, timeout, retryCount);
        shaky.cfg.xcp.statusPeriodMs = statusPeriodMs;
        bus = &host.addBus(realTimeBus());
        steadyEcu = &host.addEcu(steady);
        shakyEcu = &host.addEcu(shaky);
        host.proofOf("shaky").expect(Expected::losses);
        ASSERT_EQ(host.connects({"steady", "shaky"}), 0);
        start();
    }

    void start() {
        ASSERT_EQ(host.starts({{"steady", allVariables(steady)}, {"shaky", allVariables(shaky)}}), 0);
        expectMore("steady", 10);
        expectMore("shaky", 10);
    }

    /// Waits until all variables of an ECU came @p count times more, or a link is lost.
    void expectMore(const std::string& name, std::uint64_t count) {
        const SignalProof& proof = host.proofOf(name);
        const std::vector<mcMeasureVariable> variables = allVariables(name == "steady" ? steady : shaky);
        const std::uint64_t wanted = proof.fewestSampled(variables) + count;
        const std::size_t lost = host.resultCount(kLinkLost);
        const auto came = [&] { return proof.fewestSampled(variables) >= wanted; };
        EXPECT_TRUE(waitFor([&] { return came() || host.resultCount(kLinkLost) > lost; }, kPatience) &&
                    came())
            << name;
    }

    void silence() { bus->silenceNow(host.portOf("shaky")); }
    void restore() { bus->restore(host.portOf("shaky")); }
    [[nodiscard]] std::uint64_t statusRequests() const {
        return shakyEcu->counters().commands[kGetStatusCode];
    }

    EcuPair steady = classicEcu("steady", 0);
    EcuPair shaky = classicEcu("shaky", 1);
    BusHost host;
    sim::VirtualBus* bus = nullptr;
    sim::XcpEcu* steadyEcu = nullptr;
    sim::XcpEcu* shakyEcu = nullptr;
};

class TwoEcus : public testing::Test, protected LinkBench {};

TEST_F(TwoEcus, DoNotLoseALinkThatNobodyAsksForAnything) {
    areMeasured(0, milliseconds(5'000), 0);
    silence();
    EXPECT_TRUE(waitFor([this] { return bus->counters().silenced >= 50; }, kPatience));
    expectMore("steady", 10);
    restore();
    expectMore("shaky", 10);
    expectMore("steady", 10);
    EXPECT_EQ(host.resultCount(kLinkLost), 0U);
    EXPECT_TRUE(isConnectEcu());
    EXPECT_EQ(host.stops(), 0);
}

/// Each time at least one answer is missing for 250 ms, so that all losses together last longer than the
/// budget of 3 s: the clock of the loss has to start anew each time.
void comesAndGoes(const support::Trial& trial) {
    LinkBench bench;
    bench.areMeasured(20, milliseconds(250), 11);
    const auto isLost = [&] { return bench.host.resultCount(kLinkLost) > 0; };
    for (int round = 0; round < 13 && !trial.failed() && !isLost(); ++round) {
        SCOPED_TRACE(round);
        const std::uint64_t before = bench.statusRequests();
        bench.silence();
        // One may still be answered, the next waits in vain, the third repeats it.
        EXPECT_TRUE(waitFor([&] { return bench.statusRequests() >= before + 3 || isLost(); }, kPatience));
        bench.restore();
        if (!isLost()) {
            bench.expectMore("shaky", 3);
            bench.expectMore("steady", 3);
        }
    }
    EXPECT_FALSE(isLost());
    if (isLost()) {
        bench.host.awaitResult(kDisconnect);  // which drops what is queued ahead of its end
        return;
    }
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isMeasureing());
    EXPECT_EQ(bench.host.stops(), 0);
}

/// A machine that stands still lets the budget run out by itself.
TEST(ALinkThatComesAndGoes, IsNotReportedBeforeItsBudgetRanOut) {
    support::runTrials("measurement", milliseconds(20), comesAndGoes);
}

TEST_F(TwoEcus, AreDisconnectedWhenOneIsLostAndCanBeConnectedAgain) {
    areMeasured(20, milliseconds(400), 1);
    silence();
    const TaskResult lost = host.awaitResult(kLinkLost);
    EXPECT_EQ(lost.result, 0);
    EXPECT_EQ(lost.details, std::vector<std::string>({"ecu:shaky-Recive msg timeout"}));
    EXPECT_EQ(host.logCount(1, "Task cmd result:(0) ecu:shaky-Recive msg timeout;"), 1U);
    EXPECT_EQ(host.awaitResult(kDisconnect).result, 0);
    EXPECT_FALSE(isConnectEcu());
    EXPECT_FALSE(isMeasureing());
    EXPECT_FALSE(isEcuConnect("steady"));
    EXPECT_FALSE(steadyEcu->connected());
    EXPECT_TRUE(shakyEcu->connected()) << "nothing is sent on a link that is lost";

    restore();
    ASSERT_EQ(host.connects({"steady", "shaky"}), 0);
    start();
    EXPECT_EQ(host.resultCount(kLinkLost), 1U);
    EXPECT_EQ(host.stops(), 0);
}

/// A measurement of the others goes on for the budget of the one that never answered.
TEST_F(TwoEcus, AreDisconnectedWhenOneDidNotEvenAnswerToConnect) {
    setPatience(shaky, milliseconds(100), 1);
    host.addBus(realTimeBus());
    host.addEcu(steady);
    host.addEcu(shaky).inject({.kind = sim::EcuFaultKind::silence, .count = sim::EcuFault::kForever});
    EXPECT_EQ(host.connects({"steady", "shaky"}), 3);
    EXPECT_FALSE(isConnectEcu()) << "a failed CONNECT leaves the flag as it was";
    ASSERT_EQ(host.starts({{"steady", allVariables(steady)}}), 0);
    EXPECT_EQ(host.awaitResult(kLinkLost).details,
              std::vector<std::string>({"ecu:shaky-Recive msg timeout"}));
    EXPECT_EQ(host.awaitResult(kDisconnect).result, 0);
    EXPECT_FALSE(isMeasureing());
}

}  // namespace
}  // namespace systemtest
