// Whether a signal ever looked like bytes that were read.

#include "host/ValueProof.h"

#include "host/SimulatedEcu.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using host::findReadEvent;
using Bytes = std::vector<std::uint8_t>;

// "off" for 10 events, then "ready", in 17 bytes: state and text.
host::SignalRecord states() {
    host::SignalRecord record;
    record.first.name = "state";
    record.first.kind = sim::SignalKind::stateMachine;
    record.first.length = 10;
    record.first.texts = {"off", "ready"};
    return record;
}

constexpr host::EventSpan kAll{0, 19};

// What a read in pieces of 5 bytes gets that begins at one event and has its last pieces of another.
Bytes torn(std::uint64_t first, std::uint64_t last, std::size_t pieces) {
    Bytes bytes = host::signalBytesAt(states(), first);
    const Bytes later = host::signalBytesAt(states(), last);
    std::copy(later.begin() + static_cast<std::ptrdiff_t>(5 * pieces), later.end(),
              bytes.begin() + static_cast<std::ptrdiff_t>(5 * pieces));
    return bytes;
}

TEST(ValueProof, ReadThatTheEcuDidNotMoveInIsOfItsFirstEvent) {
    EXPECT_EQ(findReadEvent(states(), host::signalBytesAt(states(), 12), kAll, 5), 10U);
    EXPECT_EQ(findReadEvent(states(), host::signalBytesAt(states(), 12), {12, 19}, 5), 12U);
}

TEST(ValueProof, ReadThatTheEcuMovesInIsOfTheEventOfItsLastPiece) {
    const Bytes bytes = torn(9, 10, 1);
    EXPECT_EQ(bytes[5], 'y') << "the second piece of \"ready\"";
    EXPECT_EQ(findReadEvent(states(), bytes, kAll, 5), 10U);
    EXPECT_EQ(findReadEvent(states(), bytes, kAll, 17), std::nullopt) << "not if it is read at once";
}

TEST(ValueProof, PieceOfAnEarlierEventThanTheOneAheadIsWrong) {
    EXPECT_EQ(findReadEvent(states(), torn(10, 9, 1), kAll, 5), std::nullopt);
}

TEST(ValueProof, PieceThatTheEcuNeverHadIsWrong) {
    Bytes bytes = host::signalBytesAt(states(), 12);
    bytes[16] = 1;
    EXPECT_EQ(findReadEvent(states(), bytes, kAll, 5), std::nullopt);
}

TEST(ValueProof, EventBehindTheSpanIsNotLookedAt) {
    EXPECT_EQ(findReadEvent(states(), host::signalBytesAt(states(), 12), {0, 9}, 5), std::nullopt);
}

TEST(ValueProof, ReadOfAnotherLengthIsWrong) {
    Bytes bytes = host::signalBytesAt(states(), 12);
    bytes.push_back(0);
    EXPECT_EQ(findReadEvent(states(), bytes, kAll, 5), std::nullopt);
    bytes.resize(16);
    EXPECT_EQ(findReadEvent(states(), bytes, kAll, 5), std::nullopt);
}

}  // namespace
