// A bench for one simulated CCP ECU: a port with hand-driven time, and frames written as hexadecimal text.
#pragma once

#include "sim/CcpEcu.h"
#include "tests/sim/XcpEcuTestSupport.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace sim::test {

/// A frame of the text's bytes.
inline Frame frameOf(std::uint32_t id, const std::string& text) {
    Frame frame;
    frame.id = id;
    const std::vector<std::uint8_t> bytes = bytesOf(text);
    frame.length = static_cast<std::uint8_t>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), frame.data.begin());
    return frame;
}

/// An ECU that is on and waits for commands.
class CcpBench {
public:
    explicit CcpBench(CcpEcuConfig config) : ecu(std::move(config)) { ecu.powerOn(port); }

    /// Sends a command and returns what the ECU sent at once: frames as text, parted by " | ".
    std::string ask(const std::string& command) {
        port.sent.clear();
        Frame frame = frameOf(ecu.config().croId, command);
        frame.extended = ecu.config().extended;
        ecu.onFrame(frame, port.now());
        return heard();
    }

    /// Lets @p time pass and returns what the ECU sent meanwhile.
    std::string pass(Time time) {
        port.sent.clear();
        port.runUntil(port.now() + time);
        return heard();
    }

    [[nodiscard]] std::string heard() const {
        std::string text;
        for (const Frame& frame : port.sent) {
            text += (text.empty() ? "" : " | ") + textOf(frame);
        }
        return text;
    }

    /// Sends commands that must all be acknowledged.
    /// @return the first other answer with its command, or an empty text
    std::string setUp(const std::vector<std::string>& commands) {
        for (const std::string& command : commands) {
            const std::string answer = ask(command);
            if (answer.substr(0, 5) != "ff 00") {
                return command + " -> " + answer;
            }
        }
        return "";
    }

    /// @p size bytes of the ECU's memory as text.
    std::string memory(std::uint32_t address, std::size_t size) { return textOf(ecu.read(address, 0, size)); }

    FakePort port;
    CcpEcu ecu;
};

/// A bench whose ECU has an open session.
struct CcpSession : CcpBench {
    explicit CcpSession(CcpEcuConfig config) : CcpBench(std::move(config)) { ask("01 00 01 00"); }
};

/// A small ECU at station 1: 256 bytes of RAM at 0x1000 counting up from 0x00, read-only bytes at 0x2000,
/// hidden ones at 0x3000, two sectors of 64 bytes of flash at 0x4000, all zero. A working page at 0x1080
/// and a reference page at 0x4000. Event channels of 10 ms and 100 ms. List 0 takes any identifier and
/// has the ODTs 0x00 and 0x01; list 1 keeps 0x710 and has 0x10 to 0x12; list 2 insists on 0x1234567, is for
/// the slow channel and has 0x20.
inline CcpEcuConfig smallCcpEcu() {
    CcpEcuConfig config;
    MemorySegment ram = plainSegment(0x1000, 256);
    for (std::size_t i = 0; i < 256; ++i) {
        ram.pages[0].bytes[i] = static_cast<std::uint8_t>(i);
    }
    config.memory = {ram, plainSegment(0x2000, 16, MemoryAccess::readOnly),
                     plainSegment(0x3000, 16, MemoryAccess::none),
                     plainSegment(0x4000, 128, MemoryAccess::readOnly)};
    config.flash.sectors.resize(2);
    config.flash.sectors[0].base = 0x4000;
    config.flash.sectors[0].size = 64;
    config.flash.sectors[1].base = 0x4040;
    config.flash.sectors[1].size = 64;
    config.calPages = {{0x1080, 0}, {0x4000, 0}};
    config.events = {{"fast", 10 * kMs}, {"slow", 100 * kMs}};
    CcpDaqListConfig any;
    any.odts = 2;
    CcpDaqListConfig own;
    own.odts = 3;
    own.firstPid = 0x10;
    own.canId = CcpCanId{0x710, false};
    own.idRule = CcpIdRule::kept;
    CcpDaqListConfig strict;
    strict.firstPid = 0x20;
    strict.canId = CcpCanId{0x1234567, true};
    strict.idRule = CcpIdRule::checked;
    strict.events = {1};
    config.lists = {any, own, strict};
    return config;
}

inline CcpEcuConfig motorola(CcpEcuConfig config) {
    config.byteOrder = ByteOrder::motorola;
    return config;
}

}  // namespace sim::test
