#include "host/SocketcandBus.h"

#include "host/HostError.h"

#include <fmt/format.h>

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

namespace host {
namespace {

constexpr std::chrono::seconds kConnectTimeout{5};
constexpr std::chrono::seconds kSendTimeout{1};

template <class Clock>
std::int64_t nowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch()).count();
}

std::string nameOf(const BusUrl& url) {
    return fmt::format("socketcand://{}/{}", url.server.text(), url.name);
}

}  // namespace

SocketcandBus::SocketcandBus(const BusUrl& url, Receiver receiver)
    : m_name(nameOf(url)),
      m_receiver(std::move(receiver)),
      m_shiftUs(nowUs<std::chrono::system_clock>() - nowUs<SocketClock>()) {
    try {
        connect(url);
    } catch (const HostError&) {
        throw;  // an interrupt, which has nothing to do with the server
    } catch (const std::runtime_error& error) {
        throw HostError(
            fmt::format("{}: {}; check that the server runs there and offers this bus", m_name, error.what()),
            ExitCode::bus);
    }
    m_thread = std::thread([this] { run(); });
}

SocketcandBus::~SocketcandBus() {
    m_stop = true;
    m_wakeUp.set();
    m_thread.join();
}

void SocketcandBus::connect(const BusUrl& url) {
    const auto deadline = SocketClock::now() + kConnectTimeout;
    m_socket = connectTcp(url.server, deadline);
    expect("hi", deadline);
    sayInHandshake("< open " + url.name + " >", deadline);
    expect("ok", deadline);
    sayInHandshake("< rawmode >", deadline);
    expect("ok", deadline);
}

void SocketcandBus::sayInHandshake(const std::string& text, SocketClock::time_point deadline) {
    const std::string problem = sendAll(m_socket.get(), text, deadline);
    if (!problem.empty()) {
        throw std::runtime_error(problem);
    }
}

void SocketcandBus::expect(const std::string& content, SocketClock::time_point deadline) {
    const std::string element = nextElement(deadline);
    if (element != content) {
        throw std::runtime_error(
            fmt::format("the server says \"{}\" where \"{}\" belongs", element, content));
    }
}

std::string SocketcandBus::nextElement(SocketClock::time_point deadline) {
    while (m_elements.empty()) {
        if (SocketClock::now() >= deadline || !awaitSocket(m_socket.get(), POLLIN, deadline)) {
            throw std::runtime_error("the server does not answer");
        }
        if (const std::string problem = receive(); !problem.empty()) {
            throw std::runtime_error(problem);
        }
    }
    std::string element = std::move(m_elements.front());
    m_elements.pop_front();
    return element;
}

void SocketcandBus::run() {
    bool open = true;
    takeElements();
    while (!m_stop) {
        std::array<pollfd, 2> entries{{{m_wakeUp.descriptor(), POLLIN, 0}, {m_socket.get(), POLLIN, 0}}};
        poll(entries.data(), open ? 2 : 1, -1);
        m_wakeUp.clear();
        if (const std::string problem = open ? receive() : ""; !problem.empty()) {
            open = false;
            fail(problem);
        }
        takeElements();
        reportOwn(std::numeric_limits<std::uint64_t>::max());
    }
}

/// Takes in what is there. @return why the connection is gone; empty if it is not
std::string SocketcandBus::receive() {
    std::array<char, 4096> bytes{};
    const ssize_t count = recv(m_socket.get(), bytes.data(), bytes.size(), 0);
    if (count > 0) {
        m_reader.read({bytes.data(), static_cast<std::size_t>(count)},
                      [this](std::string_view content) { m_elements.emplace_back(content); });
        return {};
    }
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return {};
    }
    return count == 0 ? "the server closed the connection" : std::strerror(errno);
}

/// What is no frame and no error says nothing about the bus.
void SocketcandBus::takeElements() {
    for (const std::string& element : std::exchange(m_elements, {})) {
        if (const std::optional<BusFrame> frame = readFrameElement(element)) {
            takeFrame(*frame);
        } else if (element.rfind("error ", 0) == 0) {
            fail("the server says: " + element);
        }
    }
}

void SocketcandBus::takeFrame(const BusFrame& frame) {
    // What was sent ahead of this frame is reported ahead of it: the frame may be its answer.
    reportOwn(frame.timeUs);
    m_shiftUs = static_cast<std::int64_t>(frame.timeUs) - nowUs<SocketClock>();
    m_lastUs = frame.timeUs;
    m_receiver(frame);
}

/// Reports what the host sent. Times do not run ahead of @p limitUs, nor back behind frames that were there.
void SocketcandBus::reportOwn(std::uint64_t limitUs) {
    for (const OwnFrame& own : takeOwn()) {
        const auto estimate = static_cast<std::uint64_t>(std::max<std::int64_t>(own.sentUs + m_shiftUs, 0));
        m_lastUs = std::max(m_lastUs, std::min(estimate, limitUs));
        m_receiver(BusFrame{own.frame, m_lastUs, true});
    }
}

std::vector<SocketcandBus::OwnFrame> SocketcandBus::takeOwn() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_own, {});
}

bool SocketcandBus::send(const sim::Frame& frame) {
    const std::lock_guard order(m_sendMutex);
    {
        const std::lock_guard lock(m_mutex);
        if (!m_failure.empty()) {
            return false;
        }
        m_own.push_back({frame, nowUs<SocketClock>()});
    }
    const std::string problem =
        sendAll(m_socket.get(), sendElement(frame), SocketClock::now() + kSendTimeout);
    m_wakeUp.set();
    if (!problem.empty()) {
        fail(problem);
    }
    return problem.empty();
}

std::string SocketcandBus::failure() const {
    const std::lock_guard lock(m_mutex);
    return m_failure;
}

/// Keeps the first reason.
void SocketcandBus::fail(const std::string& reason) {
    const std::lock_guard lock(m_mutex);
    if (m_failure.empty()) {
        m_failure = m_name + ": " + reason;
    }
}

}  // namespace host
