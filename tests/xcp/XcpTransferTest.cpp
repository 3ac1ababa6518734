// The helpers that move blocks of bytes.
#include "tests/xcp/XcpTestSupport.h"
#include "transport/StopFlag.h"

#include <array>
#include <functional>

using namespace xcp_test;
using Bytes = std::vector<std::uint8_t>;

namespace {

struct FormRow {
    std::uint8_t maxCto, count, granularity;
    std::uint8_t placed;
    const char* frame;
};

class XcpTransfer : public XcpTest {
protected:
    using Fill = std::uint8_t (XcpTaskTransmit::*)(msgBuf&, const std::uint8_t*, std::uint8_t,
                                                   std::uint8_t) const;
    using Send = std::uint8_t (XcpTaskTransmit::*)(const std::uint8_t*, std::uint8_t, std::uint8_t);

    void forms(Fill fill, const std::vector<FormRow>& rows) {
        for (const FormRow& row : rows) {
            SCOPED_TRACE(testing::Message()
                         << int{row.maxCto} << "/" << int{row.count} << "/" << int{row.granularity});
            startsAnew();
            cfg.maxCto = row.maxCto;
            msgBuf frame;
            EXPECT_EQ((task().*fill)(frame, m_source.data(), row.count, row.granularity), row.placed);
            EXPECT_EQ(support::hexText(frame.data.data(), frame.length), row.frame);
        }
    }

    std::uint8_t sends(Send send, std::uint8_t count, std::uint8_t granularity = 1) {
        return (task().*send)(m_source.data(), count, granularity);
    }

    /// @return what `uploadBlock` stored
    std::string uploads(std::uint8_t count, std::uint8_t granularity = 1) {
        Bytes destination(count + 1U, 0xEE);
        const std::uint8_t stored = task().uploadBlock(destination.data(), count, granularity);
        EXPECT_LE(stored, count);
        EXPECT_EQ(destination[stored], 0xEE);
        return support::hexText(destination.data(), stored);
    }

    const Bytes m_source = support::countingBytes(255, 1);
};

using XcpUpload = XcpTransfer;

}  // namespace

TEST_F(XcpUpload, TwentyBytesAreAskedForAsSevenSevenAndSix) {
    hasMemory();
    EXPECT_EQ(uploads(20), support::hexText(support::countingBytes(20)));
    EXPECT_EQ(sent(), Texts({"f5 07", "f5 07", "f5 06"}));
}

TEST_F(XcpUpload, ElementsFollowGranularityAndMaxCto) {
    struct Row {
        std::uint8_t maxCto, count, granularity;
        Texts frames;
        const char* stored;
    };
    const char* answer = "ff a1 a2 a3 a4 a5 a6 a7";
    const std::vector<Row> rows = {
        {8, 5, 2, {"f5 03"}, "a2 a3 a4 a5 a6"},
        {8, 5, 4, {"f5 01", "f5 01"}, "a4 a5 a6 a7 a4"},
        {8, 4, 3, {"f5 01", "f5 01"}, "a3 a4 a5 a3"},
        {8, 3, 0, {"f5 03"}, "a1 a2 a3"},
        {2, 2, 1, {"f5 01", "f5 01"}, "a1 a1"},
        {1, 2, 1, {}, ""},
        {0, 2, 1, {}, ""},
        {8, 2, 255, {}, ""},
        {3, 2, 4, {}, ""},
        {8, 0, 1, {}, ""},
    };
    for (const Row& row : rows) {
        startsAnew();
        cfg.maxCto = row.maxCto;
        ecu.answers("f5 ..", {answer});
        EXPECT_EQ(uploads(row.count, row.granularity), row.stored);
        EXPECT_EQ(sent(), row.frames);
    }
}

TEST_F(XcpUpload, FramesOfMaxCto255BringAtMost63Bytes) {
    cfg.maxCto = 255;
    ecu.answers("f5 ..", {"ff " + support::hexText(support::countingBytes(63))});
    EXPECT_EQ(support::bytes(uploads(255)).size(), 255U);
    EXPECT_EQ(sent(), Texts({"f5 fe", "f5 c0", "f5 81", "f5 42", "f5 03"}));
}

TEST_F(XcpUpload, LongAnswerIsCutToWhatWasAskedFor) {
    ecu.answers("f5 ..", {"ff 01 02 03 04 05 06 07"});
    EXPECT_EQ(uploads(2), "01 02");
}

TEST_F(XcpUpload, ShortAnswerIsFollowedByARequestForTheRest) {
    ecu.answersInTurn("f5 ..", {{"ff 01 02"}, {"ff 03 04 05"}});
    EXPECT_EQ(uploads(5), "01 02 03 04 05");
    EXPECT_EQ(sent(), Texts({"f5 05", "f5 03"}));
}

TEST_F(XcpUpload, EmptyAnswerEndsIt) {
    ecu.answers("f5 ..", {"ff"});
    EXPECT_EQ(uploads(5), "");
    EXPECT_EQ(uploads(5, 2), "");
    EXPECT_EQ(sent(), Texts({"f5 05", "f5 03"}));
}

TEST_F(XcpUpload, RefusalIsNotRepeatedAndLeavesStatusAndLink) {
    cfg.xcp.retryCount = 3;
    cfg.xcp.t1 = 3;
    task().m_lastStatus = 7;
    ecu.answersInTurn("f5 ..", {{"ff 01 02 03 04 05 06 07"}, {"fe 24"}, {}});
    EXPECT_EQ(uploads(10), "01 02 03 04 05 06 07");
    EXPECT_EQ(uploads(3), "");
    EXPECT_EQ(sent(), Texts({"f5 07", "f5 03", "f5 03"}));
    EXPECT_EQ(task().m_lastStatus, 7U);
    EXPECT_FALSE(task().m_linkLost);
}

TEST_F(XcpUpload, LostLinkDoesNotKeepItFromSending) {
    hasMemory();
    task().m_linkLost = true;
    EXPECT_EQ(uploads(1), "00");
}

TEST_F(XcpUpload, SlaveBlockIsOneRequestWithManyAnswers) {
    cfg.xcp.useSlaveBlockMode = 1;
    ecu.answers("f5 0a", {"ff 01 02 03 04 05 06 07", "ff 08 09 0a 00 00 00 00"});
    EXPECT_EQ(uploads(10), "01 02 03 04 05 06 07 08 09 0a");
    EXPECT_EQ(sent(), Texts{"f5 0a"});
}

TEST_F(XcpUpload, SlaveBlockCountsInBytesWhateverTheGranularity) {
    cfg.xcp.useSlaveBlockMode = 1;
    ecu.answers("f5 05", {"ff 00 01 02 03 04", "ff 00 05 06"});
    EXPECT_EQ(uploads(5, 2), "01 02 03 04 05");
    EXPECT_EQ(sent(), Texts{"f5 05"});
}

TEST_F(XcpUpload, SlaveBlockPassesOverAnswersWithoutData) {
    cfg.xcp.useSlaveBlockMode = 1;
    ecu.answers("f5 03", {"ff", "ff", "ff 00 01", "ff", "ff 00 02 03"});
    EXPECT_EQ(uploads(3, 2), "01 02 03");
}

TEST_F(XcpUpload, SlaveBlockEndsWith255AnswersWithoutDataInARow) {
    cfg.xcp.useSlaveBlockMode = 1;
    Texts answers(254, "ff");
    answers.emplace_back("ff 00 01");
    answers.insert(answers.end(), 255, "ff");
    answers.emplace_back("ff 00 02");
    ecu.answers("f5 03", answers);
    EXPECT_EQ(uploads(3, 2), "01");
}

TEST_F(XcpUpload, SlaveBlockEndsWithARefusalOrSilence) {
    cfg.xcp.useSlaveBlockMode = 1;
    cfg.xcp.t1 = 3;
    ecu.answersInTurn("f5 0a", {{"ff 01 02 03 04 05 06 07", "fe 24", "ff 08"}, {"ff 01 02"}});
    EXPECT_EQ(uploads(10), "01 02 03 04 05 06 07");
    EXPECT_EQ(uploads(10), "01 02");
}

// Plain mode sends nothing for a count of 0, block mode does.
TEST_F(XcpUpload, SlaveBlockOfNoBytesIsSent) {
    cfg.xcp.useSlaveBlockMode = 1;
    EXPECT_EQ(uploads(0), "");
    EXPECT_EQ(sent(), Texts{"f5 00"});
}

TEST_F(XcpUpload, ShortUploadAsksForElementsAndCopiesTheWholeFrame) {
    std::array<std::uint8_t, 64> destination{};
    ecu.answers("f4 ..", {"ff 01 02 03 04 05 06 07"});
    EXPECT_EQ(task().shortUpload(0x11223344, 5, destination.data(), 2, 1), 0U);
    EXPECT_EQ(support::hexText(destination.data(), 8), "01 02 03 04 05 06 07 00");
    EXPECT_EQ(sent(), Texts{"f4 02 00 05 44 33 22 11"});
}

TEST_F(XcpUpload, ShortUploadCopiesBehindTheGranularity) {
    for (const auto& [granularity, copied] : std::map<std::uint8_t, std::string>{{0, "01 02 03"},
                                                                                 {1, "01 02 03"},
                                                                                 {2, "02 03 00"},
                                                                                 {4, "00 00 00"},
                                                                                 {5, "00 00 00"},
                                                                                 {255, "00 00 00"}}) {
        startsAnew();
        std::array<std::uint8_t, 64> destination{};
        ecu.answers("f4 ..", {"ff 01 02 03"});
        EXPECT_EQ(task().shortUpload(0, 0, destination.data(), 2, granularity), 0U);
        EXPECT_EQ(support::hexText(destination.data(), 3), copied) << int{granularity};
    }
}

TEST_F(XcpUpload, ShortUploadAsksForAtMostMaxCtoMinusOne) {
    const std::vector<std::array<std::uint8_t, 3>> rows = {{8, 20, 7}, {8, 7, 7}, {255, 255, 254},
                                                           {1, 5, 0},  {0, 5, 0}, {8, 0, 0}};
    for (const auto& [maxCto, count, asked] : rows) {
        startsAnew();
        cfg.maxCto = maxCto;
        std::array<std::uint8_t, 64> destination{};
        task().shortUpload(0, 0, destination.data(), count, 1);
        EXPECT_EQ(ecu.sent().at(0).data[1], asked);
    }
}

TEST_F(XcpUpload, RefusedShortUploadIsRepeatedAndThenAFailure) {
    cfg.xcp.retryCount = 1;
    std::array<std::uint8_t, 64> destination{};
    ecu.answers("f4 ..", {"fe 24 11 22"});
    EXPECT_EQ(task().shortUpload(0, 0, destination.data(), 2, 1), 1U);
    EXPECT_EQ(sent().size(), 2U);
    EXPECT_EQ(destination[0], 0);
}

TEST_F(XcpTransfer, DownloadFrame) {
    forms(&XcpTaskTransmit::fillDownloadFrame, {{8, 3, 1, 3, "f0 03 01 02 03"},
                                                {8, 10, 1, 6, "f0 06 01 02 03 04 05 06"},
                                                {8, 10, 0, 6, "f0 06 01 02 03 04 05 06"},
                                                {8, 5, 2, 5, "f0 05 01 02 03 04 05"},
                                                {8, 10, 4, 4, "f0 04 00 00 01 02 03 04"},
                                                {8, 3, 3, 1, "f0 01 00 00 01"},
                                                {8, 2, 3, 0, "f0 00 00 00"},
                                                {8, 1, 4, 0, "f0 00 00"},
                                                {8, 0, 255, 0, "f0 00"},
                                                {8, 0, 1, 0, "f0 00"},
                                                {2, 5, 1, 0, "f0 00"},
                                                {1, 5, 1, 0, ""},
                                                {0, 5, 1, 0, ""}});
}

TEST_F(XcpTransfer, BlockFrame) {
    forms(&XcpTaskTransmit::fillBlockFrame, {{8, 20, 1, 6, "f0 14 01 02 03 04 05 06"},
                                             {8, 3, 0, 3, "f0 03 01 02 03"},
                                             {8, 5, 2, 4, "f0 03 01 02 03 04 00"},
                                             {8, 4, 2, 4, "f0 02 01 02 03 04"},
                                             {8, 10, 4, 4, "f0 03 00 00 01 02 03 04"},
                                             {8, 10, 3, 3, "f0 04 00 01 02 03 00 00"},
                                             {8, 1, 2, 0, "f0 01 00"},
                                             {8, 1, 4, 0, "f0 01 00"},
                                             {8, 10, 255, 0, "f0 01 00 00 00 00 00 00"},
                                             {8, 0, 1, 0, "f0 00"},
                                             {1, 5, 1, 0, "f0"},
                                             {0, 5, 1, 0, ""}});
}

TEST_F(XcpTransfer, LongestFrame) {
    struct Row {
        std::uint8_t maxCto, granularity, placed;
        const char* frame;
    };
    for (const Row& row : std::vector<Row>{{8, 0, 7, "00 01 02 03 04 05 06 07"},
                                           {8, 1, 7, "00 01 02 03 04 05 06 07"},
                                           {8, 2, 6, "00 00 01 02 03 04 05 06"},
                                           {8, 3, 5, "00 00 00 01 02 03 04 05"},
                                           {8, 255, 5, "00 00 00 01 02 03 04 05"},
                                           {2, 2, 0, "00 00"},
                                           {2, 4, 0, "00 00"},
                                           {0, 1, 0, ""}}) {
        startsAnew();
        cfg.maxCto = row.maxCto;
        msgBuf frame;
        EXPECT_EQ(task().fillMaxFrame(frame, m_source.data(), row.granularity), row.placed);
        EXPECT_EQ(support::hexText(frame.data.data(), frame.length), row.frame);
    }
}

TEST_F(XcpTransfer, FramesHoldAtMost64BytesWhateverMaxCtoSays) {
    cfg.maxCto = 255;
    msgBuf frame;
    EXPECT_EQ(task().fillDownloadFrame(frame, m_source.data(), 255, 1), 62);
    EXPECT_EQ(frame.length, 64);
    EXPECT_EQ(frame.data[1], 62);
    EXPECT_EQ(task().fillBlockFrame(frame, m_source.data(), 255, 1), 62);
    EXPECT_EQ(frame.length, 64);
    EXPECT_EQ(frame.data[1], 255);
    EXPECT_EQ(task().fillBlockFrame(frame, m_source.data(), 255, 4), 60);
    EXPECT_EQ(frame.data[1], 64);
    EXPECT_EQ(task().fillMaxFrame(frame, m_source.data(), 1), 63);
    EXPECT_EQ(frame.length, 64);
    EXPECT_EQ(task().m_cfg.maxCto, 255);
}

TEST_F(XcpTransfer, PlainTransfersHaveAResponsePerFrame) {
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadPlain, 10), 10);
    EXPECT_EQ(sent(), Texts({"f0 06 01 02 03 04 05 06", "f0 04 07 08 09 0a"}));
    EXPECT_EQ(sends(&XcpTaskTransmit::programPlain, 10, 2), 10);
    EXPECT_EQ(sent(), Texts({"d0 06 01 02 03 04 05 06", "d0 04 07 08 09 0a"}));
}

TEST_F(XcpTransfer, RefusedFrameOfAPlainTransferIsCounted) {
    ecu.answers("f0 ..", {"fe 24"});
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadPlain, 10), 6);
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadPlain, 3), 3);
    EXPECT_EQ(sent().size(), 2U);
    ecu.answers("d0 04 ..", {"fe 24"});
    EXPECT_EQ(sends(&XcpTaskTransmit::programPlain, 10), 10);
}

TEST_F(XcpTransfer, PlainTransferIsRepeated) {
    cfg.xcp.retryCount = 1;
    ecu.answersOnce("f0 ..", {"fe 24"});
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadPlain, 3), 3);
    EXPECT_EQ(sent(), Texts({"f0 03 01 02 03", "f0 03 01 02 03"}));
}

// A granularity above 2 takes two header bytes that the length does not allow for.
TEST_F(XcpTransfer, LastTwoBytesOfAWideGranularityFindNoRoom) {
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadPlain, 10, 4), 8);
    EXPECT_EQ(sent(), Texts({"f0 04 00 00 01 02 03 04", "f0 04 00 00 05 06 07 08"}));
    EXPECT_EQ(sends(&XcpTaskTransmit::programPlain, 2, 255), 0);
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpTransfer, BlockTransfersHaveOneResponseAtTheEnd) {
    ecu.answersByDefault({});
    ecu.answers("?? 02 13 14", {"ff"});
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadBlock, 20), 20);
    EXPECT_EQ(sent(), Texts({"f0 14 01 02 03 04 05 06", "ef 0e 07 08 09 0a 0b 0c", "ef 08 0d 0e 0f 10 11 12",
                             "ef 02 13 14"}));
    EXPECT_EQ(sends(&XcpTaskTransmit::programBlock, 20), 20);
    EXPECT_EQ(sent(), Texts({"d0 14 01 02 03 04 05 06", "ef 0e 07 08 09 0a 0b 0c", "ef 08 0d 0e 0f 10 11 12",
                             "ef 02 13 14"}));
    EXPECT_EQ(sends(&XcpTaskTransmit::programBlockNext, 20), 20);
    EXPECT_EQ(sent(), Texts({"d0 14 01 02 03 04 05 06", "ca 0e 07 08 09 0a 0b 0c", "ca 08 0d 0e 0f 10 11 12",
                             "ca 02 13 14"}));
}

TEST_F(XcpTransfer, BlockTransfersOfElements) {
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadBlock, 10, 2), 10);
    EXPECT_EQ(sent(), Texts({"f0 05 01 02 03 04 05 06", "ef 02 07 08 09 0a"}));
    EXPECT_EQ(sends(&XcpTaskTransmit::programBlockNext, 10, 2), 10);
    EXPECT_EQ(sent(), Texts({"d0 0a 01 02 03 04 05 06", "ca 02 07 08 09 0a"}));
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadBlock, 5, 2), 4);
    EXPECT_EQ(sent(), Texts{"f0 03 01 02 03 04 00"});
}

TEST_F(XcpTransfer, RefusedOrUnansweredBlockSentNothing) {
    cfg.xcp.t1 = cfg.xcp.t5 = 3;
    for (const Send send : {Send{&XcpTaskTransmit::downloadBlock}, Send{&XcpTaskTransmit::programBlock},
                            Send{&XcpTaskTransmit::programBlockNext}}) {
        ecu.answers("..", {"fe 24"});
        EXPECT_EQ(sends(send, 10), 0);
        ecu.answers("..", {});
        EXPECT_EQ(sends(send, 10), 0);
        EXPECT_EQ(sent().size(), 4U);
        EXPECT_FALSE(task().m_linkLost);
        EXPECT_EQ(task().m_lastStatus, 0U);
    }
}

TEST_F(XcpTransfer, BlockOfNoBytesSendsNothing) {
    for (const Send send : {Send{&XcpTaskTransmit::downloadBlock}, Send{&XcpTaskTransmit::programBlock},
                            Send{&XcpTaskTransmit::programBlockNext}, Send{&XcpTaskTransmit::downloadPlain},
                            Send{&XcpTaskTransmit::programPlain}}) {
        EXPECT_EQ((task().*send)(nullptr, 0, 1), 0);
    }
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpTransfer, BlockWaitsTheTimeOfItsLastFrame) {
    cfg.xcp.t1 = 0;
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadBlock, 3), 0);
    EXPECT_EQ(sends(&XcpTaskTransmit::programBlock, 10), 0);
    EXPECT_EQ(sends(&XcpTaskTransmit::programBlock, 3), 3);
    EXPECT_EQ(sends(&XcpTaskTransmit::programBlockNext, 10), 10);
}

// The fifth byte fills no element: no frame carries it, and the answer is that to the frame before.
TEST_F(XcpTransfer, BlockWithARemainderWaitsTheTimeOfTheLastFrameThatWasSent) {
    cfg.xcp.t1 = 0;
    EXPECT_EQ(sends(&XcpTaskTransmit::programBlock, 5, 2), 4);
}

TEST_F(XcpTransfer, DownloadBlockKeepsMinSt) {
    cfg.xcp.minSt = 7;
    task();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadBlock, 30), 30);
    const std::vector<support::SentFrame> frames = ecu.sent();
    ASSERT_EQ(frames.size(), 5U);
    EXPECT_GE(frames[0].moment - begin, std::chrono::microseconds(700)) << "the call counts as a frame";
    for (std::size_t i = 1; i < frames.size(); ++i) {
        EXPECT_GE(frames[i].moment - frames[i - 1].moment, std::chrono::microseconds(700));
    }
}

// The frames that are still due would go out when the stop is over, to an ECU that has lost some of the
// block.
TEST_F(XcpTransfer, PacedBlockEndsAtAStop) {
    cfg.xcp.minSt = 1;
    host.onEvent([](const std::string& entry) {
        if (entry.starts_with("snd f0")) {
            stopFlag().setStopTransmit(true);
        }
    });
    EXPECT_EQ(sends(&XcpTaskTransmit::downloadBlock, 30), 0);
    stopFlag().setStopTransmit(false);
    EXPECT_EQ(sent(), Texts{"f0 1e 01 02 03 04 05 06"});
    EXPECT_TRUE(host.logTexts(3).empty());
}

TEST_F(XcpTransfer, NoConfigurationMakesATransferLeaveItsRecords) {
    cfg.xcp.t1 = cfg.xcp.t5 = 1;
    for (const std::uint8_t maxCto : Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 63, 64, 65, 255}) {
        for (const std::uint8_t granularity : Bytes{0, 1, 2, 3, 4, 63, 64, 255}) {
            startsAnew();
            cfg.maxCto = maxCto;
            cfg.padFrames = maxCto & 1;
            for (const std::uint8_t count : Bytes{0, 1, 2, 3, 7, 255}) {
                const Bytes source(count);
                for (const Send send :
                     {Send{&XcpTaskTransmit::downloadPlain}, Send{&XcpTaskTransmit::programPlain},
                      Send{&XcpTaskTransmit::downloadBlock}, Send{&XcpTaskTransmit::programBlock},
                      Send{&XcpTaskTransmit::programBlockNext}}) {
                    EXPECT_LE((task().*send)(source.data(), count, granularity), count);
                }
                uploads(count, granularity);
            }
            for (const support::SentFrame& frame : ecu.sent()) {
                ASSERT_LE(frame.data.size(), 64U);
            }
        }
    }
}
