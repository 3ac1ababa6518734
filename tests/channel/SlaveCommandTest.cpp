// What a command hands back, and the status it gives.
#include "tests/channel/ChannelTestSupport.h"
#include "transport/StopFlag.h"

#include <vector>

using namespace channel_test;

namespace {

class SlaveCommand : public ChannelTest {
protected:
    std::uint32_t getsStatus() { return xcpGetStatus(slave, bytes(), size()); }
    std::uint32_t disconnects() { return xcpDisconnect(slave, bytes(), size()); }

    /// Repeats a failed command @p count times.
    void repeats(std::uint8_t count) {
        proto.retryCount = count;
        startsAnew();
    }
};

}  // namespace

TEST_F(SlaveCommand, SuccessHandsTheResponseBack) {
    ecu.answers("fd", {"ff 01 02 03 04 05 06 07"});
    EXPECT_EQ(getsStatus(), kSuccess);
    EXPECT_EQ(handed(), "ff 01 02 03 04 05 06 07");
}

TEST_F(SlaveCommand, ResponseOfSixtyFourBytesIsHandedBackWhole) {
    const std::string whole = "ff " + support::hexText(support::countingBytes(63, 1));
    ecu.answers("fd", {whole});
    EXPECT_EQ(getsStatus(), kSuccess);
    EXPECT_EQ(handed(64), whole);
}

TEST_F(SlaveCommand, BufferOfAllItCanBeIsZeroedToItsEnd) {
    std::vector<std::uint8_t> large(65535, 0xAA);
    ecu.answers("fd", {"ff 01"});
    EXPECT_EQ(xcpGetStatus(slave, large.data(), 65535), kSuccess);
    std::vector<std::uint8_t> expected(65535, 0);
    expected[0] = 0xFF;
    expected[1] = 0x01;
    EXPECT_EQ(large, expected);
}

TEST_F(SlaveCommand, ErrorAnswerIsTheStatusAndLeavesTheLink) {
    ecu.answers("fd", {"fe 21"});
    EXPECT_EQ(getsStatus(), 0x21U);
    EXPECT_EQ(host.logTexts(3), Texts{"Command syntax invalid "});
    EXPECT_EQ(disconnects(), kSuccess);
}

TEST_F(SlaveCommand, FailureHandsTheLastGoodResponseBackAndNoErrorFrame) {
    ecu.answers("fe", {"ff 11 22"});
    ecu.answers("fd", {"fe 21"});
    disconnects();
    handed();
    EXPECT_EQ(getsStatus(), 0x21U);
    EXPECT_EQ(handed(), "ff 11 22 00 00 00 00 00");
}

TEST_F(SlaveCommand, FailureBeforeAnySuccessLeavesTheBufferZeroed) {
    ecu.answers("fd", {"fe 21"});
    EXPECT_EQ(getsStatus(), 0x21U);
    EXPECT_EQ(handed(), "00 00 00 00 00 00 00 00");
}

TEST_F(SlaveCommand, FrameIsAnalysedAheadOfItsSendingAndTheAnswerBehindIt) {
    static Texts told;
    CallBackFuns callBacks = support::TestHost::callBacks();
    callBacks.msgDecodeFun = [](std::uint64_t, mcDecodeMsg message) {
        told.push_back("decode " + message.name);
    };
    setCallBackFuns(callBacks);
    startsAnew();
    host.onEvent([](const std::string& entry) { told.push_back(entry); });
    EXPECT_EQ(getsStatus(), kSuccess);
    EXPECT_EQ(told, Texts({"decode CTO GET_STATUS", "snd fd", "decode RES GET_STATUS"}));
}

TEST_F(SlaveCommand, TimeOutHandsTheLastGoodResponseBack) {
    ecu.answers("fe", {"ff 11 22"});
    disconnects();
    handed();
    isSilent();
    EXPECT_EQ(getsStatus(), kNoAnswer);
    EXPECT_EQ(handed(), "ff 11 22 00 00 00 00 00");
}

TEST_F(SlaveCommand, TimeOutKeepsEveryCommandFromTheBusUntilTheSlaveIsConfigured) {
    isSilent();
    EXPECT_EQ(getsStatus(), kNoAnswer);
    EXPECT_EQ(sent(), Texts{"fd"});
    ecu.speaks();
    EXPECT_EQ(disconnects(), kNoAnswer);
    EXPECT_EQ(sent(), Texts{});
    EXPECT_EQ(host.logTexts(4), Texts{"连接已断开"});
    EXPECT_EQ(xcpConfigSlave(slave, can, proto), kSuccess);
    EXPECT_EQ(disconnects(), kSuccess);
    EXPECT_EQ(sent(), Texts{"fe"});
}

TEST_F(SlaveCommand, ConnectDoesNotBringALostLinkBack) {
    isSilent();
    getsStatus();
    ecu.speaks();
    ecu.clearSent();
    EXPECT_EQ(xcpConnect(slave, 0, bytes(), size()), kNoAnswer);
    EXPECT_EQ(sent(), Texts{});
}

TEST_F(SlaveCommand, RepeatThatSucceedsDoesNotHandItsResponseBack) {
    repeats(1);
    ecu.answers("fe", {"ff 11"});
    disconnects();
    ecu.clearSent();
    ecu.answersInTurn("fd", {{"fe 21"}, {"ff 22"}});
    handed();
    EXPECT_EQ(getsStatus(), kSuccess);
    EXPECT_EQ(sent(), Texts({"fd", "fd"}));
    EXPECT_EQ(handed(), "ff 11 00 00 00 00 00 00");
}

TEST_F(SlaveCommand, RepeatsAsOftenAsItsUnsignedCountSays) {
    repeats(255);
    ecu.answers("fd", {"fe 21"});
    EXPECT_EQ(getsStatus(), 0x21U);
    EXPECT_EQ(ecu.count("fd"), 256U);
}

TEST_F(SlaveCommand, RepeatAfterSilenceSavesTheLink) {
    repeats(1);
    waitsFor(200);
    ecu.answersInTurn("fd", {{}, {"ff 22"}});
    EXPECT_EQ(getsStatus(), kSuccess);
    EXPECT_EQ(sent(), Texts({"fd", "fd"}));
    EXPECT_FALSE(object().m_linkLost);
}

// The acknowledged SYNCH is the ECU's usual answer to it.
TEST_F(SlaveCommand, SynchronizeAnsweredBySynchErrorIsASuccess) {
    ecu.answers("fc", {"fe 00"});
    EXPECT_EQ(xcpSynchronize(slave, bytes(), size()), kSuccess);
    EXPECT_EQ(handed(), "fe 00 00 00 00 00 00 00");
}

// The exchange succeeds and the checksum does not: the status is that of the exchange.
TEST_F(SlaveCommand, ChecksumAnsweredBySynchErrorGivesTheStatusOfTheExchange) {
    ecu.answers("f3 ..", {"fe 00"});
    EXPECT_EQ(xcpBuildChecksum(slave, 16, bytes(), size()), kSuccess);
    EXPECT_EQ(handed(), "fe 00 00 00 00 00 00 00");
}

TEST_F(SlaveCommand, CommandOfARemovedSlaveLeavesTheBuffer) {
    xcpRemoveSlave(slave);
    EXPECT_EQ(getsStatus(), kBadHandle);
    EXPECT_EQ(handed(64), support::hexText(std::vector<std::uint8_t>(64, 0xAA)));
    EXPECT_EQ(sent(), Texts{});
}

TEST_F(SlaveCommand, SlaveRemovedDuringItsFailingCommandGivesGenericError) {
    ecu.answers("fd", {"fe 21"});
    host.onEvent([this](const std::string& entry) {
        if (entry == "snd fd") {
            xcpRemoveSlave(slave);
        }
    });
    EXPECT_EQ(getsStatus(), 49U);
    EXPECT_EQ(handed(), kUntouched);
    EXPECT_EQ(getsStatus(), kBadHandle);
}

TEST_F(SlaveCommand, SlaveRemovedDuringItsCommandLivesUntilTheAnswer) {
    host.onEvent([this](const std::string& entry) {
        if (entry == "snd fd") {
            xcpRemoveSlave(slave);
        }
    });
    EXPECT_EQ(getsStatus(), kSuccess);
    EXPECT_EQ(handed(), kUntouched);
}

TEST_F(SlaveCommand, CommandWithoutASession) {
    EXPECT_EQ(xcpProgramStart(slave, bytes(), size()), kSuccess);
    EXPECT_EQ(sent(), Texts{"d2"});
}

TEST_F(SlaveCommand, ConnectTakesAnEmergencyStopBack) {
    stopFlag().setStopTransmit(true);
    EXPECT_EQ(xcpConnect(slave, 0, bytes(), size()), kSuccess);
    EXPECT_EQ(sent(), Texts{"ff 00"});
    EXPECT_FALSE(stopFlag().isStopped());
}

// There is no ECU to speak to, so there is no reason to let others send again.
TEST_F(SlaveCommand, ConnectOfAnUnknownSlaveLeavesAnEmergencyStop) {
    stopFlag().setStopTransmit(true);
    EXPECT_EQ(xcpConnect(slave + 1, 0, bytes(), size()), kBadHandle);
    EXPECT_TRUE(stopFlag().isStopped());
    EXPECT_EQ(sent(), Texts{});
    EXPECT_EQ(handed(), kUntouched);
}

TEST_F(SlaveCommand, NothingButConnectTakesAnEmergencyStopBack) {
    stopFlag().setStopTransmit(true);
    EXPECT_EQ(getsStatus(), kNoAnswer);
    EXPECT_EQ(sent(), Texts{});
    EXPECT_TRUE(stopFlag().isStopped());
}

TEST_F(SlaveCommand, TimeOutsGoByTheCommand) {
    struct TimeRow {
        std::uint16_t XcpSlaveProtoCfg::*time;
        std::uint32_t (*call)(std::uint32_t, std::uint8_t*, std::uint16_t);
    };
    const std::vector<TimeRow> rows{
        {&XcpSlaveProtoCfg::t1, xcpGetStatus},
        {&XcpSlaveProtoCfg::t2, [](std::uint32_t handle, std::uint8_t* to,
                                   std::uint16_t room) { return xcpBuildChecksum(handle, 1, to, room); }},
        {&XcpSlaveProtoCfg::t3, xcpProgramStart},
        {&XcpSlaveProtoCfg::t4, [](std::uint32_t handle, std::uint8_t* to,
                                   std::uint16_t room) { return xcpProgramClear(handle, 0, 1, to, room); }},
        {&XcpSlaveProtoCfg::t5, xcpProgramReset},
        {&XcpSlaveProtoCfg::t6, [](std::uint32_t handle, std::uint8_t* to,
                                   std::uint16_t room) { return xcpConnect(handle, 1, to, room); }},
    };
    for (const TimeRow& row : rows) {
        // A time of 0 makes a command fail without a look at its answer: it is this one that counts.
        proto = protoCfg(kLongMs);
        proto.*(row.time) = 0;
        startsAnew();
        EXPECT_EQ(row.call(slave, bytes(), size()), kNoAnswer);
    }
}

TEST_F(SlaveCommand, BusyAnswersAreWaitedOut) {
    ecu.answers("fd", {"fe 10", "fe 12", "ff 01"});
    EXPECT_EQ(getsStatus(), kSuccess);
    EXPECT_EQ(handed(), "ff 01 00 00 00 00 00 00");
}
