// Measurements in all the forms that XCP gives to DAQ frames and to memory.
#include "tests/support/TestHost.h"
#include "tests/system/BusHost.h"
#include "tests/system/EcuPair.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace systemtest {
namespace {

using sim::ByteOrder;
using sim::XcpIdField;
using support::waitFor;

constexpr std::uint8_t kFrameSize = 24;      ///< small, so that lists have several ODTs
constexpr std::uint8_t kCounterMode = 0x08;  ///< bit of the mode of a DAQ list

std::string orderName(ByteOrder order) {
    return order == ByteOrder::intel ? "LittleEndian" : "BigEndian";
}

/// Runs one measurement: DAQ of all signals, and polling of one more.
void isMeasured(EcuPair pair) {
    const std::vector<mcMeasureVariable> byDaq = allVariables(pair);
    addCounter(pair, "polled", 0);
    std::vector<mcMeasureVariable> variables = byDaq;
    variables.push_back(variableOf(pair, "polled", 5));
    BusHost host;
    sim::VirtualBusConfig config = fastBus();
    config.rates = {.nominal = 1'000'000, .data = 8'000'000};
    host.addBus(config);
    host.limitUndelivered(50);
    host.addEcu(pair);
    ASSERT_EQ(host.connects({"ecu"}), 0);
    ASSERT_EQ(host.starts({{"ecu", variables}}), 0);
    const SignalProof& proof = host.proofOf("ecu");
    EXPECT_TRUE(
        waitFor([&] { return proof.fewestSampled(byDaq) >= 10 && proof.polled("polled") >= 2; }, kPatience));
    EXPECT_EQ(host.stops(), 0);
    EXPECT_EQ(proof.faults(), std::vector<std::string>());
}

using DtoForm = std::tuple<XcpIdField, ByteOrder>;

class DtoForms : public testing::TestWithParam<DtoForm> {
protected:
    /// The list number of a DTO is read little endian whatever the ECU's byte order, so that only list 0 of a
    /// big endian ECU is found by a word.
    [[nodiscard]] static std::uint16_t usableEvents() {
        const auto [field, order] = GetParam();
        const bool word = field == XcpIdField::relativeWord || field == XcpIdField::relativeWordAligned;
        return word && order == ByteOrder::motorola ? 1 : 2;
    }

    [[nodiscard]] static EcuPair makePair(std::uint8_t timestampSize, std::uint32_t packMode) {
        const auto [field, order] = GetParam();
        EcuPair pair = fdEcu("ecu", kFrameSize);
        setByteOrder(pair, order);
        setIdField(pair, field);
        setTimestamp(pair, timestampSize);
        pair.cfg.xcp.packMode = packMode;
        pair.ecu.daq.events[1].cycle = 20;
        for (std::uint16_t event = 0; event < usableEvents(); ++event) {
            addSignals(pair, event, std::to_string(event) + ".a");
            addSignals(pair, event, std::to_string(event) + ".b");
        }
        return pair;
    }
};

TEST_P(DtoForms, DeliverEveryValueInEveryPackModeWithEveryTimestamp) {
    constexpr std::uint8_t kTimestampSizes[] = {0, 1, 2, 4};
    for (const std::uint8_t timestampSize : kTimestampSizes) {
        for (const std::uint32_t packMode : {0U, 1U, 2U}) {
            SCOPED_TRACE(testing::Message() << "timestamp " << +timestampSize << ", pack mode " << packMode);
            isMeasured(makePair(timestampSize, packMode));
            if (HasFailure()) {
                return;
            }
        }
    }
}

/// All but the aligned identification field: a counter behind that one is taken to be its fill byte.
class CountedDtoForms : public DtoForms {};

TEST_P(CountedDtoForms, DeliverEveryValue) {
    EcuPair pair = makePair(4, 2);
    pair.cfg.xcp.daqListMode |= kCounterMode;
    pair.ecu.daq.counterSupported = true;
    isMeasured(pair);
}

std::string nameOfDtoForm(const testing::TestParamInfo<DtoForm>& info) {
    const std::string fields[] = {"AbsoluteOdt", "ListByte", "ListWord", "AlignedListWord"};
    return fields[static_cast<std::size_t>(std::get<XcpIdField>(info.param))] +
           orderName(std::get<ByteOrder>(info.param));
}

INSTANTIATE_TEST_SUITE_P(All, DtoForms,
                         testing::Combine(testing::Values(XcpIdField::absolute, XcpIdField::relativeByte,
                                                          XcpIdField::relativeWord,
                                                          XcpIdField::relativeWordAligned),
                                          testing::Values(ByteOrder::intel, ByteOrder::motorola)),
                         nameOfDtoForm);

INSTANTIATE_TEST_SUITE_P(All, CountedDtoForms,
                         testing::Combine(testing::Values(XcpIdField::absolute, XcpIdField::relativeByte,
                                                          XcpIdField::relativeWord),
                                          testing::Values(ByteOrder::intel, ByteOrder::motorola)),
                         nameOfDtoForm);

using MemoryForm = std::tuple<std::uint8_t, ByteOrder>;

/// Memory is read in elements of the address granularity, so all values are read without DAQ here.
class MemoryForms : public testing::TestWithParam<MemoryForm> {
protected:
    [[nodiscard]] static EcuPair makePair() {
        const auto [granularity, order] = GetParam();
        EcuPair pair = classicEcu("ecu");
        setByteOrder(pair, order);
        setGranularity(pair, granularity);
        if (granularity > 1) {
            pair.cfg.supportedCmds.erase(0xF4);  // SHORT_UPLOAD asks for as many elements as bytes
        }
        addCounter(pair, "count", 0);
        addSignal(pair, {.name = "word",
                         .type = sim::SignalType::u16,
                         .kind = sim::SignalKind::constant,
                         .offset = 0x1234});
        addSignal(pair, {.name = "number",
                         .type = sim::SignalType::f64,
                         .kind = sim::SignalKind::constant,
                         .offset = 3.25});
        return pair;
    }
};

TEST_P(MemoryForms, AreReadOnce) {
    const EcuPair pair = makePair();
    mcMeasureVariable empty = variableOf(pair, "word");
    empty.name = "nothing";
    empty.size = 0;
    std::vector<mcMeasureVariable> variables = allVariables(pair);
    variables.push_back(empty);
    BusHost host;
    host.addBus(fastBus());
    host.addEcu(pair);
    ASSERT_EQ(host.connects({"ecu"}), 0);
    MeasureVars("ecu", variables);
    EXPECT_EQ(host.awaitResult(kMeasureVars).result, 0);
    for (const char* const name : {"count", "word", "number"}) {
        EXPECT_EQ(host.proofOf("ecu").polled(name), 1U) << name;
    }
    EXPECT_EQ(host.rejected(), std::vector<std::string>({"nothing"}));
}

TEST_P(MemoryForms, ArePolledIfTheEcuIsToBePolledOnly) {
    EcuPair pair = makePair();
    pair.cfg.xcp.pollPeriodMs = 5;
    BusHost host;
    host.addBus(fastBus());
    const sim::XcpEcu& ecu = host.addEcu(pair);
    ASSERT_EQ(host.connects({"ecu"}), 0);
    ASSERT_EQ(host.starts({{"ecu", allVariables(pair)}}), 0);
    const SignalProof& proof = host.proofOf("ecu");
    EXPECT_TRUE(waitFor([&] { return proof.polled("number") >= 5; }, kPatience));
    EXPECT_GE(proof.polled("count"), 5U);
    EXPECT_GE(proof.polled("word"), 5U);
    EXPECT_FALSE(ecu.daqRunning());
    EXPECT_EQ(host.stops(), 0);
    EXPECT_EQ(proof.allSampled(), 0U);
}

std::string nameOfMemoryForm(const testing::TestParamInfo<MemoryForm>& info) {
    return "Granularity" + std::to_string(std::get<std::uint8_t>(info.param)) +
           orderName(std::get<ByteOrder>(info.param));
}

INSTANTIATE_TEST_SUITE_P(All, MemoryForms,
                         testing::Combine(testing::Values(std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{4}),
                                          testing::Values(ByteOrder::intel, ByteOrder::motorola)),
                         nameOfMemoryForm);

}  // namespace
}  // namespace systemtest
