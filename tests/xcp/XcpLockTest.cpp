// What other threads may do between and during the frames of a sequence.
#include "tests/xcp/XcpTestSupport.h"
#include "transport/StopFlag.h"

#include <thread>

using namespace xcp_test;
using support::isFree;
using Bytes = std::vector<std::uint8_t>;

namespace {

/// Looks at the lock ahead of each send, wait and exchange: nothing else is called between two frames.
class WatchedTask : public XcpTaskTransmit {
public:
    using XcpTaskTransmit::XcpTaskTransmit;

    std::uint32_t sendFrame(msgBuf& frame) override {
        look("send");
        return XcpTaskTransmit::sendFrame(frame);
    }
    std::uint32_t receiveResponse(const msgBuf& request, msgBuf& response, std::int32_t timeoutMs) override {
        look("receive");
        return XcpTaskTransmit::receiveResponse(request, response, timeoutMs);
    }
    bool exchange(msgBuf& request, msgBuf& response) override {
        look("exchange");
        return XcpTaskTransmit::exchange(request, response);
    }

    Texts m_looks;  ///< calls in their order, with " free" behind those that others could have come ahead of

private:
    void look(const std::string& call) { m_looks.push_back(call + (isFree(m_mutex) ? " free" : "")); }
};

class XcpLock : public support::TaskTest<WatchedTask> {
protected:
    XcpLock() : TaskTest(true) {}
    void TearDown() override { stopFlag().setStopTransmit(false); }

    /// @return what `WatchedTask` saw while ten bytes were sent
    Texts looksOf(std::uint8_t (XcpTaskTransmit::*send)(const std::uint8_t*, std::uint8_t, std::uint8_t)) {
        startsAnew();
        EXPECT_EQ((task().*send)(m_source.data(), 10, 1), 10);
        EXPECT_TRUE(isFree(task().m_mutex));
        return task().m_looks;
    }

    /// The same while ten bytes are read.
    Texts looksOfUpload() {
        startsAnew();
        Bytes destination(10);
        EXPECT_EQ(task().uploadBlock(destination.data(), 10, 1), 10);
        EXPECT_TRUE(isFree(task().m_mutex));
        return task().m_looks;
    }

    const Bytes m_source = support::countingBytes(10);
};

}  // namespace

TEST_F(XcpLock, BlockHoldsItFromItsFirstFrameToItsAnswer) {
    const Texts held = {"send", "send", "receive"};
    EXPECT_EQ(looksOf(&XcpTaskTransmit::downloadBlock), held);
    EXPECT_EQ(looksOf(&XcpTaskTransmit::programBlock), held);
    EXPECT_EQ(looksOf(&XcpTaskTransmit::programBlockNext), held);
}

// A polled read between two frames would move the MTA that the ECU programs at.
TEST_F(XcpLock, PlainProgramHoldsItThroughAllItsExchanges) {
    EXPECT_EQ(looksOf(&XcpTaskTransmit::programPlain),
              Texts({"exchange", "send", "receive", "exchange", "send", "receive"}));
}

TEST_F(XcpLock, PlainDownloadHoldsItForOneExchangeAtATime) {
    EXPECT_EQ(looksOf(&XcpTaskTransmit::downloadPlain),
              Texts({"exchange free", "send", "receive", "exchange free", "send", "receive"}));
}

TEST_F(XcpLock, UploadHoldsItFromItsFirstFrameToItsLastAnswer) {
    ecu.answersInTurn("f5 ..", {{"ff 01 02 03 04 05 06 07"}, {"ff 08 09 0a"}});
    EXPECT_EQ(looksOfUpload(), Texts({"send", "receive", "send", "receive"}));
    cfg.xcp.useSlaveBlockMode = 1;
    ecu.answers("f5 0a", {"ff 01 02 03 04 05 06 07", "ff 08 09 0a"});
    EXPECT_EQ(looksOfUpload(), Texts({"send", "receive", "receive"}));
}

// A command looks at the link before it waits for the lock: one that waited for another thread's exchange
// goes out even if that one lost the link.
TEST_F(XcpLock, EveryCommandLooksAtTheLinkBeforeItTakesIt) {
    Bytes destination(XcpTaskTransmit::kFrameRoom);
    std::uint32_t checksum = 0;
    task().cmdGetStatus();
    task().cmdSetMta(0, 0);
    task().shortUpload(0, 0, destination.data(), 1, 1);
    task().cmdBuildChecksum(1, checksum);
    task().cmdStartStopDaqList(1, 0);
    task().cmdStartStopSynch(1);
    Texts expected;
    for (int i = 0; i < 6; ++i) {
        expected.insert(expected.end(), {"exchange free", "send", "receive"});
    }
    EXPECT_EQ(task().m_looks, expected);
}

// The name of an event is read from where GET_DAQ_EVENT_INFO left the MTA, which a read between would move.
TEST_F(XcpLock, EventInfoHoldsItUntilTheNameIsRead) {
    ecu.answers("d7 ..", {"ff 00 00 02 00 00 00"});
    ecu.answers("f5 ..", {"ff 41 42"});
    EXPECT_EQ(task().cmdGetDaqEventInfo(1), 0U);
    EXPECT_EQ(task().m_looks, Texts({"exchange", "send", "receive", "send", "receive"}));
}

TEST_F(XcpLock, SendAndWaitHoldItByThemselves) {
    Texts heard;
    host.onEvent(
        [&](const std::string& entry) { heard.push_back(entry + (isFree(task().m_mutex) ? " free" : "")); });
    msgBuf request;
    request.length = 1;
    request.data[0] = 0xFD;
    msgBuf response;
    ecu.answers("fd", {"fe 25"});
    task().sendFrame(request);
    EXPECT_TRUE(isFree(task().m_mutex));
    EXPECT_EQ(task().receiveResponse(request, response, 20), 0x25U);
    host.onEvent({});
    EXPECT_EQ(heard, Texts({"snd fd", "log 3 Access denied, Seed& Key is required"}));
}

TEST_F(XcpLock, ExchangeHoldsItInThePauseBehindARepeat) {
    cfg.xcp.retryCount = 1;
    cfg.xcp.retryDelayMs = 3'600'000;
    cfg.xcp.t1 = 1;
    ecu.answersInTurn("fd", {{"fe 20"}, {}});
    task();
    bool free = true;
    std::thread other([&] {
        // With the status of the repeat the exchange has nothing left to do but the pause.
        EXPECT_TRUE(support::waitFor([this] { return task().m_lastStatus == 2304; }));
        free = isFree(task().m_mutex);
        stopFlag().setStopTransmit(true);
    });
    msgBuf request;
    request.length = 1;
    request.data[0] = 0xFD;
    msgBuf response;
    EXPECT_FALSE(task().exchange(request, response));
    other.join();
    EXPECT_FALSE(free);
    EXPECT_EQ(task().m_looks, Texts({"exchange free", "send", "receive", "send", "receive"}));
}
