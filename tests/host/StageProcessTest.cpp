// Sub-commands that are interrupted, or lose their bus, at each of their stages: the way to a simulated ECU
// is cut at a certain command, which is so never answered.

#include "host/TcpSocket.h"
#include "tests/host/BusTesting.h"
#include "tests/host/MemoryTesting.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <future>
#include <memory>
#include <ostream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace {

using host::SocketClock;
using host_test::MemoryFolder;
using host_test::Program;
using host_test::RunningEcus;
using host_test::Streams;
using ::testing::ElementsAre;
using ::testing::EndsWith;

// "123456789" in the flash of the engine.
constexpr const char* kDigitsImage = ":0200000280007C\n:0901000031323334353637383919\n:00000001FF\n";

// Passes on what a client and a server of the socketcand protocol say, until the client sends a certain
// frame.
class CutLine {
public:
    // @param frame  matches the words of the frame
    CutLine(std::uint16_t server, const std::string& frame)
        : m_frame(frame),
          m_listener(host::listenTcp({"127.0.0.1", 0})),
          m_server(host::connectTcp({"127.0.0.1", server}, deadline())),
          m_thread([this] { run(); }) {}

    ~CutLine() {
        m_end = true;
        m_thread.join();
    }

    std::uint16_t port() const { return host::localPort(m_listener.get()); }

    // Waits for the frame; false if a side left without it.
    bool isCut() { return m_cut.get_future().get(); }

    // Behind the cut: the bus is gone.
    void close() { m_client = host::FileHandle(); }

private:
    static SocketClock::time_point deadline() { return SocketClock::now() + std::chrono::seconds(60); }

    void run() {
        bool both = false;
        while (!both && !m_end) {
            both = isReadable(m_listener);
        }
        if (both) {
            m_client = host::acceptTcp(m_listener.get());
        }
        std::string said;
        while (both && !m_end && !std::regex_search(said, m_frame)) {
            both = pass(m_server, m_client) && hear(said);
        }
        m_cut.set_value(std::regex_search(said, m_frame));
    }

    static bool isReadable(const host::FileHandle& socket) {
        return host::waitForSocket(socket.get(), POLLIN, SocketClock::now() + std::chrono::milliseconds(1));
    }

    // Empty if the other side has left.
    static std::string read(const host::FileHandle& socket) {
        std::array<char, 4096> bytes{};
        const ssize_t count = recv(socket.get(), bytes.data(), bytes.size(), 0);
        return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }

    // What one side says goes to the other. @return false if a side has left
    static bool pass(const host::FileHandle& from, const host::FileHandle& to) {
        if (!isReadable(from)) {
            return true;
        }
        const std::string text = read(from);
        return !text.empty() && host::sendAll(to.get(), text, deadline()).empty();
    }

    // What the client says, which goes to the server but for the frame. @return false if a side has left
    bool hear(std::string& said) const {
        if (!isReadable(m_client)) {
            return true;
        }
        const std::string text = read(m_client);
        said += text;
        return !text.empty() &&
               (std::regex_search(said, m_frame) || host::sendAll(m_server.get(), text, deadline()).empty());
    }

    const std::regex m_frame;
    const host::FileHandle m_listener;
    const host::FileHandle m_server;
    host::FileHandle m_client;  // of the thread; behind m_cut of the test
    std::promise<bool> m_cut;
    std::atomic<bool> m_end{false};
    std::thread m_thread;
};

// A command of the tool, and the code of the XCP command that is not answered.
struct Stage {
    const char* name;
    std::vector<std::string> arguments;
    const char* code;
    const char* what;  // was going on, in the words of the message
};

std::ostream& operator<<(std::ostream& stream, const Stage& stage) {
    return stream << stage.name;
}

class StageProcess : public testing::TestWithParam<Stage> {
protected:
    // Runs the sub-command on the engine up to its stage.
    void run() {
        std::vector<std::string> arguments = GetParam().arguments;
        for (std::string& argument : arguments) {
            argument = std::regex_replace(argument, std::regex("^FOLDER"), m_folder.path(""));
        }
        const std::string bus = "powertrain=socketcand://127.0.0.1:" + std::to_string(m_line.port());
        arguments.insert(arguments.end(), {"--config", m_folder.path("ecus.toml"), "--ecu", "engine", "--bus",
                                           bus + "/powertrain"});
        m_program = std::make_unique<Program>(arguments, Streams::apart);
        ASSERT_TRUE(m_line.isCut());
    }

    const MemoryFolder m_folder;
    const RunningEcus m_ecus{m_folder.path("ecus.toml")};
    CutLine m_line{m_ecus.port(), std::string("< send 600 [0-9A-F]+ ") + GetParam().code + " "};
    std::unique_ptr<Program> m_program;
};

TEST_P(StageProcess, InterruptEndsItAndLeavesNoPartOfAFile) {
    m_folder.file("digits.hex", kDigitsImage);
    run();
    m_program->signal(SIGINT);
    EXPECT_EQ(m_program->wait(), 130) << m_program->output() << m_program->errors();
    EXPECT_THAT(m_program->errors(), EndsWith(std::string("talvex: ") + GetParam().what +
                                              ": interrupted; what was open is closed\n"));
    EXPECT_THAT(m_folder.names(), ElementsAre("digits.hex", "ecus.toml"));
}

TEST_P(StageProcess, BusThatClosesEndsItByNameAndLeavesNoPartOfAFile) {
    m_folder.file("digits.hex", kDigitsImage);
    run();
    m_line.close();
    EXPECT_EQ(m_program->wait(), 4) << m_program->output() << m_program->errors();
    EXPECT_THAT(m_program->errors(),
                EndsWith("talvex: socketcand://127.0.0.1:" + std::to_string(m_line.port()) +
                         "/powertrain: the server closed the connection\n"));
    EXPECT_THAT(m_folder.names(), ElementsAre("digits.hex", "ecus.toml"));
}

INSTANTIATE_TEST_SUITE_P(
    Of, StageProcess,
    testing::Values(Stage{"Connect", {"read", "idle_speed"}, "FF", "connect"},
                    Stage{"Unlock", {"read", "idle_speed"}, "F7", "connect"},
                    Stage{"Info", {"info"}, "DA", "info"},  //
                    Stage{"Read", {"read", "idle_speed"}, "F4", "read idle_speed"},
                    Stage{"Write", {"write", "idle_speed=780"}, "F0", "write idle_speed"},
                    Stage{"Page", {"page", "reference"}, "EB", "select the reference page"},
                    Stage{"Copy", {"page", "copy"}, "E4", "copy the reference page"},
                    Stage{"Upload", {"upload", "FOLDERback.hex"}, "F5", "upload"},
                    Stage{"Erase", {"erase"}, "D1", "erase"},
                    Stage{"EraseOfAFlash", {"flash", "FOLDERdigits.hex"}, "D1", "erase"},
                    Stage{"Program", {"flash", "FOLDERdigits.hex"}, "D0", "program"},
                    Stage{"Check", {"check", "FOLDERdigits.hex"}, "F3", "check"},
                    Stage{"StartOfAMeasurement", {"measure"}, "DE", "start of the measurement"}),
    [](const testing::TestParamInfo<Stage>& stage) { return stage.param.name; });

}  // namespace
