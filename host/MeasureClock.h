/// @file
/// One time for values of several buses and of polling.
#pragma once

#include "host/CanBus.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace host {

/// The library gives DAQ values the time of a frame, in the clock of its bus, and polled values the time of
/// day. This brings both to seconds since the start of the measurement. What a bus's clock is behind the time
/// of day is learned from the frames ahead of the start, then stays: differences of DAQ times are those of
/// the frames. Any thread.
class MeasureClock {
public:
    explicit MeasureClock(std::size_t buses) : m_behind(buses) {
        for (auto& behind : m_behind) {
            behind = kUnknown;
        }
    }

    /// Learns from a frame that has just come. Behind `start` it does nothing.
    void note(std::size_t bus, const BusFrame& frame) {
        if (m_start != 0) {
            return;
        }
        const std::int64_t behind = today() - static_cast<std::int64_t>(frame.timeUs);
        std::int64_t known = m_behind[bus];
        while (behind < known && !m_behind[bus].compare_exchange_weak(known, behind)) {
        }
    }

    /// The measurement starts now.
    void start() { m_start = today(); }

    /// Microseconds since 1970-01-01 UTC; 0 ahead of `start`.
    [[nodiscard]] std::int64_t startUs() const { return m_start; }

    /// Seconds from the start until now.
    [[nodiscard]] double now() const { return static_cast<double>(today() - m_start) / 1e6; }

    /// @param timeUs  time of day
    [[nodiscard]] double ofDay(std::uint64_t timeUs) const {
        return static_cast<double>(static_cast<std::int64_t>(timeUs) - m_start) / 1e6;
    }

    /// @param timeUs  in the clock of the bus with index @p bus
    [[nodiscard]] double ofBus(std::size_t bus, std::uint64_t timeUs) const {
        const std::int64_t behind = m_behind[bus] == kUnknown ? 0 : m_behind[bus].load();
        return static_cast<double>(static_cast<std::int64_t>(timeUs) + behind - m_start) / 1e6;
    }

private:
    static constexpr std::int64_t kUnknown = std::numeric_limits<std::int64_t>::max();

    static std::int64_t today() {
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    }

    std::atomic<std::int64_t> m_start{0};
    std::vector<std::atomic<std::int64_t>> m_behind;  ///< by index of the bus, microseconds
};

}  // namespace host
