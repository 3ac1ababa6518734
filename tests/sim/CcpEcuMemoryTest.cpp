// Memory commands of the simulated CCP ECU: transfer, move, checksum, calibration pages, flash.
#include "tests/sim/CcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

constexpr const char* kMtaAtRam = "02 00 00 00 10 10 00 00";
constexpr const char* kMtaAtFlash = "02 00 00 00 00 40 00 00";

// Transfer

TEST(CcpEcuUpload, ReadsAtMta0AndMovesItOn) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask(kMtaAtRam), "ff 00 00 00 00 00 00 00");
    EXPECT_EQ(bench.ask("04 01 05"), "ff 00 01 10 11 12 13 14");
    EXPECT_EQ(bench.ask("04 02 01"), "ff 00 02 15 00 00 00 00");
}

TEST(CcpEcuUpload, TakesTheAddressInTheByteOrderOfTheEcu) {
    CcpSession bench(motorola(smallCcpEcu()));
    ASSERT_EQ(bench.setUp({"02 00 00 00 00 00 10 30"}), "");
    EXPECT_EQ(bench.ask("04 01 02"), "ff 00 01 30 31 00 00 00");
    EXPECT_EQ(bench.ask("0f 02 01 00 00 00 10 40"), "ff 00 02 40 00 00 00 00");
}

TEST(CcpEcuUpload, IsOfOneToFiveBytes) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam}), "");
    EXPECT_EQ(bench.ask("04 01 00"), "ff 32 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("04 02 06"), "ff 32 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0f 03 00 00 00 10 00 00"), "ff 32 03 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0f 04 06 00 00 10 00 00"), "ff 32 04 00 00 00 00 00");
    EXPECT_EQ(bench.ask("04 05 01"), "ff 00 05 10 00 00 00 00") << "a refused one moves nothing";
}

TEST(CcpEcuUpload, NeedsMemoryThatMayBeRead) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("0f 01 02 00 ff 10 00 00"), "ff 32 01 00 00 00 00 00") << "half of it is there";
    EXPECT_EQ(bench.ask("0f 02 01 00 00 30 00 00"), "ff 33 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0f 03 01 01 00 10 00 00"), "ff 32 03 00 00 00 00 00") << "another extension";
    EXPECT_EQ(bench.ask("0f 04 05 00 ff ff ff ff"), "ff 32 04 00 00 00 00 00");
}

TEST(CcpEcuShortUp, LeavesMta0WhereItIs) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam}), "");
    EXPECT_EQ(bench.ask("0f 01 04 00 80 10 00 00"), "ff 00 01 80 81 82 83 00");
    EXPECT_EQ(bench.ask("04 02 01"), "ff 00 02 10 00 00 00 00");
}

TEST(CcpEcuSetMta, NumbersTwoAddresses) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam, "02 01 01 00 40 10 00 00"}), "");
    EXPECT_EQ(bench.ask("04 02 01"), "ff 00 02 10 00 00 00 00") << "reading uses number 0";
    EXPECT_EQ(bench.ask("02 03 02 00 40 10 00 00"), "ff 32 03 00 00 00 00 00");
}

TEST(CcpEcuDnload, WritesAndTellsWhereMta0StandsThen) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam}), "");
    EXPECT_EQ(bench.ask("03 01 05 a1 a2 a3 a4 a5"), "ff 00 01 00 15 10 00 00");
    EXPECT_EQ(bench.ask("03 02 01 a6 ee ee"), "ff 00 02 00 16 10 00 00");
    EXPECT_EQ(bench.memory(0x100F, 9), "0f a1 a2 a3 a4 a5 a6 16 17") << "and not a byte more";
}

TEST(CcpEcuDnload, TellsTheAddressInTheByteOrderOfTheEcu) {
    CcpSession bench(motorola(smallCcpEcu()));
    ASSERT_EQ(bench.setUp({"02 00 00 00 00 00 10 10"}), "");
    EXPECT_EQ(bench.ask("03 01 02 a1 a2"), "ff 00 01 00 00 00 10 12");
    EXPECT_EQ(bench.memory(0x1010, 2), "a1 a2");
}

TEST(CcpEcuDnload6, WritesSixBytes) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam}), "");
    EXPECT_EQ(bench.ask("23 01 b1 b2 b3 b4 b5 b6"), "ff 00 01 00 16 10 00 00");
    EXPECT_EQ(bench.memory(0x100F, 8), "0f b1 b2 b3 b4 b5 b6 16");
}

TEST(CcpEcuDnload, NeedsASizeAndMemoryThatMayBeWritten) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam}), "");
    EXPECT_EQ(bench.ask("03 01 00"), "ff 32 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("03 02 06 01 02 03 04 05"), "ff 32 02 00 00 00 00 00");
    ASSERT_EQ(bench.setUp({"02 00 00 00 00 20 00 00"}), "");
    EXPECT_EQ(bench.ask("03 03 01 aa"), "ff 33 03 00 00 00 00 00");
    ASSERT_EQ(bench.setUp({kMtaAtFlash}), "");
    EXPECT_EQ(bench.ask("03 04 01 aa"), "ff 33 04 00 00 00 00 00") << "flash is programmed";
    ASSERT_EQ(bench.setUp({"02 00 00 00 fe 10 00 00"}), "");
    EXPECT_EQ(bench.ask("23 05 01 02 03 04 05 06"), "ff 32 05 00 00 00 00 00");
    EXPECT_EQ(bench.memory(0x10FE, 2), "fe ff") << "nothing of a block that does not fit";
}

// Move

TEST(CcpEcuMove, CopiesFromMta0ToMta1) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam, "02 01 01 00 40 10 00 00"}), "");
    EXPECT_EQ(bench.ask("19 02 03 00 00 00"), "ff 00 02 00 00 00 00 00");
    EXPECT_EQ(bench.memory(0x103F, 5), "3f 10 11 12 43");
    EXPECT_EQ(bench.ask("04 03 01"), "ff 00 03 10 00 00 00 00") << "the addresses stay";
}

TEST(CcpEcuMove, TakesItsSizeInTheByteOrderOfTheEcu) {
    CcpSession bench(motorola(smallCcpEcu()));
    ASSERT_EQ(bench.setUp({"02 00 00 00 00 00 10 10", "02 01 01 00 00 00 10 40", "19 02 00 00 00 02"}), "");
    EXPECT_EQ(bench.memory(0x103F, 4), "3f 10 11 42");
}

TEST(CcpEcuMove, OfOverlappingRangesIsAsIfReadFirst) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam, "02 01 01 00 12 10 00 00", "19 02 04 00 00 00"}), "");
    EXPECT_EQ(bench.memory(0x1010, 7), "10 11 10 11 12 13 16");
}

TEST(CcpEcuMove, NeedsBothRanges) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam, "02 01 01 00 00 20 00 00"}), "");
    EXPECT_EQ(bench.ask("19 02 01 00 00 00"), "ff 33 02 00 00 00 00 00") << "read-only";
    EXPECT_EQ(bench.ask("19 03 f1 00 00 00"), "ff 32 03 00 00 00 00 00") << "source ends before";
    ASSERT_EQ(bench.setUp({"02 04 01 00 f0 10 00 00"}), "");
    EXPECT_EQ(bench.ask("19 05 11 00 00 00"), "ff 32 05 00 00 00 00 00") << "destination ends before";
    EXPECT_EQ(bench.ask("19 06 ff ff ff ff"), "ff 32 06 00 00 00 00 00");
    EXPECT_EQ(bench.ask("19 07 00 00 00 00"), "ff 00 07 00 00 00 00 00") << "nothing to move";
}

// Checksum

struct Checking : CcpSession {
    explicit Checking(const CcpEcuConfig& config) : CcpSession(config) {
        const std::string digits = "123456789";
        EXPECT_TRUE(ecu.write(0x1000, 0, std::vector<std::uint8_t>(digits.begin(), digits.end())));
        const bool intel = config.byteOrder == ByteOrder::intel;
        EXPECT_EQ(setUp({intel ? "02 00 00 00 00 10 00 00" : "02 00 00 00 00 00 10 00"}), "");
    }

    static CcpEcuConfig kind(XcpChecksum checksum, std::uint8_t size) {
        CcpEcuConfig config = smallCcpEcu();
        config.checksum = checksum;
        config.checksumSize = size;
        return config;
    }
};

TEST(CcpEcuBuildChksum, TellsSizeAndValueInTheByteOrderOfTheEcu) {
    // The check value of CRC-32 is CBF43926.
    EXPECT_EQ(Checking(smallCcpEcu()).ask("0e 01 09 00 00 00"), "ff 00 01 04 26 39 f4 cb");
    EXPECT_EQ(Checking(motorola(smallCcpEcu())).ask("0e 01 00 00 00 09"), "ff 00 01 04 cb f4 39 26");
}

TEST(CcpEcuBuildChksum, IsOfTheKindAndSizeOfTheEcu) {
    // 0x31 + ... + 0x39 = 0x1DD; the check value of CRC-16 (reflected 0x8005) is BB3D.
    EXPECT_EQ(Checking(Checking::kind(XcpChecksum::add11, 1)).ask("0e 01 09 00 00 00"),
              "ff 00 01 01 dd 00 00 00");
    EXPECT_EQ(Checking(Checking::kind(XcpChecksum::add12, 2)).ask("0e 01 09 00 00 00"),
              "ff 00 01 02 dd 01 00 00");
    EXPECT_EQ(Checking(Checking::kind(XcpChecksum::crc16, 2)).ask("0e 01 09 00 00 00"),
              "ff 00 01 02 3d bb 00 00");
}

TEST(CcpEcuBuildChksum, LeavesMta0WhereItIs) {
    Checking bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({"0e 01 09 00 00 00"}), "");
    EXPECT_EQ(bench.ask("04 02 01"), "ff 00 02 31 00 00 00 00");
}

TEST(CcpEcuBuildChksum, NeedsABlockThatIsThere) {
    CcpEcuConfig config = Checking::kind(XcpChecksum::add22, 2);
    config.maxChecksumBlock = 64;
    Checking bench(config);
    EXPECT_EQ(bench.ask("0e 01 00 00 00 00"), "ff 32 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0e 02 09 00 00 00"), "ff 32 02 00 00 00 00 00") << "half a word";
    EXPECT_EQ(bench.ask("0e 03 42 00 00 00"), "ff 32 03 00 00 00 00 00") << "above the limit";
    ASSERT_EQ(bench.setUp({"02 00 00 00 f0 10 00 00"}), "");
    EXPECT_EQ(bench.ask("0e 04 12 00 00 00"), "ff 32 04 00 00 00 00 00") << "behind the memory";
    ASSERT_EQ(bench.setUp({"02 00 00 00 00 30 00 00"}), "");
    EXPECT_EQ(bench.ask("0e 05 02 00 00 00"), "ff 33 05 00 00 00 00 00") << "hidden";
}

// Calibration pages

TEST(CcpEcuCalPage, IsSelectedByTheAddressOfItsFirstByte) {
    CcpSession bench(smallCcpEcu());
    EXPECT_EQ(bench.ask("09 00"), "ff 00 00 00 80 10 00 00");
    ASSERT_EQ(bench.setUp({kMtaAtFlash}), "");
    EXPECT_EQ(bench.ask("11 01"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("09 02"), "ff 00 02 00 00 40 00 00");
    EXPECT_EQ(bench.ecu.activePage(), (CcpCalPage{0x4000, 0}));
}

TEST(CcpEcuCalPage, IsToldInTheByteOrderOfTheEcuWithItsExtension) {
    CcpEcuConfig config = motorola(smallCcpEcu());
    config.calPages.insert(config.calPages.begin(), CcpCalPage{0x123456, 7});
    EXPECT_EQ(CcpSession(config).ask("09 00"), "ff 00 00 07 00 12 34 56");
}

TEST(CcpEcuCalPage, IsNotSelectedByAnotherAddress) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({"02 00 00 00 01 40 00 00"}), "");
    EXPECT_EQ(bench.ask("11 01"), "ff 32 01 00 00 00 00 00");
    ASSERT_EQ(bench.setUp({"02 00 00 01 00 40 00 00"}), "");
    EXPECT_EQ(bench.ask("11 02"), "ff 32 02 00 00 00 00 00") << "another extension";
    EXPECT_EQ(bench.ecu.activePage(), (CcpCalPage{0x1080, 0}));
}

TEST(CcpEcuCalPage, IsNotThereInAnEcuWithoutPages) {
    CcpEcuConfig config = smallCcpEcu();
    config.calPages.clear();
    CcpSession bench(config);
    EXPECT_EQ(bench.ask("09 00"), "ff 36 00 00 00 00 00 00");
    EXPECT_EQ(bench.ask("11 01"), "ff 36 01 00 00 00 00 00");
    EXPECT_FALSE(bench.ecu.activePage());
}

TEST(CcpEcuCalPage, OfReferenceIsCopiedToTheWorkingOneByMove) {
    CcpSession bench(smallCcpEcu());
    ASSERT_TRUE(bench.ecu.write(0x4000, 0, bytesOf("c1 c2 c3 c4")));
    ASSERT_EQ(bench.setUp({kMtaAtFlash, "02 01 01 00 80 10 00 00", "19 02 04 00 00 00"}), "");
    EXPECT_EQ(bench.memory(0x1080, 5), "c1 c2 c3 c4 84");
}

// Flash

TEST(CcpEcuFlash, IsClearedBySectorsAndMta0Stays) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({"02 00 00 00 3e 40 00 00"}), "");
    EXPECT_EQ(bench.ask("10 01 02 00 00 00"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.memory(0x403E, 3), "ff ff 00");
    EXPECT_EQ(bench.memory(0x4000, 2), "ff ff") << "a sector is cleared as a whole";
    EXPECT_EQ(bench.ask("10 02 03 00 00 00"), "ff 00 02 00 00 00 00 00");
    EXPECT_EQ(bench.memory(0x407F, 1), "ff") << "the range touches both now";
}

TEST(CcpEcuFlash, TakesTheSizeToClearInTheByteOrderOfTheEcu) {
    CcpSession bench(motorola(smallCcpEcu()));
    ASSERT_EQ(bench.setUp({"02 00 00 00 00 00 40 00"}), "");
    EXPECT_EQ(bench.ask("10 01 80 00 00 00"), "ff 33 01 00 00 00 00 00") << "2 GiB are not there";
    EXPECT_EQ(bench.ask("10 02 00 00 00 80"), "ff 00 02 00 00 00 00 00");
    EXPECT_EQ(bench.memory(0x4000, 1), "ff");
    EXPECT_EQ(bench.memory(0x407F, 1), "ff");
}

TEST(CcpEcuFlash, IsProgrammedAtMta0WhichMovesOn) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtFlash, "10 01 40 00 00 00"}), "");
    EXPECT_EQ(bench.ask("22 02 01 02 03 04 05 06"), "ff 00 02 00 06 40 00 00");
    EXPECT_EQ(bench.ask("18 03 02 07 08 ee"), "ff 00 03 00 08 40 00 00");
    EXPECT_EQ(bench.memory(0x4000, 9), "01 02 03 04 05 06 07 08 ff");
}

TEST(CcpEcuFlash, CanOnlyLoseBits) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtFlash, "10 01 40 00 00 00", "18 02 02 f0 0f"}), "");
    ASSERT_EQ(bench.setUp({kMtaAtFlash}), "");
    EXPECT_EQ(bench.ask("18 03 02 f0 1f"), "ff 33 03 00 00 00 00 00");
    EXPECT_EQ(bench.memory(0x4000, 2), "f0 0f") << "nothing of a block that cannot be programmed";
    EXPECT_EQ(bench.ask("18 04 02 70 0e"), "ff 00 04 00 02 40 00 00");
    EXPECT_EQ(bench.memory(0x4000, 2), "70 0e");
}

TEST(CcpEcuFlash, IsNothingElse) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtRam}), "");
    EXPECT_EQ(bench.ask("10 01 01 00 00 00"), "ff 33 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("18 02 01 00"), "ff 33 02 00 00 00 00 00");
    ASSERT_EQ(bench.setUp({"02 00 00 00 00 50 00 00"}), "");
    EXPECT_EQ(bench.ask("10 03 01 00 00 00"), "ff 32 03 00 00 00 00 00");
    EXPECT_EQ(bench.ask("22 04 00 00 00 00 00 00"), "ff 32 04 00 00 00 00 00");
    ASSERT_EQ(bench.setUp({kMtaAtFlash}), "");
    EXPECT_EQ(bench.ask("10 05 00 00 00 00"), "ff 32 05 00 00 00 00 00");
    EXPECT_EQ(bench.ask("18 06 00"), "ff 32 06 00 00 00 00 00");
    EXPECT_EQ(bench.ask("18 07 06 00 00 00 00 00"), "ff 32 07 00 00 00 00 00");
}

TEST(CcpEcuFlash, ForgetsNothingBetweenSessionsAndOverPower) {
    CcpSession bench(smallCcpEcu());
    ASSERT_EQ(bench.setUp({kMtaAtFlash, "10 01 40 00 00 00", "18 02 01 5a", "07 03 01 00 01 00"}), "");
    bench.ecu.powerOff();
    bench.ecu.powerOn(bench.port);
    ASSERT_EQ(bench.setUp({"01 00 01 00"}), "");
    EXPECT_EQ(bench.ask("0f 01 02 00 00 40 00 00"), "ff 00 01 5a ff 00 00 00");
}

struct Slow : CcpSession {
    explicit Slow(CcpBusy busy, CcpReturn busyCode = CcpReturn::commandBusy)
        : CcpSession(configOf(busy, busyCode)) {
        EXPECT_EQ(setUp({kMtaAtFlash}), "");
    }

    static CcpEcuConfig configOf(CcpBusy busy, CcpReturn busyCode) {
        CcpEcuConfig config = smallCcpEcu();
        config.flash.clearTime = 20 * kMs;
        config.flash.programTime = 2 * kMs;
        config.busy = busy;
        config.busyCode = busyCode;
        return config;
    }
};

TEST(CcpEcuSlowFlash, AnswersLateAndInOrder) {
    Slow bench(CcpBusy::late);
    EXPECT_EQ(bench.ask("10 01 40 00 00 00"), "");
    EXPECT_EQ(bench.ask("0d 02"), "");
    EXPECT_EQ(bench.pass(20 * kMs - 1), "");
    EXPECT_EQ(bench.pass(1), "ff 00 01 00 00 00 00 00 | ff 00 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("18 03 01 00"), "");
    EXPECT_EQ(bench.pass(2 * kMs), "ff 00 03 00 01 40 00 00");
}

TEST(CcpEcuSlowFlash, RefusesCommandsUntilItIsDone) {
    Slow bench(CcpBusy::refused);
    EXPECT_EQ(bench.ask("10 01 40 00 00 00"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("18 02 01 00"), "ff 10 02 00 00 00 00 00");
    bench.pass(20 * kMs - 1);
    EXPECT_EQ(bench.ask("18 03 01 00"), "ff 10 03 00 00 00 00 00");
    bench.pass(1);
    EXPECT_EQ(bench.ask("18 04 01 00"), "ff 00 04 00 01 40 00 00");
    EXPECT_EQ(bench.ask("18 05 01 00"), "ff 10 05 00 00 00 00 00");
    bench.pass(2 * kMs);
    EXPECT_EQ(bench.ask("18 06 01 5a"), "ff 00 06 00 02 40 00 00");
    EXPECT_EQ(bench.memory(0x4000, 3), "00 5a ff") << "what was refused was not programmed";
}

TEST(CcpEcuSlowFlash, RefusesWithTheCodeOfTheEcu) {
    Slow bench(CcpBusy::refused, CcpReturn::overload);
    ASSERT_EQ(bench.setUp({"10 01 40 00 00 00"}), "");
    EXPECT_EQ(bench.ask("0d 02"), "ff 34 02 00 00 00 00 00");
}

}  // namespace
}  // namespace sim::test
