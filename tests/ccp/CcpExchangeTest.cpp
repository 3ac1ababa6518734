// Counter, sending, waiting, status classes and repeats.
#include "tests/ccp/CcpTestSupport.h"
#include "transport/StopFlag.h"

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

TEST_F(CcpExchange, TraceHasFiveEqualSignsAndTheResponseAsItCame) {
    ecu.answers("0d ..", {"ff 00 @1 83"});
    asks();
    EXPECT_EQ(host.logTexts(0), (Texts{"=====>  SND DATA:[0x0d00]", "=====>  RCV DATA:[0xff000083]"}));
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
