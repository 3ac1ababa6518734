#include "host/TcpSocket.h"

#include "host/HostError.h"
#include "host/Interrupt.h"

#include <fmt/format.h>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace host {
namespace {

constexpr int kBacklog = 16;

/// How long an interrupt may go unseen: the signal may come to another thread.
constexpr std::chrono::milliseconds kInterruptSlice{50};

struct AddressCloser {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using Addresses = std::unique_ptr<addrinfo, AddressCloser>;

Addresses lookUp(const Endpoint& endpoint, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const std::string port = std::to_string(endpoint.port);
    const int error = getaddrinfo(endpoint.host.c_str(), port.c_str(), &hints, &found);
    if (error != 0) {
        throw std::runtime_error(gai_strerror(error));
    }
    return Addresses(found);
}

FileHandle makeSocket(const addrinfo& address) {
    const int type = address.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC;
    return FileHandle(socket(address.ai_family, type, address.ai_protocol));
}

/// A command and its answer are single small segments; waiting to fill them up would cost 40 ms each.
void sendAtOnce(int socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int pendingError(int socket) {
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

/// What there is until @p deadline for @p address, if those that follow it in its list are to get as much.
SocketClock::time_point shareOf(SocketClock::time_point deadline, const addrinfo& address) {
    const auto now = SocketClock::now();
    int addresses = 0;
    for (const addrinfo* next = &address; next != nullptr; next = next->ai_next) {
        ++addresses;
    }
    return now + (deadline - now) / addresses;
}

/// @return 0 or the error
int connectTo(int socket, const addrinfo& address, SocketClock::time_point deadline) {
    if (connect(socket, address.ai_addr, address.ai_addrlen) == 0) {
        return 0;
    }
    if (errno != EINPROGRESS) {
        return errno;
    }
    return awaitSocket(socket, POLLOUT, deadline) ? pendingError(socket) : ETIMEDOUT;
}

/// @return 0 or the error
int listenAt(int socket, const addrinfo& address) {
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const bool listens =
        bind(socket, address.ai_addr, address.ai_addrlen) == 0 && listen(socket, kBacklog) == 0;
    return listens ? 0 : errno;
}

/// The first address of @p list that @p open is content with. It returns 0 or an error.
template <class Open>
FileHandle firstOf(const Addresses& list, Open open) {
    int error = EADDRNOTAVAIL;
    for (const addrinfo* address = list.get(); address != nullptr; address = address->ai_next) {
        FileHandle handle = makeSocket(*address);
        error = handle.valid() ? open(handle.get(), *address) : errno;
        if (error == 0) {
            return handle;
        }
    }
    throw std::runtime_error(std::strerror(error));
}

}  // namespace

bool waitForSocket(int socket, short events, SocketClock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - SocketClock::now());
        pollfd entry{socket, events, 0};
        const int ready = poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        if (ready != 0 && (ready > 0 || errno != EINTR)) {
            return true;
        }
        if (ready == 0) {
            return false;
        }
    }
}

bool awaitSocket(int socket, short events, SocketClock::time_point deadline) {
    for (;;) {
        if (interrupted()) {
            throw HostError("interrupted", ExitCode::interrupted);
        }
        const auto slice = std::min(deadline, SocketClock::now() + kInterruptSlice);
        if (waitForSocket(socket, events, slice)) {
            return true;
        }
        if (slice == deadline) {
            return false;
        }
    }
}

FileHandle connectTcp(const Endpoint& server, SocketClock::time_point deadline) {
    FileHandle handle = firstOf(lookUp(server, 0), [deadline](int socket, const addrinfo& address) {
        return connectTo(socket, address, shareOf(deadline, address));
    });
    sendAtOnce(handle.get());
    return handle;
}

FileHandle listenTcp(const Endpoint& place) {
    return firstOf(lookUp(place, AI_PASSIVE), listenAt);
}

FileHandle acceptTcp(int listener) {
    FileHandle client(accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (client.valid()) {
        sendAtOnce(client.get());
    }
    return client;
}

std::uint16_t localPort(int socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        return 0;
    }
    const void* place = &address;
    return ntohs(address.ss_family == AF_INET6 ? static_cast<const sockaddr_in6*>(place)->sin6_port
                                               : static_cast<const sockaddr_in*>(place)->sin_port);
}

std::string sendAll(int socket, std::string_view bytes, SocketClock::time_point deadline) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno == EAGAIN) {
            if (!waitForSocket(socket, POLLOUT, deadline)) {
                return "the other side takes no more data";
            }
        } else if (errno != EINTR) {
            return std::strerror(errno);
        }
    }
    return {};
}

}  // namespace host
