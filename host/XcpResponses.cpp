#include "host/XcpResponses.h"

#include <algorithm>
#include <utility>

namespace host {
namespace {

using std::chrono::milliseconds;

constexpr std::uint8_t kResponse = 0xFF;
constexpr std::uint8_t kError = 0xFE;
constexpr std::uint8_t kEvent = 0xFD;
constexpr std::uint8_t kCommandPending = 0x05;  ///< EV_CMD_PENDING

/// How often somebody who waits asks whether to give up.
constexpr milliseconds kSlice{20};

bool isPending(const std::vector<std::uint8_t>& frame) {
    return frame.size() > 1 && frame[0] == kEvent && frame[1] == kCommandPending;
}

}  // namespace

void XcpResponses::take(const BusFrame& bus) {
    const sim::Frame& frame = bus.frame;
    if (bus.own) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_own;
        m_changed.notify_all();
        return;
    }
    if (frame.id != m_id || frame.extended != m_extended || frame.length == 0) {
        return;
    }
    std::vector<std::uint8_t> bytes(frame.data.begin(), frame.data.begin() + frame.length);
    if (bytes[0] == kResponse || bytes[0] == kError || isPending(bytes)) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_frames.push_back(std::move(bytes));
        m_changed.notify_all();
    }
}

void XcpResponses::clear() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_frames.clear();
    m_own = 0;
}

void XcpResponses::awaitOwn(std::size_t count, milliseconds time) {
    std::unique_lock<std::mutex> lock(m_mutex);
    static_cast<void>(m_changed.wait_for(lock, time, [&] { return m_own >= count; }));
}

std::optional<std::vector<std::uint8_t>> XcpResponses::next(const XcpPatience& patience) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point last = Clock::now() + patience.total;
    Clock::time_point end = std::min(last, Clock::now() + patience.time);
    while (Clock::now() < end && !patience.giveUp()) {
        std::unique_lock<std::mutex> lock(m_mutex);
        const Clock::time_point slice = std::min(end, Clock::now() + kSlice);
        if (!m_changed.wait_until(lock, slice, [this] { return !m_frames.empty(); })) {
            continue;
        }
        std::vector<std::uint8_t> frame = std::move(m_frames.front());
        m_frames.pop_front();
        if (!isPending(frame)) {
            return frame;
        }
        end = std::min(last, Clock::now() + patience.time);
    }
    return std::nullopt;
}

}  // namespace host
