#include "tests/host/BusTesting.h"

#include "tests/host/Program.h"

#include <fmt/format.h>

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

namespace host_test {

const char* const kOneEcu = R"(schema = 1
[demo]
silenced = "ecu"
[[bus]]
name = "main"
channel = 5
nominal_rate = 500_000
[[ecu]]
name = "ecu"
bus = "main"
command_id = 0x18DA0001
response_id = 0x18DA0002
extended = true
byte_order = "little"
commands = [0xDA]
daq = { identification = "absolute", packing = "fill" }
event = [{ name = "fast", cycle = 10, unit = "ms" }]
segment = [{ address = 0x1000, size = 0x100, writable = true }]
signals = [{ name = "count", kind = "counter", type = "u32", event = "fast", address = 0x1000 }]
variables = [{ name = "count", signal = "count" }]
)";

host::Config oneEcu() {
    const TempFile file(kOneEcu);
    return host::loadConfig(file.path());
}

host::BusFrame frameOf(std::uint32_t id, std::initializer_list<std::uint8_t> data) {
    host::BusFrame frame;
    frame.frame.id = id;
    frame.frame.extended = true;
    frame.frame.length = static_cast<std::uint8_t>(data.size());
    std::copy(data.begin(), data.end(), frame.frame.data.begin());
    return frame;
}

std::string textOf(const host::BusFrame& frame) {
    std::string text = fmt::format("{:0{}X}#", frame.frame.id, frame.frame.extended ? 8 : 3);
    for (std::size_t i = 0; i < frame.frame.length; ++i) {
        text += fmt::format("{:02X}", frame.frame.data[i]);
    }
    return frame.own ? text + " own" : text;
}

host::CanBus::Receiver Received::receiver() {
    return [this](const host::BusFrame& frame) {
        const std::lock_guard lock(m_mutex);
        m_frames.push_back(frame);
        m_more.notify_all();
    };
}

std::vector<std::string> Received::waitFor(std::size_t count) {
    std::unique_lock lock(m_mutex);
    m_more.wait_for(lock, kPatience, [&] { return m_frames.size() >= count; });
    std::vector<std::string> texts;
    std::transform(m_frames.begin(), m_frames.end(), std::back_inserter(texts), textOf);
    return texts;
}

std::vector<host::BusFrame> Received::frames() {
    const std::lock_guard lock(m_mutex);
    return m_frames;
}

bool becomes(const std::function<bool()>& condition) {
    const auto deadline = host::SocketClock::now() + kPatience;
    while (!condition()) {
        if (host::SocketClock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

RawPeer RawPeer::connectTo(std::uint16_t port) {
    return RawPeer(host::connectTcp({"127.0.0.1", port}, host::SocketClock::now() + kPatience));
}

void RawPeer::say(const std::string& bytes) {
    const std::string problem = host::sendAll(m_socket.get(), bytes, host::SocketClock::now() + kPatience);
    if (!problem.empty()) {
        throw std::runtime_error(problem);
    }
}

std::string RawPeer::hear() {
    if (!m_unread.empty()) {
        return std::exchange(m_unread, {});
    }
    if (!host::waitForSocket(m_socket.get(), POLLIN, host::SocketClock::now() + kPatience)) {
        throw std::runtime_error("nothing to hear");
    }
    std::array<char, 4096> bytes{};
    const ssize_t count = recv(m_socket.get(), bytes.data(), bytes.size(), 0);
    return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

std::string RawPeer::hear(std::size_t bytes) {
    std::string text;
    for (std::string part = hear(); !part.empty(); part = hear()) {
        text += part;
        if (text.size() >= bytes) {
            m_unread = text.substr(bytes);
            return text.substr(0, bytes);
        }
    }
    return text;
}

std::string RawPeer::hearUntil(const std::string& end) {
    std::string text;
    for (std::string part = hear(); !part.empty(); part = hear()) {
        text += part;
        const std::size_t place = text.find(end);
        if (place != std::string::npos) {
            m_unread = text.substr(place + end.size());
            return text.substr(0, place + end.size());
        }
    }
    return text;
}

// Connections have the buffer of their listener.
RawServer::RawServer() : m_listener(host::listenTcp({"127.0.0.1", 0})) {
    const int bytes = 4096;
    setsockopt(m_listener.get(), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

RawPeer RawServer::accept() {
    if (!host::waitForSocket(m_listener.get(), POLLIN, host::SocketClock::now() + kPatience)) {
        throw std::runtime_error("nobody connects");
    }
    return RawPeer(host::acceptTcp(m_listener.get()));
}

}  // namespace host_test
