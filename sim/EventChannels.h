/// @file
/// The time of a simulated ECU as its event channels count it.
#pragma once

#include "sim/Frame.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace sim {

/// Event k of a channel happens k periods after the start. A channel of period 0 never has one.
/// Times are bus times. Holds no lock.
class EventChannels {
public:
    /// @param periods  by channel, nanoseconds
    explicit EventChannels(std::vector<Time> periods)
        : m_periods(std::move(periods)), m_indices(m_periods.size()) {}

    void start(Time now) { m_start = now; }

    [[nodiscard]] std::size_t size() const { return m_periods.size(); }
    [[nodiscard]] bool cyclic(std::size_t channel) const { return m_periods.at(channel) > 0; }

    /// Events of @p channel until @p time, that at @p time included; 0 for a channel that is not there.
    [[nodiscard]] std::uint64_t indexAt(std::size_t channel, Time time) const {
        const bool counts = channel < m_periods.size() && m_periods[channel] > 0 && time >= m_start;
        return counts ? (time - m_start) / m_periods[channel] : 0;
    }

    /// Events of all channels until @p time; valid until the next call.
    [[nodiscard]] std::span<const std::uint64_t> indicesAt(Time time) {
        for (std::size_t channel = 0; channel < m_periods.size(); ++channel) {
            m_indices[channel] = indexAt(channel, time);
        }
        return m_indices;
    }

    /// When event @p index of @p channel happens.
    [[nodiscard]] Time timeOf(std::size_t channel, std::uint64_t index) const {
        return m_start + index * m_periods.at(channel);
    }

private:
    std::vector<Time> m_periods;
    std::vector<std::uint64_t> m_indices;
    Time m_start = 0;
};

}  // namespace sim
