#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

XcpEcuConfig wide() {
    XcpEcuConfig config = smallEcu();
    config.fd = true;
    config.maxCto = 20;
    config.maxDto = 64;
    return config;
}

// Session

TEST(XcpEcuConnect, TellsResourcesModeAndSizes) {
    Bench bench(smallEcu());
    EXPECT_EQ(bench.ask("ff 00"), "ff 05 80 08 08 00 01 01");
    EXPECT_TRUE(bench.ecu.connected());
    EXPECT_EQ(bench.ecu.counters().sessions, 1U);
}

TEST(XcpEcuConnect, TellsMotorolaOrderAndWritesTheWordInIt) {
    Bench bench(motorola(wide()));
    EXPECT_EQ(bench.ask("ff 00"), "ff 05 81 14 00 40 01 01");
}

TEST(XcpEcuConnect, TellsGranularityBlockModeAndResources) {
    XcpEcuConfig config = smallEcu(4);
    config.slaveBlockMode = true;
    config.commModeInfo = false;
    config.resources = xcp::kCalPag | xcp::kDaq | xcp::kStim | xcp::kPgm;
    EXPECT_EQ(Bench(config).ask("ff 00"), "ff 1d 44 08 08 00 01 01");
    EXPECT_EQ(Bench(smallEcu(2)).ask("ff 00"), "ff 05 82 08 08 00 01 01");
}

TEST(XcpEcuConnect, InUserModeNeedsAnEcuThatHasOne) {
    XcpEcuConfig config = smallEcu();
    EXPECT_EQ(Bench(config).ask("ff 01"), "fe 22");
    config.userConnect = true;
    EXPECT_EQ(Bench(config).ask("ff 01"), "ff 05 80 08 08 00 01 01");
    EXPECT_EQ(Bench(config).ask("ff 02"), "fe 22");
}

TEST(XcpEcuConnect, ThatIsTooShortIsASyntaxError) {
    EXPECT_EQ(Bench(smallEcu()).ask("ff"), "fe 21");
}

TEST(XcpEcuConnect, AgainStartsAFreshSession) {
    Session bench(smallEcu());
    ASSERT_EQ(bench.setUp({"d6", "d5 00 01 00", "d4 00 00 00 01"}), "");
    bench.ask("ff 00");
    EXPECT_EQ(bench.ask("da"), "ff 13 00 00 02 00 00 00");
    EXPECT_EQ(bench.ecu.counters().sessions, 2U);
}

TEST(XcpEcuWithoutSession, IgnoresEverythingButConnect) {
    Bench bench(smallEcu());
    for (int code = 0; code < 0xFF; ++code) {
        const std::uint8_t byte = static_cast<std::uint8_t>(code);
        EXPECT_EQ(bench.ask(textOf(std::span(&byte, 1)) + " 00 00 00 00 00 00 00"), "") << code;
    }
}

TEST(XcpEcuWithoutSession, AfterDisconnectIsDeafAgain) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.ask("fe"), "ff");
    EXPECT_FALSE(bench.ecu.connected());
    EXPECT_EQ(bench.ask("fd"), "");
}

TEST(XcpEcuFrames, OfOtherIdentifiersAreNotForTheEcu) {
    Bench bench(smallEcu());
    Frame frame;
    frame.id = 0x602;
    frame.length = 2;
    frame.data = {0xFF, 0x00};
    bench.ecu.onFrame(frame, 0);
    frame.id = 0x600;
    frame.extended = true;
    bench.ecu.onFrame(frame, 0);
    frame.extended = false;
    frame.length = 0;
    bench.ecu.onFrame(frame, 0);
    EXPECT_EQ(bench.heard(), "");
    frame.length = 2;
    bench.ecu.onFrame(frame, 0);
    EXPECT_EQ(bench.heard(), "ff 05 80 08 08 00 01 01");
}

TEST(XcpEcuFrames, CarryTheFlagsOfTheConfiguration) {
    XcpEcuConfig config = wide();
    config.extended = true;
    config.masterId = 0x18DA0001;
    config.slaveId = 0x18DA0002;
    config.brs = true;
    Bench bench(config);
    bench.ask("ff 00");
    ASSERT_EQ(bench.port.sent.size(), 1U);
    const Frame& frame = bench.port.sent[0];
    EXPECT_EQ(frame.id, 0x18DA0002U);
    EXPECT_TRUE(frame.extended && frame.fd && frame.brs);
}

TEST(XcpEcuFrames, AreFilledUpToTheConfiguredLength) {
    XcpEcuConfig config = smallEcu();
    config.padLength = 8;
    config.padByte = 0xAA;
    EXPECT_EQ(Session(config).ask("fe"), "ff aa aa aa aa aa aa aa");
}

TEST(XcpEcuFrames, OfCanFdAreFilledUpToTheNextLengthThereIs) {
    XcpEcuConfig config = wide();
    config.padByte = 0x55;
    EXPECT_EQ(Session(config).ask("f4 0a 00 00 00 10 00 00"), "ff 00 01 02 03 04 05 06 07 08 09 55");
    EXPECT_EQ(Session(config).ask("fe"), "ff");
}

TEST(XcpEcuFrames, AnswerAfterTheConfiguredDelayAndInOrder) {
    XcpEcuConfig config = smallEcu();
    config.responseDelay = 2 * kMs;
    Bench bench(config);
    EXPECT_EQ(bench.ask("ff 00"), "");
    bench.put("fc");
    EXPECT_EQ(bench.pass(2 * kMs - 1), "");
    EXPECT_EQ(bench.pass(1), "ff 05 80 08 08 00 01 01 | fe 00");
}

TEST(XcpEcuPower, OffEndsSessionAndPendingAnswers) {
    XcpEcuConfig config = smallEcu();
    config.responseDelay = kMs;
    Bench bench(config);
    bench.put("ff 00");
    bench.ecu.powerOff();
    EXPECT_EQ(bench.pass(kMs), "");
    EXPECT_EQ(bench.ask("ff 00"), "");
    bench.ecu.powerOn(bench.port);
    EXPECT_EQ(bench.pass(kMs), "");
    EXPECT_FALSE(bench.ecu.connected());
}

TEST(XcpEcuGetStatus, TellsStatusProtectionAndSessionId) {
    XcpEcuConfig config = smallEcu();
    config.locks = {XcpLock{.resource = xcp::kDaq}, XcpLock{.resource = xcp::kCalPag}};
    EXPECT_EQ(Session(config).ask("fd"), "ff 00 05 00 00 00");
}

TEST(XcpEcuSynch, AnswersItsOwnErrorCode) {
    EXPECT_EQ(Session(smallEcu()).ask("fc"), "fe 00");
}

TEST(XcpEcuUnknownCommands, AreRefusedWithinASession) {
    EXPECT_EQ(Session(smallEcu()).ask("f1 00"), "fe 20");
    EXPECT_EQ(Session(smallEcu()).ask("c0"), "fe 20");
    EXPECT_EQ(Session(smallEcu()).ask("d2"), "fe 20");
}

TEST(XcpEcuUnknownCommands, IncludeThoseOfMissingResourcesAndTheConfiguredOnes) {
    XcpEcuConfig config = smallEcu();
    config.resources = xcp::kCalPag;
    config.missingCommands = {0xF4};
    Session bench(config);
    EXPECT_EQ(bench.ask("da"), "fe 20");
    EXPECT_EQ(bench.ask("f4 01 00 00 00 10 00 00"), "fe 20");
    EXPECT_EQ(bench.ask("e9"), "ff 00 00");
}

TEST(XcpEcuStimulation, PacketsAreNotCommands) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.ask("bf 01 02"), "");
    EXPECT_EQ(bench.ecu.counters().commands[0xBF], 0U);
}

TEST(XcpEcuGetCommModeInfo, TellsTheOptionalModes) {
    XcpEcuConfig config = smallEcu();
    EXPECT_EQ(Session(config).ask("fb"), "ff 00 00 00 00 00 00 10");
    config.masterBlockMode = true;
    config.interleavedMode = true;
    config.maxBs = 0x2A;
    config.minSt = 0x03;
    config.queueSize = 0x07;
    config.driverVersion = 0x15;
    EXPECT_EQ(Session(config).ask("fb"), "ff 00 03 00 2a 03 07 15");
    config.commModeInfo = false;
    EXPECT_EQ(Session(config).ask("fb"), "fe 20");
}

// GET_ID

TEST(XcpEcuGetId, LeavesTheTextForUpload) {
    XcpEcuConfig config = smallEcu();
    config.ids[1] = "engine_1";
    Session bench(config);
    EXPECT_EQ(bench.ask("fa 01"), "ff 00 00 00 08 00 00 00");
    EXPECT_EQ(bench.ask("f5 07"), "ff 65 6e 67 69 6e 65 5f");
    EXPECT_EQ(bench.ask("f5 01"), "ff 31");
    EXPECT_EQ(bench.ask("f5 01"), "ff 00");
}

TEST(XcpEcuGetId, InMotorolaOrderTellsTheLengthInIt) {
    XcpEcuConfig config = motorola(smallEcu());
    config.ids[0] = std::string(0x102, 'x');
    EXPECT_EQ(Session(config).ask("fa 00"), "ff 00 00 00 00 00 01 02");
}

TEST(XcpEcuGetId, OfATypeThatIsNotThereHasLengthZero) {
    EXPECT_EQ(Session(smallEcu()).ask("fa 04"), "ff 00 00 00 00 00 00 00");
}

TEST(XcpEcuGetId, CarriesAShortTextInALongResponse) {
    XcpEcuConfig config = wide();
    config.ids[1] = "abcd";
    config.idInResponse = true;
    EXPECT_EQ(Session(config).ask("fa 01"), "ff 01 00 00 04 00 00 00 61 62 63 64");
    config.ids[1] = "abcdefghijklm";
    EXPECT_EQ(Session(config).ask("fa 01"), "ff 00 00 00 0d 00 00 00");
}

TEST(XcpEcuGetId, FillsTheTextUpToWholeElements) {
    XcpEcuConfig config = smallEcu(2);
    config.ids[0] = "abc";
    Session bench(config);
    EXPECT_EQ(bench.ask("fa 00"), "ff 00 00 00 04 00 00 00");
    EXPECT_EQ(bench.ask("f5 02"), "ff 00 61 62 63 00");
}

// SET_REQUEST

TEST(XcpEcuSetRequest, ShowsInTheStatusUntilItsEvent) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.ask("f9 01 00 00"), "ff");
    EXPECT_EQ(bench.ask("fd"), "ff 01 00 00 00 00");
    EXPECT_EQ(bench.pass(kMs), "fd 03");
    EXPECT_EQ(bench.ask("fd"), "ff 00 00 00 00 00");
}

TEST(XcpEcuSetRequest, ToStoreDaqKeepsTheSessionIdUntilItIsCleared) {
    Session bench(motorola(smallEcu()));
    EXPECT_EQ(bench.ask("f9 04 12 34"), "ff");
    EXPECT_EQ(bench.ask("fd"), "ff 04 00 00 12 34");
    EXPECT_EQ(bench.pass(kMs), "fd 02");
    EXPECT_EQ(bench.ask("f9 08 00 00"), "ff");
    EXPECT_EQ(bench.pass(kMs), "fd 01");
    EXPECT_EQ(bench.ask("fd"), "ff 00 00 00 00 00");
}

TEST(XcpEcuSetRequest, OfNothingOrUnknownBitsIsOutOfRange) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.ask("f9 00 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("f9 10 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("f9 01 00"), "fe 21");
}

TEST(XcpEcuSetRequest, NeedsItsResourceThereAndOpen) {
    XcpEcuConfig config = smallEcu();
    config.resources = xcp::kDaq;
    config.locks = {XcpLock{.resource = xcp::kDaq}};
    Session bench(config);
    EXPECT_EQ(bench.ask("f9 01 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("f9 04 01 00"), "fe 25");
}

TEST(XcpEcuSetRequest, IsForgottenWithTheSession) {
    Session bench(smallEcu());
    bench.ask("f9 01 00 00");
    bench.ask("fe");
    EXPECT_EQ(bench.pass(kMs), "");
}

// Memory transfer

TEST(XcpEcuUpload, ReadsAtTheMtaAndMovesItOn) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.ask("f6 00 00 00 10 10 00 00"), "ff");
    EXPECT_EQ(bench.ask("f5 07"), "ff 10 11 12 13 14 15 16");
    EXPECT_EQ(bench.ask("f5 02"), "ff 17 18");
}

TEST(XcpEcuUpload, TakesAMotorolaAddress) {
    Session bench(motorola(smallEcu()));
    EXPECT_EQ(bench.ask("f6 00 00 00 00 00 10 20"), "ff");
    EXPECT_EQ(bench.ask("f5 01"), "ff 20");
}

TEST(XcpEcuUpload, OfNoneOrTooManyElementsIsOutOfRange) {
    Session bench(smallEcu());
    bench.ask("f6 00 00 00 00 10 00 00");
    EXPECT_EQ(bench.ask("f5 00"), "fe 22");
    EXPECT_EQ(bench.ask("f5 08"), "fe 22");
    EXPECT_EQ(bench.ask("f5"), "fe 21");
}

TEST(XcpEcuUpload, OfMissingOrHiddenMemoryIsDenied) {
    Session bench(smallEcu());
    bench.ask("f6 00 00 00 fe 10 00 00");
    EXPECT_EQ(bench.ask("f5 03"), "fe 24");
    EXPECT_EQ(bench.ask("f5 02"), "ff fe ff");
    bench.ask("f6 00 00 00 00 30 00 00");
    EXPECT_EQ(bench.ask("f5 01"), "fe 24");
    bench.ask("f6 00 00 01 00 10 00 00");
    EXPECT_EQ(bench.ask("f5 01"), "fe 24");
}

TEST(XcpEcuUpload, InBlockModeComesInFullFramesAndARest) {
    XcpEcuConfig config = smallEcu();
    config.slaveBlockMode = true;
    Session bench(config);
    bench.ask("f6 00 00 00 00 10 00 00");
    EXPECT_EQ(bench.ask("f5 10"), "ff 00 01 02 03 04 05 06 | ff 07 08 09 0a 0b 0c 0d | ff 0e 0f");
    EXPECT_EQ(bench.ask("f5 01"), "ff 10");
    bench.ask("f6 00 00 00 00 10 00 00");
    bench.ask("f5 ff");
    EXPECT_EQ(bench.port.sent.size(), 37U);
}

TEST(XcpEcuUpload, InBlockModeRefusesABlockThatEndsOutside) {
    XcpEcuConfig config = smallEcu();
    config.slaveBlockMode = true;
    Session bench(config);
    bench.ask("f6 00 00 00 f0 10 00 00");
    EXPECT_EQ(bench.ask("f5 11"), "fe 24");
}

TEST(XcpEcuUpload, OfWordsStandsBehindAFillByte) {
    Session bench(smallEcu(2));
    bench.ask("f6 00 00 00 01 10 00 00");
    EXPECT_EQ(bench.ask("f5 03"), "ff 00 02 03 04 05 06 07");
    EXPECT_EQ(bench.ask("f5 01"), "ff 00 08 09");
    EXPECT_EQ(bench.ask("f5 04"), "fe 22");
}

TEST(XcpEcuUpload, OfDoubleWordsStandsBehindThreeFillBytes) {
    Session bench(smallEcu(4));
    bench.ask("f6 00 00 00 02 10 00 00");
    EXPECT_EQ(bench.ask("f5 01"), "ff 00 00 00 08 09 0a 0b");
    EXPECT_EQ(bench.ask("f5 01"), "ff 00 00 00 0c 0d 0e 0f");
    EXPECT_EQ(bench.ask("f5 02"), "fe 22");
}

TEST(XcpEcuUpload, OfDoubleWordsInBlockModeTakesAFrameForEach) {
    XcpEcuConfig config = smallEcu(4);
    config.slaveBlockMode = true;
    Session bench(config);
    bench.ask("f6 00 00 00 00 10 00 00");
    EXPECT_EQ(bench.ask("f5 02"), "ff 00 00 00 00 01 02 03 | ff 00 00 00 04 05 06 07");
}

TEST(XcpEcuShortUpload, ReadsAtItsOwnAddressAndLeavesTheMtaBehind) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.ask("f4 04 00 00 30 10 00 00"), "ff 30 31 32 33");
    EXPECT_EQ(bench.ask("f5 01"), "ff 34");
}

TEST(XcpEcuShortUpload, TakesAMotorolaAddressAndTheExtension) {
    XcpEcuConfig config = motorola(smallEcu());
    config.memory.push_back(plainSegment(0x12345678, 2, MemoryAccess::readOnly, 7));
    Session bench(config);
    EXPECT_EQ(bench.ask("f4 02 00 07 12 34 56 78"), "ff 00 00");
    EXPECT_EQ(bench.ask("f4 02 00 06 12 34 56 78"), "fe 24");
}

TEST(XcpEcuShortUpload, RefusesWrongCountsAndShortRequests) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.ask("f4 00 00 00 00 10 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("f4 08 00 00 00 10 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("f4 01 00 00 00 10 00"), "fe 21");
}

TEST(XcpEcuShortUpload, OfWordsCountsElements) {
    Session bench(smallEcu(2));
    EXPECT_EQ(bench.ask("f4 02 00 00 02 10 00 00"), "ff 00 04 05 06 07");
    EXPECT_EQ(bench.ask("f5 01"), "ff 00 08 09");
}

TEST(XcpEcuAddress, WrapsInsteadOfLeavingItsThirtyTwoBits) {
    XcpEcuConfig config = smallEcu();
    config.memory.push_back(plainSegment(0xFFFFFFF0, 16));
    Session bench(config);
    EXPECT_EQ(bench.ask("f4 07 00 00 f9 ff ff ff"), "ff 00 00 00 00 00 00 00");
    EXPECT_EQ(bench.ask("f5 01"), "fe 24");
}

// BUILD_CHECKSUM

TEST(XcpEcuBuildChecksum, TellsKindAndValueAndMovesTheMta) {
    XcpEcuConfig config = smallEcu();
    config.checksum = XcpChecksum::add14;
    Session bench(config);
    bench.ask("f6 00 00 00 01 10 00 00");
    EXPECT_EQ(bench.ask("f3 00 00 00 04 00 00 00"), "ff 03 00 00 0a 00 00 00");
    EXPECT_EQ(bench.ask("f5 01"), "ff 05");
}

TEST(XcpEcuBuildChecksum, InMotorolaOrderAddsMotorolaWords) {
    XcpEcuConfig config = motorola(smallEcu());
    config.checksum = XcpChecksum::add24;
    Session bench(config);
    bench.ask("f6 00 00 00 00 00 10 02");
    EXPECT_EQ(bench.ask("f3 00 00 00 00 00 00 04"), "ff 05 00 00 00 00 06 08");
}

TEST(XcpEcuBuildChecksum, CountsElements) {
    XcpEcuConfig config = smallEcu(2);
    config.checksum = XcpChecksum::add11;
    Session bench(config);
    bench.ask("f6 00 00 00 01 10 00 00");
    EXPECT_EQ(bench.ask("f3 00 00 00 02 00 00 00"), "ff 01 00 00 0e 00 00 00");
}

TEST(XcpEcuBuildChecksum, OfATooLargeBlockTellsTheLargest) {
    XcpEcuConfig config = smallEcu();
    config.maxChecksumBlock = 0x20;
    Session bench(config);
    bench.ask("f6 00 00 00 00 10 00 00");
    EXPECT_EQ(bench.ask("f3 00 00 00 21 00 00 00"), "fe 22 00 00 20 00 00 00");
    EXPECT_EQ(bench.ask("f3 00 00 00 00 00 00 00"), "fe 22 00 00 20 00 00 00");
    EXPECT_EQ(bench.ask("f3 00 00 00 20 00 00 00").substr(0, 5), "ff 09");
}

TEST(XcpEcuBuildChecksum, NeedsWholeWordsAndReadableMemory) {
    XcpEcuConfig config = smallEcu();
    config.checksum = XcpChecksum::add44;
    Session bench(config);
    bench.ask("f6 00 00 00 00 10 00 00");
    EXPECT_EQ(bench.ask("f3 00 00 00 06 00 00 00"), "fe 22 00 00 ff ff ff ff");
    EXPECT_EQ(bench.ask("f3 00 00 00 fc ff ff ff"), "fe 24");
    bench.ask("f6 00 00 00 00 30 00 00");
    EXPECT_EQ(bench.ask("f3 00 00 00 04 00 00 00"), "fe 24");
    EXPECT_EQ(bench.ask("f3 00 00 00 04 00 00"), "fe 21");
}

TEST(XcpEcuTransportLayerCommand, ThatIsUnknownIsRefused) {
    EXPECT_EQ(Session(smallEcu()).ask("f2 fc"), "fe 20");
    EXPECT_EQ(Session(smallEcu()).ask("f2"), "fe 21");
}

// Host side

TEST(XcpEcuMemory, IsReadAndWrittenByTestsWhateverTheRights) {
    Bench bench(smallEcu());
    EXPECT_TRUE(bench.ecu.write(0x3000, 0, bytesOf("01 02")));
    EXPECT_EQ(textOf(bench.ecu.read(0x3000, 0, 3)), "01 02 00");
    EXPECT_TRUE(bench.ecu.read(0x3000, 0, 17).empty());
    EXPECT_FALSE(bench.ecu.write(0x4000, 0, bytesOf("01")));
}

TEST(XcpEcuCounters, CountCommandsByCode) {
    Session bench(smallEcu());
    bench.ask("fd");
    bench.ask("fd");
    EXPECT_EQ(bench.ecu.counters().commands[0xFD], 2U);
    EXPECT_EQ(bench.ecu.counters().commands[0xFF], 1U);
}

}  // namespace
}  // namespace sim::test
