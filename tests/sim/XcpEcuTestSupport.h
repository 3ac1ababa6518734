// A bench for one simulated XCP ECU: a port with hand-driven time, and frames written as hexadecimal text.
#pragma once

#include "sim/XcpEcu.h"

#include <cstdint>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace sim::test {

inline constexpr Time kMs = 1'000'000;

/// "f5 04" as bytes.
inline std::vector<std::uint8_t> bytesOf(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::uint8_t> bytes;
    for (std::string word; in >> word;) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
    }
    return bytes;
}

/// Bytes as "f5 04".
inline std::string textOf(std::span<const std::uint8_t> bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += text.empty() ? "" : " ";
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

inline std::string textOf(const Frame& frame) {
    return textOf({frame.data.data(), frame.length});
}

/// A port without a bus: keeps what is sent, and lets time pass only when told.
class FakePort : public Port {
public:
    void send(const Frame& frame) override { sent.push_back(frame); }
    [[nodiscard]] Time now() const override { return m_now; }
    TimerId at(Time when, std::function<void()> action) override {
        m_timers[{std::max(when, m_now), ++m_lastTimer}] = std::move(action);
        return m_lastTimer;
    }
    void cancel(TimerId timer) override {
        std::erase_if(m_timers, [timer](const auto& entry) { return entry.first.second == timer; });
    }

    void runUntil(Time time) {
        while (std::function<void()> action = takeDue(time)) {
            action();
        }
        m_now = time;
    }

    /// Moves time to the first timer that is due by @p time and takes it; empty if there is none.
    std::function<void()> takeDue(Time time) {
        if (m_timers.empty() || m_timers.begin()->first.first > time) {
            return {};
        }
        auto node = m_timers.extract(m_timers.begin());
        m_now = node.key().first;
        return std::move(node.mapped());
    }
    [[nodiscard]] std::size_t pendingTimers() const { return m_timers.size(); }

    std::vector<Frame> sent;

private:
    Time m_now = 0;
    TimerId m_lastTimer = 0;
    std::map<std::pair<Time, TimerId>, std::function<void()>> m_timers;
};

/// An ECU that is on and waits for commands.
class Bench {
public:
    explicit Bench(XcpEcuConfig config) : ecu(std::move(config)) { ecu.powerOn(port); }

    /// Sends a command and returns what the ECU sent at once: frames as text, parted by " | ".
    std::string ask(const std::string& command) {
        port.sent.clear();
        put(command);
        return heard();
    }

    /// Sends a command as the master's frame.
    void put(const std::string& command) {
        Frame frame;
        frame.id = ecu.config().masterId;
        frame.extended = ecu.config().extended;
        frame.fd = ecu.config().fd;
        const std::vector<std::uint8_t> bytes = bytesOf(command);
        frame.length = static_cast<std::uint8_t>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), frame.data.begin());
        ecu.onFrame(frame, port.now());
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

    /// Sends commands of which each must be answered with a bare positive response.
    /// @return the first other answer with its command, or an empty text
    std::string setUp(const std::vector<std::string>& commands) {
        for (const std::string& command : commands) {
            const std::string answer = ask(command);
            if (answer.substr(0, 2) != "ff") {
                return command + " -> " + answer;
            }
        }
        return "";
    }

    FakePort port;
    XcpEcu ecu;
};

/// A bench whose ECU has an open session.
struct Session : Bench {
    explicit Session(XcpEcuConfig config) : Bench(std::move(config)) { ask("ff 00"); }
};

/// A small ECU: 256 bytes of RAM at 0x1000 counting up from 0x00, read-only bytes at 0x2000, hidden
/// ones at 0x3000, two event channels of 10 ms and 100 ms.
inline XcpEcuConfig smallEcu(std::uint8_t granularity = 1) {
    XcpEcuConfig config;
    config.granularity = granularity;
    MemorySegment ram = plainSegment(0x1000, 256);
    for (std::size_t i = 0; i < 256; ++i) {
        ram.pages[0].bytes[i] = static_cast<std::uint8_t>(i);
    }
    config.memory = {ram, plainSegment(0x2000, 16, MemoryAccess::readOnly),
                     plainSegment(0x3000, 16, MemoryAccess::none)};
    XcpEventConfig fast;
    fast.name = "fast";
    fast.cycle = 10;
    XcpEventConfig slow;
    slow.name = "slow";
    slow.cycle = 100;
    slow.priority = 3;
    config.daq.events = {fast, slow};
    config.storeDuration = kMs;
    return config;
}

inline XcpEcuConfig motorola(XcpEcuConfig config) {
    config.byteOrder = ByteOrder::motorola;
    return config;
}

}  // namespace sim::test
