// `talvex sim` as a process.

#include "tests/host/BusTesting.h"
#include "tests/host/Places.h"
#include "tests/host/Program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using host_test::Program;
using host_test::RawPeer;
using host_test::Streams;
using host_test::TempFile;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using Json = nlohmann::json;

// `talvex sim` on a free port with kOneEcu.
class Simulator {
public:
    explicit Simulator(std::vector<std::string> further = {}, const std::string& config = host_test::kOneEcu)
        : m_file(config) {
        std::vector<std::string> arguments{"sim", m_file.path(), "--listen", "127.0.0.1:0", "--json"};
        arguments.insert(arguments.end(), further.begin(), further.end());
        program = std::make_unique<Program>(arguments, Streams::apart);
        EXPECT_TRUE(program->readUntil("\n")) << program->output();
    }

    Json ready() const { return Json::parse(program->output().substr(0, program->output().find('\n'))); }
    std::uint16_t port() const { return ready().at("port").get<std::uint16_t>(); }

    RawPeer client(const std::string& bus = "main") const {
        RawPeer peer = RawPeer::connectTo(port());
        EXPECT_EQ(peer.hear(), "< hi >");
        peer.say("< open " + bus + " >");
        EXPECT_EQ(peer.hear(), "< ok >");
        peer.say("< rawmode >");
        EXPECT_EQ(peer.hear(), "< ok >");
        return peer;
    }

    std::unique_ptr<Program> program;

private:
    TempFile m_file;
};

std::vector<Json> objectsOf(const std::string& output) {
    std::istringstream stream(output);
    std::vector<Json> objects;
    for (std::string line; std::getline(stream, line);) {
        objects.push_back(Json::parse(line));
        EXPECT_EQ(objects.back().at("schema"), 1);
    }
    return objects;
}

TEST(SimProcess, EcuAnswersUntilInterruptedAndTheCountsAreTold) {
    const Simulator simulator;
    RawPeer peer = simulator.client();
    peer.say("< send 18DA0001 2 FF 0 >");
    EXPECT_THAT(peer.hearUntil("\n"), MatchesRegex("< frame 18DA0002 [0-9]+\\.[0-9]+ FF[0-9A-F]+ >\n"));
    simulator.program->signal(SIGINT);
    EXPECT_EQ(simulator.program->wait(), 130);
    EXPECT_EQ(peer.hear(), "");
    const std::vector<Json> objects = objectsOf(simulator.program->output());
    ASSERT_EQ(objects.size(), 4U);
    EXPECT_EQ(objects[0].at("type"), "ready");
    EXPECT_EQ(objects[0].at("buses"),
              Json::parse(R"([{"name":"main","alias":"can5","fd":false,"ecus":["ecu"]}])"));
    EXPECT_EQ(objects[1].at("type"), "bus");
    EXPECT_EQ(objects[1].at("frames"), 2);
    EXPECT_EQ(objects[2], Json::parse(R"({"schema":1,"type":"server","clients":1,"dropped":0})"));
    EXPECT_EQ(objects[3].at("type"), "result");
    EXPECT_EQ(objects[3].at("code"), 130);
}

// A name that a bus has goes ahead of what another one is called besides.
TEST(SimProcess, BusIsOpenedByItsOwnNameThoughAnotherChannelIsCalledLikeIt) {
    std::string config = host_test::replaced(host_test::kOneEcu, "[[bus]]\nname = \"main\"\n",
                                             "[[bus]]\nname = \"can0\"\nchannel = 1\nnominal_rate = 500_000\n"
                                             "[[bus]]\nname = \"can1\"\n");
    config = host_test::replaced(config, "bus = \"main\"", "bus = \"can1\"");
    const Simulator simulator({}, config);
    const Json buses = simulator.ready().at("buses");
    ASSERT_EQ(buses.size(), 2U);
    EXPECT_EQ(buses[0], Json::parse(R"({"name":"can0","alias":null,"fd":false,"ecus":[]})"));
    EXPECT_EQ(buses[1], Json::parse(R"({"name":"can1","alias":"can5","fd":false,"ecus":["ecu"]})"));
    RawPeer peer = simulator.client("can1");
    peer.say("< send 18DA0001 2 FF 0 >");
    EXPECT_THAT(peer.hearUntil("\n"), MatchesRegex("< frame 18DA0002 [0-9]+\\.[0-9]+ FF[0-9A-F]+ >\n"));
    simulator.program->signal(SIGINT);
    EXPECT_EQ(simulator.program->wait(), 130);
    EXPECT_THAT(simulator.program->errors(), HasSubstr("bus can0 (classic CAN) with "));
}

TEST(SimProcess, SaysOnStandardErrorWhatListensWhere) {
    const Simulator simulator({"--seconds", "0.1"});
    EXPECT_EQ(simulator.program->wait(), 0);
    EXPECT_THAT(simulator.program->errors(), HasSubstr("bus main (can5, classic CAN) with ecu\n"));
    EXPECT_THAT(simulator.program->errors(),
                HasSubstr("listening at 127.0.0.1:" + std::to_string(simulator.port()) + "\n"));
    EXPECT_THAT(simulator.program->errors(), HasSubstr("bus main: 0 frames, load 0.0 %\n"));
}

TEST(SimProcess, WithoutJsonStandardOutputStaysEmpty) {
    const TempFile file(host_test::kOneEcu);
    Program program({"sim", file.path(), "--listen", "127.0.0.1:0", "--seconds", "0.1"}, Streams::apart);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(program.output(), "");
}

TEST(SimProcess, TraceHoldsEveryFrame) {
    const TempFile trace("");
    const Simulator simulator({"--trace", trace.path()});
    RawPeer peer = simulator.client();
    peer.say("< send 18DA0001 2 FF 0 >");
    EXPECT_NE(peer.hearUntil("\n"), "");
    simulator.program->signal(SIGTERM);
    EXPECT_EQ(simulator.program->wait(), 130);
    std::ifstream stream(trace.path());
    std::stringstream content;
    content << stream.rdbuf();
    EXPECT_THAT(content.str(), MatchesRegex("\\([0-9.]+\\) can5 18DA0001#FF00\n"
                                            "\\([0-9.]+\\) can5 18DA0002#FF[0-9A-F]+\n"));
}

TEST(SimProcess, BridgeCarriesFramesBetweenTwoSimulations) {
    const Simulator inner;
    const std::string url = "socketcand://127.0.0.1:" + std::to_string(inner.port()) + "/main";
    const Simulator outer({"--bus", "main=" + url});
    EXPECT_EQ(outer.ready().at("bridges"), Json::parse(R"([{"bus":"main","url":")" + url + R"("}])"));
    RawPeer listener = inner.client();
    RawPeer peer = outer.client();
    peer.say("< send 00000123 1 AB >");
    EXPECT_THAT(listener.hearUntil("\n"), MatchesRegex("< frame 00000123 [0-9.]+ AB >\n"));
    listener.say("< send 00000124 1 CD >");
    EXPECT_THAT(peer.hearUntil("\n"), MatchesRegex("< frame 00000124 [0-9.]+ CD >\n"));
}

TEST(SimProcess, BridgeWhoseOtherSideGoesIsABusError) {
    const Simulator inner;
    const std::string url = "socketcand://127.0.0.1:" + std::to_string(inner.port()) + "/main";
    const Simulator outer({"--bus", "main=" + url});
    inner.program->signal(SIGINT);
    EXPECT_EQ(inner.program->wait(), 130);
    EXPECT_EQ(outer.program->wait(), 4);
    EXPECT_THAT(outer.program->errors(), HasSubstr("talvex: " + url + ": the server closed the connection"));
    EXPECT_EQ(objectsOf(outer.program->output()).back().at("code"), 4);
}

TEST(SimProcess, NothingToListenOnIsAUsageError) {
    Program program({"sim", std::string(host_test::kProjectFolder) + "/examples/demo.toml"});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_EQ(program.output(),
              "talvex: sim: nobody could talk to the ECUs; give --listen HOST:PORT, or "
              "--bus NAME=URL, or both\n");
}

TEST(SimProcess, MissingInterfaceIsABusErrorWithItsName) {
    const TempFile file(host_test::kOneEcu);
    Program program({"sim", file.path(), "--bus", "main=socketcan:nosuchcan"});
    EXPECT_EQ(program.wait(), 4);
    EXPECT_THAT(program.output(), HasSubstr("talvex: bus main: socketcan:nosuchcan: "));
}

TEST(SimProcess, MissingConfigurationIsAConfigurationError) {
    Program program({"sim", "no-such-file.toml", "--listen", "127.0.0.1:0"});
    EXPECT_EQ(program.wait(), 3);
    EXPECT_THAT(program.output(), HasSubstr("no-such-file.toml"));
}

}  // namespace
