// The server with a simulated ECU behind it, against clients that speak word for word.

#include "host/SocketcandServer.h"

#include "host/HostError.h"
#include "host/SimulatedCanBus.h"
#include "tests/host/BusTesting.h"

#include <gmock/gmock.h>

namespace {

using host::BusFrame;
using host_test::becomes;
using host_test::RawPeer;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

constexpr const char* kConnect = "< send 18DA0001 2 FF 0 >";
constexpr const char* kAnswerLine = "< frame 18DA0002 [0-9]+\\.[0-9]+ FF[0-9A-F]+ >\n";
constexpr const char* kConnectLine = "< frame 18DA0001 [0-9]+\\.[0-9]+ FF00 >\n";

class SocketcandServed : public ::testing::Test {
protected:
    SocketcandServed() { m_hub.connect(m_bus); }

    RawPeer client() { return RawPeer::connectTo(m_server.place().port); }

    RawPeer rawClient() {
        RawPeer peer = client();
        EXPECT_EQ(peer.hear(), "< hi >");
        peer.say("< open main >");
        EXPECT_EQ(peer.hear(), "< ok >");
        peer.say("< rawmode >");
        EXPECT_EQ(peer.hear(), "< ok >");
        return peer;
    }

    host::BusHub m_hub{false, 1'700'000'000'000'000};
    host::SimulatedCanBus m_bus{host_test::oneEcu(), 0, [this](const BusFrame& frame) { m_hub.take(frame); }};
    host::SocketcandServer m_server{{"127.0.0.1", 0}, {{{"main", "can5"}, &m_hub}}};
};

TEST_F(SocketcandServed, EcuAnswersAndTheOwnFrameIsNotSentBack) {
    RawPeer peer = rawClient();
    peer.say(kConnect);
    EXPECT_THAT(peer.hearUntil("\n"), MatchesRegex(kAnswerLine));
}

TEST_F(SocketcandServed, OtherClientsSeeTheFramesOfOne) {
    RawPeer first = rawClient();
    RawPeer second = rawClient();
    first.say(kConnect);
    EXPECT_THAT(second.hearUntil("\n"), MatchesRegex(kConnectLine));
    EXPECT_THAT(second.hearUntil("\n"), MatchesRegex(kAnswerLine));
    EXPECT_THAT(first.hearUntil("\n"), MatchesRegex(kAnswerLine));
}

TEST_F(SocketcandServed, RequestsMayComeInPieces) {
    RawPeer peer = rawClient();
    for (const char byte : std::string(kConnect)) {
        peer.say(std::string(1, byte));
    }
    EXPECT_THAT(peer.hearUntil("\n"), MatchesRegex(kAnswerLine));
}

TEST_F(SocketcandServed, WrongBusIsAnErrorAndTheEnd) {
    RawPeer peer = client();
    EXPECT_EQ(peer.hear(), "< hi >");
    peer.say("< open can9 >");
    EXPECT_EQ(peer.hearUntil(">"), "< error could not open bus >");
    EXPECT_EQ(peer.hear(), "");
}

TEST_F(SocketcandServed, ClientThatLeavesDoesNotDisturbTheOthers) {
    RawPeer stays = rawClient();
    rawClient().close();
    client().close();
    stays.say(kConnect);
    EXPECT_THAT(stays.hearUntil("\n"), MatchesRegex(kAnswerLine));
}

TEST_F(SocketcandServed, ClientThatOnlyTalksIsBounded) {
    RawPeer talker = rawClient();
    RawPeer other = rawClient();
    std::string flood;
    for (int i = 0; i < 20'000; ++i) {
        flood += "< echo ><";
    }
    talker.say(flood);
    other.say(kConnect);
    EXPECT_THAT(other.hearUntil("\n"), MatchesRegex(kAnswerLine));
    std::string echoes;
    for (int i = 0; i < 20'000; ++i) {
        echoes += "< echo >";
    }
    EXPECT_THAT(talker.hear(echoes.size()), HasSubstr("< echo >< echo >"));
}

TEST_F(SocketcandServed, ClientsBeyondTheMostAreTurnedAway) {
    std::vector<RawPeer> peers;
    for (std::size_t i = 0; i < host::SocketcandServer::kMostClients; ++i) {
        peers.push_back(client());
        ASSERT_EQ(peers.back().hear(), "< hi >") << i;
    }
    EXPECT_EQ(client().hear(), "");
    EXPECT_EQ(m_server.counters().clients, 65U);
    EXPECT_EQ(m_server.counters().dropped, 1U);
    peers.clear();
    EXPECT_TRUE(becomes([this] { return client().hear() == "< hi >"; }));
}

// Frames pile up for who does not read; the bus does not wait for it.
TEST_F(SocketcandServed, ClientThatDoesNotReadIsDropped) {
    RawPeer sleeper = rawClient();
    RawPeer reader = rawClient();
    BusFrame frame = host_test::frameOf(0x10000000, {1, 2, 3, 4, 5, 6, 7, 8});
    constexpr std::size_t kFrames = 100;
    const std::size_t bytes =
        kFrames * host::frameElement({frame.frame, 1'700'000'000'000'000, false}).size();
    EXPECT_TRUE(becomes([&] {
        for (std::size_t i = 0; i < kFrames; ++i) {
            m_hub.take(frame);
        }
        reader.hear(bytes);
        return m_server.counters().dropped == 1;
    }));
    reader.say(kConnect);
    EXPECT_THAT(reader.hearUntil("18DA0002"), HasSubstr("18DA0002"));
}

TEST_F(SocketcandServed, PortInUseIsNamedWithTheFix) {
    const host::Endpoint place = m_server.place();
    try {
        const host::SocketcandServer second(place, {});
        ADD_FAILURE() << "listens";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.code(), host::ExitCode::bus);
        EXPECT_EQ(error.what(),
                  "cannot listen at 127.0.0.1:" + std::to_string(place.port) +
                      ": Address already in use; choose another port, or 0 for any that is free");
    }
}

}  // namespace
