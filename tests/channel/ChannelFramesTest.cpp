// The frame of every function, one row per call, and what all functions have in common.
#include "tests/channel/ChannelCalls.h"
#include "tests/channel/ChannelTestSupport.h"

#include <fstream>
#include <iterator>
#include <regex>
#include <set>

using namespace channel_test;

namespace {

const std::vector<std::uint8_t> kData = support::countingBytes(8, 1);

/// Same frame in both byte orders.
constexpr const char* kSame = "";

struct FrameRow {
    const char* name;
    Args args;
    const char* little;
    const char* big;
};

/// With a MAX_CTO of 8 and granularity 1. Layouts are those of ASAM MCD-1 XCP, but for the two codes that
/// hosts of this interface know otherwise: xcpDownloadMax and xcpGetSegmentMode.
const std::vector<FrameRow>& frames() {
    static const std::vector<FrameRow> rows{
        {"xcpConnect", {}, "ff 00", kSame},
        {"xcpConnect", {.b0 = 1}, "ff 01", kSame},
        {"xcpConnect", {.b0 = 0xFF}, "ff ff", kSame},
        {"xcpDisconnect", {}, "fe", kSame},
        {"xcpGetStatus", {}, "fd", kSame},
        {"xcpSynchronize", {}, "fc", kSame},
        {"xcpGetCommModeInfo", {}, "fb", kSame},
        {"xcpGetIdentification", {.b0 = 1}, "fa 01", kSame},
        {"xcpGetIdentification", {.b0 = 0xFF}, "fa ff", kSame},
        {"xcpSetRequest", {.b0 = 5, .w0 = 0x1234}, "f9 05 34 12", kSame},
        {"xcpSetRequest", {.b0 = 0xFF, .w0 = 0xFFFE}, "f9 ff fe ff", kSame},
        {"xcpTransportLayerCommand", {.b0 = 2, .b1 = 0xFE, .data = kData.data()}, "f2 fe 01 02", kSame},
        {"xcpTransportLayerCommand", {.b1 = 0xFF, .data = kData.data()}, "f2 ff", kSame},
        {"xcpUserCommand", {.b0 = 4, .b1 = 0x7E, .data = kData.data()}, "f1 7e 01 02 03 04", kSame},
        {"xcpUserCommand", {.b1 = 0xFF}, "f1 ff", kSame},
        {"xcpGetSeed", {.b0 = 0, .b1 = 4}, "f8 00 04", kSame},
        {"xcpGetSeed", {.b0 = 1, .b1 = 0x10}, "f8 01 10", kSame},
        {"xcpGetSeed", {.b0 = 0xFF, .b1 = 0xFF}, "f8 ff ff", kSame},
        {"xcpUnlock", {.b0 = 4, .data = kData.data()}, "f7 04 01 02 03 04", kSame},
        {"xcpSetMta", {.b0 = 2, .l0 = 0x12345678}, "f6 00 00 02 78 56 34 12", "f6 00 00 02 12 34 56 78"},
        {"xcpSetMta", {.b0 = 0xFF, .l0 = 0xFFFFFFFE}, "f6 00 00 ff fe ff ff ff", "f6 00 00 ff ff ff ff fe"},
        {"xcpUpload", {.b0 = 5}, "f5 05", kSame},
        {"xcpShortUpload",
         {.b0 = 4, .b1 = 2, .l0 = 0x12345678},
         "f4 04 00 02 78 56 34 12",
         "f4 04 00 02 12 34 56 78"},
        {"xcpShortUpload",
         {.b0 = 8, .b1 = 0xFF, .l0 = 0xFFFFFFFE},
         "f4 07 00 ff fe ff ff ff",
         "f4 07 00 ff ff ff ff fe"},
        {"xcpShortUpload", {.b0 = 255}, "f4 07 00 00 00 00 00 00", kSame},
        {"xcpBuildChecksum", {.l0 = 0x12345678}, "f3 00 00 00 78 56 34 12", kSame},
        {"xcpBuildChecksum", {.l0 = 0xFFFFFFFE}, "f3 00 00 00 fe ff ff ff", kSame},
        {"xcpDownload", {.b0 = 4, .data = kData.data()}, "f0 04 01 02 03 04", kSame},
        {"xcpDownloadNext", {.b0 = 4, .data = kData.data()}, "ef 04 01 02 03 04", kSame},
        {"xcpDownloadMax", {.data = kData.data()}, "ef 01 02 03 04 05 06 07", kSame},
        {"xcpShortDownload",
         {.b1 = 2, .l0 = 0x12345678, .data = kData.data()},
         "ed 00 00 02 78 56 34 12",
         "ed 00 00 02 12 34 56 78"},
        {"xcpModifyBits", {.b0 = 3, .w0 = 0x1234, .w1 = 0x5678}, "ec 03 34 12 78 56", kSame},
        {"xcpModifyBits", {.b0 = 0xFF, .w0 = 0xFFFE, .w1 = 0xFFFD}, "ec ff fe ff fd ff", kSame},
        {"xcpSetCalibrationPage", {.b0 = 0x83, .b1 = 1, .b2 = 2}, "eb 83 01 02", kSame},
        {"xcpSetCalibrationPage", {.b0 = 0xFF, .b1 = 0xFE, .b2 = 0xFD}, "eb ff fe fd", kSame},
        {"xcpGetCalibrationPage", {.b0 = 2, .b1 = 1}, "ea 02 01", kSame},
        {"xcpGetCalibrationPage", {.b0 = 0xFF, .b1 = 0xFE}, "ea ff fe", kSame},
        {"xcpCopyCalibrationPage", {.b0 = 1, .b1 = 2, .b2 = 3, .b3 = 4}, "e4 01 02 03 04", kSame},
        {"xcpCopyCalibrationPage", {.b0 = 0xFF, .b1 = 0xFE, .b2 = 0xFD, .b3 = 0xFC}, "e4 ff fe fd fc", kSame},
        {"xcpGetPagingProcessorInfo", {}, "e9", kSame},
        {"xcpGetSegmentInformation", {.b0 = 1, .b1 = 2, .b2 = 3, .b3 = 4}, "e8 01 02 03 04", kSame},
        {"xcpGetSegmentInformation",
         {.b0 = 0xFF, .b1 = 0xFE, .b2 = 0xFD, .b3 = 0xFC},
         "e8 ff fe fd fc",
         kSame},
        {"xcpGetPageInformation", {.b0 = 1, .b1 = 2}, "e7 00 01 02", kSame},
        {"xcpGetPageInformation", {.b0 = 0xFF, .b1 = 0xFE}, "e7 00 ff fe", kSame},
        {"xcpSetSegmentMode", {.b0 = 1, .b1 = 2}, "e6 01 02", kSame},
        {"xcpSetSegmentMode", {.b0 = 0xFF, .b1 = 0xFE}, "e6 ff fe", kSame},
        {"xcpGetSegmentMode", {.b0 = 2}, "e6 00 02", kSame},
        {"xcpGetSegmentMode", {.b0 = 0xFF}, "e6 00 ff", kSame},
        {"xcpGetDaqClock", {}, "dc", kSame},
        {"xcpGetDaqProcessorInfo", {}, "da", kSame},
        {"xcpGetDaqResolutionInfo", {}, "d9", kSame},
        {"xcpGetDaqEventInfo", {.b0 = 5}, "d7 00 05 00", "d7 00 00 05"},
        {"xcpGetDaqEventInfo", {.b0 = 0xFF}, "d7 00 ff 00", "d7 00 00 ff"},
        {"xcpGetDaqListInfo", {.w0 = 0x1234}, "d8 00 34 12", "d8 00 12 34"},
        {"xcpGetDaqListInfo", {.w0 = 0xFFFE}, "d8 00 fe ff", "d8 00 ff fe"},
        {"xcpGetDaqListMode", {.w0 = 0x1234}, "df 00 34 12", "df 00 12 34"},
        {"xcpGetDaqListMode", {.w0 = 0xFFFE}, "df 00 fe ff", "df 00 ff fe"},
        {"xcpFreeDaqLists", {}, "d6", kSame},
        {"xcpAllocateDaqLists", {.w0 = 0x1234}, "d5 00 34 12", "d5 00 12 34"},
        {"xcpAllocateDaqLists", {.w0 = 0xFFFE}, "d5 00 fe ff", "d5 00 ff fe"},
        {"xcpAllocateOdt", {.b0 = 7, .w0 = 0x1234}, "d4 00 34 12 07", "d4 00 12 34 07"},
        {"xcpAllocateOdt", {.b0 = 0xFF, .w0 = 0xFFFE}, "d4 00 fe ff ff", "d4 00 ff fe ff"},
        {"xcpAllocateOdtEntry", {.b0 = 2, .b1 = 7, .w0 = 0x1234}, "d3 00 34 12 02 07", "d3 00 12 34 02 07"},
        {"xcpAllocateOdtEntry",
         {.b0 = 0xFF, .b1 = 0xFD, .w0 = 0xFFFE},
         "d3 00 fe ff ff fd",
         "d3 00 ff fe ff fd"},
        {"xcpClearDaqList", {.w0 = 0x1234}, "e3 00 34 12", "e3 00 12 34"},
        {"xcpClearDaqList", {.w0 = 0xFFFE}, "e3 00 fe ff", "e3 00 ff fe"},
        {"xcpSetDaqPtr", {.b0 = 2, .b1 = 7, .w0 = 0x1234}, "e2 00 34 12 02 07", "e2 00 12 34 02 07"},
        {"xcpSetDaqPtr", {.b0 = 0xFF, .b1 = 0xFD, .w0 = 0xFFFE}, "e2 00 fe ff ff fd", "e2 00 ff fe ff fd"},
        {"xcpWriteDaqListEntry",
         {.b0 = 0xFF, .b1 = 4, .b2 = 2, .l0 = 0x12345678},
         "e1 ff 04 02 78 56 34 12",
         "e1 ff 04 02 12 34 56 78"},
        {"xcpWriteDaqListEntry",
         {.b0 = 0x1F, .b1 = 0xFF, .b2 = 0xFF, .l0 = 0xFFFFFFFE},
         "e1 1f ff ff fe ff ff ff",
         "e1 1f ff ff ff ff ff fe"},
        {"xcpWriteDaqListEntries", {}, "c7 00", kSame},
        {"xcpReadDaqListEntry", {}, "db", kSame},
        {"xcpSetDaqListMode",
         {.b0 = 0x10, .b1 = 1, .b2 = 2, .w0 = 0x1234, .w1 = 0x5678},
         "e0 10 34 12 78 56 01 02",
         "e0 10 12 34 56 78 01 02"},
        {"xcpSetDaqListMode",
         {.b0 = 0xFF, .b1 = 0xFD, .b2 = 0xFC, .w0 = 0xFFFE, .w1 = 0xFFFB},
         "e0 ff fe ff fb ff fd fc",
         "e0 ff ff fe ff fb fd fc"},
        {"xcpStartStopDaqList", {.b0 = 2, .w0 = 0x1234}, "de 02 34 12", "de 02 12 34"},
        {"xcpStartStopDaqList", {.b0 = 0xFF, .w0 = 0xFFFE}, "de ff fe ff", "de ff ff fe"},
        {"xcpStartStopSynch", {.b0 = 1}, "dd 01", kSame},
        {"xcpStartStopSynch", {.b0 = 0xFF}, "dd ff", kSame},
        {"xcpProgramStart", {}, "d2", kSame},
        {"xcpProgramClear",
         {.b0 = 1, .l0 = 0x12345678},
         "d1 01 00 00 78 56 34 12",
         "d1 01 00 00 12 34 56 78"},
        {"xcpProgramClear",
         {.b0 = 0xFF, .l0 = 0xFFFFFFFE},
         "d1 ff 00 00 fe ff ff ff",
         "d1 ff 00 00 ff ff ff fe"},
        {"xcpProgram", {.b0 = 4, .data = kData.data()}, "d0 04 01 02 03 04", kSame},
        {"xcpProgramNext", {.b0 = 4, .data = kData.data()}, "ca 04 01 02 03 04", kSame},
        {"xcpProgramMax", {.data = kData.data()}, "c9 01 02 03 04 05 06 07", kSame},
        {"xcpProgramReset", {}, "cf", kSame},
        {"xcpProgramVerify",
         {.b0 = 1, .w0 = 0x1234, .l0 = 0x56789ABC},
         "c8 01 34 12 bc 9a 78 56",
         "c8 01 12 34 56 78 9a bc"},
        {"xcpProgramVerify",
         {.b0 = 0xFF, .w0 = 0xFFFE, .l0 = 0xFFFFFFFD},
         "c8 ff fe ff fd ff ff ff",
         "c8 ff ff fe ff ff ff fd"},
        {"xcpProgramPrepare", {.w0 = 0x1234}, "cc 00 34 12", kSame},
        {"xcpProgramPrepare", {.w0 = 0xFFFE}, "cc 00 fe ff", kSame},
        {"xcpProgramFormat", {.l0 = 0x12345678}, "cb 78 56 34 12", kSame},
        {"xcpProgramFormat", {.l0 = 0xFFFFFFFE}, "cb fe ff ff ff", kSame},
        {"xcpGetPgmProcessorInfo", {}, "ce", kSame},
        {"xcpGetSectorInfo", {}, "cd 00 00", kSame},
        {"xcpGetSectorInfo", {.b0 = 1, .b1 = 2}, "cd 00 00", kSame},
    };
    return rows;
}

/// Functions without a buffer, which have tests of their own.
const std::set<std::string> kWithoutBuffer{"xcpInitializeCan", "xcpUninitialize", "xcpAddSlave",
                                           "xcpConfigSlave",   "xcpRemoveSlave",  "xcpResetQueue",
                                           "xcpDequeuePacket", "xcpGetSeedEx",    "xcpUnlockEx"};

/// A positive answer that announces neither an event's name nor a long seed.
constexpr const char* kAnswer = "ff 01 02 00 04 05 06 07";

class ChannelFrames : public ChannelTest {
protected:
    std::uint32_t calls(const FrameRow& row) {
        return functionOf(row.name).call(row.args, {slave, bytes(), size()});
    }

    /// Frames that a larger MAX_CTO or another granularity would make others; they are tested on their own.
    static bool isFormed(const FrameRow& row) {
        static const std::set<std::string> kFormed{"xcpUpload",       "xcpShortUpload", "xcpDownload",
                                                   "xcpDownloadNext", "xcpDownloadMax", "xcpProgram",
                                                   "xcpProgramNext",  "xcpProgramMax"};
        return kFormed.contains(row.name);
    }

    /// UPLOAD has its own rules for failures.
    static bool isExchange(const FrameRow& row) { return row.name != std::string("xcpUpload"); }
};

}  // namespace

TEST(ChannelFrameRows, NameEveryFunctionOfTheHeader) {
    std::ifstream file(TALVEX_SOURCE_DIR "/include/TalvexChannel.h");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::regex declaration("uint32_t (xcp[A-Za-z]+)\\(");
    std::set<std::string> declared;
    for (std::sregex_iterator at(text.begin(), text.end(), declaration), end; at != end; ++at) {
        declared.insert((*at)[1].str());
    }
    std::set<std::string> tested = kWithoutBuffer;
    for (const FrameRow& row : frames()) {
        tested.insert(row.name);
    }
    EXPECT_EQ(tested, declared);
}

TEST_F(ChannelFrames, LittleEndian) {
    ecu.answersByDefault({kAnswer});
    for (const FrameRow& row : frames()) {
        EXPECT_EQ(calls(row), kSuccess) << row.name;
        EXPECT_EQ(sent(), Texts{row.little}) << row.name;
        EXPECT_EQ(handed(), kAnswer) << row.name;
    }
}

TEST_F(ChannelFrames, BigEndian) {
    proto.byteOrder = 1;
    startsAnew();
    ecu.answersByDefault({kAnswer});
    for (const FrameRow& row : frames()) {
        EXPECT_EQ(calls(row), kSuccess) << row.name;
        EXPECT_EQ(sent(), Texts{*row.big == '\0' ? row.little : row.big}) << row.name;
        EXPECT_EQ(handed(), kAnswer) << row.name;
    }
}

TEST_F(ChannelFrames, OfFixedFormAreTheSameForEveryGranularityAndMaxCto) {
    ecu.answersByDefault({kAnswer});
    for (const std::uint8_t maxCto : support::bytes("08 40")) {
        for (const std::uint8_t granularity : support::bytes("01 02 04")) {
            proto.addressGranularity = granularity;
            startsAnew();
            for (const FrameRow& row : frames()) {
                object().m_cfg.maxCto = maxCto;
                if (!isFormed(row)) {
                    EXPECT_EQ(calls(row), kSuccess) << row.name;
                    EXPECT_EQ(sent(), Texts{row.little})
                        << row.name << " maxCto " << int(maxCto) << " granularity " << int(granularity);
                }
            }
        }
    }
}

TEST_F(ChannelFrames, GoToTheSlavesPlace) {
    ecu.answersByDefault({kAnswer});
    for (const FrameRow& row : frames()) {
        host.clear();
        calls(row);
        ASSERT_EQ(host.sent().size(), 1U) << row.name;
        EXPECT_EQ(host.sent()[0].channel, 3U) << row.name;
        EXPECT_EQ(host.sent()[0].id, 0x100U) << row.name;
        EXPECT_EQ(host.sent()[0].flags, 0U) << row.name;
    }
}

TEST_F(ChannelFrames, ErrorAnswerIsTheStatus) {
    ecu.answersByDefault({"fe 21"});
    for (const FrameRow& row : frames()) {
        if (isExchange(row)) {
            EXPECT_EQ(calls(row), 0x21U) << row.name;
            EXPECT_EQ(sent(), Texts{row.little}) << row.name;
            EXPECT_EQ(handed(), "00 00 00 00 00 00 00 00") << row.name;
        }
    }
}

TEST_F(ChannelFrames, SilenceIsNoAnswerAndLosesTheLink) {
    proto = protoCfg(kShortMs);
    ecu.isSilent();
    for (const FrameRow& row : frames()) {
        if (isExchange(row)) {
            startsAnew();
            EXPECT_EQ(calls(row), kNoAnswer) << row.name;
            EXPECT_EQ(sent(), Texts{row.little}) << row.name;
            EXPECT_EQ(handed(), "00 00 00 00 00 00 00 00") << row.name;
            EXPECT_TRUE(object().m_linkLost) << row.name;
        }
    }
}

TEST_F(ChannelFrames, WonByARepeatSucceedAndHandTheLastFirstAttemptBack) {
    proto.retryCount = 1;
    startsAnew();
    ecu.answers("fe", {"ff 77"});
    ecu.answersByDefault({kAnswer});
    for (const FrameRow& row : frames()) {
        if (isExchange(row)) {
            xcpDisconnect(slave, bytes(), size());
            sent();
            ecu.answersOnce("..", {"fe 21"});
            EXPECT_EQ(calls(row), kSuccess) << row.name;
            EXPECT_EQ(sent(), Texts({row.little, row.little})) << row.name;
            EXPECT_EQ(handed(), "ff 77 00 00 00 00 00 00") << row.name;
        }
    }
}

TEST_F(ChannelFrames, OfALostLinkAreNotSentAndGiveTheLastStatus) {
    ecu.answersByDefault({kAnswer});
    xcpGetStatus(slave, bytes(), size());
    isSilent();
    ASSERT_EQ(xcpGetStatus(slave, bytes(), size()), kNoAnswer);
    ecu.speaks();
    ecu.clearSent();
    for (const FrameRow& row : frames()) {
        EXPECT_EQ(calls(row), kNoAnswer) << row.name;
        EXPECT_EQ(sent(), Texts{}) << row.name;
        EXPECT_EQ(handed(), kAnswer) << row.name;
    }
}

TEST_F(ChannelFrames, OfARemovedSlaveAreNotSentAndLeaveTheBuffer) {
    ASSERT_EQ(xcpRemoveSlave(slave), kSuccess);
    for (const FrameRow& row : frames()) {
        EXPECT_EQ(calls(row), kBadHandle) << row.name;
        EXPECT_EQ(sent(), Texts{}) << row.name;
        EXPECT_EQ(handed(), kUntouched) << row.name;
    }
}

TEST_F(ChannelFrames, OfAHandleThatNeverWasAreNotSentAndLeaveTheBuffer) {
    slave = 0xFFFFFFFF;
    for (const FrameRow& row : frames()) {
        EXPECT_EQ(calls(row), kBadHandle) << row.name;
        EXPECT_EQ(sent(), Texts{}) << row.name;
        EXPECT_EQ(handed(), kUntouched) << row.name;
    }
}

TEST_F(ChannelFrames, SmallBufferGetsTheBeginningAndNothingBehindIt) {
    ecu.answersByDefault({kAnswer});
    for (const FrameRow& row : frames()) {
        EXPECT_EQ(functionOf(row.name).call(row.args, {slave, bytes(), 3}), kSuccess) << row.name;
        EXPECT_EQ(handed(), "ff 01 02 aa aa aa aa aa") << row.name;
    }
}

TEST_F(ChannelFrames, LargeBufferIsZeroedBehindTheResponse) {
    ecu.answersByDefault({"ff 01 02"});
    for (const FrameRow& row : frames()) {
        if (isExchange(row)) {
            EXPECT_EQ(functionOf(row.name).call(row.args, {slave, bytes(), 6}), kSuccess) << row.name;
            EXPECT_EQ(handed(), "ff 01 02 00 00 00 aa aa") << row.name;
        }
    }
}

TEST_F(ChannelFrames, BufferOfNoBytesIsNotWritten) {
    ecu.answersByDefault({kAnswer});
    for (const FrameRow& row : frames()) {
        EXPECT_EQ(functionOf(row.name).call(row.args, {slave, bytes(), 0}), kSuccess) << row.name;
        EXPECT_EQ(handed(), kUntouched) << row.name;
    }
}

TEST_F(ChannelFrames, NullBufferIsAllowedWhateverItsSize) {
    ecu.answersByDefault({kAnswer});
    for (const FrameRow& row : frames()) {
        for (const std::uint16_t claimed : {std::uint16_t{0}, std::uint16_t{64}, std::uint16_t{65535}}) {
            EXPECT_EQ(functionOf(row.name).call(row.args, {slave, nullptr, claimed}), kSuccess) << row.name;
            EXPECT_EQ(sent(), Texts{row.little}) << row.name;
        }
    }
}
