/// @file
/// TCP connections. All sockets are non-blocking and send small pieces at once.
#pragma once

#include "host/Endpoint.h"
#include "host/FileHandle.h"

#include <chrono>
#include <string>
#include <string_view>

namespace host {

using SocketClock = std::chrono::steady_clock;

/// Waits until @p socket is ready for @p events (as poll() has them), failed or was closed.
/// @return false if @p deadline came first
[[nodiscard]] bool waitForSocket(int socket, short events, SocketClock::time_point deadline);

/// As waitForSocket(), for a program that is being interrupted.
/// @throws HostError ExitCode::interrupted
[[nodiscard]] bool awaitSocket(int socket, short events, SocketClock::time_point deadline);

/// Connects to @p server; each of its addresses gets its share of the time. The look-up of its name takes as
/// long as the system takes for it.
/// @throws HostError ExitCode::interrupted
/// @throws std::runtime_error with the reason alone, such as "Connection refused" or that nobody answers
[[nodiscard]] FileHandle connectTcp(const Endpoint& server, SocketClock::time_point deadline);

/// Listens at @p place, port 0 being any free one.
/// @throws std::runtime_error with the reason alone
[[nodiscard]] FileHandle listenTcp(const Endpoint& place);

/// The next client of a listening socket; not valid if there is none.
[[nodiscard]] FileHandle acceptTcp(int listener);

/// The port that a socket has got on this machine.
[[nodiscard]] std::uint16_t localPort(int socket);

/// Sends all of @p bytes.
/// @return nothing, or why not all could be sent by @p deadline
[[nodiscard]] std::string sendAll(int socket, std::string_view bytes, SocketClock::time_point deadline);

}  // namespace host
