#include "host/SocketCanBus.h"

#include "host/HostError.h"
#include "host/TcpSocket.h"

#include <fmt/format.h>

#include <linux/can/error.h>
#include <linux/can/raw.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

namespace host {
namespace {

constexpr std::chrono::seconds kSendTimeout{1};

/// The queue of an interface that is full does not wake anybody: it is tried again after a pause.
constexpr std::chrono::milliseconds kQueuePause{1};

/// A few frames: what waits for the bus then waits in the host, where poll() tells of room, and not in the
/// short queue of the interface, which throws away what does not fit.
constexpr int kSendBuffer = 4096;

constexpr std::size_t kMostFilters = CAN_RAW_FILTER_MAX;

[[noreturn]] void refuse(const std::string& interface, const std::string& reason) {
    throw HostError(fmt::format("socketcan:{}: {}", interface, reason), ExitCode::bus);
}

void setOption(int socket, const std::string& interface, int level, int option, int value) {
    if (setsockopt(socket, level, option, &value, sizeof value) != 0) {
        refuse(interface, fmt::format("the kernel refuses option {} of level {}: {}", option, level,
                                      std::strerror(errno)));
    }
}

FileHandle makeSocket(const std::string& interface) {
    FileHandle handle(socket(PF_CAN, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, CAN_RAW));
    if (!handle.valid()) {
        refuse(interface, fmt::format("this kernel has no CAN ({}); `modprobe can-raw` loads it, or use sim: "
                                      "or socketcand://",
                                      std::strerror(errno)));
    }
    return handle;
}

ifreq request(const std::string& interface) {
    ifreq text{};
    interface.copy(text.ifr_name, IFNAMSIZ - 1);
    return text;
}

void checkInterface(int socket, const SocketCanOptions& options) {
    const std::string& name = options.interface;
    ifreq flags = request(name);
    if (ioctl(socket, SIOCGIFFLAGS, &flags) != 0) {
        refuse(name, "there is no such interface; `ip link` lists what there is");
    }
    if ((flags.ifr_flags & IFF_UP) == 0) {
        refuse(name, fmt::format("the interface is down; `ip link set {} up` starts it", name));
    }
    ifreq size = request(name);
    if (options.fd && ioctl(socket, SIOCGIFMTU, &size) == 0 && size.ifr_mtu < static_cast<int>(CANFD_MTU)) {
        refuse(name,
               fmt::format("the interface does no CAN FD, which the data rate of the bus asks for; "
                           "`ip link set {0} type can fd on`, or `ip link set {0} mtu 72` for a virtual "
                           "one, switches it on",
                           name));
    }
}

/// Only the software clock of the kernel is asked for: the one source of time that all frames have, the own
/// ones included.
void setOptions(int socket, const SocketCanOptions& options) {
    const std::string& name = options.interface;
    setOption(socket, name, SOL_CAN_RAW, CAN_RAW_FD_FRAMES, options.fd ? 1 : 0);
    setOption(socket, name, SOL_CAN_RAW, CAN_RAW_RECV_OWN_MSGS, 1);
    setOption(socket, name, SOL_CAN_RAW, CAN_RAW_ERR_FILTER, CAN_ERR_BUSOFF);
    setOption(socket, name, SOL_SOCKET, SO_TIMESTAMPNS, 1);
    setOption(socket, name, SOL_SOCKET, SO_RXQ_OVFL, 1);
    setOption(socket, name, SOL_SOCKET, SO_SNDBUF, kSendBuffer);
}

void setFilters(int socket, const SocketCanOptions& options) {
    const std::vector<can_filter> filters = kernelFilters(options.ids);
    if (filters.empty() || filters.size() > kMostFilters) {
        return;
    }
    const auto size = static_cast<socklen_t>(filters.size() * sizeof(can_filter));
    if (setsockopt(socket, SOL_CAN_RAW, CAN_RAW_FILTER, filters.data(), size) != 0) {
        refuse(options.interface, fmt::format("the kernel refuses the filters: {}", std::strerror(errno)));
    }
}

void bindTo(int socket, const std::string& interface) {
    sockaddr_can address{};
    address.can_family = AF_CAN;
    address.can_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
    if (address.can_ifindex == 0) {  // which would be all interfaces
        refuse(interface, "the interface is gone");
    }
    if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        refuse(interface,
               fmt::format("it cannot be opened as a CAN interface ({}); `ip -details link show type "
                           "can` lists those that can",
                           std::strerror(errno)));
    }
}

FileHandle openSocket(const SocketCanOptions& options) {
    FileHandle handle = makeSocket(options.interface);
    checkInterface(handle.get(), options);
    setOptions(handle.get(), options);
    setFilters(handle.get(), options);
    bindTo(handle.get(), options.interface);
    return handle;
}

/// What an error of the socket says about the interface.
std::string reasonOf(int error) {
    switch (error) {
        case ENETDOWN:
            return "the interface went down";
        case ENODEV:
        case ENXIO:
            return "the interface is gone";
        default:
            return std::strerror(error);
    }
}

std::uint64_t systemTimeUs() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

/// @return 0 or the error that stays
int writeFrame(int socket, const sim::Frame& frame) {
    std::size_t size = 0;
    const canfd_frame kernel = kernelFrame(frame, size);
    const auto deadline = SocketClock::now() + kSendTimeout;
    for (;;) {
        if (write(socket, &kernel, size) == static_cast<ssize_t>(size)) {
            return 0;
        }
        const int error = errno;
        if (error != EAGAIN && error != ENOBUFS && error != EINTR) {
            return error;
        }
        if (SocketClock::now() >= deadline) {
            return ETIMEDOUT;
        }
        if (error == EAGAIN) {
            static_cast<void>(waitForSocket(socket, POLLOUT, deadline));
        } else if (error == ENOBUFS) {
            std::this_thread::sleep_for(kQueuePause);
        }
    }
}

}  // namespace

SocketCanBus::SocketCanBus(const SocketCanOptions& options, Receiver receiver)
    : m_name("socketcan:" + options.interface),
      m_receiver(std::move(receiver)),
      m_socket(openSocket(options)),
      m_thread([this] { run(); }) {}

SocketCanBus::~SocketCanBus() {
    m_stop = true;
    m_wakeUp.set();
    m_thread.join();
}

bool SocketCanBus::send(const sim::Frame& frame) {
    const std::lock_guard order(m_sendMutex);
    if (!failure().empty()) {
        return false;
    }
    const int error = writeFrame(m_socket.get(), frame);
    if (error != 0) {
        fail(error == ETIMEDOUT ? "the transmit queue has been full for a second; is another station on the "
                                  "bus, and is the bit rate right?"
                                : reasonOf(error));
    }
    return error == 0;
}

std::string SocketCanBus::failure() const {
    const std::lock_guard lock(m_mutex);
    return m_failure;
}

void SocketCanBus::run() {
    bool open = true;
    while (!m_stop) {
        std::array<pollfd, 2> entries{{{m_wakeUp.descriptor(), POLLIN, 0}, {m_socket.get(), POLLIN, 0}}};
        poll(entries.data(), open ? 2 : 1, -1);
        open = open && receive();
    }
}

/// Takes one frame, if there is one. @return false if the interface is down
bool SocketCanBus::receive() {
    canfd_frame kernel{};
    iovec place{&kernel, sizeof kernel};
    alignas(cmsghdr) std::array<char, 128> control{};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = recvmsg(m_socket.get(), &message, 0);
    if (size >= 0) {
        take(kernel, static_cast<std::size_t>(size), message);
        return true;
    }
    if (errno == EAGAIN || errno == EINTR) {
        return true;
    }
    fail(reasonOf(errno));
    return false;
}

void SocketCanBus::take(const canfd_frame& kernel, std::size_t size, msghdr& message) {
    const KernelNote note = noteOfKernel(message);
    countOverflows(note.overflows.value_or(m_lastOverflows));
    if (isBusOff(kernel, size)) {
        fail("the controller is off the bus after too many errors; check wiring, termination and bit rate");
    }
    if (const std::optional<sim::Frame> frame = frameOfKernel(kernel, size)) {
        const bool own = (message.msg_flags & MSG_CONFIRM) != 0;
        m_receiver(BusFrame{*frame, note.timeUs.value_or(systemTimeUs()), own});
    }
}

void SocketCanBus::countOverflows(std::uint32_t total) {
    m_overflows += total - m_lastOverflows;
    m_lastOverflows = total;
}

/// Keeps the first reason.
void SocketCanBus::fail(const std::string& reason) {
    const std::lock_guard lock(m_mutex);
    if (m_failure.empty()) {
        m_failure = m_name + ": " + reason;
    }
}

}  // namespace host
