// Measurements on a bus that loses, repeats and delays frames.
#include "sim/XcpEcuCodes.h"
#include "tests/support/TestHost.h"
#include "tests/system/BusHost.h"
#include "tests/system/EcuPair.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace systemtest {
namespace {

using std::chrono::milliseconds;

struct Disturbance {
    const char* name;
    sim::FaultRates rates;
    bool staleAnswers;  ///< an answer may be taken for that of a later command
    Expected expected;
};

void PrintTo(const Disturbance& disturbance, std::ostream* out) {
    *out << disturbance.name;
}

constexpr sim::Time kLate = 3'000'000;

const Disturbance kDisturbances[] = {
    {"LostFrames", {.drop = 0.02}, false, Expected::losses},
    {"RepeatedFrames", {.duplicate = 0.02}, true, Expected::losses},
    {"LateFrames", {.delay = 0.02, .delayBy = kLate}, false, Expected::disorder},
    {"AllOfThem",
     {.drop = 0.02, .delay = 0.02, .duplicate = 0.02, .delayBy = kLate},
     true,
     Expected::strayAnswers},
};

class DisturbedBus : public testing::TestWithParam<Disturbance> {
protected:
    /// An ECU whose frames explain themselves: each ODT has one entry, so that an entry that is written
    /// twice, because its answer was lost, cannot push the others out of their places.
    [[nodiscard]] static EcuPair makePair() {
        EcuPair pair = classicEcu("ecu");
        setPatience(pair, milliseconds(200), 3);
        setIdField(pair, sim::XcpIdField::relativeByte);
        addLock(pair, sim::xcp::kDaq, 10);
        pair.ecu.daq.events = {{.name = "5 ms", .cycle = 5}, {.name = "20 ms", .cycle = 20}};
        for (std::uint16_t event = 0; event < 2; ++event) {
            addCounter(pair, "first" + std::to_string(event), event);
            addCounter(pair, "second" + std::to_string(event), event);
        }
        tellDaqFacts(pair);
        return pair;
    }

    /// One session on a bus of its own. @return DAQ values that came
    static std::uint64_t session(const EcuPair& pair, std::uint64_t seed) {
        sim::VirtualBusConfig config = realTimeBus();
        config.seed = seed;
        BusHost host;
        sim::VirtualBus& bus = host.addBus(config);
        bus.setFaults(GetParam().rates);
        host.addEcu(pair);
        SignalProof& proof = host.proofOf("ecu");
        proof.expect(GetParam().expected);
        if (!connected(host)) {
            return 0;
        }
        StartMeasurement({{"ecu", allVariables(pair)}});
        const int started = host.awaitResult(kStart).result;
        expectOneOf(started, {0, 15});
        if (started == 0) {
            EXPECT_TRUE(bus.waitUntil(bus.now() + 500'000'000, kPatience));
        }
        EXPECT_EQ(host.stops(), 0);
        EXPECT_EQ(proof.faults(), std::vector<std::string>());
        return proof.allSampled();
    }

    /// Connects, in three attempts at most: an answer that is taken for that of another command may spoil
    /// one.
    static bool connected(BusHost& host) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            const int result = host.connects({"ecu"});
            if (result == 0) {
                return true;
            }
            EXPECT_TRUE(GetParam().staleAnswers) << result;
            expectOneOf(result, {3, 11, 54, 55});
        }
        return false;
    }

    static void expectOneOf(int result, const std::set<int>& known) {
        EXPECT_TRUE(known.contains(result)) << result << ": " << getErrorString(result);
    }
};

TEST_P(DisturbedBus, NeverDeliversAValueThatTheEcuDidNotHave) {
    const EcuPair pair = makePair();
    std::uint64_t values = 0;
    for (std::uint64_t seed = 1; seed <= 3; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        values += session(pair, seed);
    }
    EXPECT_GE(values, 100U);
}

std::string nameOfDisturbance(const testing::TestParamInfo<Disturbance>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, DisturbedBus, testing::ValuesIn(kDisturbances), nameOfDisturbance);

}  // namespace
}  // namespace systemtest
