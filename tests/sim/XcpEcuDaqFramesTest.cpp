// The DAQ packets of the simulated XCP ECU, byte by byte.
#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

XcpEcuConfig quiet(XcpIdField idField) {
    XcpEcuConfig config = smallEcu();
    config.daq.idField = idField;
    return config;
}

/// Commands that make two lists on the fast channel: list 0 of two ODTs (2 bytes at 0x1010 and 1 byte
/// at 0x1020; 3 bytes at 0x1030), list 1 of one ODT (1 byte at 0x1040).
std::vector<std::string> twoLists(const std::string& flags, const std::string& prescaler = "01") {
    return {"d6",
            "d5 00 02 00",
            "d4 00 00 00 02",
            "d4 00 01 00 01",
            "d3 00 00 00 00 02",
            "d3 00 00 00 01 01",
            "d3 00 01 00 00 01",
            "e2 00 00 00 00 00",
            "e1 ff 02 00 10 10 00 00",
            "e1 ff 01 00 20 10 00 00",
            "e2 00 00 00 01 00",
            "e1 ff 03 00 30 10 00 00",
            "e2 00 01 00 00 00",
            "e1 ff 01 00 40 10 00 00",
            "e0 " + flags + " 00 00 00 00 " + prescaler + " 00",
            "e0 " + flags + " 01 00 00 00 " + prescaler + " 00"};
}

TEST(XcpEcuDto, WithAbsoluteIdentifierNumbersOdtsOverAllLists) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    EXPECT_EQ(bench.ask("de 01 00 00"), "ff 00");
    EXPECT_EQ(bench.ask("de 01 01 00"), "ff 02");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 | 01 30 31 32 | 02 40");
}

TEST(XcpEcuDto, WithRelativeIdentifierAndByteNamesTheList) {
    Session bench(quiet(XcpIdField::relativeByte));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    EXPECT_EQ(bench.ask("de 01 00 00"), "ff 00");
    EXPECT_EQ(bench.ask("de 01 01 00"), "ff 00");
    EXPECT_EQ(bench.pass(10 * kMs), "00 00 10 11 20 | 01 00 30 31 32 | 00 01 40");
}

TEST(XcpEcuDto, WithRelativeIdentifierAndWordNamesTheList) {
    Session bench(quiet(XcpIdField::relativeWord));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"de 02 00 00", "de 02 01 00", "dd 01"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 00 00 10 11 20 | 01 00 00 30 31 32 | 00 01 00 40");
}

TEST(XcpEcuDto, WithRelativeIdentifierAndAlignedWordHasAFillByte) {
    XcpEcuConfig config = motorola(quiet(XcpIdField::relativeWordAligned));
    Session bench(config);
    ASSERT_EQ(bench.setUp({"d6", "d5 00 00 02", "d4 00 00 01 01", "d3 00 00 01 00 01", "e2 00 00 01 00 00",
                           "e1 ff 01 00 00 00 10 40", "e0 00 00 01 00 00 01 00", "de 01 00 01"}),
              "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 00 00 01 40");
}

TEST(XcpEcuDto, CarriesTheTimestampInItsFirstOdtOnly) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("10")), "");
    ASSERT_EQ(bench.setUp({"de 01 00 00"}), "");
    // 10 ms and 20 ms in microseconds
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 27 00 00 10 11 20 | 01 30 31 32");
    EXPECT_EQ(bench.pass(10 * kMs), "00 20 4e 00 00 10 11 20 | 01 30 31 32");
}

TEST(XcpEcuDto, CarriesTimestampsOfOneAndTwoBytesInTheByteOrder) {
    XcpEcuConfig config = quiet(XcpIdField::absolute);
    config.daq.timestampSize = 2;
    Session two(config);
    ASSERT_EQ(two.setUp(twoLists("10")), "");
    ASSERT_EQ(two.setUp({"de 01 01 00"}), "");
    EXPECT_EQ(two.pass(10 * kMs), "02 10 27 40");
    config.daq.timestampSize = 1;
    config.daq.clockStart = 0xFF;
    Session one(config);
    ASSERT_EQ(one.setUp(twoLists("10")), "");
    ASSERT_EQ(one.setUp({"de 01 01 00"}), "");
    EXPECT_EQ(one.pass(10 * kMs), "02 0f 40");
}

TEST(XcpEcuDto, InMotorolaOrderCarriesTimestampAndListInIt) {
    XcpEcuConfig config = motorola(quiet(XcpIdField::relativeWord));
    Session bench(config);
    ASSERT_EQ(bench.setUp({"d6", "d5 00 00 02", "d4 00 00 01 01", "d3 00 00 01 00 01", "e2 00 00 01 00 00",
                           "e1 ff 01 00 00 00 10 40", "e0 10 00 01 00 00 01 00", "de 01 00 01"}),
              "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 00 01 00 00 27 10 40");
}

TEST(XcpEcuDto, ComesWithEveryNthEventOfAPrescaler) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("00", "03")), "");
    ASSERT_EQ(bench.setUp({"de 01 01 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "02 40");
    EXPECT_EQ(bench.pass(20 * kMs), "");
    EXPECT_EQ(bench.pass(10 * kMs), "02 40");
}

TEST(XcpEcuDto, OfHigherPriorityLeavesFirst) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"e0 00 01 00 00 00 01 05", "de 01 00 00", "de 01 01 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "02 40 | 00 10 11 20 | 01 30 31 32");
}

TEST(XcpEcuDto, StopsWithItsListAndLeavesNoTimer) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"de 01 00 00", "de 01 01 00", "de 00 00 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "02 40");
    ASSERT_EQ(bench.setUp({"dd 00"}), "");
    EXPECT_EQ(bench.port.pendingTimers(), 0U);
    EXPECT_EQ(bench.pass(50 * kMs), "");
    EXPECT_EQ(bench.ecu.counters().dtos, 1U);
}

TEST(XcpEcuDto, StopsWithTheSession) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"de 01 01 00", "fe"}), "");
    EXPECT_EQ(bench.pass(50 * kMs), "");
}

TEST(XcpEcuDto, ComesAtTheTimesOfItsChannelWheneverTheListStarts) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    bench.pass(13 * kMs);
    ASSERT_EQ(bench.setUp({"de 01 01 00"}), "");
    EXPECT_EQ(bench.pass(7 * kMs - 1), "");
    EXPECT_EQ(bench.pass(1), "02 40");
}

TEST(XcpEcuDto, OfAnotherChannelComesWithThatOne) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"e0 00 01 00 01 00 01 00", "de 01 01 00"}), "");
    EXPECT_EQ(bench.pass(99 * kMs), "");
    EXPECT_EQ(bench.pass(kMs), "02 40");
}

TEST(XcpEcuDto, OfAChannelThatIsNotCyclicNeverComes) {
    XcpEcuConfig config = quiet(XcpIdField::absolute);
    config.daq.events[0].cycle = 0;
    Session bench(config);
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"de 01 01 00"}), "");
    EXPECT_EQ(bench.port.pendingTimers(), 0U);
}

TEST(XcpEcuDto, ComesEveryHundredMicroseconds) {
    XcpEcuConfig config = quiet(XcpIdField::absolute);
    config.daq.events[0].cycle = 1;
    config.daq.events[0].unit = 5;
    Session bench(config);
    ASSERT_EQ(bench.setUp(twoLists("10")), "");
    ASSERT_EQ(bench.setUp({"de 01 01 00"}), "");
    EXPECT_EQ(bench.pass(kMs / 5), "02 64 00 00 00 40 | 02 c8 00 00 00 40");
}

TEST(XcpEcuDto, LeavesOutOdtsAndEntriesThatWereNotWritten) {
    XcpEcuConfig config = smallEcu();
    config.daq.dynamic = false;
    XcpDaqListConfig list;
    list.odts = 3;
    list.entriesPerOdt = 4;
    config.daq.lists = {list};
    Session bench(config);
    ASSERT_EQ(bench.setUp({"e2 00 00 00 00 00", "e1 ff 01 00 10 10 00 00", "e2 00 00 00 02 01",
                           "e1 ff 02 00 20 10 00 00", "e0 00 00 00 00 00 01 00", "de 01 00 00"}),
              "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 | 02 20 21");
}

TEST(XcpEcuDto, OfAPredefinedListComesAsItIs) {
    XcpEcuConfig config = smallEcu();
    config.daq.dynamic = false;
    XcpDaqListConfig list;
    list.fixedEvent = 0;
    list.canId = 0x702;
    list.content = {{XcpDaqEntry{.size = 4, .address = 0x1010}}, {XcpDaqEntry{.size = 2, .address = 0x1020}}};
    config.daq.lists = {list};
    config.padLength = 8;
    Session bench(config);
    EXPECT_EQ(bench.setUp({"de 01 00 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 12 13 00 00 00 | 01 20 21 00 00 00 00 00");
    EXPECT_EQ(bench.port.sent[0].id, 0x702U);
}

TEST(XcpEcuDto, LeavesWithTheIdentifierThatWasSet) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"f2 fd 01 00 05 07 00 00", "de 01 00 00", "de 01 01 00"}), "");
    bench.pass(10 * kMs);
    ASSERT_EQ(bench.port.sent.size(), 3U);
    EXPECT_EQ(bench.port.sent[0].id, 0x601U);
    EXPECT_EQ(bench.port.sent[2].id, 0x705U);
}

TEST(XcpEcuDto, WithoutIdentifierNeedsACanIdentifierOfItsOwnAndOneOdt) {
    XcpEcuConfig config = quiet(XcpIdField::absolute);
    config.daq.pidOffSupported = true;
    Session bench(config);
    ASSERT_EQ(bench.setUp(twoLists("20")), "");
    EXPECT_EQ(bench.ask("de 01 01 00"), "fe 2a");
    ASSERT_EQ(bench.setUp({"f2 fd 00 00 04 07 00 00", "f2 fd 01 00 05 07 00 00"}), "");
    EXPECT_EQ(bench.ask("de 01 00 00"), "fe 2a") << "two ODTs";
    EXPECT_EQ(bench.ask("de 01 01 00"), "ff 02");
    EXPECT_EQ(bench.pass(10 * kMs), "40");
}

TEST(XcpEcuDto, CountsItsSamplesWhereAskedTo) {
    XcpEcuConfig config = quiet(XcpIdField::relativeByte);
    config.daq.counterSupported = true;
    Session bench(config);
    ASSERT_EQ(bench.setUp(twoLists("18")), "");
    ASSERT_EQ(bench.setUp({"de 01 01 00"}), "");
    EXPECT_EQ(bench.pass(20 * kMs), "00 01 00 10 27 00 00 40 | 00 01 01 20 4e 00 00 40");
}

TEST(XcpEcuDto, OfWordAddressesCountsSizesInElements) {
    Session bench(smallEcu(2));
    ASSERT_EQ(bench.setUp({"d6", "d5 00 01 00", "d4 00 00 00 01", "d3 00 00 00 00 02", "e2 00 00 00 00 00",
                           "e1 ff 02 00 01 10 00 00", "e1 ff 01 00 08 10 00 00", "e0 00 00 00 00 00 01 00",
                           "de 01 00 00"}),
              "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 02 03 04 05 10 11");
}

TEST(XcpEcuDto, OfDoubleWordAddressesCountsSizesInElements) {
    Session bench(smallEcu(4));
    ASSERT_EQ(bench.setUp({"d6", "d5 00 01 00", "d4 00 00 00 01", "d3 00 00 00 00 02", "e2 00 00 00 00 00",
                           "e1 ff 01 00 01 10 00 00"}),
              "");
    EXPECT_EQ(bench.ask("e1 ff 01 00 08 10 00 00"), "fe 2a");
    ASSERT_EQ(bench.setUp({"e0 00 00 00 00 00 01 00", "de 01 00 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 04 05 06 07");
}

TEST(XcpEcuDto, OfCanFdFillsItsLongFrames) {
    XcpEcuConfig config = smallEcu();
    config.fd = true;
    config.maxDto = 64;
    config.daq.maxEntrySize = 63;
    Session bench(config);
    ASSERT_EQ(bench.setUp({"d6", "d5 00 01 00", "d4 00 00 00 02", "d3 00 00 00 00 01", "d3 00 00 00 01 01",
                           "e2 00 00 00 00 00", "e1 ff 3f 00 00 10 00 00", "e2 00 00 00 01 00",
                           "e1 ff 08 00 00 10 00 00", "e0 00 00 00 00 00 01 00", "de 01 00 00"}),
              "");
    const std::string text = bench.pass(10 * kMs);
    ASSERT_EQ(bench.port.sent.size(), 2U);
    EXPECT_EQ(bench.port.sent[0].length, 64);
    EXPECT_EQ(bench.port.sent[0].data[63], 0x3E);
    EXPECT_EQ(textOf(bench.port.sent[1]), "01 00 01 02 03 04 05 06 07 00 00 00");
}

TEST(XcpEcuOverload, IsMarkedInTheNextIdentifier) {
    XcpEcuConfig config = quiet(XcpIdField::absolute);
    config.daq.overload = XcpOverload::msb;
    Session bench(config);
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"de 01 00 00"}), "");
    bench.ecu.inject(EcuFault{.kind = EcuFaultKind::overload, .after = 1, .count = 2});
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 | 01 30 31 32");
    EXPECT_EQ(bench.pass(20 * kMs), "");
    EXPECT_EQ(bench.pass(10 * kMs), "80 10 11 20 | 01 30 31 32");
    EXPECT_EQ(bench.pass(10 * kMs), "00 10 11 20 | 01 30 31 32");
    EXPECT_EQ(bench.ecu.counters().lostDtos, 4U);
}

TEST(XcpEcuOverload, IsToldByAnEvent) {
    XcpEcuConfig config = quiet(XcpIdField::absolute);
    config.daq.overload = XcpOverload::event;
    Session bench(config);
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"de 01 01 00"}), "");
    bench.ecu.inject(EcuFault{.kind = EcuFaultKind::overload});
    EXPECT_EQ(bench.pass(20 * kMs), "fd 06 | 02 40");
}

TEST(XcpEcuOverload, MayGoUnannounced) {
    Session bench(quiet(XcpIdField::absolute));
    ASSERT_EQ(bench.setUp(twoLists("00")), "");
    ASSERT_EQ(bench.setUp({"de 01 01 00"}), "");
    bench.ecu.inject(EcuFault{.kind = EcuFaultKind::overload});
    EXPECT_EQ(bench.pass(20 * kMs), "02 40");
}

}  // namespace
}  // namespace sim::test
