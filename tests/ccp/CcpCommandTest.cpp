// The frame of each command, and what is kept of its response.
#include "tests/ccp/CcpTestSupport.h"

using namespace ccp_test;

namespace {

using CcpCommands = CcpTest;

struct FrameRow {
    const char* frame;    ///< little endian, without the counter
    const char* swapped;  ///< big endian
    std::function<void(CcpTaskTransmit&)> send;
};

const std::vector<std::uint8_t>& someBytes() {
    static const std::vector<std::uint8_t> bytes = support::countingBytes(8, 0xA0);
    return bytes;
}

const std::vector<FrameRow>& frameRows() {
    static const std::vector<FrameRow> rows = {
        {"01 ## 34 12", "01 ## 34 12", [](auto& t) { t.cmdConnect(0x1234); }},
        {"02 ## 00 05 44 33 22 11", "02 ## 00 05 11 22 33 44", [](auto& t) { t.cmdSetMta(0x11223344, 5); }},
        {"03 ## 03 a0 a1 a2", "03 ## 03 a0 a1 a2", [](auto& t) { t.cmdDnload(someBytes().data(), 3); }},
        {"06 ## 02 03 04 05 67 45", "06 ## 02 03 04 05 67 45",
         [](auto& t) { t.cmdStartStop(2, 3, 4, 5, 0x4567); }},
        {"07 ## 01 00 34 12", "07 ## 01 00 34 12", [](auto& t) { t.cmdDisconnect(0x1234); }},
        {"08 ## 00", "08 ## 00", [](auto& t) { t.cmdStartStopAll(); }},
        {"0c ## 83", "0c ## 83", [](auto& t) { t.cmdSetSStatus(0x83); }},
        {"10 ## 44 33 22 11", "10 ## 44 33 22 11", [](auto& t) { t.cmdClearMemory(0x11223344); }},
        {"11 ##", "11 ##", [](auto& t) { t.cmdSelectCalPage(); }},
        {"15 ## 02 03 04", "15 ## 02 03 04", [](auto& t) { t.cmdSetDaqPtr(2, 3, 4); }},
        {"16 ## 04 01 44 33 22 11", "16 ## 04 01 11 22 33 44",
         [](auto& t) { t.cmdWriteDaq(4, 1, 0x11223344); }},
        {"18 ## 02 a0 a1", "18 ## 02 a0 a1", [](auto& t) { t.cmdProgram(someBytes().data(), 2); }},
        {"19 ## 44 33 22 11", "19 ## 11 22 33 44", [](auto& t) { t.cmdMove(0x11223344); }},
        {"22 ## a0 a1 a2 a3 a4 a5", "22 ## a0 a1 a2 a3 a4 a5",
         [](auto& t) { t.cmdProgram6(someBytes().data()); }},
    };
    return rows;
}

}  // namespace

TEST_F(CcpCommands, FrameOfEachInBothByteOrders) {
    for (const FrameRow& row : frameRows()) {
        startsAnew();
        cfg.ccp.byteOrder = 0;
        row.send(task());
        EXPECT_EQ(sent(), Texts{row.frame});
        startsAnew();
        cfg.ccp.byteOrder = 1;
        row.send(task());
        EXPECT_EQ(sent(), Texts{row.swapped});
    }
}

TEST_F(CcpCommands, VersionIsTwoIfTheMajorByteSaysSo) {
    bool isVersion2 = false;
    ecu.answersInTurn("1b ..", {{"ff 00 @1 02 09"}, {"ff 00 @1 03 01"}});
    EXPECT_EQ(task().cmdGetCcpVersion(isVersion2), 0U);
    EXPECT_TRUE(isVersion2);
    EXPECT_EQ(task().cmdGetCcpVersion(isVersion2), 0U);
    EXPECT_FALSE(isVersion2);
    EXPECT_EQ(sent().front(), "1b ## 02 01");
}

TEST_F(CcpCommands, ExchangeIdKeepsLengthAndResourcesThatAreThereAndProtected) {
    std::uint8_t length = 0;
    std::uint8_t resources = 0;
    ecu.answers("17 ..", {"ff 00 @1 0c 00 43 41"});
    EXPECT_EQ(task().cmdExchangeId({1, 2, 3, 4, 5, 6}, length, resources), 0U);
    EXPECT_EQ(sent(), Texts{"17 ## 01 02 03 04 05 06"});
    EXPECT_EQ(length, 12);
    EXPECT_EQ(resources, 0x41);
}

TEST_F(CcpCommands, ActiveCalPageAddressIsSwapped) {
    std::uint32_t address = 0;
    std::uint8_t extension = 0;
    cfg.ccp.byteOrder = 1;
    ecu.answers("09 ..", {"ff 00 @1 07 11 22 33 44"});
    EXPECT_EQ(task().cmdGetActiveCalPage(address, extension), 0U);
    EXPECT_EQ(address, 0x11223344U);
    EXPECT_EQ(extension, 7);
}

TEST_F(CcpCommands, ChecksumIsCopiedUpToItsLengthAndTheCapacity) {
    std::array<std::uint8_t, 4> checksum{};
    std::uint8_t capacity = 4;
    cfg.ccp.byteOrder = 1;
    ecu.answersInTurn("0e ..", {{"ff 00 @1 02 aa bb cc dd"}, {"ff 00 @1 09 aa bb cc dd"}});
    EXPECT_EQ(task().cmdBuildChksum(0x11223344, checksum.data(), capacity), 0U);
    EXPECT_EQ(sent(), Texts{"0e ## 11 22 33 44"});
    EXPECT_EQ(capacity, 2);
    capacity = 4;
    task().cmdBuildChksum(1, checksum.data(), capacity);
    EXPECT_EQ(capacity, 4);
    EXPECT_EQ(checksum, (std::array<std::uint8_t, 4>{0xAA, 0xBB, 0xCC, 0xDD}));
}

TEST_F(CcpCommands, ShortUpTakesWhatTheResponseHolds) {
    std::array<std::uint8_t, 8> read{};
    std::uint8_t count = 5;
    ecu.answers("0f ..", {"ff 00 @1 11 22"});
    EXPECT_EQ(task().cmdShortUp(0x11223344, 2, read.data(), count), 0U);
    EXPECT_EQ(sent(), Texts{"0f ## 05 02 44 33 22 11"});
    EXPECT_EQ(count, 2);
    EXPECT_EQ(read[1], 0x22);
}

TEST_F(CcpCommands, DaqSizeKeepsOdtCountAndFirstPid) {
    std::uint8_t odts = 0;
    std::uint8_t pid = 0;
    cfg.ccp.byteOrder = 1;
    ecu.answers("14 ..", {"ff 00 @1 08 40"});
    EXPECT_EQ(task().cmdGetDaqSize(3, 0x7F1, odts, pid), 0U);
    EXPECT_EQ(sent(), Texts{"14 ## 03 00 00 00 07 f1"});
    EXPECT_EQ(odts, 8);
    EXPECT_EQ(pid, 0x40);
}

TEST_F(CcpCommands, Program6ReturnsSixWhateverTheEcuSays) {
    refuses("22 ..");
    EXPECT_EQ(task().cmdProgram6(someBytes().data()), 6U);
}

TEST_F(CcpCommands, UploadOfTwelveBytesAsksForFiveFiveAndTwo) {
    hasMemory();
    std::array<std::uint8_t, 12> read{};
    EXPECT_EQ(task().uploadBlock(read.data(), 12), 12U);
    EXPECT_EQ(sent(), (Texts{"04 ## 05 00 00 00 00 00", "04 ## 05 00 00 00 00 00", "04 ## 02 00 00"}));
    EXPECT_EQ(read[11], 11);
}

TEST_F(CcpCommands, UploadOfNothingSendsNothing) {
    EXPECT_EQ(task().uploadBlock(nullptr, 0), 0U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(CcpCommands, UploadStopsAtTheFirstFailureAndKeepsNoStatus) {
    std::array<std::uint8_t, 12> read{};
    task().m_lastStatus = 7;
    task().m_linkLost = true;
    ecu.answersInTurn("04 ..", {{"ff 00 @1 01 02 03 04 05"}, {"ff 33 @1"}});
    EXPECT_EQ(task().uploadBlock(read.data(), 12), 5U);
    EXPECT_EQ(task().m_lastStatus, 7U);
}

TEST_F(CcpCommands, UploadWithoutRoomInTheFrameEndsWithNothing) {
    std::array<std::uint8_t, 4> read{};
    for (const std::uint8_t maxCto : {std::uint8_t{0}, std::uint8_t{3}}) {
        startsAnew();
        cfg.maxCto = maxCto;
        EXPECT_EQ(task().uploadBlock(read.data(), 4), 0U);
        EXPECT_TRUE(sent().empty());
    }
}

TEST_F(CcpCommands, UploadThatCanKeepNoByteAsksOnceAndEnds) {
    std::array<std::uint8_t, 4> read{};
    for (const std::uint16_t maxDto : {std::uint16_t{0}, std::uint16_t{3}}) {
        startsAnew();
        cfg.maxDto = maxDto;
        ecu.answers("04 ..", {"ff 00 @1 a1 a2 a3 a4 a5"});
        EXPECT_EQ(task().uploadBlock(read.data(), 4), 0U);
        EXPECT_EQ(ecu.count("04 .."), 1U);
    }
    EXPECT_EQ(read, (std::array<std::uint8_t, 4>{}));
}

TEST_F(CcpCommands, UploadCopiesByMaxDtoAndReadsZerosBehindWhatItAskedFor) {
    cfg.maxCto = 8;
    cfg.maxDto = 64;
    ecu.answers("04 ..", {"ff 00 @1 a1 a2 a3 a4 a5"});
    std::array<std::uint8_t, 20> read{};
    read.fill(0xEE);
    EXPECT_EQ(task().uploadBlock(read.data(), 20), 20U);
    EXPECT_EQ(sent(), Texts{"04 ## 05 00 00 00 00 00"});
    EXPECT_EQ(support::hexText(read.data(), 20),
              "a1 a2 a3 a4 a5 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
}

TEST_F(CcpCommands, UploadThatReachesBehindTheFrameReadsZerosThere) {
    cfg.maxCto = 80;
    cfg.maxDto = 80;
    ecu.answers("04 ..", {"ff 00 @1 " + support::hexText(support::countingBytes(61, 1))});
    std::vector<std::uint8_t> read(70, 0xEE);
    EXPECT_EQ(task().uploadBlock(read.data(), 70), 70U);
    EXPECT_EQ(ecu.count("04 .."), 1U);
    EXPECT_EQ(read[0], 1);
    EXPECT_EQ(read[60], 61);
    EXPECT_EQ(std::vector<std::uint8_t>(read.begin() + 61, read.end()), std::vector<std::uint8_t>(9, 0));
}

TEST_F(CcpCommands, DownloadWithoutRoomInTheFrameSendsNothing) {
    cfg.maxCto = 3;
    EXPECT_EQ(task().programBytes(4, support::countingBytes(4, 0).data()), 0);
    task().downloadBytes(4, support::countingBytes(4, 0).data(), false);
    EXPECT_TRUE(sent().empty());
}

TEST_F(CcpCommands, DownloadStopsAtTheFirstFailureUnreported) {
    ecu.answersInTurn("03 ..", {{"ff 00 @1"}, {"ff 33 @1"}});
    task().downloadBytes(12, support::countingBytes(12, 0).data(), false);
    EXPECT_EQ(ecu.count("03 .."), 2U);
}

TEST_F(CcpCommands, ProgramCountsTheBytesAttempted) {
    refuses("18 ..");
    EXPECT_EQ(task().programBytes(12, support::countingBytes(12, 0).data()), 5);
    EXPECT_EQ(sent(), Texts{"18 ## 05 00 01 02 03 04"});
}
