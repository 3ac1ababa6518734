// Data acquisition of the simulated CCP ECU.
#include "tests/sim/CcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

/// Commands that fill list 0: 2 bytes at 0x1010 and 4 at 0x1020 in ODT 0, 1 byte at 0x1030 in ODT 1.
const std::vector<std::string> kList0{
    "14 00 00 00 01 07 00 00", "15 00 00 00 00", "16 00 02 00 10 10 00 00", "15 00 00 00 01",
    "16 00 04 00 20 10 00 00", "15 00 00 01 00", "16 00 01 00 30 10 00 00"};
constexpr const char* kStart0 = "06 00 01 00 01 00 01 00";

struct Filled : CcpSession {
    explicit Filled(const CcpEcuConfig& config = smallCcpEcu()) : CcpSession(config) {
        EXPECT_EQ(setUp(kList0), "");
    }
};

// Set-up

TEST(CcpEcuGetDaqSize, TellsOdtsAndFirstIdentifier) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("14 01 00 00 01 07 00 00"), "ff 00 01 02 00 00 00 00");
    EXPECT_EQ(bench.ask("14 02 01 00 01 07 00 00"), "ff 00 02 03 10 00 00 00");
    EXPECT_EQ(bench.ask("14 03 03 00 01 07 00 00"), "ff 00 03 00 00 00 00 00") << "a list that is not there";
}

TEST(CcpEcuGetDaqSize, TakesTheIdentifierOfTheListInTheByteOrderOfTheEcu) {
    Filled intel;
    ASSERT_EQ(intel.setUp({"14 00 00 00 23 01 00 00", kStart0}), "");
    intel.pass(10 * kMs);
    EXPECT_EQ(intel.port.sent.at(0).id, 0x123U);
    CcpSession bench(motorola(smallCcpEcu()));
    ASSERT_EQ(bench.setUp({"14 00 00 00 98 00 07 10", "06 00 01 00 00 00 00 01"}), "");
    bench.pass(10 * kMs);
    EXPECT_EQ(bench.port.sent.at(0).id, 0x18000710U);
    EXPECT_TRUE(bench.port.sent[0].extended) << "the top bit says so";
}

TEST(CcpEcuGetDaqSize, RefusesAnIdentifierThatIsNone) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("14 01 00 00 00 08 00 00"), "ff 32 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("14 02 00 00 00 00 00 a0"), "ff 32 02 00 00 00 00 00");
}

TEST(CcpEcuGetDaqSize, KeepsOrChecksAnIdentifierOfTheEcu) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("14 01 02 00 01 07 00 00"), "ff 32 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("14 02 02 00 67 45 23 01"), "ff 32 02 00 00 00 00 00") << "29 bits are another one";
    EXPECT_EQ(bench.ask("14 03 02 00 67 45 23 81"), "ff 00 03 01 20 00 00 00");
    ASSERT_EQ(bench.setUp({"14 04 01 00 23 01 00 00", "06 05 01 01 00 00 01 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "10 00 00 00 00 00 00 00");
    EXPECT_EQ(bench.port.sent[0].id, 0x710U);
}

TEST(CcpEcuGetDaqSize, StopsAndEmptiesTheList) {
    Filled bench;
    ASSERT_EQ(bench.setUp({kStart0, "14 01 00 00 01 07 00 00"}), "");
    EXPECT_FALSE(bench.ecu.daqRunning());
    EXPECT_EQ(bench.pass(50 * kMs), "");
    ASSERT_EQ(bench.setUp({kStart0}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 00 00 00 00 00 00 00 | 01 00 00 00 00 00 00 00");
}

TEST(CcpEcuSetDaqPtr, NeedsListOdtAndElement) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("15 01 00 01 06"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("15 02 03 00 00"), "ff 32 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("15 03 00 02 00"), "ff 32 03 00 00 00 00 00");
    EXPECT_EQ(bench.ask("15 04 00 00 07"), "ff 32 04 00 00 00 00 00");
}

TEST(CcpEcuWriteDaq, WithoutAPointerIsRefused) {
    EXPECT_EQ(CcpSession(smallCcpEcu()).ask("16 01 01 00 00 10 00 00"), "ff 32 01 00 00 00 00 00");
}

TEST(CcpEcuWriteDaq, TakesSizesOneTwoAndFour) {
    for (int size = 0; size < 9; ++size) {
        CcpSession bench(smallCcpEcu());
        ASSERT_EQ(bench.setUp({"15 00 00 00 00"}), "");
        const bool fine = size == 1 || size == 2 || size == 4;
        EXPECT_EQ(bench.ask("16 01 0" + std::to_string(size) + " 00 00 10 00 00"),
                  fine ? "ff 00 01 00 00 00 00 00" : "ff 32 01 00 00 00 00 00")
            << size;
    }
}

TEST(CcpEcuWriteDaq, TakesOtherSizesWhereTheEcuDoes) {
    CcpEcuConfig config = smallCcpEcu();
    config.elementSizes = {3, 7};
    CcpSession bench(config);
    ASSERT_EQ(bench.setUp({"15 00 00 00 00", "16 01 07 00 10 10 00 00", kStart0}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 12 13 14 15 16 | 01 00 00 00 00 00 00 00");
}

TEST(CcpEcuWriteDaq, FillsAnOdtUpToSevenBytes) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({"15 00 00 00 00", "16 00 04 00 00 10 00 00", "15 00 00 00 01",
                           "16 00 02 00 04 10 00 00", "15 00 00 00 02"}),
              "");
    EXPECT_EQ(bench.ask("16 01 02 00 06 10 00 00"), "ff 32 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("16 02 01 00 06 10 00 00"), "ff 00 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("16 03 01 00 07 10 00 00"), "ff 00 03 00 00 00 00 00") << "in place of the last one";
}

TEST(CcpEcuWriteDaq, NeedsMemoryThatMayBeRead) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({"15 00 00 00 00"}), "");
    EXPECT_EQ(bench.ask("16 01 02 00 ff 10 00 00"), "ff 32 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("16 02 01 00 00 30 00 00"), "ff 33 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("16 03 01 05 00 10 00 00"), "ff 32 03 00 00 00 00 00");
}

TEST(CcpEcuWriteDaq, IsRefusedWhileTheListRuns) {
    Filled bench;
    ASSERT_EQ(bench.setUp({kStart0}), "");
    EXPECT_EQ(bench.ask("16 01 01 00 00 10 00 00"), "ff 33 01 00 00 00 00 00");
}

// Packets

TEST(CcpEcuDto, CarriesTheElementsOfItsOdtOneBehindTheOther) {
    Filled bench;
    ASSERT_EQ(bench.setUp({kStart0}), "");
    EXPECT_TRUE(bench.ecu.daqRunning());
    EXPECT_EQ(bench.pass(10 * kMs - 1), "");
    EXPECT_EQ(bench.pass(1), "00 10 11 20 21 22 23 00 | 01 30 00 00 00 00 00 00");
    EXPECT_EQ(bench.port.sent[0].id, 0x701U);
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 00 | 01 30 00 00 00 00 00 00");
    EXPECT_EQ(bench.ecu.counters().dtos, 4U);
}

TEST(CcpEcuDto, TakesNoRoomForElementsThatWereLeftOut) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({"15 00 00 00 00", "16 00 02 00 10 10 00 00", "15 00 00 00 02",
                           "16 00 02 00 20 10 00 00", "06 00 01 00 00 00 01 00"}),
              "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 00 00 00");
}

TEST(CcpEcuDto, IsFilledUpWithTheByteOfTheEcu) {
    CcpEcuConfig config = smallCcpEcu();
    config.padByte = 0xA5;
    Filled bench(config);
    ASSERT_EQ(bench.setUp({kStart0}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 a5 | 01 30 a5 a5 a5 a5 a5 a5");
}

TEST(CcpEcuDto, ComesAsFarAsTheLastOdt) {
    Filled bench;
    ASSERT_EQ(bench.setUp({"06 00 01 00 00 00 01 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 00");
}

TEST(CcpEcuDto, ComesWithEveryNthEventOfThePrescalerInTheByteOrderOfTheEcu) {
    Filled intel;
    ASSERT_EQ(intel.setUp({"06 00 01 00 00 00 03 00"}), "");
    EXPECT_EQ(intel.pass(10 * kMs), "00 10 11 20 21 22 23 00");
    EXPECT_EQ(intel.pass(20 * kMs), "");
    EXPECT_EQ(intel.pass(10 * kMs), "00 10 11 20 21 22 23 00");
    CcpSession bench(motorola(smallCcpEcu()));
    ASSERT_EQ(bench.setUp({"06 00 01 00 00 00 00 02"}), "");
    EXPECT_EQ(bench.pass(20 * kMs), "00 00 00 00 00 00 00 00");
}

TEST(CcpEcuDto, OfAnExtendedListHas29Bits) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({"14 00 02 00 67 45 23 81", "15 00 02 00 00", "16 00 01 00 42 10 00 00",
                           "06 00 01 02 00 01 01 00"}),
              "");
    EXPECT_EQ(bench.pass(99 * kMs), "");
    EXPECT_EQ(bench.pass(kMs), "20 42 00 00 00 00 00 00");
    EXPECT_EQ(bench.port.sent[0].id, 0x1234567U);
    EXPECT_TRUE(bench.port.sent[0].extended);
}

TEST(CcpEcuDto, IsWhatTheSignalsWereAtItsEvent) {
    CcpEcuConfig config = smallCcpEcu();
    Signal counter;
    counter.address = 0x1010;
    counter.type = SignalType::u16;
    counter.byteOrder = ByteOrder::motorola;
    Signal slow;
    slow.address = 0x1020;
    slow.type = SignalType::u32;
    slow.event = 1;
    slow.phase = 0xABCDEF;
    config.signals = {counter, slow};
    Filled bench(config);
    ASSERT_EQ(bench.setUp({kStart0}), "");
    EXPECT_EQ(bench.pass(20 * kMs),
              "00 00 01 ef cd ab 00 00 | 01 30 00 00 00 00 00 00 | "
              "00 00 02 ef cd ab 00 00 | 01 30 00 00 00 00 00 00");
    bench.pass(70 * kMs);
    EXPECT_EQ(bench.pass(10 * kMs), "00 00 0a f0 cd ab 00 00 | 01 30 00 00 00 00 00 00");
    EXPECT_EQ(bench.ecu.eventIndex(0), 10U);
    EXPECT_EQ(bench.ecu.eventIndex(1), 1U);
    EXPECT_EQ(bench.ecu.eventIndex(2), 0U);
    EXPECT_EQ(bench.memory(0x1010, 2), "00 0a");
}

TEST(CcpEcuDto, OfSeveralOdtsIsOfOneMoment) {
    // One counter over two ODTs: its low half is in ODT 0, its high half in ODT 1.
    CcpEcuConfig config = smallCcpEcu();
    Signal counter;
    counter.address = 0x1010;
    counter.type = SignalType::u64;
    counter.phase = 0xFFFFFFF0;
    config.signals = {counter};
    CcpSession bench(config);
    ASSERT_EQ(bench.setUp({"15 00 00 00 00", "16 00 04 00 10 10 00 00", "15 00 00 01 00",
                           "16 00 04 00 14 10 00 00", kStart0}),
              "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 f1 ff ff ff 00 00 00 | 01 00 00 00 00 00 00 00");
    bench.pass(140 * kMs);
    EXPECT_EQ(bench.pass(10 * kMs), "00 00 00 00 00 00 00 00 | 01 01 00 00 00 00 00 00");
}

// Start and stop

TEST(CcpEcuStartStop, StopsTheListAndLeavesNoTimer) {
    Filled bench;
    ASSERT_EQ(bench.setUp({kStart0}), "");
    bench.pass(10 * kMs);
    EXPECT_EQ(bench.ask("06 01 00 00 ff ff 00 00"), "ff 00 01 00 00 00 00 00")
        << "a stop needs the list only";
    EXPECT_FALSE(bench.ecu.daqRunning());
    EXPECT_EQ(bench.port.pendingTimers(), 0U);
    EXPECT_EQ(bench.pass(50 * kMs), "");
}

TEST(CcpEcuStartStop, RefusesWhatIsNotThere) {
    Filled bench;
    EXPECT_EQ(bench.ask("06 01 03 00 00 00 01 00"), "ff 32 01 00 00 00 00 00") << "mode";
    EXPECT_EQ(bench.ask("06 02 01 03 00 00 01 00"), "ff 32 02 00 00 00 00 00") << "list";
    EXPECT_EQ(bench.ask("06 03 01 00 02 00 01 00"), "ff 32 03 00 00 00 00 00") << "last ODT";
    EXPECT_EQ(bench.ask("06 04 01 00 01 02 01 00"), "ff 32 04 00 00 00 00 00") << "event channel";
    EXPECT_EQ(bench.ask("06 05 01 00 01 00 00 00"), "ff 32 05 00 00 00 00 00") << "prescaler";
    EXPECT_EQ(bench.ask("06 06 01 02 00 00 01 00"), "ff 32 06 00 00 00 00 00") << "channel of the list";
    EXPECT_FALSE(bench.ecu.daqRunning());
}

TEST(CcpEcuStartStop, CutsTheLastOdtWhereTheEcuDoes) {
    CcpEcuConfig config = smallCcpEcu();
    config.cutsLastOdt = true;
    CcpSession bench(config);
    ASSERT_EQ(bench.setUp({"06 00 01 01 12 00 01 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs),
              "10 00 00 00 00 00 00 00 | 11 00 00 00 00 00 00 00 | 12 00 00 00 00 00 00 00");
}

TEST(CcpEcuStartStopAll, StartsThePreparedListsTogether) {
    Filled bench;
    ASSERT_EQ(bench.setUp({"06 00 02 00 00 00 01 00", "06 00 02 01 00 00 02 00"}), "");
    EXPECT_EQ(bench.pass(20 * kMs), "");
    EXPECT_FALSE(bench.ecu.daqRunning());
    EXPECT_EQ(bench.ask("08 01 01"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 00 | 10 00 00 00 00 00 00 00");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 00");
}

TEST(CcpEcuStartStopAll, StopsEveryListAndForgetsThePreparedOnes) {
    Filled bench;
    ASSERT_EQ(bench.setUp({kStart0, "06 00 02 01 00 00 01 00", "08 01 00"}), "");
    EXPECT_EQ(bench.pass(50 * kMs), "");
    ASSERT_EQ(bench.setUp({"08 01 01"}), "");
    EXPECT_EQ(bench.pass(50 * kMs), "");
    EXPECT_EQ(bench.ask("08 02 02"), "ff 32 02 00 00 00 00 00");
}

TEST(CcpEcuStartStop, AfterAPreparationStartsTheListAlone) {
    Filled bench;
    ASSERT_EQ(bench.setUp({"06 00 02 00 01 00 01 00", "06 00 01 00 00 00 01 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 00");
}

TEST(CcpEcuStartStop, OfAListThatRunsStartsItAnew) {
    Filled bench;
    ASSERT_EQ(bench.setUp({"06 00 01 00 00 00 02 00"}), "");
    bench.pass(10 * kMs);
    ASSERT_EQ(bench.setUp({"06 00 01 00 01 00 02 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 00 | 01 30 00 00 00 00 00 00");
}

// Over the session

TEST(CcpEcuDaq, GoesOnOverATemporaryDisconnect) {
    Filled bench;
    ASSERT_EQ(bench.setUp({kStart0, "07 00 00 00 01 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 00 | 01 30 00 00 00 00 00 00");
    bench.ask("01 00 05 00");
    EXPECT_NE(bench.pass(10 * kMs), "") << "nor does another station stop it";
}

TEST(CcpEcuDaq, EndsWithTheSession) {
    Filled bench;
    ASSERT_EQ(bench.setUp({kStart0, "07 00 01 00 01 00"}), "");
    EXPECT_EQ(bench.pass(50 * kMs), "");
    ASSERT_EQ(bench.setUp({"01 00 01 00", kStart0}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 00 00 00 00 00 00 00 | 01 00 00 00 00 00 00 00") << "empty again";
}

TEST(CcpEcuResume, KeepsDaqAndItsResourceOverTheEndOfTheSession) {
    CcpEcuConfig config = smallCcpEcu();
    config.resumeSupported = true;
    config.locks = {{.resource = ccp::kDaq}, {.resource = ccp::kCal}};
    CcpSession bench(config);
    for (const std::uint8_t resource : {ccp::kDaq, ccp::kCal}) {
        const std::vector<std::uint8_t> seed = bytesOf(bench.ask("12 00 0" + std::to_string(resource)));
        ASSERT_EQ(bench.setUp({"13 00 " + textOf(computeKey(resource, std::span(seed).subspan(4)))}), "");
    }
    ASSERT_EQ(bench.setUp(kList0), "");
    ASSERT_EQ(bench.setUp({"0c 00 84", kStart0, "07 00 01 00 01 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 00 | 01 30 00 00 00 00 00 00");
    EXPECT_EQ(bench.ecu.protection(), 0x01) << "only the other one closes";
    EXPECT_EQ(bench.ecu.sessionStatus(), 0x04);
}

TEST(CcpEcuResume, StartsDaqWithTheEcu) {
    CcpEcuConfig config = smallCcpEcu();
    config.resumeSupported = true;
    Filled bench(config);
    ASSERT_EQ(bench.setUp({"0c 00 84", kStart0}), "");
    bench.pass(5 * kMs);
    bench.ecu.powerOff();
    EXPECT_EQ(bench.port.pendingTimers(), 0U);
    EXPECT_EQ(bench.pass(50 * kMs), "");
    bench.ecu.powerOn(bench.port);
    EXPECT_FALSE(bench.ecu.connected());
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 21 22 23 00 | 01 30 00 00 00 00 00 00");
}

TEST(CcpEcuPowerOff, EndsDaqWithoutTheResumeBit) {
    CcpEcuConfig config = smallCcpEcu();
    config.resumeSupported = true;
    Filled bench(config);
    ASSERT_EQ(bench.setUp({"0c 00 80", kStart0}), "");
    bench.ecu.powerOff();
    bench.ecu.powerOn(bench.port);
    EXPECT_EQ(bench.pass(50 * kMs), "");
    EXPECT_FALSE(bench.ecu.daqRunning());
}

}  // namespace
}  // namespace sim::test
