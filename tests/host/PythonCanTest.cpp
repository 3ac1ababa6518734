// A client that nobody here wrote: python-can of the distribution against `talvex sim`.

#include "tests/host/BusTesting.h"
#include "tests/host/Places.h"
#include "tests/host/Program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using host_test::Program;
using host_test::Streams;
using host_test::TempFile;

// The interpreter of the distribution, whatever else is installed.
constexpr const char* kPython = "/usr/bin/python3";

bool hasPythonCan() {
    return std::system((std::string(kPython) + " -c 'import can' >/dev/null 2>&1").c_str()) == 0;
}

struct Ended {
    int code = 0;
    std::string output;
};

Ended runClient(std::uint16_t port) {
    const std::string command = std::string("timeout 200 ") + kPython + " " + host_test::kProjectFolder +
                                "/tests/host/python_can_client.py " + std::to_string(port) + " main";
    std::FILE* pipe = popen(command.c_str(), "r");
    Ended ended;
    std::array<char, 4096> part{};
    while (std::fgets(part.data(), static_cast<int>(part.size()), pipe) != nullptr) {
        ended.output += part.data();
    }
    const int status = pclose(pipe);
    ended.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return ended;
}

TEST(PythonCan, SeesTheEcuAndItsOtherClientsAndIsSeenByThem) {
    if (!hasPythonCan()) {
        GTEST_SKIP() << "python3-can is not installed on this machine";
    }
    const TempFile file(host_test::kOneEcu);
    Program simulator({"sim", file.path(), "--listen", "127.0.0.1:0", "--json"}, Streams::apart);
    ASSERT_TRUE(simulator.readUntil("\n"));
    const auto ready = nlohmann::json::parse(simulator.output().substr(0, simulator.output().find('\n')));
    const Ended client = runClient(ready.at("port").get<std::uint16_t>());
    EXPECT_EQ(client.code, 0);
    // CONNECT is answered with the resources calibration and DAQ, 8 bytes for commands and for data,
    // version 1.
    const std::string round = "sender 18DA0002#ANSWER\nlistener 18DA0001#FF00\nlistener 18DA0002#ANSWER\n";
    std::string expected = round + round + round + "sender 18DA0002#ANSWER\n";
    for (std::size_t at = expected.find("ANSWER"); at != std::string::npos; at = expected.find("ANSWER")) {
        expected.replace(at, 6, "FF05800808000101");
    }
    EXPECT_EQ(client.output, expected);
}

}  // namespace
