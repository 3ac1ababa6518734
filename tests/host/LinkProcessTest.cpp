// What all sub-commands share that talk to ECUs, as a process: seed and key libraries, logs, traces,
// interrupts, output that gets lost.

#include "tests/host/BusTesting.h"
#include "tests/host/MemoryTesting.h"
#include "tests/host/Places.h"
#include "tests/host/SeedKeyTesting.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <string>

namespace {

using host_test::becomes;
using host_test::MemoryFolder;
using host_test::Outcome;
using host_test::patientConfig;
using host_test::Program;
using host_test::replaced;
using host_test::Streams;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

// Locks of the ECUs of the example; each stands there once.
constexpr const char* kEngine = R"(seed_key = "sim:", lock = [{ resource = "calibration", seed_length = 4 })";
constexpr const char* kChassis = R"(seed_key = "sim:", lock = [{ resource = "daq", seed_length = 18 })";

// The configuration with a library in place of what stands there.
std::string withLibrary(const std::string& config, const std::string& place, const std::string& library,
                        const std::string& entry) {
    std::string keys =
        "seed_key = \"" + library + "\", time_ms = 60_000, helper = \"" + host_test::kSeedKeyProgram + "\"";
    keys += entry.empty() ? "" : ", entry = \"" + entry + "\"";
    return replaced(config, place, replaced(place, "seed_key = \"sim:\"", keys));
}

std::string withFault(const std::string& entry) {
    return withLibrary(patientConfig(), kEngine, host_test::badLibrary("faults"), entry);
}

// The exit code of a command line for the shell.
int shell(const MemoryFolder& folder, const std::string& command) {
    const int status = std::system(("cd '" + folder.path("") + "' && " + command).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// ---- Seed and key ----------------------------------------------------------------------------------------

TEST(LinkProcess, LibraryThatCrashesIsTheReasonAndTheEcuIsNamed) {
    const MemoryFolder folder(withFault("Crash"));
    const Outcome outcome = folder.talvex("read", "engine", {"idle_setpoint"});
    EXPECT_EQ(outcome.code, 7);
    EXPECT_THAT(outcome.err,
                AllOf(StartsWith("talvex: engine: connect: seed and key: " + host_test::badLibrary("faults") +
                                 ": Crash crashed (Segmentation fault); ask its maker"),
                      EndsWith("; result 11\n")));
}

// A library may take a minute for its key; who has seen enough does not have to wait for it.
TEST(LinkProcess, InterruptEndsALibraryThatHangs) {
    const MemoryFolder folder(withFault("Hang"));
    Program program({"read", "-c", folder.path("ecus.toml"), "-e", "engine", "idle_setpoint", "--log",
                     folder.path("log"), "--log-level", "0"},
                    Streams::apart);
    ASSERT_TRUE(becomes([&] { return folder.text("log").find("SND DATA:[0xf8") != std::string::npos; }));
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 130);
    EXPECT_EQ(program.errors(), "talvex: connect: interrupted; what was open is closed\n");
}

TEST(LinkProcess, EcusThatShareALibraryHaveSettingsOfTheirOwn) {
    const std::string both = withLibrary(withLibrary(patientConfig(), kEngine, host_test::kSeedKeyXcp, ""),
                                         kChassis, host_test::kSeedKeyXcp, "Nowhere");
    const MemoryFolder folder(both);
    EXPECT_EQ(folder.talvex("read", "engine", {"idle_setpoint"}).code, 0);
    const Outcome outcome =
        folder.talvex("read", "engine", {"-e", "chassis", "idle_setpoint", "spring_rate"});
    EXPECT_EQ(outcome.code, 7);
    EXPECT_THAT(outcome.err, StartsWith(std::string("talvex: chassis: connect: seed and key: ") +
                                        host_test::kSeedKeyXcp + ": has no function Nowhere; "));
}

// ---- Output that gets lost -------------------------------------------------------------------------------

TEST(LinkProcess, TraceOrLogOnAFullDiskIsAFailure) {
    const MemoryFolder folder;
    for (const char* option : {"--trace", "--log"}) {
        const Outcome outcome =
            folder.talvex("read", "engine", {"idle_setpoint", option, "/dev/full", "--log-level", "0"});
        EXPECT_EQ(outcome.code, 1) << option;
        EXPECT_EQ(outcome.out, "idle_setpoint = 780 rpm\n");
        EXPECT_EQ(outcome.err, "talvex: /dev/full: could not be written whole\n");
    }
}

TEST(LinkProcess, StandardOutputOnAFullDiskIsAFailure) {
    const MemoryFolder folder;
    for (const std::string form : {"", " --json"}) {
        const std::string command =
            std::string(host_test::kProgram) + " read -c ecus.toml -e engine idle_setpoint" + form;
        EXPECT_EQ(shell(folder, command + " >/dev/full 2>messages"), 1) << form;
        EXPECT_EQ(folder.text("messages"), "talvex: standard output: could not be written whole\n");
    }
}

// ---- The log ---------------------------------------------------------------------------------------------

TEST(LinkProcess, LogHasWhatItsLevelSays) {
    const MemoryFolder folder;
    EXPECT_EQ(folder.talvex("read", "engine", {"idle_setpoint", "--log", "all", "--log-level", "0"}).code, 0);
    EXPECT_EQ(folder.talvex("read", "engine", {"idle_setpoint", "--log", "few"}).code, 0);
    EXPECT_THAT(folder.text("all"), HasSubstr(" frame "));
    EXPECT_EQ(folder.text("few").find(" frame "), std::string::npos);
    EXPECT_THAT(folder.text("few").substr(0, folder.text("few").find('\n')),
                MatchesRegex(" +[0-9]+\\.[0-9]{6} (progress|warning|error) +[^ ].*"));
}

// ---- Interrupts ------------------------------------------------------------------------------------------

TEST(LinkProcess, InterruptIsHeardWhileABusIsOpened) {
    const MemoryFolder folder;
    host_test::RawServer server;
    const std::string bus = "powertrain=socketcand://127.0.0.1:" + std::to_string(server.port()) + "/can0";
    Program program({"read", "-c", folder.path("ecus.toml"), "-e", "engine", "--bus", bus, "idle_setpoint"},
                    Streams::apart);
    const host_test::RawPeer silent = server.accept();
    program.signal(SIGINT);
    EXPECT_EQ(program.wait(), 130);
    EXPECT_EQ(program.errors(), "talvex: bus powertrain: interrupted\n");
}

// ---- Numbers ---------------------------------------------------------------------------------------------

TEST(LinkProcess, TimeThatIsNoNumberIsAUsageError) {
    const MemoryFolder folder;
    for (const std::string command : {"sim --listen 127.0.0.1:0", "measure", "demo"}) {
        EXPECT_EQ(shell(folder, std::string(host_test::kProgram) + " " + command +
                                    " -c ecus.toml --seconds nan >/dev/null 2>messages"),
                  2)
            << command;
        EXPECT_THAT(folder.text("messages"), HasSubstr("\"nan\" is no finite number")) << command;
    }
}

}  // namespace
