/// @file
/// How many DAQ frames wait in the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace soak {

/// Counts the DAQ frames of each ECU that the bus has carried and no value has come of yet. The library drops
/// frames when 2,000 wait; the figure shows how near to that a soak came. Any thread.
class FlowMeter {
public:
    /// To be called for all ECUs ahead of everything else.
    void add(const std::string& ecuName, std::uint8_t channel, std::uint32_t slaveId);

    /// A frame was on the bus at @p timeUs, microseconds of bus time.
    void onFrame(std::uint8_t channel, std::uint32_t id, std::uint8_t firstByte, std::uint64_t timeUs);

    /// @p count values came with the time @p timeUs of their frame.
    void onValues(const std::string& ecuName, std::uint64_t timeUs, std::size_t count);

    /// A measurement begins or ends: nobody takes what waits.
    void clear();

    /// The most frames of one ECU that ever waited.
    [[nodiscard]] std::size_t mostWaiting() const;
    /// DAQ frames, and values by DAQ, of all ECUs.
    [[nodiscard]] std::uint64_t frames() const;
    [[nodiscard]] std::uint64_t values() const;

private:
    mutable std::mutex m_mutex;  ///< guards all below, but for m_names, which is fixed once frames come
    std::map<std::pair<std::uint8_t, std::uint32_t>, std::string> m_names;
    std::map<std::string, std::deque<std::uint64_t>> m_waiting;
    std::size_t m_most = 0;
    std::uint64_t m_frames = 0;
    std::uint64_t m_values = 0;
};

}  // namespace soak
