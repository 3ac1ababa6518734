/// @file
/// A bus that a socketcand server offers.
#pragma once

#include "host/BusUrl.h"
#include "host/CanBus.h"
#include "host/SocketcandText.h"
#include "host/TcpSocket.h"
#include "host/WakeUp.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace host {

/// "socketcand://host:port/bus". A connection that is closed is a bus that is down.
///
/// Times are those of the server. A server does not send back what a client sent, so the client reports its
/// own frames itself, with the time of their sending on the clock of the server: this machine's clock,
/// shifted by what it was off when the last frame came in. Ahead of the first frame it is taken to be the
/// system clock.
class SocketcandBus final : public CanBus {
public:
    /// Connects, within 5 seconds for all of it.
    /// @throws HostError (ExitCode::bus) with server, bus, reason and what to do
    SocketcandBus(const BusUrl& url, Receiver receiver);

    ~SocketcandBus() override;

    bool send(const sim::Frame& frame) override;

    [[nodiscard]] std::string failure() const override;

private:
    struct OwnFrame {
        sim::Frame frame;
        std::int64_t sentUs = 0;  ///< on the steady clock
    };

    void connect(const BusUrl& url);
    void expect(const std::string& content, SocketClock::time_point deadline);
    void sayInHandshake(const std::string& text, SocketClock::time_point deadline);
    [[nodiscard]] std::string nextElement(SocketClock::time_point deadline);

    void run();
    [[nodiscard]] std::string receive();
    void takeElements();
    void takeFrame(const BusFrame& frame);
    void reportOwn(std::uint64_t limitUs);
    [[nodiscard]] std::vector<OwnFrame> takeOwn();
    void fail(const std::string& reason);

    const std::string m_name;
    const Receiver m_receiver;
    FileHandle m_socket;                 ///< fixed after construction
    SocketcandReader m_reader;           ///< down to m_lastUs: constructor, then receiving thread only
    std::deque<std::string> m_elements;  ///< received, but not looked at; those of one receive at most
    std::int64_t m_shiftUs = 0;          ///< clock of the server less the steady clock
    std::uint64_t m_lastUs = 0;          ///< of the frame reported last

    std::mutex m_sendMutex;       ///< held while an element is sent. Ahead of m_mutex
    mutable std::mutex m_mutex;   ///< guards down to m_failure; nothing else is locked while it is held
    std::vector<OwnFrame> m_own;  ///< sent, but not reported
    std::string m_failure;

    WakeUp m_wakeUp;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

}  // namespace host
