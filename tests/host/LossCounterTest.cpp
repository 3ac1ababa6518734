// What is counted as lost, packet by packet.

#include "host/LossCounter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using host::BusFrame;
using host::DaqListShape;
using host::DaqShape;
using host::EcuLosses;
using host::LossCounter;
using host::PacketId;

constexpr std::uint32_t kCommand = 0x600;
constexpr std::uint32_t kResponse = 0x601;

BusFrame frame(std::uint32_t id, const std::vector<std::uint8_t>& bytes) {
    BusFrame frame;
    frame.frame.id = id;
    frame.frame.length = static_cast<std::uint8_t>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), frame.frame.data.begin());
    return frame;
}

DaqListShape list(std::uint16_t number, std::uint8_t firstPid, std::size_t odts, const std::string& name) {
    return {number, number, firstPid, odts, {{name, 4}}, {name}};
}

// An ECU with two lists of three and two packets, "a" in the first and "b" in the second.
class LossCounting : public ::testing::Test {
protected:
    void begin(PacketId id, bool ccp = false) {
        shape.ccp = ccp;
        shape.packetId = id;
        shape.commandId = kCommand;
        shape.responseId = kResponse;
        shape.lists = {list(0, 0, 3, "a"), list(1, 3, 2, "b")};
        counter.begin(shape);
    }
    void packet(const std::vector<std::uint8_t>& bytes) { counter.take(0, frame(kResponse, bytes)); }
    void pids(const std::vector<std::uint8_t>& numbers) {
        for (const std::uint8_t number : numbers) {
            packet({number, 0, 0, 0, 0});
        }
    }
    void delivers(const std::string& name, std::size_t bytes = 4) {
        mcMeasureVariableValue value;
        value.name = name;
        value.data.resize(bytes);
        event = counter.deliver({value});
    }
    std::string text(std::size_t index) const {
        const host::ListLosses losses = counter.losses().lists.at(index);
        return std::to_string(losses.cycles) + " cycles, " + std::to_string(losses.gaps) + " gaps, " +
               std::to_string(losses.incompleteCycles) + " incomplete";
    }

    DaqShape shape;
    LossCounter counter{0, false};
    std::optional<std::uint16_t> event;
};

TEST_F(LossCounting, WholeCyclesLoseNothing) {
    begin(PacketId::absolute);
    pids({0, 1, 2, 0, 1, 2, 3, 4});
    EXPECT_EQ(text(0), "2 cycles, 0 gaps, 0 incomplete");
    EXPECT_EQ(text(1), "1 cycles, 0 gaps, 0 incomplete");
    EXPECT_EQ(counter.losses().total(), 0U);
}

TEST_F(LossCounting, ListsMayInterleave) {
    begin(PacketId::absolute);
    pids({0, 3, 1, 4, 2, 3, 0, 4, 1, 2});
    EXPECT_EQ(text(0), "2 cycles, 0 gaps, 0 incomplete");
    EXPECT_EQ(text(1), "2 cycles, 0 gaps, 0 incomplete");
}

TEST_F(LossCounting, CycleThatIsUnderWayIsNotIncomplete) {
    begin(PacketId::absolute);
    pids({0, 1, 2, 0, 1});
    EXPECT_EQ(text(0), "1 cycles, 0 gaps, 0 incomplete");
}

TEST_F(LossCounting, FirstPacketLostIsOneGapAndOneIncompleteCycle) {
    begin(PacketId::absolute);
    pids({0, 1, 2, 1, 2, 0, 1, 2});
    EXPECT_EQ(text(0), "2 cycles, 1 gaps, 1 incomplete");
}

TEST_F(LossCounting, MiddlePacketLostIsOneGapAndOneIncompleteCycle) {
    begin(PacketId::absolute);
    pids({0, 1, 2, 0, 2, 0, 1, 2});
    EXPECT_EQ(text(0), "2 cycles, 1 gaps, 1 incomplete");
}

TEST_F(LossCounting, LastPacketLostIsOneGapAndOneIncompleteCycle) {
    begin(PacketId::absolute);
    pids({0, 1, 2, 0, 1, 0, 1, 2});
    EXPECT_EQ(text(0), "2 cycles, 1 gaps, 1 incomplete");
}

TEST_F(LossCounting, LossAcrossTheEndOfACycleIsOneGapAndTwoIncompleteCycles) {
    begin(PacketId::absolute);
    pids({0, 1, 1, 2, 0, 1, 2});
    EXPECT_EQ(text(0), "1 cycles, 1 gaps, 2 incomplete");
}

TEST_F(LossCounting, TwoGapsInOneCycleAreOneIncompleteCycle) {
    begin(PacketId::absolute);
    shape.lists = {list(0, 0, 5, "a")};
    counter.begin(shape);
    pids({0, 2, 4, 0, 1, 2, 3, 4});
    EXPECT_EQ(text(0), "1 cycles, 2 gaps, 1 incomplete");
}

TEST_F(LossCounting, RelativeNumbersWithAByteForTheList) {
    begin(PacketId::relativeByte);
    packet({0, 0, 9});
    packet({0, 1, 9});
    packet({1, 0, 9});
    packet({1, 1, 9});
    packet({2, 0, 9});
    packet({0, 1, 9});
    packet({0, 1, 9});
    EXPECT_EQ(text(0), "1 cycles, 0 gaps, 0 incomplete");
    EXPECT_EQ(text(1), "1 cycles, 1 gaps, 1 incomplete");
}

TEST_F(LossCounting, RelativeNumbersWithAWordForTheListInTheByteOrderOfTheEcu) {
    shape.byteOrder = sim::ByteOrder::motorola;
    begin(PacketId::relativeWord);
    packet({0, 0, 1, 9});
    packet({1, 0, 1, 9});
    packet({1, 1, 0, 9});  // list 256: none of ours
    EXPECT_EQ(text(1), "1 cycles, 0 gaps, 0 incomplete");
    EXPECT_EQ(counter.losses().strangers, 1U);
}

TEST_F(LossCounting, RelativeNumbersWithAnAlignedWordForTheList) {
    begin(PacketId::relativeWordAligned);
    packet({0, 77, 1, 0, 9});
    packet({1, 77, 1, 0, 9});
    EXPECT_EQ(text(1), "1 cycles, 0 gaps, 0 incomplete");
}

TEST_F(LossCounting, PacketsOfNoPlannedListAreStrangersAndNoLoss) {
    begin(PacketId::absolute);
    pids({5, 200});
    EXPECT_EQ(counter.losses().strangers, 2U);
    EXPECT_EQ(counter.losses().total(), 0U);
}

TEST_F(LossCounting, FramesOfOthersAreNotLookedAt) {
    begin(PacketId::absolute);
    counter.take(1, frame(kResponse, {2}));
    counter.take(0, frame(0x700, {2}));
    BusFrame extended = frame(kResponse, {2});
    extended.frame.extended = true;
    counter.take(0, extended);
    counter.take(0, frame(kResponse, {}));
    packet({0xFF, 0});
    packet({0xFE, 0x20});
    packet({0xFC, 0});
    EXPECT_EQ(text(0), "0 cycles, 0 gaps, 0 incomplete");
    EXPECT_EQ(counter.losses().strangers, 0U);
}

TEST_F(LossCounting, AnswerToTheSelectionOfAListTellsItsFirstPid) {
    begin(PacketId::absolute);
    counter.take(0, frame(kCommand, {0xDE, 2, 1, 0}));
    counter.take(0, frame(kResponse, {0xFF, 0x40}));
    counter.take(0, frame(kCommand, {0xDE, 2, 0, 0}));
    counter.take(0, frame(kResponse, {0xFF, 0x20}));
    pids({0x40, 0x20, 0x41, 0x21, 0x22});
    EXPECT_EQ(text(0), "1 cycles, 0 gaps, 0 incomplete");
    EXPECT_EQ(text(1), "1 cycles, 0 gaps, 0 incomplete");
}

TEST_F(LossCounting, AnswerToAnotherCommandTellsNoPid) {
    begin(PacketId::absolute);
    counter.take(0, frame(kCommand, {0xDE, 2, 1, 0}));
    counter.take(0, frame(kCommand, {0xDD, 1}));
    counter.take(0, frame(kResponse, {0xFF, 0x40}));
    pids({3, 4});
    EXPECT_EQ(text(1), "1 cycles, 0 gaps, 0 incomplete");
}

TEST_F(LossCounting, XcpOverloadEventIsALoss) {
    begin(PacketId::absolute);
    packet({0xFD, 0x06});
    packet({0xFD, 0x05});  // command pending
    EXPECT_EQ(counter.losses().overloads, 1U);
    EXPECT_EQ(counter.losses().total(), 1U);
}

TEST_F(LossCounting, OverloadBitOfThePidIsALossAndThePacketCounts) {
    shape.overloadInPid = true;
    begin(PacketId::absolute);
    pids({0, 0x81, 2});
    EXPECT_EQ(counter.losses().overloads, 1U);
    EXPECT_EQ(text(0), "1 cycles, 0 gaps, 0 incomplete");
}

TEST_F(LossCounting, CcpListsMaySendWithAnIdentifierOfTheirOwn) {
    shape.packetIds = {0x682};
    begin(PacketId::absolute, true);
    for (const std::uint8_t pid : std::vector<std::uint8_t>{0, 1, 2}) {
        counter.take(0, frame(0x682, {pid, 1}));
    }
    EXPECT_EQ(text(0), "1 cycles, 0 gaps, 0 incomplete");
}

TEST_F(LossCounting, CcpOverloadEventIsALoss) {
    begin(PacketId::absolute, true);
    packet({0xFE, 0x01});
    packet({0xFD, 0x06});  // PID 0xFD of no list
    EXPECT_EQ(counter.losses().overloads, 1U);
    EXPECT_EQ(counter.losses().strangers, 1U);
}

TEST_F(LossCounting, WholeCycleWithoutValuesIsCountedOnceTheLibraryHadItsTime) {
    begin(PacketId::absolute);
    pids({0, 1, 2, 0, 1, 2, 0});
    delivers("a");
    EXPECT_EQ(event, 0);
    EXPECT_EQ(counter.losses().total(), 0U) << "may still be on its way";
    counter.settle();
    EXPECT_FALSE(counter.settled());
    EXPECT_EQ(counter.losses().lists[0].undelivered, 1U);
    pids({1, 2, 0});
    delivers("a");
    EXPECT_EQ(counter.losses().lists[0].undelivered, 1U) << "a later cycle does not stand for it";
    delivers("a");
    EXPECT_TRUE(counter.settled());
    EXPECT_EQ(counter.losses().total(), 0U);
}

TEST_F(LossCounting, LastWholeCycleOwesNothingUntilTheNextBegins) {
    begin(PacketId::absolute);
    pids({0, 1, 2});
    counter.settle();
    EXPECT_TRUE(counter.settled());
}

TEST_F(LossCounting, ValuesThatLackBytesStandForNoCycle) {
    begin(PacketId::absolute);
    pids({0, 1, 2, 0});
    delivers("a", 3);
    counter.settle();
    EXPECT_EQ(counter.losses().lists[0].undelivered, 1U);
}

TEST_F(LossCounting, ListThatEndsNoVariableOwesNoValues) {
    begin(PacketId::absolute);
    shape.lists[0].finished.clear();
    counter.begin(shape);
    pids({0, 1, 2, 0, 1, 2, 0});
    counter.settle();
    EXPECT_TRUE(counter.settled());
}

TEST_F(LossCounting, ValuesOfNoListHaveNoEvent) {
    begin(PacketId::absolute);
    delivers("stranger");
    EXPECT_EQ(event, std::nullopt);
}

TEST_F(LossCounting, PacketsAheadOfTheMeasurementAreNotCounted) {
    pids({2, 1});
    begin(PacketId::absolute);
    EXPECT_EQ(counter.losses().total(), 0U);
    EXPECT_EQ(counter.losses().strangers, 0U);
}

}  // namespace
