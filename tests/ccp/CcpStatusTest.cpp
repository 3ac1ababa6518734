// Every status with every retry count, what ends repeating early, and how blocks and frames leave.
#include "tests/ccp/CcpTestSupport.h"
#include "transport/StopFlag.h"

#include <array>

using namespace ccp_test;

namespace {

constexpr std::array<std::int32_t, 5> kRetryCounts = {-5, -1, 0, 1, 3};

/// What a status makes of a command.
struct Class {
    std::vector<std::uint8_t> codes;
    bool done;                                              ///< counts as success
    bool latches;                                           ///< ends the link
    std::array<std::size_t, kRetryCounts.size()> attempts;  ///< by retry count
};

const std::vector<Class>& classes() {
    static const std::vector<Class> rows = {
        {{0x01, 0x02, 0x13, 0x1A, 0x24, 0x31, 0x37, 0x7F, 0x81, 0xFF}, true, false, {1, 1, 1, 1, 1}},
        {{0x10, 0x11, 0x12, 0x18, 0x19}, false, false, {3, 3, 3, 3, 3}},
        {{0x20, 0x21, 0x22, 0x23}, false, false, {2, 2, 2, 2, 2}},
        {{0x30, 0x32, 0x33, 0x34, 0x35, 0x36, 0x80}, false, true, {1, 1, 1, 2, 4}},
    };
    return rows;
}

class CcpStatus : public CcpTest {
protected:
    CcpStatus() { cfg.ccp.timeoutMs = 500; }
    void TearDown() override { stopFlag().setStopTransmit(false); }

    std::uint32_t asks() {
        std::uint8_t status = 0;
        return task().cmdGetSStatus(status);
    }

    /// Answers all but the last of @p attempts with @p code, and the last positively.
    void answersPositivelyAt(std::uint8_t code, std::size_t attempts) {
        std::vector<Texts> turns(attempts - 1, Texts{answer(code)});
        turns.push_back({"ff 00 @1"});
        ecu.answersInTurn("0d ..", turns);
    }

    static std::string answer(std::uint8_t code) { return "ff " + support::hexText({code}) + " @1"; }

    /// Raises the stop flag while the frame of that number, counted from 1, is being sent.
    void stopsAtFrame(std::size_t number) {
        host.onEvent([number, this](const std::string& entry) {
            if (entry.starts_with("snd") && ++m_sentFrames == number) {
                stopFlag().setStopTransmit(true);
            }
        });
    }

private:
    std::size_t m_sentFrames = 0;
};

}  // namespace

TEST_F(CcpStatus, OfEachCodeHasItsAttemptsWithEachRetryCount) {
    for (const Class& row : classes()) {
        for (std::size_t i = 0; i < kRetryCounts.size(); ++i) {
            for (const std::uint8_t code : row.codes) {
                SCOPED_TRACE(testing::Message() << int{code} << " with " << kRetryCounts[i]);
                startsAnew();
                cfg.ccp.retryCount = kRetryCounts[i];
                ecu.answers("0d ..", {answer(code)});
                EXPECT_EQ(asks(), row.done ? 0U : 1U);
                EXPECT_EQ(ecu.count("0d .."), row.attempts[i]);
                EXPECT_EQ(task().m_linkLost, row.latches);
                EXPECT_EQ(task().m_lastStatus, code);
            }
        }
    }
}

/// A link that was given up stays so all the same.
TEST_F(CcpStatus, OfEachCodeIsForgottenWhenTheLastRepeatSucceeds) {
    cfg.ccp.retryCount = 3;
    for (const Class& row : classes()) {
        const std::size_t attempts = row.attempts[4];
        if (attempts == 1) {
            continue;
        }
        for (const std::uint8_t code : row.codes) {
            SCOPED_TRACE(int{code});
            startsAnew();
            answersPositivelyAt(code, attempts);
            EXPECT_EQ(asks(), 0U);
            EXPECT_EQ(ecu.count("0d .."), attempts);
            EXPECT_EQ(task().m_lastStatus, 0U);
            EXPECT_EQ(task().m_linkLost, row.latches);
            EXPECT_FALSE(task().isLinkLost());
        }
    }
}

TEST_F(CcpStatus, ThatCountsAsDoneEndsTheRepeatsOfAnother) {
    ecu.answersInTurn("0d ..", {{answer(0x10)}, {answer(0x31)}});
    EXPECT_EQ(asks(), 0U);
    EXPECT_EQ(ecu.count("0d .."), 2U);
    EXPECT_EQ(task().m_lastStatus, 0x31U);
}

TEST_F(CcpStatus, OfALinkThatWasGivenUpStaysAsItIs) {
    ecu.answers("0d ..", {answer(0x36)});
    asks();
    ecu.answers("0d ..", {"ff 00 @1"});
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(task().m_lastStatus, 0x36U);
    EXPECT_EQ(ecu.count("0d .."), 1U);
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(asks(), 0U);
}

TEST_F(CcpStatus, OfAConnectStartsWithThatOfTheProtocolNumber) {
    for (const auto& [protocol, status] : {std::pair<std::uint32_t, std::uint32_t>{0, 0}, {2, 256}}) {
        startsAnew();
        cfg.protoType = protocol;
        task().m_lastStatus = 7;
        std::uint32_t seen = 1;
        host.onEvent([&](const std::string& entry) {
            if (entry.starts_with("snd 01")) {
                seen = task().m_lastStatus;
            }
        });
        task().connect();
        host.onEvent({});
        EXPECT_EQ(seen, status);
    }
}

// The stop flag

TEST_F(CcpStatus, StopAheadOfARepeatEndsTheCommand) {
    cfg.ccp.retryCount = 3;
    ecu.isSilent();
    stopsAtFrame(1);
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(ecu.count("0d .."), 1U);
    EXPECT_EQ(task().m_lastStatus, 128U);
    EXPECT_TRUE(task().m_linkLost);
}

/// The pause behind the first repeat would last an hour.
TEST_F(CcpStatus, StopDuringThePauseBehindARepeatEndsTheCommand) {
    cfg.ccp.retryCount = 3;
    cfg.ccp.retryDelayMs = 3'600'000;
    ecu.isSilent();
    stopsAtFrame(2);
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(ecu.count("0d .."), 2U);
}

// Responses

TEST_F(CcpStatus, ErrorOfTwoBytesIsAResponseAndAPositiveOneOfTwoBytesIsNone) {
    cfg.ccp.timeoutMs = 20;
    ecu.answersInTurn("0d ..", {{"ff 31"}, {"ff 00"}});
    EXPECT_EQ(asks(), 0U);
    EXPECT_EQ(task().m_lastStatus, 0x31U);
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(task().m_lastStatus, 128U);
}

TEST_F(CcpStatus, FramesOfOtherIdentifiersAndEventsAreNoResponses) {
    cfg.ccp.timeoutMs = 20;
    cfg.ccp.daqLists[0].canId = 0x77;
    task();
    ecu.sendsOn(0x77, "ff 00 00");
    ecu.answers("0d ..", {"fe 00 @1"});
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(task().m_lastStatus, 128U);
}

TEST_F(CcpStatus, OldestResponseIsTaken) {
    ecu.answers("0d ..", {"ff 00 @1 11", "ff 00 @1 22"});
    std::uint8_t status = 0;
    EXPECT_EQ(task().cmdGetSStatus(status), 0U);
    EXPECT_EQ(status, 0x11);
}

TEST_F(CcpStatus, CommandAndResponseAreAnalysed) {
    asks();
    ASSERT_EQ(host.decoded().size(), 2U);
    EXPECT_EQ(host.decoded()[0].message.name, "CTO GET_S_STATUS");
    EXPECT_EQ(host.decoded()[1].message.name, "RES GET_S_STATUS");
}

// Frames and blocks

TEST_F(CcpStatus, FrameGoesToItsChannelWithItsIdentifierAndFlags) {
    struct Row {
        std::uint8_t fd;
        std::uint8_t brs;
        std::uint8_t extended;
        std::uint8_t flags;
    };
    for (const Row& row :
         std::vector<Row>{{0, 0, 0, 0}, {0, 0, 1, 1}, {1, 0, 0, 2}, {0, 1, 0, 4}, {1, 1, 1, 7}}) {
        startsAnew();
        cfg.masterFd = row.fd;
        cfg.masterBrs = row.brs;
        cfg.masterExtended = row.extended;
        asks();
        ASSERT_EQ(ecu.sent().size(), 1U);
        EXPECT_EQ(ecu.sent()[0].flags, row.flags);
        EXPECT_EQ(ecu.sent()[0].id, 1U);
        EXPECT_EQ(ecu.sent()[0].data.size(), 2U);
    }
}

TEST_F(CcpStatus, WithoutASendFunctionIsNoAnswer) {
    cfg.ccp.timeoutMs = 20;
    callBacks.sndFun = nullptr;
    EXPECT_EQ(asks(), 1U);
    EXPECT_EQ(host.logTexts(3), Texts{"callback sndFun is nullptr or isStopTransmit"});
    EXPECT_EQ(task().m_lastStatus, 128U);
}

/// Asked for are as many bytes as the command could carry, taken as many as the shorter response holds.
TEST_F(CcpStatus, UploadWithAShorterResponseFrameTakesLessThanItAskedFor) {
    cfg.maxDto = 6;
    hasMemory();
    std::array<std::uint8_t, 6> read{};
    EXPECT_EQ(task().uploadBlock(read.data(), 6), 6U);
    EXPECT_EQ(sent(), (Texts{"04 ## 05 00 00 00 00 00", "04 ## 03 00 00 00"}));
    EXPECT_EQ(read, (std::array<std::uint8_t, 6>{0, 1, 2, 5, 6, 7}));
}

TEST_F(CcpStatus, UploadWithALongerFrameAsksForMore) {
    cfg.maxCto = 64;
    cfg.maxDto = 64;
    hasMemory();
    std::array<std::uint8_t, 70> read{};
    EXPECT_EQ(task().uploadBlock(read.data(), 70), 70U);
    ASSERT_EQ(ecu.sent().size(), 2U);
    EXPECT_EQ(ecu.sent()[0].data.size(), 64U);
    EXPECT_EQ(ecu.sent()[0].data[2], 61);
    EXPECT_EQ(ecu.sent()[1].data[2], 9);
    EXPECT_EQ(read[69], 69);
}

TEST_F(CcpStatus, DownloadWithALongerFrameSendsMore) {
    cfg.maxCto = 64;
    task().downloadBytes(70, support::countingBytes(70, 0).data(), false);
    ASSERT_EQ(ecu.sent().size(), 2U);
    EXPECT_EQ(ecu.sent()[0].data.size(), 64U);
    EXPECT_EQ(ecu.sent()[1].data, support::bytes("03 01 09 3d 3e 3f 40 41 42 43 44 45"));
}

TEST_F(CcpStatus, DownloadWithTheFlagSetPrograms) {
    task().downloadBytes(7, support::countingBytes(7, 0).data(), true);
    EXPECT_EQ(sent(), (Texts{"18 ## 05 00 01 02 03 04", "18 ## 02 05 06"}));
}
