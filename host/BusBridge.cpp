#include "host/BusBridge.h"

#include <utility>

namespace host {
namespace {

/// About a second of a busy bus.
constexpr std::size_t kMostQueued = 8192;

}  // namespace

BusBridge::BusBridge(BusHub& hub, const Opener& opener)
    : m_hub(hub), m_member(hub.join([this](const BusFrame& frame) { takeInside(frame); })) {
    try {
        m_outside = opener([this](const BusFrame& frame) { takeOutside(frame); });
        m_thread = std::thread([this] { run(); });
    } catch (...) {
        m_hub.leave(m_member);
        throw;
    }
}

BusBridge::~BusBridge() {
    m_hub.leave(m_member);
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_work.notify_one();
    m_thread.join();
    m_outside.reset();
}

BridgeCounters BusBridge::counters() const {
    const std::lock_guard lock(m_mutex);
    return m_counters;
}

void BusBridge::takeInside(const BusFrame& frame) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_queue.size() >= kMostQueued) {
            ++m_counters.lost;
            return;
        }
        m_queue.push_back(frame.frame);
    }
    m_work.notify_one();
}

/// Own frames are those that came from the hub.
void BusBridge::takeOutside(const BusFrame& frame) {
    if (frame.own) {
        return;
    }
    const bool sent = m_hub.carries(frame.frame) && m_hub.send(m_member, frame.frame);
    const std::lock_guard lock(m_mutex);
    ++(sent ? m_counters.in : m_counters.lost);
}

void BusBridge::run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_work.wait(lock, [this] { return m_stop || !m_queue.empty(); });
        if (m_stop) {
            return;
        }
        const sim::Frame frame = m_queue.front();
        m_queue.pop_front();
        lock.unlock();
        const bool sent = m_outside->send(frame);
        lock.lock();
        ++(sent ? m_counters.out : m_counters.lost);
    }
}

}  // namespace host
