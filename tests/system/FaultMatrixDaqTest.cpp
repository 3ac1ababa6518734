// A measurement that runs, against every fault that data frames can have. Two variables, "a" in the first ODT
// of a list and "b" in the second, are sent in cycles; a cycle is delivered with the first ODT of the next.
#include "tests/support/TestHost.h"
#include "tests/system/FaultMatrixEcu.h"
#include "tests/system/FaultMatrixRules.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace systemtest {
namespace {

using Bytes = FaultMatrixEcu::Bytes;

/// Cycles that the fault may hit, and one behind them that it does not. Another first ODT delivers that.
constexpr std::uint8_t kHitCycles = 4;
constexpr std::uint8_t kCycles = kHitCycles + 1;
constexpr const char* kAll = "a0b0 a1b1 a2b2 a3b3 a4b4";

/// What is delivered if the fault begins with the first frame ("a" of cycle 0), the fourth ("b" of cycle 1),
/// the fifth ("a" of cycle 2) or the last one ("b" of cycle 3). "-" is a value of zeros.
struct Row {
    std::string name;
    FaultKind kind;
    std::size_t times;
    std::size_t length;
    const char* delivered[4];
};

constexpr std::size_t kFrames[] = {0, 3, 4, 7};

/// What is the same for both protocols. A cycle that lacks a variable is dropped. Without its first ODT the
/// rest of a cycle counts for the cycle before, which has it already. A second ODT that comes behind the
/// first one of the next cycle counts for that one, and keeps that cycle's own out.
const std::vector<Row> kCommonRows = {
    {"FrameLost",
     FaultKind::silence,
     1,
     0,
     {"a1b1 a2b2 a3b3 a4b4", "a0b0 a2b2 a3b3 a4b4", "a0b0 a1b1 a3b3 a4b4", "a0b0 a1b1 a2b2 a4b4"}},
    {"Silence",
     FaultKind::silence,
     Fault::kForever,
     0,
     {"a4b4", "a0b0 a4b4", "a0b0 a1b1 a4b4", "a0b0 a1b1 a2b2 a4b4"}},
    {"ErrorInstead",
     FaultKind::error,
     1,
     0,
     {"a1b1 a2b2 a3b3 a4b4", "a0b0 a2b2 a3b3 a4b4", "a0b0 a1b1 a3b3 a4b4", "a0b0 a1b1 a2b2 a4b4"}},
    {"EmptyFrame",
     FaultKind::cut,
     1,
     0,
     {"a1b1 a2b2 a3b3 a4b4", "a0b0 a2b2 a3b3 a4b4", "a0b0 a1b1 a3b3 a4b4", "a0b0 a1b1 a2b2 a4b4"}},
    {"FrameBehindTheNext",
     FaultKind::late,
     1,
     0,
     {"a1b1 a2b2 a3b3 a4b4", "a0b0 a2b1 a3b3 a4b4", "a0b0 a1b1 a3b3 a4b4", "a0b0 a1b1 a2b2 a4b3"}},
    {"LongFrames", FaultKind::extended, Fault::kForever, 0, {kAll, kAll, kAll, kAll}},
    {"RepeatedFrames", FaultKind::repeated, Fault::kForever, 0, {kAll, kAll, kAll, kAll}},
    {"ForeignFrames", FaultKind::foreign, Fault::kForever, 0, {kAll, kAll, kAll, kAll}},
};

/// XCP leaves out what a short frame does not hold; CCP reads zeros there.
const Row kXcpShort = {
    "ShortFrame",
    FaultKind::cut,
    1,
    1,
    {"a1b1 a2b2 a3b3 a4b4", "a0b0 a2b2 a3b3 a4b4", "a0b0 a1b1 a3b3 a4b4", "a0b0 a1b1 a2b2 a4b4"}};
const Row kCcpShort = {"ShortFrame",
                       FaultKind::cut,
                       1,
                       1,
                       {"a-b0 a1b1 a2b2 a3b3 a4b4", "a0b0 a1b- a2b2 a3b3 a4b4", "a0b0 a1b1 a-b2 a3b3 a4b4",
                        "a0b0 a1b1 a2b2 a3b- a4b4"}};

std::vector<Row> rowsOf(Protocol protocol) {
    std::vector<Row> rows = kCommonRows;
    rows.push_back(protocol == Protocol::xcp ? kXcpShort : kCcpShort);
    return rows;
}

/// The values of @p measured that came by DAQ, one word per delivery: "a0b0".
std::string wordsOf(const std::vector<support::Measured>& measured) {
    std::string words;
    for (const support::Measured& delivery : measured) {
        words += words.empty() ? "" : " ";
        for (const mcMeasureVariableValue& value : delivery.values) {
            const std::uint8_t sent = value.data.empty() ? std::uint8_t{0} : value.data.front();
            words += value.name + (sent == 0 ? std::string("-") : std::to_string(sent - 1));
        }
    }
    return words;
}

class FaultMatrixDaq : public testing::TestWithParam<std::tuple<Protocol, std::size_t, std::size_t>> {
protected:
    void SetUp() override {
        support::TestHost::install();
        setProtoCfgs({matrixConfig(m_protocol, 60'000)});
        EcuConnect({kMatrixEcu});
        StartMeasurement({{kMatrixEcu, matrixDaqVariables(Protocol::xcp)}});
        ASSERT_TRUE(journalShows("task 5 0 "));
    }

    void TearDown() override {
        matrixHost().clear();
        StopMeasurement();
        EXPECT_TRUE(journalShows("task 6 0 "));
        EcuConnect({kMatrixEcu});
        EXPECT_TRUE(journalShows("task 1 0 "));
        EcuDisconnect();
        EXPECT_TRUE(journalShows("task 2 0 "));
    }

    /// Sends all cycles with the fault at frame @p first, and waits until the last cycle is delivered.
    void sends(const Row& row, std::size_t first) {
        Fault fault;
        fault.kind = row.kind;
        fault.times = row.times;
        std::vector<Bytes> late;
        for (std::uint8_t frame = 0; frame <= 2 * kCycles; ++frame) {
            const bool isHit = frame < 2 * kHitCycles && fault.hits(frame, first);
            std::vector<Bytes> frames = isHit ? spoiled(row, frame) : std::vector<Bytes>{data(frame)};
            if (isHit && row.kind == FaultKind::late) {
                late = std::exchange(frames, {});
                continue;
            }
            frames.insert(frames.end(), late.begin(), late.end());
            late.clear();
            for (const Bytes& bytes : frames) {
                FaultMatrixEcu::deliver(kMatrixSlaveId, bytes);
            }
        }
        const auto isDelivered = [] {
            return wordsOf(matrixHost().measured()).find("a4b") != std::string::npos;
        };
        EXPECT_TRUE(support::waitFor(isDelivered));
    }

    const Protocol m_protocol = std::get<0>(GetParam());

private:
    /// Four bytes that tell the cycle behind the number of the ODT.
    [[nodiscard]] Bytes data(std::uint8_t frame) const {
        const unsigned firstPid = m_protocol == Protocol::xcp ? 0 : 0x10;
        Bytes bytes(8, static_cast<std::uint8_t>(frame / 2 + 1));
        bytes[0] = static_cast<std::uint8_t>(firstPid + frame % 2);
        return bytes;
    }

    [[nodiscard]] std::vector<Bytes> spoiled(const Row& row, std::uint8_t frame) const {
        std::vector<Bytes> frames{data(frame)};
        switch (row.kind) {
            case FaultKind::silence:
                return {};
            case FaultKind::error:
                return {m_protocol == Protocol::xcp ? Bytes{0xFE, 0x31} : Bytes{0xFF, 0x33, 0}};
            case FaultKind::cut:
                frames[0].resize(row.length);
                break;
            case FaultKind::extended:
                frames[0].resize(64, 0xEE);
                break;
            case FaultKind::repeated:
                frames.push_back(frames[0]);
                break;
            case FaultKind::foreign:  // data of no list, an event
                frames.insert(frames.begin(), {Bytes{0x55, 9, 9, 9, 9, 9, 9, 9}, Bytes{0xFD, 0x06}});
                break;
            default:
                break;
        }
        return frames;
    }

    FaultMatrixEcu m_ecu{m_protocol};
};

TEST_P(FaultMatrixDaq, WhatIsWholeIsDeliveredAndTheMeasurementGoesOn) {
    const Row row = rowsOf(m_protocol)[std::get<1>(GetParam())];
    const std::size_t position = std::get<2>(GetParam());
    matrixHost().clear();
    sends(row, kFrames[position]);
    EXPECT_EQ(wordsOf(matrixHost().measured()), row.delivered[position]);
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isMeasureing());
    EXPECT_TRUE(matrixHost().logTexts(3).empty());
    EXPECT_TRUE(matrixHost().logTexts(4).empty());
    EXPECT_TRUE(matrixHost().taskResults().empty());
}

std::string nameOf(const testing::TestParamInfo<FaultMatrixDaq::ParamType>& info) {
    const Row row = rowsOf(std::get<0>(info.param))[std::get<1>(info.param)];
    return row.name + "At" + std::to_string(kFrames[std::get<2>(info.param)]);
}

INSTANTIATE_TEST_SUITE_P(Xcp, FaultMatrixDaq,
                         testing::Combine(testing::Values(Protocol::xcp),
                                          testing::Range(std::size_t{0}, std::size_t{9}),
                                          testing::Range(std::size_t{0}, std::size_t{4})),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Ccp, FaultMatrixDaq,
                         testing::Combine(testing::Values(Protocol::ccp),
                                          testing::Range(std::size_t{0}, std::size_t{9}),
                                          testing::Range(std::size_t{0}, std::size_t{4})),
                         nameOf);

}  // namespace
}  // namespace systemtest
