#include "sim/Signals.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

Signal signalOf(SignalKind kind, SignalType type) {
    Signal signal;
    signal.kind = kind;
    signal.type = type;
    return signal;
}

TEST(SignalCounter, StepsByOnePerEvent) {
    const Signal signal = signalOf(SignalKind::counter, SignalType::u16);
    EXPECT_EQ(signalBytes(signal, 0), (Bytes{0x00, 0x00}));
    EXPECT_EQ(signalBytes(signal, 1), (Bytes{0x01, 0x00}));
    EXPECT_EQ(signalBytes(signal, 0x1234), (Bytes{0x34, 0x12}));
}

TEST(SignalCounter, WrapsAtTheWidthOfItsType) {
    EXPECT_EQ(signalBytes(signalOf(SignalKind::counter, SignalType::u8), 256), (Bytes{0x00}));
    EXPECT_EQ(signalBytes(signalOf(SignalKind::counter, SignalType::i8), 0xFF), (Bytes{0xFF}));
}

TEST(SignalCounter, IsAheadByItsPhase) {
    Signal signal = signalOf(SignalKind::counter, SignalType::u32);
    signal.phase = 0xFFFFFFFF;
    EXPECT_EQ(signalBytes(signal, 0), (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(signalBytes(signal, 2), (Bytes{0x01, 0x00, 0x00, 0x00}));
}

TEST(SignalCounter, CountsInFloatsToo) {
    EXPECT_EQ(signalBytes(signalOf(SignalKind::counter, SignalType::f32), 1), (Bytes{0, 0, 0x80, 0x3F}));
    EXPECT_EQ(signalBytes(signalOf(SignalKind::counter, SignalType::f64), 2),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 0x40}));
}

TEST(SignalBytes, FollowTheByteOrder) {
    Signal signal = signalOf(SignalKind::counter, SignalType::u64);
    signal.byteOrder = ByteOrder::motorola;
    EXPECT_EQ(signalBytes(signal, 0x0102030405060708), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(SignalSine, SwingsAroundItsOffset) {
    Signal signal = signalOf(SignalKind::sine, SignalType::i16);
    signal.offset = 10.0;
    signal.amplitude = 100.5;
    signal.length = 4;
    EXPECT_EQ(signalBytes(signal, 0), (Bytes{10, 0}));
    EXPECT_EQ(signalBytes(signal, 1), (Bytes{110, 0}));
    EXPECT_EQ(signalBytes(signal, 3), (Bytes{0xA6, 0xFF}));  // -90
    EXPECT_EQ(signalBytes(signal, 5), signalBytes(signal, 1));
}

TEST(SignalRamp, ClimbsAndFallsBack) {
    Signal signal = signalOf(SignalKind::ramp, SignalType::u8);
    signal.offset = 5.0;
    signal.step = 3.0;
    signal.length = 3;
    signal.phase = 1;
    EXPECT_EQ(signalBytes(signal, 0), (Bytes{8}));
    EXPECT_EQ(signalBytes(signal, 1), (Bytes{11}));
    EXPECT_EQ(signalBytes(signal, 2), (Bytes{5}));
}

TEST(SignalConstant, NeverMoves) {
    Signal signal = signalOf(SignalKind::constant, SignalType::i32);
    signal.offset = -2.0;
    EXPECT_EQ(signalBytes(signal, 0), (Bytes{0xFE, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(signalBytes(signal, 999), (Bytes{0xFE, 0xFF, 0xFF, 0xFF}));
}

TEST(SignalConstant, ThatNoIntegerHoldsIsCutAndNotANumberIsZero) {
    Signal signal = signalOf(SignalKind::constant, SignalType::i8);
    signal.offset = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(signalBytes(signal, 0), (Bytes{0}));
    signal.offset = std::numeric_limits<double>::infinity();
    EXPECT_EQ(signalBytes(signal, 0).size(), 1U);
}

TEST(SignalStateMachine, ShowsItsStateAndItsText) {
    Signal signal = signalOf(SignalKind::stateMachine, SignalType::u8);
    signal.length = 2;
    signal.texts = {"OFF", "A TEXT OF SEVENTEEN"};
    const Bytes off{0, 'O', 'F', 'F', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const Bytes on{1, 'A', ' ', 'T', 'E', 'X', 'T', ' ', 'O', 'F', ' ', 'S', 'E', 'V', 'E', 'N', 'T'};
    EXPECT_EQ(signalSize(signal), 17U);
    EXPECT_EQ(signalBytes(signal, 1), off);
    EXPECT_EQ(signalBytes(signal, 2), on);
    EXPECT_EQ(signalBytes(signal, 4), off);
}

TEST(SignalStateMachine, WithoutTextsOrLengthStaysAtZero) {
    Signal signal = signalOf(SignalKind::stateMachine, SignalType::u8);
    signal.length = 0;
    EXPECT_EQ(signalBytes(signal, 7), Bytes(17));
}

TEST(Signals, WriteWhatMovedIntoTheMemoryThatTheEcuSees) {
    Memory memory({plainSegment(0x100, 8, MemoryAccess::readOnly)}, 1);
    Signal first = signalOf(SignalKind::counter, SignalType::u8);
    first.address = 0x100;
    Signal second = first;
    second.address = 0x101;
    second.event = 1;
    Signal nowhere = first;
    nowhere.address = 0x102;
    nowhere.event = 9;
    Signals signals({first, second, nowhere});
    signals.update(memory, std::vector<std::uint64_t>{3, 4});
    EXPECT_EQ(memory.peek(MemoryView::ecu, 0x100, 0, 3), (Bytes{3, 4, 0}));
}

TEST(Signals, LeaveAValueThatAToolWroteUntilTheNextEvent) {
    Memory memory({plainSegment(0x100, 1)}, 1);
    Signal signal = signalOf(SignalKind::counter, SignalType::u8);
    signal.address = 0x100;
    Signals signals({signal});
    signals.update(memory, std::vector<std::uint64_t>{3});
    ASSERT_EQ(memory.write(MemoryView::tool, 0x100, 0, Bytes{99}), MemoryResult::ok);
    signals.update(memory, std::vector<std::uint64_t>{3});
    EXPECT_EQ(memory.peek(MemoryView::ecu, 0x100, 0, 1), (Bytes{99}));
    signals.update(memory, std::vector<std::uint64_t>{4});
    EXPECT_EQ(memory.peek(MemoryView::ecu, 0x100, 0, 1), (Bytes{4}));
}

}  // namespace
}  // namespace sim
