/// @file
/// Offers buses on the network, so that any client of socketcand can talk to them.
#pragma once

#include "host/SocketcandSession.h"
#include "host/WakeUp.h"

#include <atomic>
#include <list>
#include <thread>
#include <utility>

namespace host {

/// What a server has counted.
struct ServerCounters {
    std::uint64_t clients = 0;  ///< that connected
    std::uint64_t dropped = 0;  ///< of them those that did not read, and those that were too many
};

/// Serves any number of clients, up to kMostClients at a time, on a thread of its own. Any thread, but for
/// construction and destruction.
class SocketcandServer {
public:
    static constexpr std::size_t kMostClients = 64;

    /// @throws HostError (ExitCode::bus) if nothing can listen at @p place
    SocketcandServer(const Endpoint& place, std::vector<ServedBus> buses);

    /// Closes all connections.
    ~SocketcandServer();
    SocketcandServer(const SocketcandServer&) = delete;
    SocketcandServer& operator=(const SocketcandServer&) = delete;

    /// Where it listens; the port is never 0.
    [[nodiscard]] const Endpoint& place() const { return m_place; }

    [[nodiscard]] ServerCounters counters() const { return {m_clients, m_dropped}; }

private:
    struct Client {
        Client(FileHandle handle, const std::vector<ServedBus>& buses, const WakeUp& wakeUp)
            : socket(std::move(handle)), session(buses, [&wakeUp] { wakeUp.set(); }) {}

        FileHandle socket;
        SocketcandSession session;
        std::string unsent;
        SocketClock::time_point moved = SocketClock::now();  ///< when it last took something
        bool gone = false;
    };

    void run();
    void waitForWork();
    void acceptClients();
    void serve(Client& client);
    void readFrom(Client& client);
    void writeTo(Client& client);
    [[nodiscard]] bool isStuck(const Client& client) const;

    const std::vector<ServedBus> m_buses;
    FileHandle m_listener;
    Endpoint m_place;
    WakeUp m_wakeUp;
    std::list<Client> m_sessions;  ///< server thread only
    std::atomic<std::uint64_t> m_clients{0};
    std::atomic<std::uint64_t> m_dropped{0};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

}  // namespace host
