#include "TalvexAnalyse.h"
#include "decode/XcpAnalyse.h"
#include "tests/decode/XcpRows.h"

#include <set>

namespace {

using namespace decode_testing;
using talvex_interface::xcpEventMsgAnalyse;
using talvex_interface::xcpRecvMsgAnalyse;
using talvex_interface::xcpSendMsgAnalyse;

/// Commands that are known and yet have neither title nor fields.
const std::set<unsigned> silentCommands{0xC7, 0xC9, 0xCA, 0xCB, 0xCC, 0xCD, 0xCE, 0xDB, 0xE5,
                                        0xE6, 0xE7, 0xE8, 0xE9, 0xEE, 0xF1, 0xF2, 0xF9, 0xFA};

const char* const synchronisationText = "Command processor synchronization.";

TEST(XcpCommands, EveryRowShowsItsFieldsInBothByteOrders) {
    ASSERT_EQ(xcpCommandRows().size(), 38U);
    for (const Row& row : xcpCommandRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            EXPECT_EQ(shown(xcpSendMsgAnalyse(frame(row.hex), big)), row.expected(big));
        }
    }
}

TEST(XcpCommands, EveryRowGivesItsTitleToTheRecordAndNothingElse) {
    for (const Row& row : xcpCommandRows()) {
        SCOPED_TRACE(row.title);
        mcDecodeMsg record;
        EXPECT_EQ(shown(XCP_MOUDLE::sendMsgAnalyse(frame(row.hex), false, &record)), row.little);
        EXPECT_EQ(record.name, row.title);
        EXPECT_TRUE(record.fields.empty());
        EXPECT_EQ(record.errorText, "");
    }
}

TEST(XcpCommands, ACodeWithoutARowIsUnknowCmdUnlessItIsOneOfTheSilentEighteen) {
    int unknown = 0;
    int silent = 0;
    for (unsigned code = 0; code < 256; ++code) {
        if (hasRow(xcpCommandRows(), byteOf(code))) {
            continue;
        }
        SCOPED_TRACE(code);
        const bool isSilent = silentCommands.contains(code);
        ++(isSilent ? silent : unknown);
        msgBuf msg = frame("00 01 02 03 04 05 06 07");
        msg.data[0] = byteOf(code);
        mcDecodeMsg record;
        EXPECT_TRUE(xcpSendMsgAnalyse(msg, false).empty());
        EXPECT_TRUE(XCP_MOUDLE::sendMsgAnalyse(msg, false, &record).empty());
        EXPECT_EQ(record.name, isSilent ? "" : "Unknow Cmd");
        EXPECT_TRUE(record.fields.empty());
    }
    EXPECT_EQ(silent, 18);
    EXPECT_EQ(unknown, 256 - 38 - 18);
}

TEST(XcpCommands, ModifyBitsIsUnknowCmdAndDownloadMaxHasNoTitle) {
    mcDecodeMsg modifyBits;
    mcDecodeMsg downloadMax;
    EXPECT_TRUE(XCP_MOUDLE::sendMsgAnalyse(frame("ec 01 02 03 04 05"), false, &modifyBits).empty());
    EXPECT_TRUE(XCP_MOUDLE::sendMsgAnalyse(frame("ee 01 02 03 04 05"), false, &downloadMax).empty());
    EXPECT_EQ(modifyBits.name, "Unknow Cmd");
    EXPECT_EQ(downloadMax.name, "");
}

TEST(XcpCommands, GetSeedCallsEveryModeButZeroRemain) {
    const auto mode = [](const char* hex) { return labelled(xcpSendMsgAnalyse(frame(hex), false), "Mode"); };
    EXPECT_EQ(mode("f8 00 01"), (Fields{{"Mode", "First", 0, true}}));
    EXPECT_EQ(mode("f8 01 01"), (Fields{{"Mode", "Remain", 1, true}}));
    EXPECT_EQ(mode("f8 ff 01"), (Fields{{"Mode", "Remain", 255, true}}));
}

TEST(XcpCommands, SetDaqPtrOfABigEndianEcuMultipliesItsSingleBytesBy256) {
    EXPECT_EQ(shown(xcpSendMsgAnalyse(frame("e2 00 00 01 03 ff"), true)),
              (Fields{{"Daq_List_Number", "1", 1, true},
                      {"Odt_Number", "768", 768, true},
                      {"Odt_Entry_Number", "65280", 65280, true}}));
}

TEST(XcpResponses, EveryRowShowsItsFieldsInBothByteOrders) {
    ASSERT_EQ(xcpResponseRows().size(), 37U);
    for (const Row& row : xcpResponseRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            EXPECT_EQ(shown(xcpRecvMsgAnalyse(row.code, frame(row.hex), big)), row.expected(big));
        }
    }
}

TEST(XcpResponses, EveryRowGivesItsTitleBehindResToTheRecordAndNothingElse) {
    for (const Row& row : xcpResponseRows()) {
        SCOPED_TRACE(row.title);
        mcDecodeMsg record;
        EXPECT_EQ(shown(XCP_MOUDLE::recvMsgAnalyse(row.code, frame(row.hex), false, &record)), row.little);
        EXPECT_EQ(record.name, "RES " + row.title);
        EXPECT_TRUE(record.fields.empty());
        EXPECT_EQ(record.errorText, "");
    }
}

TEST(XcpResponses, ACommandWithoutARowLeavesTheTitleResAlone) {
    int without = 0;
    for (unsigned code = 0; code < 256; ++code) {
        if (hasRow(xcpResponseRows(), byteOf(code))) {
            continue;
        }
        SCOPED_TRACE(code);
        ++without;
        mcDecodeMsg record;
        const msgBuf msg = frame("ff 01 02 03 04 05 06 07");
        EXPECT_TRUE(xcpRecvMsgAnalyse(byteOf(code), msg, false).empty());
        EXPECT_TRUE(XCP_MOUDLE::recvMsgAnalyse(byteOf(code), msg, false, &record).empty());
        EXPECT_EQ(record.name, "RES ");
        EXPECT_TRUE(record.fields.empty());
    }
    EXPECT_EQ(without, 256 - 37);
}

TEST(XcpResponses, ShortUploadAndDownloadNextAreAmongThoseWithoutARow) {
    EXPECT_FALSE(hasRow(xcpResponseRows(), 0xF4));
    EXPECT_FALSE(hasRow(xcpResponseRows(), 0xEF));
    EXPECT_TRUE(xcpRecvMsgAnalyse(0xF4, frame("ff 11 22 33"), false).empty());
    EXPECT_TRUE(xcpRecvMsgAnalyse(0xEF, frame("ff"), false).empty());
}

TEST(XcpErrorFrames, GiveTheirCodeWhateverCommandTheyAnswer) {
    for (unsigned code = 0; code < 256; ++code) {
        SCOPED_TRACE(code);
        for (const bool big : {false, true}) {
            EXPECT_EQ(shown(xcpRecvMsgAnalyse(byteOf(code), frame("fe 22 ff ff"), big)),
                      (Fields{{"ErrorCode", "Command syntax valid but command parameter(s) out of range.",
                               0x22, false}}));
        }
    }
}

TEST(XcpErrorFrames, AreResErrorWithTheirTextInTheRecord) {
    for (unsigned code = 0; code < 256; ++code) {
        if (code == 0xFC) {
            continue;
        }
        SCOPED_TRACE(code);
        mcDecodeMsg record;
        const auto fields = XCP_MOUDLE::recvMsgAnalyse(byteOf(code), frame("fe 00"), false, &record);
        EXPECT_EQ(shown(fields), (Fields{{"ErrorCode", synchronisationText, 0, false}}));
        EXPECT_EQ(record.name, "RES Error");
        EXPECT_EQ(record.errorText, synchronisationText);
        EXPECT_TRUE(record.fields.empty());
    }
}

TEST(XcpErrorFrames, OfAnUnknownCodeShowItsNumber) {
    mcDecodeMsg record;
    XCP_MOUDLE::recvMsgAnalyse(0xFF, frame("fe 99"), false, &record);
    EXPECT_EQ(record.errorText, "UnKnow 0x99");
}

TEST(XcpErrorFrames, AfterSynchAreResSynchWithAnyErrorCodeAndNoErrorText) {
    for (const char* hex : {"fe 00", "fe 22", "fe 99"}) {
        SCOPED_TRACE(hex);
        mcDecodeMsg record;
        const auto fields = XCP_MOUDLE::recvMsgAnalyse(0xFC, frame(hex), false, &record);
        EXPECT_EQ(record.name, "RES Synch");
        EXPECT_EQ(record.errorText, "");
        ASSERT_EQ(fields.size(), 1U);
        EXPECT_EQ(fields[0].label, "ErrorCode");
        EXPECT_FALSE(fields[0].mark);
    }
}

TEST(XcpResponses, APositiveAnswerToSynchShowsAMarkedErrorCode) {
    EXPECT_EQ(shown(xcpRecvMsgAnalyse(0xFC, frame("ff 10"), false)),
              (Fields{{"Error_Code", "Command was not executed", 0x10, true}}));
    EXPECT_EQ(shown(xcpRecvMsgAnalyse(0xFC, frame("ff 77"), false)),
              (Fields{{"Error_Code", "UnKnow 0x77", 0x77, true}}));
}

TEST(XcpResponses, EverythingButAnErrorFrameIsReadAsPositive) {
    for (const char* hex : {"ff 0c", "fd 0c", "00 0c"}) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(shown(xcpRecvMsgAnalyse(0xF8, frame(hex), false)), (Fields{{"Seed_Len", "12", 12, true}}));
    }
}

TEST(XcpResponses, UploadShowsTheFramesLengthAndNoByteOfIt) {
    const auto size = [](std::uint16_t length) {
        return shown(xcpRecvMsgAnalyse(0xF5, frame("ff 99 99", length), true));
    };
    EXPECT_EQ(size(0), (Fields{{"size", "0", 0, true}}));
    EXPECT_EQ(size(8), (Fields{{"size", "8", 8, true}}));
    EXPECT_EQ(size(64), (Fields{{"size", "64", 64, true}}));
    EXPECT_EQ(size(65535), (Fields{{"size", "65535", 65535, true}}));
}

TEST(XcpResponses, ChecksumTypeShowsItsNumberAndNeverItsName) {
    const std::pair<const char*, const char*> types[] = {{"ff 00", "0x0"}, {"ff 01", "0x1"}, {"ff 02", "0x2"},
                                                         {"ff 03", "0x3"}, {"ff 04", "0x4"}, {"ff 05", "0x5"},
                                                         {"ff 06", "0x6"}, {"ff 07", "0x7"}, {"ff 08", "0x8"},
                                                         {"ff 09", "0x9"}, {"ff ff", "0xFF"}};
    for (const auto& [hex, text] : types) {
        EXPECT_EQ(labelled(xcpRecvMsgAnalyse(0xF3, frame(hex), false), "Checksum_Type").front().text, text);
    }
}

TEST(XcpResponses, ProcessorInfoSwapsMaxDaqAndLeavesMaxEventChannelAsItCame) {
    const auto fields = xcpRecvMsgAnalyse(0xDA, frame("ff 00 02 01 02 01 00 00"), true);
    EXPECT_EQ(labelled(fields, "Max_Daq"), (Fields{{"Max_Daq", "513", 513, true}}));
    EXPECT_EQ(labelled(fields, "Max_Event_Channel"), (Fields{{"Max_Event_Channel", "258", 258, true}}));
}

TEST(XcpResponses, TimestampTicksAreNeverSwapped) {
    EXPECT_EQ(labelled(xcpRecvMsgAnalyse(0xD9, frame("ff 00 00 00 00 00 02 01"), true), "Timestamp_Ticks"),
              (Fields{{"Timestamp_Ticks", "258", 258, true}}));
}

TEST(XcpResponses, ConnectCallsASetByteOrderBitIntel) {
    const auto order = [](const char* hex) {
        return labelled(xcpRecvMsgAnalyse(0xFF, frame(hex), false), "Connect_Comm_Mode_Basic__Byte_Order");
    };
    EXPECT_EQ(order("ff 00 01"), (Fields{{"Connect_Comm_Mode_Basic__Byte_Order", "Intel", 1, false}}));
    EXPECT_EQ(order("ff 00 fe"), (Fields{{"Connect_Comm_Mode_Basic__Byte_Order", "Motorola", 0, false}}));
}

TEST(XcpEvents, EveryRowShowsItsFieldsInBothByteOrders) {
    ASSERT_EQ(xcpEventRows().size(), 16U);
    for (const Row& row : xcpEventRows()) {
        for (const bool big : {false, true}) {
            SCOPED_TRACE(traceOf(row, big));
            EXPECT_EQ(shown(xcpEventMsgAnalyse(frame(row.hex), big)), row.expected(big));
        }
    }
}

TEST(XcpEvents, EveryRowGivesItsTitleToTheRecordAndNothingElse) {
    for (const Row& row : xcpEventRows()) {
        SCOPED_TRACE(row.title);
        mcDecodeMsg record;
        EXPECT_EQ(shown(XCP_MOUDLE::eventMsgAnalyse(frame(row.hex), false, &record)), row.little);
        EXPECT_EQ(record.name, row.title);
        EXPECT_TRUE(record.fields.empty());
    }
}

TEST(XcpEvents, EveryOtherCodeIsUnknowCmd) {
    int without = 0;
    for (unsigned code = 0; code < 256; ++code) {
        if (hasRow(xcpEventRows(), byteOf(code))) {
            continue;
        }
        SCOPED_TRACE(code);
        ++without;
        msgBuf msg = frame("fd 00 01 02 03 04 05 06");
        msg.data[1] = byteOf(code);
        mcDecodeMsg record;
        EXPECT_TRUE(xcpEventMsgAnalyse(msg, false).empty());
        EXPECT_TRUE(XCP_MOUDLE::eventMsgAnalyse(msg, false, &record).empty());
        EXPECT_EQ(record.name, "Unknow Cmd");
    }
    EXPECT_EQ(without, 256 - 16);
    EXPECT_FALSE(hasRow(xcpEventRows(), 0x04));
}

TEST(XcpEvents, StimTimeoutReadsOneByteThreeTimesAndLabelsTheLastByIt) {
    const auto event = [](const char* hex) { return shown(xcpEventMsgAnalyse(frame(hex), true)); };
    EXPECT_EQ(event("fd 09 00 05 06 07"), (Fields{{"Type", "0x0", 0, true},
                                                  {"Fail_Type", "0x0", 0, true},
                                                  {"Event Channel Num", "0x0", 0, true}}));
    EXPECT_EQ(
        event("fd 09 01 05 06 07"),
        (Fields{{"Type", "0x1", 1, true}, {"Fail_Type", "0x1", 1, true}, {"DAQ List Num", "0x1", 1, true}}));
    EXPECT_EQ(event("fd 09 02 05 06 07"),
              (Fields{{"Type", "0x2", 2, true}, {"Fail_Type", "0x2", 2, true}, {"Num", "0x2", 2, true}}));
    EXPECT_EQ(
        event("fd 09 ff 05 06 07"),
        (Fields{{"Type", "0xFF", 255, true}, {"Fail_Type", "0xFF", 255, true}, {"Num", "0xFF", 255, true}}));
}

TEST(XcpFrames, AreReadAtFixedPositionsWhateverTheirLength) {
    EXPECT_EQ(shown(xcpSendMsgAnalyse(frame("f6 00 00 02 01 02 03 04", 1), false)),
              (Fields{{"Address", "0x4030201", 0x04030201, true}, {"Address_Ext", "0x2", 2, true}}));
}

}  // namespace
