// Words for the tests of buses: a configuration with one ECU of 29-bit identifiers, what a bus received, and
// the other end of a TCP connection.
#pragma once

#include "host/CanBus.h"
#include "host/Config.h"
#include "host/TcpSocket.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace host_test {

// No wait is longer than this; those that succeed end at once.
inline constexpr std::chrono::seconds kPatience{60};

// Identifiers of the ECU, which answers CONNECT (FF 00) with kConnected.
inline constexpr std::uint32_t kCommandId = 0x18DA0001;
inline constexpr std::uint32_t kResponseId = 0x18DA0002;

// A bus "main" on channel 5 with the ECU "ecu".
extern const char* const kOneEcu;

// kOneEcu as a configuration.
host::Config oneEcu();

// A data frame of 29 bits.
host::BusFrame frameOf(std::uint32_t id, std::initializer_list<std::uint8_t> data);

// A frame as text: "18DA0001#FF00", with a trailing " own".
std::string textOf(const host::BusFrame& frame);

// Takes the frames of a bus on its thread.
class Received {
public:
    host::CanBus::Receiver receiver();

    // Waits until there are so many frames, and gives all as textOf().
    std::vector<std::string> waitFor(std::size_t count);

    // What waitFor() has seen last, with times.
    std::vector<host::BusFrame> frames();

private:
    std::mutex m_mutex;
    std::condition_variable m_more;
    std::vector<host::BusFrame> m_frames;
};

// Waits until a condition holds; false if it never does.
bool becomes(const std::function<bool()>& condition);

// The other end of a connection, word for word.
class RawPeer {
public:
    explicit RawPeer(host::FileHandle socket) : m_socket(std::move(socket)) {}

    static RawPeer connectTo(std::uint16_t port);

    void say(const std::string& bytes);

    // What one receive brings; empty when the connection is closed.
    std::string hear();

    // Hears until so many bytes are there, or the connection is closed.
    std::string hear(std::size_t bytes);

    // Hears until the text comes, and gives all up to its end; what there is if the connection is closed.
    std::string hearUntil(const std::string& text);

    void close() { m_socket = host::FileHandle(); }

private:
    host::FileHandle m_socket;
    std::string m_unread;
};

// A server of the test's own on a free port. What it does not hear fills its small buffer soon.
class RawServer {
public:
    RawServer();

    std::uint16_t port() const { return host::localPort(m_listener.get()); }

    RawPeer accept();

private:
    host::FileHandle m_listener;
};

}  // namespace host_test
