// `talvex info` as a process: on the ECUs of the example, and with a configuration that is not that of the
// ECU.

#include "tests/host/BusTesting.h"
#include "tests/host/MemoryTesting.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <string>
#include <vector>

namespace {

using host_test::Json;
using host_test::kOneEcu;
using host_test::MemoryFolder;
using host_test::objectsOf;
using host_test::Outcome;
using host_test::Program;
using host_test::replaced;
using host_test::runProgram;
using host_test::Streams;
using host_test::TempFile;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// The ECU of kOneEcu, served on loopback.
class ServedEcu {
public:
    ServedEcu()
        : m_file(kOneEcu),
          m_program({"sim", m_file.path(), "--listen", "127.0.0.1:0", "--json"}, Streams::apart) {
        EXPECT_TRUE(m_program.readUntil("\n")) << m_program.output();
    }
    ~ServedEcu() {
        m_program.signal(SIGINT);
        EXPECT_EQ(m_program.wait(), 130);
    }
    ServedEcu(const ServedEcu&) = delete;
    ServedEcu& operator=(const ServedEcu&) = delete;

    // `talvex info` with this configuration.
    Outcome info(const std::string& config) const {
        const TempFile file(config);
        const std::string ready = m_program.output().substr(0, m_program.output().find('\n'));
        const int port = Json::parse(ready).at("port").get<int>();
        return runProgram({"info", "--json", "--config", file.path(), "--bus",
                           "socketcand://127.0.0.1:" + std::to_string(port) + "/main"});
    }

private:
    TempFile m_file;
    Program m_program;
};

// A configuration of kOneEcu with time to answer.
std::string patientEcu() {
    return replaced(kOneEcu, "commands = [0xDA]\n",
                    "commands = [0xDA]\ntimeouts = { command_ms = 3000, retries = 0 }\n");
}

std::vector<std::string> differing(const std::vector<Json>& objects) {
    std::vector<std::string> fields;
    for (const Json& object : objects) {
        if (object.at("type") == "fact" && object.at("differs").get<bool>()) {
            fields.push_back(object.at("field").get<std::string>() + " " +
                             object.at("ecu_value").get<std::string>() + " " +
                             object.at("config_value").get<std::string>());
        }
    }
    return fields;
}

TEST(InfoProcess, EcusOfTheExampleAreAsTheExampleSays) {
    const MemoryFolder folder;
    for (const std::string ecu : {"engine", "chassis", "gearbox"}) {
        const Outcome outcome = folder.talvex("info", ecu, {"--json"});
        EXPECT_EQ(outcome.code, 0) << outcome.out << outcome.err;
        const std::vector<Json> objects = objectsOf(outcome.out);
        EXPECT_THAT(differing(objects), ElementsAre());
        EXPECT_GT(objects.size(), 7U);
        EXPECT_EQ(objects.back().at("type"), "result");
    }
}

TEST(InfoProcess, TraceAndLogHoldAllEcus) {
    const MemoryFolder folder;
    folder.file("trace.log", "what another run left\n");
    const Outcome outcome = folder.talvex("info", "engine",
                                          {"--ecu", "gearbox", "--trace", folder.path("trace.log"), "--log",
                                           folder.path("talvex.log"), "--log-level", "0"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::string trace = folder.text("trace.log");
    EXPECT_THAT(trace, ::testing::Not(HasSubstr("another run")));
    EXPECT_THAT(trace, HasSubstr(" 600#FF00"));
    EXPECT_THAT(trace, HasSubstr(" 680#01"));
}

TEST(InfoProcess, TableShowsEcuAndConfigurationSideBySide) {
    const MemoryFolder folder;
    const Outcome outcome = folder.talvex("info", "engine", {});
    EXPECT_EQ(outcome.out.substr(0, outcome.out.find('\n')), "engine: XCP, 600 and 601 on powertrain");
    std::map<std::string, std::string> rows;
    for (const std::string& line : host_test::linesOf(outcome.out)) {
        const std::size_t end = line.find("  ", 3);
        const std::size_t value = line.find_first_not_of(' ', end);
        if (end != std::string::npos && value != std::string::npos) {
            rows[line.substr(2, end - 2)] = line.substr(value);
        }
    }
    EXPECT_THAT(rows["byte order"], ::testing::MatchesRegex("little +little"));
    EXPECT_THAT(rows["locks"],
                ::testing::MatchesRegex("calibration, daq, programming +calibration, daq, programming"));
    EXPECT_THAT(rows["event 1"], ::testing::MatchesRegex("\"10ms\", 10 ms +\"10ms\", 10 ms"));
    EXPECT_THAT(rows["segment 0, page of the host"], "0 (working)");
    EXPECT_THAT(outcome.out, HasSubstr("\nno difference from the configuration\n"));
}

TEST(InfoProcess, EcuThatNobodyUnlocksTellsWhatIsLocked) {
    const MemoryFolder folder(replaced(host_test::patientConfig(), "security = { seed_key = \"sim:\", lock",
                                       "security = { seed_key = \"sim:\", unlock = [\"programming\"], lock"));
    const Outcome outcome = folder.talvex("info", "engine", {});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, ::testing::ContainsRegex("\n  DAQ processor +locked\n"));
    EXPECT_THAT(outcome.out, ::testing::ContainsRegex("\n  calibration segments +locked\n"));
}

TEST(InfoProcess, ServedEcuAgreesWithItsOwnConfiguration) {
    const ServedEcu ecu;
    const Outcome outcome = ecu.info(patientEcu());
    EXPECT_EQ(outcome.code, 0) << outcome.out << outcome.err;
}

TEST(InfoProcess, EveryFieldThatDiffersIsMarked) {
    const ServedEcu ecu;
    std::string config = replaced(patientEcu(), "byte_order = \"little\"", "byte_order = \"big\"");
    config = replaced(config, "identification = \"absolute\"",
                      "identification = \"relative byte\", max_entry_size = 5");
    config = replaced(config, "name = \"fast\", cycle = 10", "name = \"fast\", cycle = 20");
    const Outcome outcome = ecu.info(config);
    EXPECT_THAT(differing(objectsOf(outcome.out)),
                ElementsAre("byte order little big", "identification field absolute relative byte",
                            "DAQ entry size, most 6 5", "event 0 \"fast\", 10 ms \"fast\", 20 ms"));
    EXPECT_EQ(outcome.code, 9) << outcome.err;
}

TEST(InfoProcess, EcuThatDoesNotAnswerIsNamedWithItsIdentifiers) {
    const ServedEcu ecu;
    const Outcome outcome = ecu.info(
        replaced(replaced(kOneEcu, "command_id = 0x18DA0001", "command_id = 0x18DA0003"),
                 "commands = [0xDA]\n", "commands = [0xDA]\ntimeouts = { command_ms = 100, retries = 0 }\n"));
    EXPECT_EQ(outcome.err,
              "talvex: ecu: connect: no answer to CONNECT (sent with 18DA0003, awaited with "
              "18DA0002)\n");
    EXPECT_EQ(outcome.code, 5);
    EXPECT_EQ(objectsOf(outcome.out).size(), 1U);
}

TEST(InfoProcess, BusThatIsNotThereIsAnErrorOfTheBus) {
    const MemoryFolder folder;
    const Outcome outcome =
        folder.talvex("info", "engine", {"--bus", "powertrain=socketcand://127.0.0.1:1/main"});
    EXPECT_EQ(outcome.code, 4) << outcome.err;
    EXPECT_NE(outcome.err, "");
}

}  // namespace
