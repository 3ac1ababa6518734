// `talvex measure` on a bus of another process, where things go wrong that no simulated bus of its own does.

#include "tests/host/BusTesting.h"
#include "tests/host/Program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <fstream>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using host_test::Program;
using host_test::RawPeer;
using host_test::Streams;
using host_test::TempFile;
using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using Json = nlohmann::json;

// `talvex sim` with the bus of the engine, and `talvex measure` of its fastest counter.
class MeasureLink : public ::testing::Test {
protected:
    explicit MeasureLink(const std::string& timeouts = "command_ms = 4000,$1 retries = 0,")
        : m_config(std::regex_replace(host_test::projectFile("examples/demo.toml"),
                                      std::regex("command_ms = [0-9]+,(.*) retries = [0-9]+,"), timeouts)) {
        simulator = std::make_unique<Program>(
            std::vector<std::string>{"sim", m_config.path(), "--listen", "127.0.0.1:0", "--json"},
            Streams::apart);
        EXPECT_TRUE(simulator->readUntil("\n")) << simulator->output();
        const std::string ready = simulator->output().substr(0, simulator->output().find('\n'));
        m_port = Json::parse(ready).at("port").get<std::uint16_t>();
    }

    void measure(const std::vector<std::string>& further) {
        std::vector<std::string> arguments{
            "measure",
            "-c",
            m_config.path(),
            "-e",
            "engine",
            "--bus",
            "powertrain=socketcand://127.0.0.1:" + std::to_string(m_port) + "/powertrain",
            "--json",
            "--csv",
            csv.path(),
            "crank_count",
            "cyl_pressure",
            "ignition_angle"};
        arguments.insert(arguments.end(), further.begin(), further.end());
        program = std::make_unique<Program>(arguments, Streams::apart);
        ASSERT_TRUE(program->readUntil("\"type\":\"values\"")) << program->wait() << program->errors();
    }

    // Sends a packet in the name of the ECU.
    void disturb() const {
        RawPeer peer = RawPeer::connectTo(m_port);
        EXPECT_EQ(peer.hear(), "< hi >");
        peer.say("< open powertrain >");
        EXPECT_EQ(peer.hear(), "< ok >");
        peer.say("< send 601 8 1 0 0 0 0 0 0 0 >");
        peer.say("< send 601 8 1 0 0 0 0 0 0 0 >");
        peer.say("< echo >");
        EXPECT_THAT(peer.hearUntil("< echo >"), HasSubstr("echo"));
    }

    std::string table() const {
        std::ostringstream content;
        content << std::ifstream(csv.path()).rdbuf();
        return content.str();
    }

    const TempFile csv{""};
    std::unique_ptr<Program> simulator;
    std::unique_ptr<Program> program;

private:
    const TempFile m_config;
    std::uint16_t m_port = 0;
};

TEST_F(MeasureLink, GapsAreToldWhileItMeasuresAndAreExitCodeSixIfThatIsWanted) {
    measure({"--fail-on-loss"});
    disturb();
    ASSERT_TRUE(program->readUntil("\"type\":\"loss\"")) << program->output();
    program->signal(SIGINT);
    EXPECT_EQ(program->wait(), 6);
    EXPECT_THAT(program->errors(), ContainsRegex("s: lost: engine: [0-9]+ gaps? in ODT order"));
    EXPECT_THAT(program->output(), HasSubstr("\"code\":6"));
}

TEST_F(MeasureLink, GapsAloneChangeNoExitCode) {
    measure({});
    disturb();
    ASSERT_TRUE(program->readUntil("\"type\":\"loss\"")) << program->output();
    program->signal(SIGINT);
    EXPECT_EQ(program->wait(), 130);
}

/// On a machine that stands still the simulated bus falls behind the time of day, so that the first times may
/// be ahead of the start.
TEST_F(MeasureLink, BusThatIsClosedIsExitCodeFourAndTheFileIsWhole) {
    measure({});
    ASSERT_TRUE(program->readUntil("\"time\":0.")) << program->output();
    simulator->signal(SIGKILL);
    EXPECT_EQ(program->wait(), 4) << program->errors();
    EXPECT_THAT(program->errors(), HasSubstr("powertrain"));
    EXPECT_THAT(table(), AllOf(::testing::StartsWith("time,crank_count,cyl_pressure,ignition_angle\n"),
                               EndsWith("\n"), ContainsRegex("\n[0-9]+\\.[0-9]{6},[0-9]+,")));
}

class MeasureLinkImpatient : public MeasureLink {
protected:
    MeasureLinkImpatient() : MeasureLink("command_ms = 1000,$1 retries = 0,") {}
};

TEST_F(MeasureLinkImpatient, EcuThatFallsSilentIsExitCodeFiveAndTheFileIsWhole) {
    measure({});
    simulator->signal(SIGSTOP);
    EXPECT_EQ(program->wait(), 5) << program->errors();
    EXPECT_THAT(program->errors(), HasSubstr("talvex: the link was lost: ecu:engine-"));
    EXPECT_THAT(table(), AllOf(::testing::StartsWith("time,crank_count,cyl_pressure,ignition_angle\n"),
                               EndsWith("\n"), ContainsRegex("\n[0-9]+\\.[0-9]{6},[0-9]+,")));
}

}  // namespace
