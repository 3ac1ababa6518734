/// @file
/// An XCP ECU, one command at a time, byte for byte. The channel interface of the library sends frames of 8
/// bytes at most and cannot stand beside a session of the same ECU.
#pragma once

#include "host/CanBus.h"
#include "host/ConfigRecords.h"
#include "host/HostError.h"
#include "host/InfoXcpFacts.h"
#include "host/Link.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

namespace host {

/// The responses of an ECU as they come in. Any thread.
class XcpResponses {
public:
    explicit XcpResponses(const EcuRecord& record) : m_id(record.responseId), m_extended(record.extended) {}

    void take(const BusFrame& frame);

    /// Forgets all, the host's own frames included.
    void clear();

    /// Waits until the bus has shown so many frames of the host since `clear`. All that was on the bus ahead
    /// of the last has gone to the library then.
    void awaitOwn(std::size_t count, std::chrono::milliseconds time);

    /// The next response, positive or negative. An ECU that says that it is at work has the whole time again.
    [[nodiscard]] std::optional<std::vector<std::uint8_t>> next(std::chrono::milliseconds time);

private:
    const std::uint32_t m_id;
    const bool m_extended;
    std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::condition_variable m_changed;
    std::deque<std::vector<std::uint8_t>> m_frames;
    std::size_t m_own = 0;
};

/// One thread.
class XcpSlave {
public:
    /// All have to outlive the object; the frames of the bus go to @p responses.
    XcpSlave(const EcuRecord& record, std::size_t ecu, std::uint8_t channel, Link& link,
             XcpResponses& responses);

    /// Disconnects, if it is connected by a command of its own.
    ~XcpSlave();

    XcpSlave(const XcpSlave&) = delete;
    XcpSlave& operator=(const XcpSlave&) = delete;

    /// @throws HostError if the ECU does not answer or refuses
    SlaveAnswer connect();

    /// Sends @p command and waits for its answer; repeats it as the configuration says.
    /// @throws HostError if the ECU does not answer, for a bus that is down and for an interrupt
    SlaveAnswer ask(const std::vector<std::uint8_t>& command);

    /// Reads @p count bytes from where the ECU's memory transfer address stands; fewer if it refuses.
    /// @param granularity  bytes of an element
    /// @throws HostError as `ask`
    std::vector<std::uint8_t> upload(std::size_t count, std::uint8_t granularity);

    /// Has the session of the link connect and unlock what the configuration says. From then on the session
    /// disconnects. If it fails, the ECU is connected as before, and locked.
    /// @return what was in the way, if anything
    /// @throws HostError if the ECU does not answer any more
    [[nodiscard]] std::optional<HostError> unlock();

private:
    void leave();
    void send(const std::vector<std::uint8_t>& command);

    const EcuRecord& m_record;
    const std::size_t m_ecu;
    const std::uint8_t m_channel;
    Link& m_link;
    XcpResponses& m_responses;
    std::size_t m_frameSize = 8;  ///< longest response, bytes
    bool m_connected = false;     ///< by a command of its own
};

}  // namespace host
