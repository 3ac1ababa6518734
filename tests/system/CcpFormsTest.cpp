// Measurements in all the forms that CCP gives to DAQ frames and to reading.
#include "tests/support/TestHost.h"
#include "tests/support/Trial.h"
#include "tests/system/CcpStation.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <tuple>
#include <vector>

namespace systemtest {
namespace {

using sim::ByteOrder;
using support::waitFor;

constexpr std::uint8_t kShortUpCode = 0x0F;
constexpr std::uint8_t kWriteDaqCode = 0x16;
constexpr std::uint8_t kStartStopCode = 0x06;
constexpr std::uint8_t kUploadCode = 0x04;

/// Runs one measurement: DAQ of all signals, and polling of one more.
void isMeasured(CcpPair pair, const sim::VirtualBusConfig& config = fastBus()) {
    constexpr std::uint64_t kCount = 10;
    const std::vector<mcMeasureVariable> byDaq = allVariables(pair.twin);
    addCounter(pair.twin, "polled", 0);
    std::vector<mcMeasureVariable> variables = byDaq;
    variables.push_back(variableOf(pair.twin, "polled", 5));
    BusHost host;
    sim::VirtualBus& bus = host.addBus(config);
    host.limitUndelivered(50);
    CcpStation station(host, bus, pair);
    ASSERT_EQ(host.connects({"ecu"}), 0);
    ASSERT_EQ(host.starts({{"ecu", variables}}), 0);
    const SignalProof& proof = host.proofOf("ecu");
    EXPECT_TRUE(waitFor([&] { return proof.fewestSampled(byDaq) >= kCount && proof.polled("polled") >= 2; },
                        kPatience));
    EXPECT_EQ(host.stops(), 0);
    EXPECT_EQ(proof.faults(), std::vector<std::string>());
    for (const mcMeasureVariable& variable : byDaq) {
        EXPECT_EQ(proof.polled(variable.name), 0U) << variable.name;
    }
}

/// As long as the library looks at each identifier more often than anything comes on it, values carry the
/// time of their own cycle: frames of different identifiers are not put in order. On a machine that stands
/// still it looks too late.
void isMeasuredSlowly(CcpPair pair) {
    for (sim::XcpEventConfig& event : pair.twin.ecu.daq.events) {
        event.cycle = 100;
    }
    support::runTrials("measurement", std::chrono::milliseconds(20),
                       [&](support::Trial&) { isMeasured(pair, realTimeBus()); });
}

void addWord(CcpPair& pair, const std::string& name) {
    addSignal(pair.twin, {.name = name, .type = sim::SignalType::u16, .phase = 65'500});
}

using CcpForm = std::tuple<std::uint32_t, ByteOrder>;

/// Pack mode and byte order.
class CcpForms : public testing::TestWithParam<CcpForm> {
protected:
    [[nodiscard]] static CcpPair makePair() {
        const auto [packMode, order] = GetParam();
        CcpPair pair = ccpEcu("ecu");
        setByteOrder(pair, order);
        pair.twin.cfg.ccp.packMode = packMode;
        pair.ecu.elementSizes = {1, 2, 3, 4, 5, 6, 7};  // pieces of any size
        pair.twin.ecu.daq.events[1].cycle = 20;
        for (std::uint16_t event = 0; event < 2; ++event) {
            addSignals(pair.twin, event, std::to_string(event) + ".a");
            addSignals(pair.twin, event, std::to_string(event) + ".b");
        }
        return pair;
    }
};

TEST_P(CcpForms, DeliverEveryValueOnTheIdentifierOfTheAnswers) {
    isMeasured(makePair());
}

TEST_P(CcpForms, DeliverEveryValueOnIdentifiersOfTheLists) {
    CcpPair pair = makePair();
    giveListsOwnIds(pair);
    pair.twin.cfg.ccp.queryDaqSizes = 1;
    isMeasuredSlowly(pair);
}

/// No variable runs over the end of a list, as each list puts together what is its own.
TEST_P(CcpForms, DeliverEveryValueOfAnEventThatNeedsSeveralLists) {
    const auto [packMode, order] = GetParam();
    CcpPair pair = ccpEcu("ecu");
    setByteOrder(pair, order);
    giveListsOwnIds(pair);
    pair.twin.cfg.ccp.packMode = packMode;
    pair.ecu.elementSizes = {1, 2, 3, 4};
    for (std::uint8_t list = 0; list < kCcpLists; ++list) {
        pair.twin.cfg.ccp.daqLists[list].odtCount = pair.ecu.lists[list].odts = 2;
        const std::string prefix = std::to_string(list);
        addCounter(pair.twin, prefix + ".first", 0);
        addWord(pair, prefix + ".word");
        addCounter(pair.twin, prefix + ".second", 0);
        if (packMode == 0) {
            addWord(pair, prefix + ".other");  // 6 bytes in each ODT
        } else {
            addCounter(pair.twin, prefix + ".third", 0);  // 7 bytes in each ODT
        }
    }
    isMeasuredSlowly(pair);
}

/// Told to the library as small ones with other identifiers.
TEST_P(CcpForms, DeliverEveryValueOfListsWhoseSizeTheEcuTells) {
    CcpPair pair = makePair();
    pair.twin.cfg.ccp.queryDaqSizes = 1;
    for (auto& [number, list] : pair.twin.cfg.ccp.daqLists) {
        list.odtCount = 1;
        list.firstPid = 0;
    }
    isMeasured(pair);
}

std::string nameOfForm(const testing::TestParamInfo<CcpForm>& info) {
    return "PackMode" + std::to_string(std::get<0>(info.param)) +
           (std::get<1>(info.param) == ByteOrder::intel ? "LittleEndian" : "BigEndian");
}

INSTANTIATE_TEST_SUITE_P(All, CcpForms,
                         testing::Combine(testing::Values(0U, 1U, 2U),
                                          testing::Values(ByteOrder::intel, ByteOrder::motorola)),
                         nameOfForm);

/// The ways of reading: with and without SHORT_UP, in both byte orders.
class CcpReading : public testing::TestWithParam<std::tuple<bool, ByteOrder>> {
protected:
    [[nodiscard]] static CcpPair makePair() {
        const auto [byShortUp, order] = GetParam();
        CcpPair pair = ccpEcu("ecu");
        setByteOrder(pair, order);
        if (!byShortUp) {
            pair.twin.cfg.supportedCmds.erase(kShortUpCode);
        }
        addCounter(pair.twin, "count", 0);
        addSignal(pair.twin, {.name = "word",
                              .type = sim::SignalType::u16,
                              .kind = sim::SignalKind::constant,
                              .offset = 0x1234});
        addSignal(pair.twin, {.name = "number",
                              .type = sim::SignalType::f64,
                              .kind = sim::SignalKind::constant,
                              .offset = 3.25});
        return pair;
    }
};

TEST_P(CcpReading, BringsEachVariableOnceAndNamesTheRejected) {
    const CcpPair pair = makePair();
    std::vector<mcMeasureVariable> variables = allVariables(pair.twin);
    variables.push_back(variableOf(pair.twin, "word"));
    variables.back().name = "nothing";
    variables.back().size = 0;
    BusHost host;
    sim::VirtualBus& bus = host.addBus(fastBus());
    CcpStation station(host, bus, pair);
    ASSERT_EQ(host.connects({"ecu"}), 0);
    const std::uint64_t uploadsBefore = station.ecu.counters().commands[kUploadCode];
    MeasureVars("ecu", variables);
    EXPECT_EQ(host.awaitResult(kMeasureVars).result, 0);
    for (const char* const name : {"count", "word", "number"}) {
        EXPECT_EQ(host.proofOf("ecu").polled(name), 1U) << name;
    }
    EXPECT_EQ(host.rejected(), std::vector<std::string>({"nothing"}));
    const bool byShortUp = std::get<0>(GetParam());
    EXPECT_EQ(station.ecu.counters().commands[kShortUpCode], byShortUp ? 2U : 0U);
    EXPECT_EQ(station.ecu.counters().commands[kUploadCode] - uploadsBefore, byShortUp ? 2U : 4U);
}

TEST_P(CcpReading, IsAllThereIsForAnEcuThatIsToBePolledOnly) {
    CcpPair pair = makePair();
    pair.twin.cfg.ccp.pollPeriodMs = 5;
    BusHost host;
    sim::VirtualBus& bus = host.addBus(fastBus());
    CcpStation station(host, bus, pair);
    ASSERT_EQ(host.connects({"ecu"}), 0);
    ASSERT_EQ(host.starts({{"ecu", allVariables(pair.twin)}}), 0);
    const SignalProof& proof = host.proofOf("ecu");
    EXPECT_TRUE(waitFor([&] { return proof.polled("number") >= 5; }, kPatience));
    EXPECT_GE(proof.polled("count"), 5U);
    EXPECT_GE(proof.polled("word"), 5U);
    EXPECT_FALSE(station.ecu.daqRunning());
    EXPECT_EQ(host.stops(), 0);
    EXPECT_EQ(station.ecu.counters().commands[kStartStopCode], 0U);
    EXPECT_EQ(proof.allSampled(), 0U);
}

INSTANTIATE_TEST_SUITE_P(All, CcpReading,
                         testing::Combine(testing::Bool(),
                                          testing::Values(ByteOrder::intel, ByteOrder::motorola)),
                         [](const auto& param) {
                             return std::string(std::get<0>(param.param) ? "ShortUp" : "Upload") +
                                    (std::get<1>(param.param) == ByteOrder::intel ? "LittleEndian"
                                                                                  : "BigEndian");
                         });

// Fallback to polling

/// Two ODTs for four counters: the others are polled once a second.
TEST(CcpFallback, PollsWhatFindsNoPlaceInTheLists) {
    CcpPair pair = ccpEcu("ecu");
    pair.twin.cfg.ccp.daqListLimit = 1;
    pair.twin.cfg.ccp.daqLists[0].odtCount = 2;
    for (int i = 0; i < 4; ++i) {
        addCounter(pair.twin, "count" + std::to_string(i), 0);
    }
    BusHost host;
    sim::VirtualBus& bus = host.addBus(fastBus());
    host.limitUndelivered(50);
    CcpStation station(host, bus, pair);
    ASSERT_EQ(host.connects({"ecu"}), 0);
    ASSERT_EQ(host.starts({{"ecu", allVariables(pair.twin)}}), 0);
    const SignalProof& proof = host.proofOf("ecu");
    EXPECT_TRUE(
        waitFor([&] { return proof.sampled("count1") >= 20 && proof.polled("count3") >= 2; }, kPatience));
    EXPECT_EQ(host.stops(), 0);
    EXPECT_GE(proof.sampled("count0"), 20U);
    EXPECT_EQ(proof.polled("count0") + proof.polled("count1"), 0U);
    EXPECT_GE(proof.polled("count2"), 2U);
    EXPECT_EQ(proof.sampled("count2") + proof.sampled("count3"), 0U);
}

std::mutex g_mutex;  ///< guards the below
std::vector<std::vector<std::uint8_t>> g_sampledRefused;

/// Takes the DAQ values of "refused" away, and hands on all others.
void takeValues(const std::string& ecuName, std::int32_t kind,
                const std::vector<mcMeasureVariableValue>& values, const std::vector<std::string>& rejected) {
    std::vector<mcMeasureVariableValue> others;
    for (const mcMeasureVariableValue& value : values) {
        if (kind == 2 && value.name == "refused") {
            const std::lock_guard lock(g_mutex);
            g_sampledRefused.push_back(value.data);
        } else {
            others.push_back(value);
        }
    }
    BusHost::callBacks().measureFun(ecuName, kind, others, rejected);
}

/// An element that the ECU refuses is polled with the cycle of its event. Its place in the ODT stays empty,
/// and what lies there is delivered as well.
TEST(CcpFallback, PollsAnElementThatTheEcuRefusesBesideTheEmptyPlaceInItsOdt) {
    CcpPair pair = ccpEcu("ecu");
    pair.twin.cfg.ccp.events[0] = {.timeCycle = 20, .timeUnit = 6};
    addCounter(pair.twin, "accepted", 0);
    addCounter(pair.twin, "refused", 0);  // in an ODT of its own
    BusHost host;
    sim::VirtualBus& bus = host.addBus(fastBus());
    host.limitUndelivered(50);
    CcpStation station(host, bus, pair);
    CallBackFuns table;
    table.measureFun = takeValues;
    setCallBackFuns(table);
    ASSERT_EQ(host.connects({"ecu"}), 0);
    // The second WRITE_DAQ and its two repeats.
    station.ecu.inject(
        {.kind = sim::EcuFaultKind::error, .command = kWriteDaqCode, .after = 1, .count = 3, .code = 0x10});
    ASSERT_EQ(host.starts({{"ecu", allVariables(pair.twin)}}), 0);
    const SignalProof& proof = host.proofOf("ecu");
    EXPECT_TRUE(
        waitFor([&] { return proof.sampled("accepted") >= 20 && proof.polled("refused") >= 3; }, kPatience));
    EXPECT_EQ(host.stops(), 0);
    EXPECT_EQ(host.logCount(4, "CCP WriteDaq failed"), 1U);
    EXPECT_EQ(host.resultCount(kLinkLost), 0U);
    const std::lock_guard lock(g_mutex);
    ASSERT_FALSE(g_sampledRefused.empty());
    for (const std::vector<std::uint8_t>& data : g_sampledRefused) {
        EXPECT_EQ(data, std::vector<std::uint8_t>(4, 0));
    }
}

}  // namespace
}  // namespace systemtest
