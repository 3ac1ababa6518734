// The client: against a server that speaks word for word, and against the server of this project.

#include "host/SocketcandBus.h"

#include "host/HostError.h"
#include "host/OpenBus.h"
#include "host/SimulatedCanBus.h"
#include "host/SocketcandServer.h"
#include "tests/host/BusTesting.h"

#include <gmock/gmock.h>

#include <future>
#include <memory>

namespace {

using host::BusFrame;
using host::SocketcandBus;
using host_test::becomes;
using host_test::frameOf;
using host_test::kCommandId;
using host_test::RawPeer;
using host_test::RawServer;
using host_test::Received;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

host::BusUrl urlOf(std::uint16_t port) {
    return host::parseBusUrl("socketcand://127.0.0.1:" + std::to_string(port) + "/can0");
}

std::string placeOf(std::uint16_t port) {
    return "socketcand://127.0.0.1:" + std::to_string(port) + "/can0: ";
}

sim::Frame connectFrame() {
    return frameOf(kCommandId, {0xFF, 0}).frame;
}

// The message that opening ends with while the server does what it is told; empty if the bus opens.
std::string openingError(RawServer& server, const std::function<void(RawPeer&)>& script) {
    auto opening = std::async(std::launch::async, [&server]() -> std::string {
        try {
            const SocketcandBus bus(urlOf(server.port()), [](const BusFrame&) {});
        } catch (const host::HostError& error) {
            EXPECT_EQ(error.code(), host::ExitCode::bus);
            return error.what();
        }
        return "";
    });
    RawPeer peer = server.accept();
    script(peer);
    return opening.get();
}

class SocketcandClientBus : public ::testing::Test {
protected:
    // Opens the bus; the last reply of the handshake comes with @p rest.
    RawPeer open(const std::string& rest = "") {
        auto opening = std::async(std::launch::async, [this] {
            return std::make_unique<SocketcandBus>(urlOf(m_server.port()), m_received.receiver());
        });
        RawPeer peer = m_server.accept();
        peer.say("< hi >");
        EXPECT_EQ(peer.hear(), "< open can0 >");
        peer.say("< ok >");
        EXPECT_EQ(peer.hear(), "< rawmode >");
        peer.say("< ok >" + rest);
        m_bus = opening.get();
        return peer;
    }

    RawServer m_server;
    Received m_received;
    std::unique_ptr<SocketcandBus> m_bus;
};

TEST_F(SocketcandClientBus, FramesComeInWithTheTimeOfTheServer) {
    RawPeer peer = open("< frame 123 10.000001 01 >\n");
    peer.say("< frame 18DA0002 10.000002 FF00 >< frame 124 10.0");
    peer.say("00003  >< fdframe 125 1 10.000004 AA >\n");
    EXPECT_THAT(m_received.waitFor(4), ElementsAre("123#01", "18DA0002#FF00", "124#", "125#AA"));
    const auto frames = m_received.frames();
    EXPECT_EQ(frames[0].timeUs, 10'000'001U);
    EXPECT_EQ(frames[3].timeUs, 10'000'004U);
    EXPECT_TRUE(frames[3].frame.fd && frames[3].frame.brs);
    EXPECT_EQ(m_bus->failure(), "");
}

TEST_F(SocketcandClientBus, OwnFrameIsReportedAheadOfItsAnswerOnTheClockOfTheServer) {
    RawPeer peer = open("< frame 123 5000.000000 01 >\n");
    ASSERT_THAT(m_received.waitFor(1), ElementsAre("123#01"));
    ASSERT_TRUE(m_bus->send(connectFrame()));
    EXPECT_EQ(peer.hearUntil(">"), "< send 18DA0001 2 FF 00 >");
    peer.say("< frame 18DA0002 5100.000000 FF >\n");
    EXPECT_THAT(m_received.waitFor(3), ElementsAre("123#01", "18DA0001#FF00 own", "18DA0002#FF"));
    const auto frames = m_received.frames();
    EXPECT_GE(frames[1].timeUs, 5'000'000'000U);
    EXPECT_LE(frames[1].timeUs, 5'100'000'000U);
}

TEST_F(SocketcandClientBus, CanFdIsSentInItsOwnForm) {
    RawPeer peer = open();
    sim::Frame frame = connectFrame();
    frame.fd = frame.brs = true;
    ASSERT_TRUE(m_bus->send(frame));
    EXPECT_EQ(peer.hearUntil(">"), "< fdsend 18DA0001 1 2 FF 00 >");
}

TEST_F(SocketcandClientBus, NoiseIsSkipped) {
    RawPeer peer = open();
    peer.say("noise >> < echo >< frame x >" + std::string("\0\n", 2) + "<" + std::string(100'000, 'y') +
             ">< frame 123 1.0 01 >");
    EXPECT_THAT(m_received.waitFor(1), ElementsAre("123#01"));
    EXPECT_EQ(m_bus->failure(), "");
}

TEST_F(SocketcandClientBus, ClosedConnectionIsABusThatIsDown) {
    RawPeer peer = open();
    peer.close();
    ASSERT_TRUE(becomes([this] { return !m_bus->failure().empty(); }));
    EXPECT_EQ(m_bus->failure(), placeOf(m_server.port()) + "the server closed the connection");
    EXPECT_FALSE(m_bus->send(connectFrame()));
}

TEST_F(SocketcandClientBus, ErrorOfTheServerIsABusThatIsDown) {
    RawPeer peer = open();
    peer.say("< error the bus is down >");
    ASSERT_TRUE(becomes([this] { return !m_bus->failure().empty(); }));
    EXPECT_EQ(m_bus->failure(), placeOf(m_server.port()) + "the server says: error the bus is down");
}

TEST_F(SocketcandClientBus, ServerThatTakesNothingIsABusThatIsDown) {
    RawPeer peer = open();
    sim::Frame frame = connectFrame();
    frame.length = 8;
    EXPECT_TRUE(becomes([&] { return !m_bus->send(frame); }));
    EXPECT_EQ(m_bus->failure(), placeOf(m_server.port()) + "the other side takes no more data");
}

TEST(SocketcandOpening, RefusedPortIsNamed) {
    std::uint16_t port = 0;
    {
        const RawServer gone;
        port = gone.port();
    }
    try {
        const SocketcandBus bus(urlOf(port), [](const BusFrame&) {});
        ADD_FAILURE() << "opened";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.code(), host::ExitCode::bus);
        EXPECT_EQ(error.what(), placeOf(port) +
                                    "Connection refused; check that the server runs there and "
                                    "offers this bus");
    }
}

TEST(SocketcandOpening, UnknownHostIsNamed) {
    try {
        const SocketcandBus bus(host::parseBusUrl("socketcand://no.such.host.invalid/can0"),
                                [](const BusFrame&) {});
        ADD_FAILURE() << "opened";
    } catch (const host::HostError& error) {
        EXPECT_THAT(error.what(), HasSubstr("socketcand://no.such.host.invalid:29536/can0: "));
    }
}

TEST(SocketcandOpening, SilentServerIsGivenUp) {
    RawServer server;
    EXPECT_EQ(openingError(server, [](RawPeer& peer) { EXPECT_EQ(peer.hear(), ""); }),
              placeOf(server.port()) +
                  "the server does not answer; check that the server runs there and offers this bus");
}

TEST(SocketcandOpening, ServerThatHangsUpIsNamed) {
    RawServer server;
    EXPECT_EQ(openingError(server, [](RawPeer& peer) { peer.close(); }),
              placeOf(server.port()) +
                  "the server closed the connection; check that the server runs there and offers this bus");
}

TEST(SocketcandOpening, ServerOfAnotherKindIsNamed) {
    RawServer server;
    EXPECT_THAT(openingError(server, [](RawPeer& peer) { peer.say("<html>"); }),
                HasSubstr("the server says \"html\" where \"hi\" belongs"));
}

TEST(SocketcandOpening, WrongBusIsNamed) {
    RawServer server;
    const std::string error = openingError(server, [](RawPeer& peer) {
        peer.say("< hi >");
        EXPECT_EQ(peer.hear(), "< open can0 >");
        peer.say("< error could not open bus >");
    });
    EXPECT_EQ(error, placeOf(server.port()) +
                         "the server says \"error could not open bus\" where \"ok\" belongs; check that the "
                         "server runs there and offers this bus");
}

TEST(SocketcandEndToEnd, EcuBehindOurServerAnswers) {
    host::BusHub hub(false, 1'000'000);
    host::SimulatedCanBus simulated(host_test::oneEcu(), 0,
                                    [&hub](const BusFrame& frame) { hub.take(frame); });
    hub.connect(simulated);
    const host::SocketcandServer server({"127.0.0.1", 0}, {{{"main"}, &hub}});
    Received received;
    const auto bus = host::openBus("socketcand://" + server.place().text() + "/main", host_test::oneEcu(), 0,
                                   host::BusScope::ecus, received.receiver());
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(bus->send(connectFrame())) << bus->failure();
        const auto texts = received.waitFor(2 * static_cast<std::size_t>(i) + 2);
        ASSERT_EQ(texts.size(), 2 * static_cast<std::size_t>(i) + 2);
        EXPECT_EQ(texts[texts.size() - 2], "18DA0001#FF00 own");
        EXPECT_THAT(texts.back(), HasSubstr("18DA0002#FF"));
    }
}

}  // namespace
