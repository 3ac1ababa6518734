// Sending, waiting and repeating.
#include "tests/xcp/XcpTestSupport.h"
#include "transport/StopFlag.h"

#include <array>
#include <thread>

using namespace xcp_test;
using XCP_MOUDLE::XcpProtoTransmit;

namespace {

msgBuf request(const std::string& hex) {
    const std::vector<std::uint8_t> data = support::bytes(hex);
    msgBuf made;
    made.length = static_cast<std::uint16_t>(data.size());
    std::copy(data.begin(), data.end(), made.data.begin());
    return made;
}

class XcpExchange : public XcpTest {
protected:
    void TearDown() override { stopFlag().setStopTransmit(false); }

    bool exchanges(const std::string& hex) {
        msgBuf asked = request(hex);
        return task().exchange(asked, response);
    }

    msgBuf response;
};

/// A host that notes the calls of its functions in one list.
struct CallOrder {
    static CallBackFuns callBacks() {
        calls.clear();
        CallBackFuns table;
        table.logFuns = {
            [](std::uint32_t, std::uint64_t, const std::string& text) { calls.push_back(text); }};
        table.msgDecodeFun = [](std::uint64_t, mcDecodeMsg message) {
            calls.push_back(message.name);
            analysed = std::move(message);
        };
        table.sndFun = [](std::uint8_t, std::uint32_t, std::uint8_t, std::uint8_t, const std::uint8_t*) {
            calls.emplace_back("sent");
            return std::uint32_t{1};
        };
        return table;
    }

    static inline Texts calls;
    static inline mcDecodeMsg analysed;
};

using XcpSend = XcpExchange;
using XcpReceive = XcpExchange;

}  // namespace

TEST_F(XcpSend, LengthAndBytesSentFollowPaddingAndCapacity) {
    struct Row {
        std::uint8_t pad, maxCto, fd;
        const char* frame;
        const char* onTheBus;
    };
    const std::vector<Row> rows = {
        {0, 8, 0, "fe", "fe"},
        {0, 8, 1, "ff 00", "ff 00"},
        {1, 8, 0, "ff 00", "ff 00 aa aa aa aa aa aa"},
        {1, 8, 1, "ff 00", "ff 00 aa aa aa aa aa aa"},
        {1, 12, 0, "ff 00", "ff 00 aa aa aa aa aa aa"},
        {1, 12, 1, "ff 00", "ff 00 aa aa aa aa aa aa aa aa aa aa"},
        {1, 4, 0, "f6 00 00 05 44 33 22 11", "f6 00 00 05"},
        {1, 0, 0, "ff 00", ""},
    };
    for (const Row& row : rows) {
        startsAnew();
        cfg.padFrames = row.pad;
        cfg.padByte = 0xAA;
        cfg.maxCto = row.maxCto;
        cfg.masterFd = row.fd;
        msgBuf frame = request(row.frame);
        task().sendFrame(frame);
        EXPECT_EQ(sent(), Texts{row.onTheBus});
        EXPECT_EQ(frame.length, request(row.frame).length);
    }
}

TEST_F(XcpSend, PaddingEndsAt64BytesWhateverMaxCtoSays) {
    cfg.padFrames = 1;
    cfg.masterFd = 1;
    cfg.maxCto = 255;
    msgBuf frame = request("fe");
    task().sendFrame(frame);
    EXPECT_EQ(ecu.sent().at(0).data.size(), 64U);
    EXPECT_EQ(task().m_cfg.maxCto, 255);
}

TEST_F(XcpSend, FlagsByteTellsIdentifierAndFormat) {
    for (std::uint8_t flags = 0; flags < 8; ++flags) {
        startsAnew();
        cfg.masterExtended = flags & 1 ? 5 : 0;
        cfg.masterFd = flags & 2 ? 1 : 0;
        cfg.masterBrs = flags & 4 ? 1 : 0;
        cfg.slaveExtended = cfg.slaveFd = cfg.slaveBrs = 1;
        task().cmdSynch();
        EXPECT_EQ(ecu.sent().at(0).flags, flags);
    }
}

TEST_F(XcpSend, FrameGetsIdentifierAndTime) {
    cfg.canIdMaster = 0x700;
    const support::ScriptedEcu other(host, {0, 0x700, 2});
    msgBuf frame = request("fc");
    task().sendFrame(frame);
    EXPECT_EQ(frame.id, 0x700U);
    EXPECT_GT(frame.time, 1'600'000'000'000'000U);
    EXPECT_EQ(other.sentFrames(), Texts{"fc"});
    EXPECT_EQ(host.sent().at(0).channel, 0);
}

TEST_F(XcpSend, FrameIsTracedThenAnalysedThenSent) {
    callBacks = CallOrder::callBacks();
    cfg.canIdMaster = 0x700;
    msgBuf frame = request("fc");
    EXPECT_EQ(task().sendFrame(frame), 1U);
    EXPECT_EQ(CallOrder::calls, Texts({"======>  SND DATA:[0xfc]", "CTO SYNCH", "sent"}));
    EXPECT_EQ(CallOrder::analysed.canId, 0x700U);
    EXPECT_GT(CallOrder::analysed.timestamp, 1'600'000'000'000'000U);
}

TEST_F(XcpSend, ResultOfTheHostIsHandedBack) {
    host.setSndResult(77);
    msgBuf frame = request("fc");
    EXPECT_EQ(task().sendFrame(frame), 77U);
}

TEST_F(XcpSend, WithoutAFunctionTheSendIsLoggedAndGivesZero) {
    callBacks.sndFun = nullptr;
    msgBuf frame = request("fc");
    EXPECT_EQ(task().sendFrame(frame), 0U);
    EXPECT_EQ(host.logTexts(3), Texts{"callback sndFun is nullptr or isStopTransmit"});
    EXPECT_TRUE(host.logTexts(0).empty());
}

TEST_F(XcpSend, StopFlagRefusesTheSend) {
    stopFlag().setStopTransmit(true);
    msgBuf frame = request("fc");
    EXPECT_EQ(task().sendFrame(frame), 0U);
    EXPECT_EQ(host.logTexts(3), Texts{"callback sndFun is nullptr or isStopTransmit"});
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpSend, RefusedFrameIsNotPadded) {
    cfg.padFrames = 1;
    cfg.padByte = 0xAA;
    for (const bool hasFunction : {true, false}) {
        startsAnew();
        stopFlag().setStopTransmit(hasFunction);
        callBacks.sndFun = hasFunction ? support::TestHost::callBacks().sndFun : nullptr;
        msgBuf frame = request("fc");
        EXPECT_EQ(task().sendFrame(frame), 0U);
        EXPECT_EQ(frame.data, request("fc").data);
        EXPECT_EQ(frame.length, 1);
        EXPECT_EQ(frame.id, 0U);
        EXPECT_EQ(frame.time, 0U);
    }
}

TEST_F(XcpSend, TraceShowsTheBytesThatGoOut) {
    cfg.padFrames = 1;
    cfg.padByte = 0xEE;
    ecu.answers("ff ..", {"ff 1d 00 08 08 00 01 01"});
    task().cmdConnect(0);
    EXPECT_EQ(host.logTexts(0),
              Texts({"======>  SND DATA:[0xff00eeeeeeeeeeee]", "======>  RCV DATA:[0xff1d000808000101]"}));
}

TEST_F(XcpSend, AnalyserSeesTheLengthWithoutPadding) {
    cfg.padFrames = 1;
    ecu.setHostTag(42);
    task().cmdConnect(0);
    const std::vector<support::Decoded> decoded = host.decoded();
    ASSERT_EQ(decoded.size(), 2U);
    EXPECT_EQ(decoded[0].hostTag, 0U);
    EXPECT_EQ(support::hexText(decoded[0].message.data), "ff 00");
    EXPECT_EQ(decoded[0].message.command, 0xFF);
    EXPECT_EQ(decoded[1].hostTag, 42U);
    EXPECT_EQ(decoded[1].message.data.size(), 8U);
}

TEST_F(XcpSend, OldResponsesAreDroppedAndDaqFramesStay) {
    task();
    ecu.sends("ff 11");
    ecu.sends("05 01");
    ecu.sends("fd 00");
    EXPECT_TRUE(exchanges("fc"));
    EXPECT_EQ(response.data[1], 0);
    ASSERT_EQ(task().m_frames.size(), 1U);
    EXPECT_EQ(task().m_frames[0].data[0], 5);
}

TEST_F(XcpReceive, StatusOfEachResponse) {
    struct Row {
        const char* frame;
        std::uint32_t status;
    };
    const std::vector<Row> rows = {{"ff", 256},    {"ff 20", 256},  {"fe", 256},    {"fe 00", 256},
                                   {"fe 01", 1},   {"fe 20", 32},   {"fe 11", 17},  {"fe fc", 252},
                                   {"fe ff", 255}, {"fe 10", 2304}, {"fe 12", 2304}};
    for (const Row& row : rows) {
        task();
        ecu.sends(row.frame);
        const msgBuf asked = request("fd");
        EXPECT_EQ(task().receiveResponse(asked, response, 20), row.status) << row.frame;
    }
}

TEST_F(XcpReceive, ErrorTextIsWrittenAsAWarning) {
    task();
    ecu.sends("fe 25");
    task().receiveResponse(request("fd"), response, 20);
    EXPECT_EQ(host.logTexts(3), Texts{"Access denied, Seed& Key is required"});
    EXPECT_EQ(host.logTexts(0), Texts{"======>  RCV DATA:[0xfe25]"});
    EXPECT_EQ(support::hexText(response.data.data(), response.length), "fe 25");
}

TEST_F(XcpReceive, TimeOutOfZeroDoesNotLookAtTheFrames) {
    task();
    ecu.sends("ff");
    response.length = 5;
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 0), 2304U);
    EXPECT_EQ(task().receiveResponse(request("fd"), response, -1), 2304U);
    EXPECT_EQ(response.length, 0);
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 20), 256U);
}

TEST_F(XcpReceive, SilenceLeavesAnEmptyResponse) {
    response.length = 5;
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 5), 2304U);
    EXPECT_EQ(response.length, 0);
    EXPECT_TRUE(host.logs().empty());
}

// Each frame ends the wait early; a wait that counted for its nominal length would be over at once.
TEST_F(XcpReceive, BusFullOfDaqFramesDoesNotShortenTheWait) {
    constexpr int kFlood = 3000;
    task();
    const std::jthread flood([this] {
        for (int i = 0; i < kFlood; ++i) {
            ecu.sends("05 01");
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        ecu.sends("ff 07");
    });
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 10000), 256U);
    EXPECT_EQ(response.data[1], 7);
}

TEST_F(XcpReceive, OtherFramesAreLeftWhereTheyAre) {
    cfg.xcp.daqListCanIds = {{0, 0x300}};
    task();
    for (const char* frame : {"05 01", "fd 05", "fc 00", "fb"}) {
        ecu.sends(frame);
    }
    ecu.sends("ff 01");
    ecu.sends("ff 02");
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 20), 256U);
    EXPECT_EQ(response.data[1], 1);
    EXPECT_EQ(task().m_frames.size(), 5U);
}

TEST_F(XcpReceive, FrameOfAListsOwnIdentifierIsNoResponse) {
    cfg.xcp.daqListCanIds = {{0, 0x300}};
    task();
    ecu.sendsOn(0x300, "ff 01");
    task().fetchFrames();
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 5), 2304U);
    ASSERT_EQ(task().m_frames.size(), 1U);
    EXPECT_EQ(task().m_frames.front().id, 0x300U);
}

TEST_F(XcpReceive, ResponseWithoutBytesIsTakenOutAndNotCounted) {
    task();
    msgBuf empty = request("ff");
    empty.id = 2;
    empty.length = 0;
    task().m_frames = {empty};
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 5), 2304U);
    EXPECT_TRUE(task().m_frames.empty());
    task().m_frames = {empty};
    ecu.sends("fe 22");
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 20), 0x22U);
}

TEST_F(XcpReceive, BusyAnswersStartT7AsOftenAsTheyCome) {
    cfg.xcp.t7 = 20;
    task();
    for (const char* frame : {"fe 10", "fe 12", "fe 10", "ff 07"}) {
        ecu.sends(frame);
    }
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 20), 256U);
    EXPECT_EQ(response.data[1], 7);
    EXPECT_TRUE(host.logTexts(3).empty());
    EXPECT_EQ(host.logTexts(0), Texts({"======>  RCV DATA:[0xfe10]", "======>  RCV DATA:[0xfe12]",
                                       "======>  RCV DATA:[0xfe10]", "======>  RCV DATA:[0xff07]"}));
    Texts analysed;
    for (const support::Decoded& one : host.decoded()) {
        analysed.push_back(support::hexText(one.message.data));
    }
    EXPECT_EQ(analysed, Texts({"fe 10", "fe 12", "fe 10", "ff 07"}));
}

// With the command's own minute the wait would not end.
TEST_F(XcpReceive, BusyAnswerAndThenSilenceEndsAfterT7) {
    cfg.xcp.t7 = 5;
    task();
    ecu.sends("fe 10");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 60'000), 2304U);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(50));
    EXPECT_EQ(response.length, 2);  // the busy answer, which stays
}

TEST_F(XcpReceive, AnswerOfAnotherThreadIsFound) {
    task();
    std::thread bus([this] { ecu.sends("ff 09"); });
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 30'000), 256U);
    bus.join();
    EXPECT_EQ(response.data[1], 9);
}

TEST_F(XcpReceive, EventDoesNotEndAWait) {
    task();
    ecu.sends("fd 05");
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 5), 2304U);
    ASSERT_EQ(task().m_frames.size(), 1U);
}

TEST_F(XcpReceive, StopFlagEndsTheWaitAsNoAnswer) {
    task();
    ecu.sends("ff");
    stopFlag().setStopTransmit(true);
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 30'000), 2304U);
}

TEST_F(XcpReceive, MoreThan2000FramesAreTrimmedWhileWaiting) {
    task().m_frames.assign(2001, [] {
        msgBuf dto = request("05");
        dto.id = 2;
        return dto;
    }());
    ecu.sends("ff");
    EXPECT_EQ(task().receiveResponse(request("fd"), response, 20), 256U);
    EXPECT_TRUE(task().m_frames.empty());
}

TEST_F(XcpExchange, PositiveResponseBecomesTheLast) {
    ecu.answers("fd", {"ff 11 22"});
    EXPECT_TRUE(exchanges("fd"));
    EXPECT_EQ(task().m_lastStatus, 256U);
    EXPECT_EQ(support::hexText(task().m_lastResponse.data.data(), task().m_lastResponse.length), "ff 11 22");
}

TEST_F(XcpExchange, WithoutALogFunctionFramesAreAnalysedAllTheSame) {
    callBacks.logFuns.clear();
    EXPECT_TRUE(exchanges("fd"));
    EXPECT_EQ(sent(), Texts{"fd"});
    EXPECT_EQ(host.decoded().size(), 2U);
    EXPECT_TRUE(host.logs().empty());
}

TEST_F(XcpExchange, DtoDuringAnExchangeStays) {
    ecu.answers("fd", {"05 01", "ff", "06 01"});
    EXPECT_TRUE(exchanges("fd"));
    task().fetchFrames();
    ASSERT_EQ(task().m_frames.size(), 2U);
    EXPECT_EQ(task().m_frames[1].data[0], 6);
}

TEST_F(XcpExchange, SilenceWithoutRetriesLosesTheLink) {
    ecu.isSilent();
    EXPECT_FALSE(exchanges("fd"));
    EXPECT_EQ(sent(), Texts{"fd"});
    EXPECT_TRUE(task().m_linkLost);
    EXPECT_EQ(task().m_lastStatus, 2304U);
}

TEST_F(XcpExchange, LostLinkSendsNothing) {
    task().m_linkLost = true;
    EXPECT_FALSE(exchanges("fd"));
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(host.logTexts(4), Texts{"连接已断开"});
}

TEST_F(XcpExchange, LogFunctionsHearOfALostLinkWithoutTheLock) {
    task().m_linkLost = true;
    int heard = 0;
    host.onEvent([&](const std::string& /*entry*/) {
        ++heard;
        EXPECT_TRUE(support::isFree(task().m_mutex));
    });
    std::uint32_t checksum = 0;
    std::array<std::uint8_t, XcpProtoTransmit::kFrameRoom> bytes{};
    task().cmdSynch();
    task().cmdGetStatus();
    task().cmdStartStopSynch(0);
    task().cmdBuildChecksum(8, checksum);
    task().shortUpload(0, 0, bytes.data(), 1, 1);
    task().cmdGetDaqEventInfo(1);
    EXPECT_EQ(heard, 6);
    host.onEvent({});
}

TEST_F(XcpExchange, TimeOutOfZeroMakesEveryCommandFail) {
    cfg.xcp.t1 = 0;
    EXPECT_FALSE(exchanges("fd"));
    EXPECT_TRUE(task().m_linkLost);
}

TEST_F(XcpExchange, EachCommandWaitsOnItsOwnTime) {
    struct Row {
        const char* frame;
        std::uint16_t XcpCfg::*time;
    };
    const std::array<std::uint16_t XcpCfg::*, 7> times = {&XcpCfg::t1, &XcpCfg::t2, &XcpCfg::t3, &XcpCfg::t4,
                                                          &XcpCfg::t5, &XcpCfg::t6, &XcpCfg::t7};
    const std::vector<Row> rows = {{"fd", &XcpCfg::t1},    {"ff 00", &XcpCfg::t1}, {"f3", &XcpCfg::t2},
                                   {"d2", &XcpCfg::t3},    {"d1", &XcpCfg::t4},    {"cf", &XcpCfg::t5},
                                   {"ff 01", &XcpCfg::t6}, {"fd 01", &XcpCfg::t1}};
    for (const Row& row : rows) {
        for (const auto time : times) {
            startsAnew();
            for (const auto other : times) {
                cfg.xcp.*other = 0;
            }
            cfg.xcp.*time = 20;
            EXPECT_EQ(exchanges(row.frame), time == row.time) << row.frame;
        }
    }
}

TEST_F(XcpExchange, SecondByteBehindAFrameOfOneByteHasNoPartInItsTime) {
    cfg.xcp.t6 = 0;
    msgBuf asked = request("ff 01");
    asked.length = 1;
    EXPECT_TRUE(task().exchange(asked, response));
}

TEST_F(XcpExchange, ErrorAsTheLastAnswerKeepsTheLink) {
    ecu.answers("fd", {"fe 20"});
    EXPECT_FALSE(exchanges("fd"));
    EXPECT_FALSE(task().m_linkLost);
    EXPECT_EQ(task().m_lastStatus, 0x20U);
}

TEST_F(XcpExchange, EachRetryCountHasItsNumberOfFrames) {
    for (const auto& [retries, frames] : std::map<int, std::size_t>{{0, 1}, {2, 3}, {-2, 1}, {5, 6}}) {
        startsAnew();
        cfg.xcp.retryCount = retries;
        cfg.xcp.t1 = 2;
        ecu.isSilent();
        EXPECT_FALSE(exchanges("fd"));
        EXPECT_EQ(sent().size(), frames) << retries;
    }
}

TEST_F(XcpExchange, ErrorIsRepeatedLikeSilence) {
    cfg.xcp.retryCount = 2;
    cfg.xcp.retryDelayMs = 1;
    ecu.answersInTurn("fd", {{"fe 20"}, {"fe 21"}, {"ff 05"}});
    EXPECT_TRUE(exchanges("fd"));
    EXPECT_EQ(sent(), Texts({"fd", "fd", "fd"}));
    EXPECT_EQ(response.data[1], 5);
    EXPECT_EQ(task().m_lastStatus, 256U);
    EXPECT_EQ(host.logTexts(3),
              Texts({"Unknown command or not implemented optional command.", "Command syntax invalid "}));
}

TEST_F(XcpExchange, ResponseOfARetryDoesNotBecomeTheLast) {
    cfg.xcp.retryCount = 1;
    ecu.answersOnce("fc", {"ff 01"});
    ecu.answersInTurn("fd", {{}, {"ff 02"}});
    EXPECT_TRUE(exchanges("fc"));
    EXPECT_TRUE(exchanges("fd"));
    EXPECT_EQ(response.data[1], 2);
    EXPECT_EQ(task().m_lastResponse.data[1], 1);
}

TEST_F(XcpExchange, LinkIsLostByTheLastAnswerAlone) {
    cfg.xcp.retryCount = 1;
    ecu.answersInTurn("fd", {{"fe 20"}, {}});
    EXPECT_FALSE(exchanges("fd"));
    EXPECT_TRUE(task().m_linkLost);
    startsAnew();
    ecu.answersInTurn("fd", {{}, {"fe 20"}});
    EXPECT_FALSE(exchanges("fd"));
    EXPECT_FALSE(task().m_linkLost);
}

TEST_F(XcpExchange, RetriesWithoutLimitEndWithTheStopFlagOnly) {
    cfg.xcp.retryCount = -1;
    cfg.xcp.t1 = 1;
    ecu.isSilent();
    task();
    std::thread stopper([this] {
        support::waitFor([this] { return ecu.count("fd") > 20; });
        stopFlag().setStopTransmit(true);
    });
    EXPECT_FALSE(exchanges("fd"));
    stopper.join();
    EXPECT_GT(ecu.count("fd"), 20U);
    EXPECT_TRUE(task().m_linkLost);
}

TEST_F(XcpExchange, StopFlagLeavesTheWaitBetweenRetries) {
    cfg.xcp.retryCount = 1;
    cfg.xcp.retryDelayMs = 3'600'000;
    cfg.xcp.t1 = 1;
    ecu.isSilent();
    task();
    std::thread stopper([this] {
        support::waitFor([this] { return ecu.count("fd") == 2; });
        stopFlag().setStopTransmit(true);
    });
    EXPECT_FALSE(exchanges("fd"));
    stopper.join();
}

TEST_F(XcpExchange, LastFailedRepeatIsFollowedByAPauseToo) {
    cfg.xcp.retryCount = 1;
    cfg.xcp.retryDelayMs = 30;
    ecu.answers("fd", {"fe 20"});
    EXPECT_FALSE(exchanges("fd"));
    const auto end = std::chrono::steady_clock::now();
    const std::vector<support::SentFrame> frames = ecu.sent();
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_GE(end - frames[1].moment, std::chrono::milliseconds(30));
}

TEST_F(XcpExchange, StopFlagCountsAsNoAnswerAndLosesTheLink) {
    cfg.xcp.retryCount = 3;
    stopFlag().setStopTransmit(true);
    EXPECT_FALSE(exchanges("fd"));
    EXPECT_EQ(task().m_lastStatus, 2304U);
    EXPECT_TRUE(task().m_linkLost);
    EXPECT_EQ(host.logTexts(3), Texts{"callback sndFun is nullptr or isStopTransmit"});
}

TEST_F(XcpExchange, LateAnswerThatHasArrivedIsDroppedByTheNextSend) {
    ecu.answersOnce("fd", {});
    EXPECT_FALSE(exchanges("fd"));
    ecu.sends("ff 11");
    task().m_linkLost = false;
    ecu.answers("fc", {"ff 22"});
    EXPECT_TRUE(exchanges("fc"));
    EXPECT_EQ(response.data[1], 0x22);
}

TEST_F(XcpExchange, LateAnswerThatComesBehindTheNextSendAnswersIt) {
    ecu.answers("fc", {"ff 11", "ff 22"});
    EXPECT_TRUE(exchanges("fc"));
    EXPECT_EQ(response.data[1], 0x11);
}

TEST_F(XcpExchange, TwoThreadsNeverMixTheirFrames) {
    ecu.answersBy("f6 ..", [](const std::string& frame) { return Texts{"ff " + frame.substr(12)}; });
    cfg.xcp.t1 = 30'000;
    const auto run = [this](const char* frame, std::uint8_t expected) {
        for (int i = 0; i < 50; ++i) {
            msgBuf asked = request(frame);
            msgBuf answer;
            EXPECT_TRUE(task().exchange(asked, answer));
            EXPECT_EQ(answer.data[1], expected);
        }
    };
    task();
    std::thread poller([&] { run("f6 00 00 00 01 00 00 00", 1); });
    run("f6 00 00 00 02 00 00 00", 2);
    poller.join();
}
