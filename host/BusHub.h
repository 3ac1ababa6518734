/// @file
/// One bus shared by several senders, such as the clients of a server.
#pragma once

#include "host/CanBus.h"
#include "host/OwnFrames.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>

namespace host {

/// Every member gets each frame of the bus but its own. Any thread.
///
/// The hub is made ahead of its bus, since the bus hands its frames to take(); connect() then tells it the
/// bus.
class BusHub {
public:
    using Member = std::uint64_t;

    /// @param fd          whether the bus does CAN FD
    /// @param timeShiftUs  is added to the time of each frame, microseconds
    BusHub(bool fd, std::uint64_t timeShiftUs) : m_fd(fd), m_timeShiftUs(timeShiftUs) {}
    BusHub(const BusHub&) = delete;
    BusHub& operator=(const BusHub&) = delete;

    /// From now on frames can be sent. @p bus lives until nobody sends any more.
    void connect(CanBus& bus) { m_bus = &bus; }

    /// The receiver of the bus.
    void take(const BusFrame& frame);

    /// Has @p receiver called with the frames of the others, on the thread of the bus. It must not wait, nor
    /// call the hub.
    [[nodiscard]] Member join(CanBus::Receiver receiver);

    /// When it returns the receiver of @p member is not running any more.
    void leave(Member member);

    /// Whether the bus carries frames like @p frame.
    [[nodiscard]] bool carries(const sim::Frame& frame) const { return !frame.fd || m_fd; }

    /// Sends a frame that the bus carries; waits as long as CanBus::send() does.
    /// @return false if the bus is down
    bool send(Member member, const sim::Frame& frame);

private:
    const bool m_fd;
    const std::uint64_t m_timeShiftUs;
    std::atomic<CanBus*> m_bus{nullptr};
    std::mutex
        m_mutex;  ///< guards all below, and is held while receivers run; they lock only what is their own
    std::map<Member, CanBus::Receiver> m_members;
    Member m_next = 1;
    OwnFrames m_sent;  ///< not yet on the wire, with their senders
};

}  // namespace host
