/// @file
/// Values on their way from the library to files and terminals.
#pragma once

#include "host/MeasureRecords.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace host {

/// The library's thread puts deliveries in and goes on at once: a file or a pipe that is slow must not keep
/// it from taking frames. Any thread.
class MeasureQueue {
public:
    /// Most deliveries that wait; what comes then is dropped and counted.
    static constexpr std::size_t kLimit = 200'000;

    void put(MeasureDelivery delivery) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_waiting.size() >= kLimit) {
            ++m_dropped;
            return;
        }
        m_waiting.push_back(std::move(delivery));
        if (m_waiting.size() == 1) {
            m_changed.notify_one();
        }
    }

    /// All that waits, oldest first. Waits up to @p patience for the first.
    [[nodiscard]] std::vector<MeasureDelivery> take(std::chrono::milliseconds patience) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, patience, [this] { return !m_waiting.empty(); });
        return std::exchange(m_waiting, {});
    }

    /// Deliveries that came while the queue was full.
    [[nodiscard]] std::uint64_t dropped() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_dropped;
    }

private:
    mutable std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::condition_variable m_changed;
    std::vector<MeasureDelivery> m_waiting;
    std::uint64_t m_dropped = 0;
};

}  // namespace host
