/// @file
/// Frames and nodes for the tests of the simulated bus.
#pragma once

#include "sim/Frame.h"
#include "sim/Port.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <vector>

namespace sim {

/// Longest wait for another thread. Only a broken bus gets there.
inline constexpr std::chrono::seconds kPatience{60};

inline Frame classic(std::uint32_t id, const std::vector<std::uint8_t>& data = {}) {
    Frame frame;
    frame.id = id;
    frame.length = static_cast<std::uint8_t>(data.size());
    std::copy_n(data.begin(), std::min(data.size(), kMaxPayload), frame.data.begin());
    return frame;
}

inline Frame extended(std::uint32_t id, const std::vector<std::uint8_t>& data = {}) {
    Frame frame = classic(id, data);
    frame.extended = true;
    return frame;
}

inline Frame fd(std::uint32_t id, const std::vector<std::uint8_t>& data = {}, bool brs = true) {
    Frame frame = classic(id, data);
    frame.fd = true;
    frame.brs = brs;
    return frame;
}

inline Frame fdExtended(std::uint32_t id, const std::vector<std::uint8_t>& data = {}, bool brs = true) {
    Frame frame = fd(id, data, brs);
    frame.extended = true;
    return frame;
}

inline std::vector<std::uint8_t> bytes(std::size_t count, std::uint8_t value = 0) {
    return std::vector<std::uint8_t>(count, value);
}

/// Remembers what it received, and does what it is told with each frame.
class Listener : public Node {
public:
    void onFrame(const Frame& frame, Time end) override {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_frames.push_back(frame);
            m_ends.push_back(end);
        }
        m_arrived.notify_all();
        if (react) {
            react(frame, end);
        }
    }

    /// Waits until @p count frames have come.
    bool received(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_arrived.wait_for(lock, kPatience, [&] { return m_frames.size() >= count; });
    }

    std::vector<Frame> frames() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_frames;
    }

    std::vector<Time> ends() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_ends;
    }

    std::vector<std::uint32_t> ids() {
        std::vector<std::uint32_t> all;
        for (const Frame& frame : frames()) {
            all.push_back(frame.id);
        }
        return all;
    }

    std::function<void(const Frame&, Time)> react;  ///< set before frames come

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Frame> m_frames;
    std::vector<Time> m_ends;
};

}  // namespace sim
