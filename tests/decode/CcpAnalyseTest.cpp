#include "TalvexAnalyse.h"
#include "decode/CcpAnalyse.h"
#include "tests/decode/CcpRows.h"

namespace {

using namespace decode_testing;
using talvex_interface::ccpRecvMsgAnalyse;
using talvex_interface::ccpSendMsgAnalyse;

std::string bytesShown(const std::string& hex, std::uint16_t length, const std::string& label) {
    const Fields found = labelled(ccpSendMsgAnalyse(frame(hex, length), false), label);
    return found.empty() ? "absent" : found.front().text;
}

TEST(CcpCommands, EveryRowShowsItsFieldsInBothByteOrders) {
    ASSERT_EQ(ccpCommandRows().size(), 28U);
    for (const Row& row : ccpCommandRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            EXPECT_EQ(shown(ccpSendMsgAnalyse(frame(row.hex), big)), row.expected(big));
        }
    }
}

TEST(CcpCommands, EveryRowGivesTitleAndCounterToTheRecordAlone) {
    for (const Row& row : ccpCommandRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            mcDecodeMsg record;
            const auto fields = CCP_MOUDLE::sendMsgAnalyse(frame(row.hex), big, &record);
            EXPECT_EQ(shown(fields), row.expected(big));
            EXPECT_EQ(record.name, row.title);
            EXPECT_EQ(shown(record.fields), (Fields{{"CTR", "0x7", 7, false}}));
            EXPECT_EQ(record.errorText, "");
        }
    }
}

TEST(CcpCommands, ACodeWithoutARowGivesNeitherTitleNorFieldsButStillTheCounter) {
    int without = 0;
    for (unsigned code = 0; code < 256; ++code) {
        if (hasRow(ccpCommandRows(), byteOf(code))) {
            continue;
        }
        SCOPED_TRACE(code);
        ++without;
        msgBuf msg = frame("00 fe 01 02 03 04 05 06");
        msg.data[0] = byteOf(code);
        mcDecodeMsg record;
        EXPECT_TRUE(ccpSendMsgAnalyse(msg, false).empty());
        EXPECT_TRUE(CCP_MOUDLE::sendMsgAnalyse(msg, false, &record).empty());
        EXPECT_EQ(record.name, "");
        EXPECT_EQ(shown(record.fields), (Fields{{"CTR", "0xFE", 254, false}}));
    }
    EXPECT_EQ(without, 256 - 28);
}

TEST(CcpResponses, EveryRowShowsItsFieldsInBothByteOrders) {
    ASSERT_EQ(ccpResponseRows().size(), 28U);
    for (const Row& row : ccpResponseRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            EXPECT_EQ(shown(ccpRecvMsgAnalyse(row.code, frame(row.hex), big)), row.expected(big));
        }
    }
}

TEST(CcpResponses, EveryRowGivesTitleReturnCodeAndCounterToTheRecordAlone) {
    for (const Row& row : ccpResponseRows()) {
        SCOPED_TRACE(row.title);
        mcDecodeMsg record;
        const auto fields = CCP_MOUDLE::recvMsgAnalyse(row.code, frame(row.hex), false, &record);
        EXPECT_EQ(shown(fields), row.little);
        EXPECT_EQ(record.name, row.title);
        EXPECT_EQ(shown(record.fields),
                  (Fields{{"Code", "Acknowledge,No error.", 0, false}, {"Ctr", "0x7", 7, false}}));
        EXPECT_EQ(record.errorText, "");
    }
}

TEST(CcpResponses, ACodeWithoutARowGivesNeitherTitleNorFieldsButStillReturnCodeAndCounter) {
    int without = 0;
    for (unsigned code = 0; code < 256; ++code) {
        if (hasRow(ccpResponseRows(), byteOf(code))) {
            continue;
        }
        SCOPED_TRACE(code);
        ++without;
        const msgBuf msg = frame("ff 30 1f 01 02 03 04 05");
        mcDecodeMsg record;
        EXPECT_TRUE(ccpRecvMsgAnalyse(byteOf(code), msg, false).empty());
        EXPECT_TRUE(CCP_MOUDLE::recvMsgAnalyse(byteOf(code), msg, false, &record).empty());
        EXPECT_EQ(record.name, "");
        EXPECT_EQ(shown(record.fields),
                  (Fields{{"Code", "Unknown command", 0x30, false}, {"Ctr", "0x1F", 0x1F, false}}));
        EXPECT_EQ(record.errorText, "Unknown command");
    }
    EXPECT_EQ(without, 256 - 28);
}

TEST(CcpResponses, AnUnknownReturnCodeShowsItsNumber) {
    mcDecodeMsg record;
    CCP_MOUDLE::recvMsgAnalyse(0x01, frame("ff 31 02"), false, &record);
    EXPECT_EQ(shown(record.fields), (Fields{{"Code", "UnKnow 0x31", 0x31, false}, {"Ctr", "0x2", 2, false}}));
    EXPECT_EQ(record.errorText, "UnKnow 0x31");
}

TEST(CcpResponses, TheLowestReturnCodeIsAnErrorToo) {
    mcDecodeMsg record;
    CCP_MOUDLE::recvMsgAnalyse(0x01, frame("ff 01 02"), false, &record);
    EXPECT_EQ(record.errorText, "DAQ processor overload.");
    EXPECT_EQ(shown(record.fields),
              (Fields{{"Code", "DAQ processor overload.", 1, false}, {"Ctr", "0x2", 2, false}}));
}

TEST(CcpResponses, ANegativeResponseIsReadLikeAPositiveOne) {
    EXPECT_EQ(shown(ccpRecvMsgAnalyse(0x12, frame("ff 33 07 00 0a 1b"), false)),
              (Fields{{"Protect_Statu", "False", 0, true}, {"Seed", "0x0a1b", 0, true}}));
}

TEST(CcpCommands, StartStopNamesItsThreeModesAndLeavesOthersEmpty) {
    const auto mode = [](const char* hex) { return labelled(ccpSendMsgAnalyse(frame(hex), false), "Mode"); };
    EXPECT_EQ(mode("06 07 00"), (Fields{{"Mode", "Stop", 0, false}}));
    EXPECT_EQ(mode("06 07 01"), (Fields{{"Mode", "Start", 1, false}}));
    EXPECT_EQ(mode("06 07 02"), (Fields{{"Mode", "PrepareStart", 2, false}}));
    EXPECT_EQ(mode("06 07 03"), (Fields{{"Mode", "", 3, false}}));
    EXPECT_EQ(mode("06 07 ff"), (Fields{{"Mode", "", 255, false}}));
}

TEST(CcpCommands, StartStopAllNamesTwoModesAndLeavesOthersEmpty) {
    const auto mode = [](const char* hex) { return shown(ccpSendMsgAnalyse(frame(hex), false)); };
    EXPECT_EQ(mode("08 07 00"), (Fields{{"Mode", "Stop", 0, false}}));
    EXPECT_EQ(mode("08 07 01"), (Fields{{"Mode", "Start", 1, false}}));
    EXPECT_EQ(mode("08 07 02"), (Fields{{"Mode", "", 2, false}}));
    EXPECT_EQ(mode("08 07 ff"), (Fields{{"Mode", "", 255, false}}));
}

TEST(CcpCommands, StationAddressesOfConnectAndTestAreNeverSwappedButThatOfDisconnectIs) {
    const auto station = [](const char* hex) {
        return labelled(ccpSendMsgAnalyse(frame(hex), true), "Station_Address").front().value;
    };
    EXPECT_EQ(station("01 07 39 02"), 0x0239U);
    EXPECT_EQ(station("05 07 39 02"), 0x0239U);
    EXPECT_EQ(station("07 07 00 00 39 02"), 0x3902U);
}

TEST(CcpCommands, SizesOfBuildChksumClearMemoryAndMoveAreNeverSwapped) {
    for (const char* hex : {"0e 07 78 56 34 12", "10 07 78 56 34 12", "19 07 78 56 34 12"}) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(ccpSendMsgAnalyse(frame(hex), true).at(0).value, 0x12345678U);
    }
}

TEST(CcpCommands, SizesOfClearMemoryAndMoveShowTheirLowByteAlone) {
    EXPECT_EQ(shown(ccpSendMsgAnalyse(frame("10 07 00 01 00 00"), false)),
              (Fields{{"Memory_Size", "0x0", 256, false}}));
    EXPECT_EQ(shown(ccpSendMsgAnalyse(frame("19 07 ff ff 00 00"), false)),
              (Fields{{"Data_Size", "0xFF", 65535, false}}));
}

TEST(CcpCommands, ServiceNumberShowsItsLowByteAndParametersAreSpeltParamsters) {
    EXPECT_EQ(shown(ccpSendMsgAnalyse(frame("20 07 05 ff 01"), true)),
              (Fields{{"Service_Num", "0x5", 0xFF05, false}, {"Paramsters", "0x01", 0, false}}));
    EXPECT_EQ(shown(ccpSendMsgAnalyse(frame("21 07 05 ff"), true)),
              (Fields{{"Service_Num", "0x5", 0xFF05, false}}));
}

TEST(CcpCommands, Code23IsDownload6AsCommandAndDnload6AsResponse) {
    mcDecodeMsg command;
    mcDecodeMsg response;
    CCP_MOUDLE::sendMsgAnalyse(frame("23 07 01"), false, &command);
    CCP_MOUDLE::recvMsgAnalyse(0x23, frame("ff 00 07"), false, &response);
    EXPECT_EQ(command.name, "DOWNLOAD_6");
    EXPECT_EQ(response.name, "DNLOAD_6");
}

TEST(CcpCommands, DnloadOfSixBytesShowsSix) {
    EXPECT_EQ(bytesShown("03 07 06 01 02 03 04 05", 8, "Data"), "0x010203040500");
}

TEST(CcpCommands, DnloadOfNoByteShowsItsSizeAlone) {
    EXPECT_EQ(shown(ccpSendMsgAnalyse(frame("03 07 00 01 02 03 04 05"), false)),
              (Fields{{"Data_Size", "0", 0, true}}));
}

TEST(CcpCommands, DnloadCountReachesBehindTheFramesLength) {
    EXPECT_EQ(bytesShown("03 07 07 01 02 03 04 05 0a 0b", 8, "Data"), "0x01020304050a0b");
}

TEST(CcpCommands, DnloadCountBehindTheRecordReadsZeros) {
    msgBuf msg = frame("03 07 ff");
    for (std::size_t at = 3; at < 64; ++at) {
        msg.data[at] = 0xAB;
    }
    msg.length = 4;
    std::string expected = "0x";
    for (int i = 0; i < 61; ++i) {
        expected += "ab";
    }
    expected += std::string(std::size_t{2} * (255 - 61), '0');
    const Fields fields = shown(ccpSendMsgAnalyse(msg, false));
    EXPECT_EQ(fields, (Fields{{"Data_Size", "255", 255, true}, {"Data", expected, 0, true}}));
}

TEST(CcpCommands, CountedDataNeedsAFrameOfFourBytes) {
    EXPECT_EQ(bytesShown("03 07 02 01 02", 3, "Data"), "absent");
    EXPECT_EQ(bytesShown("03 07 02 01 02", 4, "Data"), "0x0102");
    EXPECT_EQ(bytesShown("18 07 02 01 02", 3, "Data"), "absent");
    EXPECT_EQ(bytesShown("18 07 02 01 02", 4, "Data"), "0x0102");
    EXPECT_EQ(bytesShown("18 07 00 01 02", 8, "Data"), "absent");
}

TEST(CcpCommands, BytesToTheEndNeedAFrameOfThreeBytes) {
    const std::pair<const char*, const char*> frames[] = {
        {"13 07 0a", "Key"}, {"17 07 0a", "Master_Device_ID"}, {"22 07 0a", "Data"}, {"23 07 0a", "Data"}};
    for (const auto& [hex, label] : frames) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(bytesShown(hex, 0, label), "absent");
        EXPECT_EQ(bytesShown(hex, 2, label), "absent");
        EXPECT_EQ(bytesShown(hex, 3, label), "0x0a");
        EXPECT_EQ(bytesShown(hex, 5, label), "0x0a0000");
    }
}

TEST(CcpCommands, ParametersOfAServiceNeedAFrameOfFiveBytes) {
    for (const char* hex : {"20 07 01 00 0a", "21 07 01 00 0a"}) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(bytesShown(hex, 4, "Paramsters"), "absent");
        EXPECT_EQ(bytesShown(hex, 5, "Paramsters"), "0x0a");
    }
}

TEST(CcpCommands, ALengthAboveTheRecordEndsWithTheRecord) {
    for (const std::uint16_t length : {std::uint16_t{65}, std::uint16_t{65535}}) {
        const std::string text = bytesShown("13 07 0a", length, "Key");
        EXPECT_EQ(text, "0x0a" + std::string(std::size_t{2} * 61, '0'));
    }
}

TEST(CcpResponses, DataOfUploadAndShortUpNeedAFrameOfFourBytes) {
    for (const unsigned code : {0x04U, 0x0FU}) {
        SCOPED_TRACE(code);
        EXPECT_TRUE(ccpRecvMsgAnalyse(byteOf(code), frame("ff 00 07 0a", 3), false).empty());
        EXPECT_EQ(shown(ccpRecvMsgAnalyse(byteOf(code), frame("ff 00 07 0a"), false)),
                  (Fields{{"Data", "0x0a", 0, true}}));
    }
}

TEST(CcpResponses, SeedNeedsAFrameOfFiveBytesAndTheProtectionNone) {
    EXPECT_EQ(shown(ccpRecvMsgAnalyse(0x12, frame("ff 00 07 05 0a", 4), false)),
              (Fields{{"Protect_Statu", "True", 5, true}}));
    EXPECT_EQ(shown(ccpRecvMsgAnalyse(0x12, frame("ff 00 07 00 0a", 5), false)),
              (Fields{{"Protect_Statu", "False", 0, true}, {"Seed", "0x0a", 0, true}}));
    EXPECT_EQ(shown(ccpRecvMsgAnalyse(0x12, frame("ff 00 07 05", 0), false)),
              (Fields{{"Protect_Statu", "True", 5, true}}));
}

TEST(CcpResponses, ChecksumNeedsASizeAndAFrameOfFiveBytes) {
    const auto shownOf = [](const char* hex, std::uint16_t length) {
        return shown(ccpRecvMsgAnalyse(0x0E, frame(hex, length), false));
    };
    EXPECT_EQ(shownOf("ff 00 07 00 0a 1b", 8), (Fields{{"Check_Sum_Size", "0x0", 0, false}}));
    EXPECT_EQ(shownOf("ff 00 07 02 0a 1b", 4), (Fields{{"Check_Sum_Size", "0x2", 2, false}}));
    EXPECT_EQ(shownOf("ff 00 07 02 0a 1b", 5),
              (Fields{{"Check_Sum_Size", "0x2", 2, false}, {"Check_Sum", "0x0a1b", 0, false}}));
}

TEST(CcpResponses, ChecksumBytesAreNeverTurned) {
    EXPECT_EQ(labelled(ccpRecvMsgAnalyse(0x0E, frame("ff 00 07 04 01 02 03 04"), true), "Check_Sum"),
              (Fields{{"Check_Sum", "0x01020304", 0, false}}));
}

TEST(CcpResponses, ExchangeIdTakesBothFlagGroupsFromByteFiveAndNeverReadsByteSix) {
    const auto withByteSix = ccpRecvMsgAnalyse(0x17, frame("ff 00 07 00 00 02 43"), false);
    const auto without = ccpRecvMsgAnalyse(0x17, frame("ff 00 07 00 00 02 00"), false);
    EXPECT_EQ(shown(withByteSix), shown(without));
    EXPECT_EQ(labelled(withByteSix, "Available_Resource__Daq").front().text, "true");
    EXPECT_EQ(labelled(withByteSix, "Protect_Mask__Daq").front().text, "true");
    EXPECT_EQ(labelled(withByteSix, "Protect_Mask__Cal").front().text, "false");
}

TEST(CcpResponses, GetActiveCalPageShowsItsAddressInDecimal) {
    EXPECT_EQ(labelled(ccpRecvMsgAnalyse(0x09, frame("ff 00 07 00 ff ff ff ff"), false), "Address"),
              (Fields{{"Address", "4294967295", 0xFFFFFFFF, false}}));
}

TEST(CcpResponses, AnUnknownCommandGivesAnEmptyList) {
    EXPECT_TRUE(ccpRecvMsgAnalyse(0x7F, frame("ff 00 07 01 02 03 04 05"), false).empty());
}

TEST(CcpFrames, AreReadAtFixedPositionsWhateverTheirLength) {
    EXPECT_EQ(shown(ccpSendMsgAnalyse(frame("02 07 01 02 01 02 03 04", 0), false)),
              (Fields{{"Mta_Num", "1", 1, true},
                      {"Address", "0x4030201", 0x04030201, true},
                      {"Address_Ext", "0x2", 2, true}}));
}

}  // namespace
