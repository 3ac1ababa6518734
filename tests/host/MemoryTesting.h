// Words for the tests of `talvex upload`, `flash`, `erase` and `check`: a folder with image files and the
// example configuration, whose ECUs are simulated in the process and begin afresh with each run.
#pragma once

#include "tests/host/HexTesting.h"
#include "tests/host/Program.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace host_test {

using Json = nlohmann::json;

// What a part of a simulated memory holds at the start; the seed is its address plus 1 for a working page, 2
// for a reference page, 3 for flash.
inline std::string startContent(unsigned seed, std::size_t size) {
    std::mt19937 pattern(seed);
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) {
        bytes += static_cast<char>(static_cast<std::uint8_t>(pattern()));
    }
    return bytes;
}

// The example, patient with a machine full of other work; an ECU that was reset is missed once, not twice.
inline std::string patientConfig() {
    const std::regex timeouts("command_ms = [0-9]+,(.*) retries = [0-9]+,");
    return std::regex_replace(projectFile("examples/demo.toml"), timeouts,
                              "command_ms = 20000,$1 retries = 0,");
}

// The configuration of a host that knows of no seed and key.
inline std::string withoutSecurity(const std::string& config) {
    return std::regex_replace(config, std::regex("\nsecurity = [^\n]*"), "");
}

class MemoryFolder : public HexFolder {
public:
    explicit MemoryFolder(const std::string& config = patientConfig()) { file("ecus.toml", config); }

    // Runs a sub-command on one ECU here.
    Outcome talvex(const std::string& command, const std::string& ecu,
                   const std::vector<std::string>& arguments) const {
        return runProgram(commandLine(command, ecu, arguments), "", path(""));
    }

    std::vector<std::string> commandLine(const std::string& command, const std::string& ecu,
                                         const std::vector<std::string>& arguments) const {
        std::vector<std::string> all{command, "--config", path("ecus.toml"), "--ecu", ecu};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return all;
    }

    // Makes an Intel HEX file of bytes with objcopy.
    void image(const std::string& name, const std::string& bytes, const std::string& address) const {
        file("bytes.bin", bytes);
        run("objcopy -I binary -O ihex --change-addresses " + address + " bytes.bin " + name);
    }

    // The bytes of an image file from an address on, as srec_cat reads them.
    std::string bytesOf(const std::string& name, const std::string& format, const std::string& from,
                        const std::string& to) const {
        run("srec_cat " + name + " " + format + " -crop " + from + " " + to + " -offset -" + from +
            " -o read.bin -binary");
        return text("read.bin");
    }
};

// The ECUs of a configuration, simulated in a process of their own that keeps what is programmed.
class RunningEcus {
public:
    explicit RunningEcus(const std::string& config)
        : m_server({"sim", "--config", config, "--listen", "127.0.0.1:0"}) {
        EXPECT_TRUE(m_server.readUntil("listening at 127.0.0.1:")) << m_server.output();
        // The line comes in one piece.
        m_port = std::to_string(std::stoi(m_server.output().substr(portPlace())));
    }

    std::uint16_t port() const { return static_cast<std::uint16_t>(std::stoi(m_port)); }

    // For --bus: where the bus of that name is.
    std::string bus(const std::string& name) const {
        return name + "=socketcand://127.0.0.1:" + m_port + "/" + name;
    }

private:
    std::size_t portPlace() const {
        const std::string ahead = "listening at 127.0.0.1:";
        return m_server.output().find(ahead) + ahead.size();
    }

    Program m_server;
    std::string m_port;
};

inline std::vector<Json> objectsOf(const std::string& text) {
    std::vector<Json> objects;
    for (const std::string& line : linesOf(text)) {
        objects.push_back(Json::parse(line));
        EXPECT_EQ(objects.back().at("schema"), 1) << line;
    }
    return objects;
}

}  // namespace host_test
