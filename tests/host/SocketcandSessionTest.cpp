// One client of a server, without its connection.

#include "host/SocketcandSession.h"

#include "tests/host/BusTesting.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

namespace {

using host::BusFrame;
using host::BusHub;
using host::kHandshakePause;
using host::ServedBus;
using host::SocketcandSession;
using host::SocketClock;
using host_test::frameOf;
using host_test::textOf;

constexpr const char* kAnswer = "< frame 18DA0002 0.000007 FF >\n";

// A bus that takes what it is told, and can be down.
class QuietBus : public host::CanBus {
public:
    bool send(const sim::Frame& frame) override {
        sent.push_back(textOf({frame, 0, false}));
        return up;
    }
    std::string failure() const override { return up ? "" : "down"; }

    std::vector<std::string> sent;
    bool up = true;
};

class SocketcandClient : public ::testing::Test {
protected:
    SocketcandClient() { m_hub.connect(m_bus); }

    std::string after(const std::string& bytes) {
        m_session.read(bytes, m_now);
        return m_session.take(m_now);
    }

    // The bytes of the handshake, after which frames may go.
    void shakeHands() {
        EXPECT_EQ(m_session.take(m_now), "< hi >");
        EXPECT_EQ(after("< open main >"), "< ok >");
        EXPECT_EQ(after("< rawmode >"), "< ok >");
        m_now += kHandshakePause;
    }

    void answer() {
        BusFrame frame = frameOf(0x18DA0002, {0xFF});
        frame.timeUs = 7;
        m_hub.take(frame);
    }

    SocketClock::time_point m_now = SocketClock::now();
    QuietBus m_bus;
    BusHub m_hub{false, 0};
    const std::vector<ServedBus> m_buses{{{"main", "can5"}, &m_hub}};
    int m_notes = 0;
    SocketcandSession m_session{m_buses, [this] { ++m_notes; }};
};

TEST_F(SocketcandClient, HandshakeIsAnsweredWordByWord) {
    shakeHands();
    EXPECT_FALSE(m_session.finished());
}

TEST_F(SocketcandClient, BusHasTheNameOfItsChannelToo) {
    EXPECT_EQ(after("< open can5 >"), "< hi >< ok >");
}

TEST_F(SocketcandClient, WrongBusIsTheEnd) {
    EXPECT_EQ(m_session.take(m_now), "< hi >");
    EXPECT_EQ(after("< open can0 >< echo >"), "< error could not open bus >");
    EXPECT_TRUE(m_session.finished());
}

TEST_F(SocketcandClient, OpenWithoutANameIsAWrongBus) {
    EXPECT_EQ(after("< open >"), "< hi >< error could not open bus >");
}

TEST_F(SocketcandClient, UnknownElementsCostAnErrorOnly) {
    shakeHands();
    EXPECT_EQ(after("< bcmmode >"), "< error unknown command >");
    EXPECT_EQ(after("< >"), "< error unknown command >");
    EXPECT_EQ(after("<" + std::string(5000, 'x') + ">"), "< error unknown command >");
    EXPECT_EQ(after("< echo >"), "< echo >");
    EXPECT_FALSE(m_session.finished());
}

TEST_F(SocketcandClient, FramesAreHeldBackBehindTheHandshake) {
    EXPECT_EQ(after("< open main >< rawmode >"), "< hi >< ok >< ok >");
    answer();
    EXPECT_EQ(m_session.heldUntil(), m_now + kHandshakePause);
    m_now += kHandshakePause - std::chrono::milliseconds(1);
    EXPECT_EQ(m_session.take(m_now), "");
    m_now += std::chrono::milliseconds(1);
    EXPECT_EQ(m_session.take(m_now), kAnswer);
    EXPECT_EQ(m_session.heldUntil(), std::nullopt);
    EXPECT_EQ(m_notes, 1);
}

TEST_F(SocketcandClient, WithoutRawModeThereAreNoFrames) {
    EXPECT_EQ(after("< open main >"), "< hi >< ok >");
    answer();
    m_now += kHandshakePause;
    EXPECT_EQ(m_session.take(m_now), "");
    EXPECT_EQ(m_notes, 0);
}

TEST_F(SocketcandClient, BothFormsOfSendingReachTheBusWithoutReply) {
    shakeHands();
    EXPECT_EQ(after("< send 18DA0001 2 FF 0 >"), "");
    EXPECT_EQ(m_bus.sent, std::vector<std::string>{"18DA0001#FF00"});
    EXPECT_EQ(after("< fdsend 123 0 1 5 >"), "< error no CAN FD on this bus >");
}

TEST_F(SocketcandClient, LengthAboveEightIsRefusedWithoutClosing) {
    shakeHands();
    EXPECT_EQ(after("< send 123 9 1 2 3 4 5 6 7 8 9 >"), "< error no frame that a bus could carry >");
    EXPECT_TRUE(m_bus.sent.empty());
    EXPECT_FALSE(m_session.finished());
}

TEST_F(SocketcandClient, OrderOfTheHandshakeIsKept) {
    EXPECT_EQ(after("< send 123 0 >"), "< hi >< error no bus is open >");
    EXPECT_EQ(after("< rawmode >"), "< error no bus is open >");
    EXPECT_EQ(after("< open main >< open main >"), "< ok >< error a bus is open already >");
}

TEST_F(SocketcandClient, BusThatIsDownIsTheEnd) {
    shakeHands();
    m_bus.up = false;
    EXPECT_EQ(after("< send 123 0 >"), "< error the bus is down >");
    EXPECT_TRUE(m_session.finished());
}

TEST_F(SocketcandClient, FramesThatNobodyReadsAreLimited) {
    shakeHands();
    const std::size_t most = host::kMostUnread / std::string(kAnswer).size();
    for (std::size_t i = 0; i < most; ++i) {
        answer();
    }
    EXPECT_FALSE(m_session.overrun());
    answer();
    EXPECT_TRUE(m_session.overrun());
    EXPECT_LE(m_session.take(m_now).size(), host::kMostUnread);
}

}  // namespace
