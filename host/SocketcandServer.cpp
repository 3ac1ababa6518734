#include "host/SocketcandServer.h"

#include "host/HostError.h"

#include <fmt/format.h>

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace host {
namespace {

/// How long a client may take nothing while there is something for it.
constexpr std::chrono::seconds kStuckAfter{10};

/// Longest wait of the server thread, so that it sees clients that are stuck.
constexpr std::chrono::milliseconds kLongestWait{1000};

/// Out of descriptors a listener stays readable; a pause keeps the thread from spinning.
constexpr std::chrono::milliseconds kAcceptPause{50};

FileHandle openListener(const Endpoint& place) {
    try {
        return listenTcp(place);
    } catch (const std::runtime_error& error) {
        throw HostError(fmt::format("cannot listen at {}: {}; choose another port, or 0 for any that is free",
                                    place.text(), error.what()),
                        ExitCode::bus);
    }
}

}  // namespace

SocketcandServer::SocketcandServer(const Endpoint& place, std::vector<ServedBus> buses)
    : m_buses(std::move(buses)),
      m_listener(openListener(place)),
      m_place{place.host, localPort(m_listener.get())},
      m_thread([this] { run(); }) {}

SocketcandServer::~SocketcandServer() {
    m_stop = true;
    m_wakeUp.set();
    m_thread.join();
}

void SocketcandServer::run() {
    while (!m_stop) {
        waitForWork();
        acceptClients();
        for (Client& client : m_sessions) {
            serve(client);
        }
        m_sessions.remove_if([](const Client& client) { return client.gone; });
    }
}

/// Returns when a socket or a session has something to do.
void SocketcandServer::waitForWork() {
    auto until = SocketClock::now() + kLongestWait;
    std::vector<pollfd> entries{{m_wakeUp.descriptor(), POLLIN, 0}, {m_listener.get(), POLLIN, 0}};
    for (const Client& client : m_sessions) {
        const bool idle = client.unsent.empty();
        entries.push_back({client.socket.get(), static_cast<short>(idle ? POLLIN : POLLOUT), 0});
        until = idle ? std::min(until, client.session.heldUntil().value_or(until)) : until;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - SocketClock::now());
    poll(entries.data(), entries.size(), static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    m_wakeUp.clear();
}

void SocketcandServer::acceptClients() {
    for (FileHandle socket = acceptTcp(m_listener.get()); socket.valid();
         socket = acceptTcp(m_listener.get())) {
        ++m_clients;
        if (m_sessions.size() < kMostClients) {
            m_sessions.emplace_back(std::move(socket), m_buses, m_wakeUp);
        } else {
            ++m_dropped;
        }
    }
    if (errno == EMFILE || errno == ENFILE) {
        std::this_thread::sleep_for(kAcceptPause);
    }
}

/// A client that does not read is not read from either, so that replies do not pile up.
void SocketcandServer::serve(Client& client) {
    if (client.unsent.empty()) {
        readFrom(client);
    }
    writeTo(client);
    if (!client.gone && isStuck(client)) {
        client.gone = true;
        ++m_dropped;
    }
}

/// One piece each time, so that a client with much to send does not keep the others waiting.
void SocketcandServer::readFrom(Client& client) {
    std::array<char, 4096> bytes{};
    const ssize_t count = recv(client.socket.get(), bytes.data(), bytes.size(), 0);
    if (count > 0) {
        client.session.read({bytes.data(), static_cast<std::size_t>(count)}, SocketClock::now());
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        client.gone = true;
    }
}

/// A session hands out more only when what it gave is sent: what a client leaves unread piles up in its
/// session, which has a limit.
void SocketcandServer::writeTo(Client& client) {
    if (client.unsent.empty()) {
        client.unsent = client.session.take(SocketClock::now());
        client.moved = SocketClock::now();
    }
    while (!client.unsent.empty() && !client.gone) {
        const ssize_t count =
            send(client.socket.get(), client.unsent.data(), client.unsent.size(), MSG_NOSIGNAL);
        if (count > 0) {
            client.unsent.erase(0, static_cast<std::size_t>(count));
            client.moved = SocketClock::now();
        } else if (errno == EAGAIN) {
            return;
        } else if (errno != EINTR) {
            client.gone = true;
        }
    }
    client.gone = client.gone || client.session.finished();
}

bool SocketcandServer::isStuck(const Client& client) const {
    return client.session.overrun() ||
           (!client.unsent.empty() && SocketClock::now() - client.moved > kStuckAfter);
}

}  // namespace host
