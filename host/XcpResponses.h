/// @file
/// What an XCP ECU sends, for whoever waits for an answer.
#pragma once

#include "host/CanBus.h"
#include "host/ConfigRecords.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace host {

/// How long somebody waits for an answer.
struct XcpPatience {
    std::chrono::milliseconds time;   ///< from the command on, and from each event that the ECU is at work
    std::chrono::milliseconds total;  ///< in all
    std::function<bool()> giveUp;     ///< asked meanwhile
};

/// The responses of an ECU as they come in. Any thread.
class XcpResponses {
public:
    explicit XcpResponses(const EcuRecord& record) : m_id(record.responseId), m_extended(record.extended) {}

    /// Keeps a frame if it is an answer of the ECU; counts it if the host sent it.
    void take(const BusFrame& bus);

    /// Forgets all, the host's own frames included.
    void clear();

    /// Waits until the bus has shown so many frames of the host since `clear`. All that was on the bus ahead
    /// of the last has gone to the library then.
    void awaitOwn(std::size_t count, std::chrono::milliseconds time);

    /// The next response, positive or negative; none if @p patience is at its end.
    [[nodiscard]] std::optional<std::vector<std::uint8_t>> next(const XcpPatience& patience);

private:
    const std::uint32_t m_id;
    const bool m_extended;
    std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::condition_variable m_changed;
    std::deque<std::vector<std::uint8_t>> m_frames;
    std::size_t m_own = 0;
};

}  // namespace host
