// Counter, sending, waiting, status classes and repeats.
#include "tests/ccp/CcpTestSupport.h"
#include "transport/StopFlag.h"

#include <chrono>
#include <thread>

using namespace ccp_test;
using CCP_MOUDLE::CcpProtoTransmit;
using CCP_MOUDLE::StatusClass;

namespace {

class CcpExchange : public CcpTest {
protected:
    void TearDown() override { stopFlag().setStopTransmit(false); }

    /// Sends GET_S_STATUS. @return 0 for success
    std::uint32_t asks() {
        std::uint8_t status = 0;
        return task().cmdGetSStatus(status);
    }

    std::size_t attempts() const { return ecu.count("0d .."); }
};

/// Everything that the host is told of one command, log lines of level 0 and analysed frames among them.
class CcpExchangeOrder : public CcpExchange {
protected:
    CcpExchangeOrder() {
        told().clear();
        callBacks.logFuns = {[](std::uint32_t level, std::uint64_t, const std::string& text) {
            told().push_back("log " + std::to_string(level) + " " + text);
        }};
        callBacks.msgDecodeFun = [](std::uint64_t, mcDecodeMsg message) {
            told().push_back("decode " + message.name);
        };
        host.onEvent([](const std::string& entry) { told().push_back(entry); });
    }

    static Texts& told() {
        static Texts entries;
        return entries;
    }
};

std::string answerWith(std::uint8_t code) {
    return "ff " + support::hexText({code}) + " @1";
}

}  // namespace

TEST_F(CcpExchange, CounterOfTheFirstCommandIsZeroAndWrapsBehind255) {
    for (int i = 0; i < 258; ++i) {
        ASSERT_EQ(asks(), 0U);
    }
    const Texts frames = ecu.sentFrames();
    EXPECT_EQ(frames[0], "0d 00");
    EXPECT_EQ(frames[255], "0d ff");
    EXPECT_EQ(frames[256], "0d 00");
}

TEST_F(CcpExchange, CounterIsNotResetByAConnect) {
    asks();
    task().connect();
    EXPECT_TRUE(ecu.showed("01 01 01 00"));
}

TEST_F(CcpExchange, PaddingFillsUpToMaxCtoWithZerosWhateverThePadByte) {
    cfg.padFrames = 1;
    cfg.padByte = 0xAA;
    asks();
    EXPECT_EQ(ecu.sentFrames(), Texts{"0d 00 00 00 00 00 00 00"});
    EXPECT_EQ(host.logTexts(0).front(), "=====>  SND DATA:[0x0d00]");
}

TEST_F(CcpExchange, PaddingSendsALongerFrameOnlyUpToMaxCto) {
    cfg.padFrames = 1;
    cfg.maxCto = 4;
    task().cmdSetMta(0x11223344, 5);
    EXPECT_EQ(ecu.sentFrames(), Texts{"02 00 00 05"});
    EXPECT_EQ(host.logTexts(0).front(), "=====>  SND DATA:[0x0200000544332211]");
}

TEST_F(CcpExchange, TraceHasFiveEqualSignsAndTheResponseAsItCame) {
    ecu.answers("0d ..", {"ff 00 @1 83"});
    asks();
    EXPECT_EQ(host.logTexts(0), (Texts{"=====>  SND DATA:[0x0d00]", "=====>  RCV DATA:[0xff000083]"}));
}

/// A frame is analysed ahead of its sending, so that a trace shows it above an answer from within the send.
TEST_F(CcpExchangeOrder, FrameIsTracedAnalysedAndSentAndItsErrorTracedAnalysedAndNamed) {
    ecu.answers("0d ..", {"ff 33"});
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(told(),
              (Texts{"log 0 =====>  SND DATA:[0x0d00]", "decode CTO GET_S_STATUS", "snd 0d 00",
                     "log 0 =====>  RCV DATA:[0xff33]", "decode RES GET_S_STATUS", "log 3 Access denied"}));
}

TEST_F(CcpExchange, PositiveResponseWithAWrongCounterIsIgnoredAndStaysUntilTheNextSend) {
    ecu.answers("0d ..", {"ff 00 77"});
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(task().m_lastStatus, 128U);
    ASSERT_EQ(task().m_frames.size(), 1U);
    task().dropStaleResponses();
    EXPECT_TRUE(task().m_frames.empty());
}

TEST_F(CcpExchange, ErrorResponseCountsWhateverItsCounter) {
    ecu.answers("0d ..", {"ff 33 77"});
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(task().m_lastStatus, 0x33U);
    EXPECT_EQ(host.logTexts(3), Texts{"Access denied"});
}

TEST_F(CcpExchange, ResponseOfLengthOneNeverMatches) {
    ecu.answers("0d ..", {"ff"});
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(task().m_lastStatus, 128U);
}

TEST_F(CcpExchange, TimeOutOfZeroDoesNotLookAtTheFrames) {
    task();
    ecu.sends("ff 00 00");
    msgBuf request;
    msgBuf response;
    for (const std::int32_t timeoutMs : {0, -1}) {
        response.length = 5;
        EXPECT_EQ(task().receiveResponse(request, response, timeoutMs), 128U);
        EXPECT_EQ(response.length, 0);
    }
    EXPECT_EQ(task().receiveResponse(request, response, 20), 0U);
    EXPECT_EQ(response.length, 3);
}

TEST_F(CcpExchange, FrameOfAListsOwnIdentifierIsNoResponse) {
    cfg.ccp.daqLists[0].canId = 0x300;
    task();
    ecu.sendsOn(0x300, "ff 00 00");
    task().fetchFrames();
    msgBuf response;
    EXPECT_EQ(task().receiveResponse(msgBuf{}, response, 5), 128U);
    ASSERT_EQ(task().m_frames.size(), 1U);
    EXPECT_EQ(task().m_frames.front().id, 0x300U);
}

TEST_F(CcpExchange, DaqFrameThatArrivesMeanwhileStays) {
    ecu.answers("0d ..", {"05 11 22", "ff 00 @1"});
    EXPECT_EQ(asks(), 0U);
    ASSERT_EQ(task().m_frames.size(), 1U);
    EXPECT_EQ(task().m_frames[0].data[0], 5);
}

TEST_F(CcpExchange, StatusClassOfEveryCode) {
    const std::vector<std::uint32_t> busy = {0x10, 0x11, 0x12, 0x18, 0x19};
    const std::vector<std::uint32_t> request = {0x20, 0x21, 0x22, 0x23};
    const std::vector<std::uint32_t> refused = {0x30, 0x32, 0x33, 0x34, 0x35, 0x36, 0x80};
    const auto holds = [](const std::vector<std::uint32_t>& codes, std::uint32_t code) {
        return std::find(codes.begin(), codes.end(), code) != codes.end();
    };
    for (std::uint32_t code = 0; code < 0x300; ++code) {
        const StatusClass expected = code == 0              ? StatusClass::kDone
                                     : holds(busy, code)    ? StatusClass::kBusy
                                     : holds(request, code) ? StatusClass::kRequest
                                     : holds(refused, code) ? StatusClass::kRefused
                                                            : StatusClass::kWarning;
        EXPECT_EQ(CcpProtoTransmit::statusClass(code), expected) << code;
    }
}

TEST_F(CcpExchange, RepeatsFollowTheClassOfTheFirstStatus) {
    struct Row {
        std::uint8_t code;
        std::int32_t retryCount;
        std::size_t attempts;
        std::uint32_t failed;
        bool lost;
    };
    const std::vector<Row> rows = {
        {0x01, 5, 1, 0, false}, {0x31, 5, 1, 0, false}, {0x10, 0, 3, 1, false}, {0x19, 9, 3, 1, false},
        {0x20, 0, 2, 1, false}, {0x23, 9, 2, 1, false}, {0x30, 0, 1, 1, true},  {0x35, 2, 3, 1, true},
        {0x36, -1, 1, 1, true}, {0x33, -7, 1, 1, true},
    };
    for (const Row& row : rows) {
        startsAnew();
        cfg.ccp.retryCount = row.retryCount;
        ecu.answers("0d ..", {answerWith(row.code)});
        EXPECT_EQ(asks(), row.failed) << int{row.code};
        EXPECT_EQ(attempts(), row.attempts) << int{row.code};
        EXPECT_EQ(task().m_linkLost, row.lost) << int{row.code};
        EXPECT_EQ(task().m_lastStatus, row.code);
    }
}

TEST_F(CcpExchange, RepeatsKeepTheCounter) {
    ecu.answers("0d ..", {"ff 10 @1"});
    asks();
    EXPECT_EQ(ecu.sentFrames(), (Texts{"0d 00", "0d 00", "0d 00"}));
}

TEST_F(CcpExchange, LinkThatARepeatWonBackStaysLost) {
    cfg.ccp.retryCount = 1;
    ecu.answersInTurn("0d ..", {{}, {"ff 00 @1"}});
    EXPECT_EQ(asks(), 0U);
    EXPECT_TRUE(task().m_linkLost);
    ecu.clearSent();
    EXPECT_EQ(asks(), 1U);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(task().m_lastStatus, 0U);
}

TEST_F(CcpExchange, CommandRefusedOnALostLinkUsesUpItsCounter) {
    EXPECT_EQ(asks(), 0U);
    task().m_linkLost = true;
    EXPECT_EQ(asks(), 1U);
    task().m_linkLost = false;
    EXPECT_EQ(asks(), 0U);
    EXPECT_EQ(ecu.sentFrames(), (Texts{"0d 00", "0d 02"}));
}

TEST_F(CcpExchange, LinkIsLostAheadOfTheFirstRepeat) {
    cfg.ccp.retryCount = 1;
    ecu.answers("0d ..", {"ff 33 @1"});
    std::vector<bool> lost;
    host.onEvent([&](const std::string& entry) {
        if (entry == "snd 0d 00") {
            lost.push_back(task().m_linkLost);
        }
    });
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(lost, (std::vector<bool>{false, true}));
}

TEST_F(CcpExchange, FailedRepeatIsFollowedByThePauseAndAStopInItIsTheEnd) {
    cfg.ccp.retryCount = 2;
    cfg.ccp.retryDelayMs = 3'600'000;
    ecu.answers("0d ..", {"ff 33 @1"});
    task();
    std::thread stopper([this] {
        // Frame 2 is refused at once; a frame 3 that waits for nothing comes right behind it.
        EXPECT_TRUE(support::waitFor([this] { return attempts() >= 2; }));
        EXPECT_FALSE(support::waitFor([this] { return attempts() > 2; }, std::chrono::milliseconds(50)));
        stopFlag().setStopTransmit(true);
    });
    EXPECT_EQ(asks(), 1U);
    stopper.join();
    EXPECT_EQ(attempts(), 2U);
    EXPECT_EQ(task().m_lastStatus, 0x33U);
}

TEST_F(CcpExchange, LastFailedRepeatIsFollowedByThePauseToo) {
    cfg.ccp.retryCount = 1;
    cfg.ccp.retryDelayMs = 30;
    ecu.answers("0d ..", {"ff 33 @1"});
    EXPECT_EQ(asks(), 1U);
    const auto end = std::chrono::steady_clock::now();
    ASSERT_EQ(attempts(), 2U);
    EXPECT_GE(end - ecu.sent().back().moment, std::chrono::milliseconds(30));
}

TEST_F(CcpExchange, FirstClassSetsTheBudgetEvenIfALaterStatusHasAnother) {
    ecu.answersInTurn("0d ..", {{"ff 10 @1"}, {"ff 33 @1"}, {"ff 33 @1"}});
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(attempts(), 3U);
    EXPECT_FALSE(task().m_linkLost);
}

TEST_F(CcpExchange, TimeoutWithoutRetriesMarksTheLinkLost) {
    ecu.isSilent();
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(attempts(), 1U);
    EXPECT_TRUE(task().m_linkLost);
}

TEST_F(CcpExchange, StopFlagRefusesTheSendWithItsLine) {
    stopFlag().setStopTransmit(true);
    EXPECT_EQ(asks(), 1U);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(host.logTexts(3), Texts{"callback sndFun is nullptr or isStopTransmit"});
    EXPECT_EQ(task().m_lastStatus, 128U);
}

TEST_F(CcpExchange, TimeoutsByCommandUnlessOneIsConfigured) {
    cfg.ccp.timeoutMs = 0;
    for (int code = 0; code < 256; ++code) {
        const std::int32_t expected = code == 0x0E || code == 0x10 || code == 0x19 ? 30000
                                      : code == 0x18 || code == 0x22               ? 100
                                      : code == 0x20                               ? 500
                                      : code == 0x21                               ? 5000
                                                                                   : 25;
        EXPECT_EQ(task().commandTimeout(static_cast<std::uint8_t>(code)), expected) << code;
    }
    task().m_cfg.ccp.timeoutMs = 5;
    EXPECT_EQ(task().commandTimeout(0x10), 5);
}

namespace {

/// No time-out is configured: each command waits as long as it may take.
class CcpOwnTimes : public CcpExchange {
protected:
    CcpOwnTimes() { cfg.ccp.timeoutMs = 0; }

    /// @return for how long the frame sent last has been out
    std::chrono::steady_clock::duration waited() const {
        return std::chrono::steady_clock::now() - ecu.sent().back().moment;
    }

    /// Runs @p command, which the ECU answers when it has been out for 50 ms. @return what it returned
    template <typename Command>
    std::uint32_t answeredLate(const Command& command) {
        ecu.isSilent();
        task();
        std::thread answering([this] {
            EXPECT_TRUE(support::waitFor(
                [this] { return !ecu.sentFrames().empty() && waited() >= std::chrono::milliseconds(50); }));
            ecu.sends("ff 00 00 04 11 22 33 44");
        });
        const std::uint32_t result = command();
        answering.join();
        return result;
    }
};

}  // namespace

TEST_F(CcpOwnTimes, SilenceToProgramAndProgram6IsHeldOutForATenthOfASecond) {
    constexpr std::chrono::milliseconds kTenth{99};  // less than one left counts as over
    ecu.isSilent();
    const std::vector<std::uint8_t> data = support::countingBytes(6);
    EXPECT_EQ(task().cmdProgram(data.data(), 2), 1U);
    EXPECT_GE(waited(), kTenth);
    task().m_linkLost = false;
    task().cmdProgram6(data.data());
    EXPECT_GE(waited(), kTenth);
    EXPECT_EQ(ecu.sentFrames().size(), 2U);
}

TEST_F(CcpOwnTimes, ChecksumThatTakesItsTimeIsTaken) {
    std::array<std::uint8_t, 4> checksum{};
    std::uint8_t capacity = 4;
    EXPECT_EQ(answeredLate([&] { return task().cmdBuildChksum(16, checksum.data(), capacity); }), 0U);
    EXPECT_EQ(checksum, (std::array<std::uint8_t, 4>{0x11, 0x22, 0x33, 0x44}));
}

TEST_F(CcpOwnTimes, ClearingThatTakesItsTimeIsTaken) {
    EXPECT_EQ(answeredLate([&] { return task().cmdClearMemory(16); }), 0U);
}

TEST_F(CcpOwnTimes, MoveThatTakesItsTimeIsTaken) {
    EXPECT_EQ(answeredLate([&] { return task().cmdMove(16); }), 0U);
}

/// UPLOAD is one of the quick commands, and not one of those that may take half a minute.
TEST_F(CcpOwnTimes, SilenceToUploadIsNotHeldOutForLong) {
    ecu.isSilent();
    std::array<std::uint8_t, 4> read{};
    EXPECT_EQ(task().uploadBlock(read.data(), 4), 0U);
    EXPECT_LT(waited(), std::chrono::seconds(15));
}
