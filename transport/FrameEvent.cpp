#include "transport/FrameEvent.h"

#include <thread>

void FrameEvent::set() {
    {
        const std::lock_guard lock(m_mutex);
        m_set = true;
    }
    m_condition.notify_one();
}

void FrameEvent::wait(std::chrono::nanoseconds limit) {
    // Who sets it may be about to run: giving way to it costs far less than a timer that is set and
    // cancelled.
    std::this_thread::yield();
    std::unique_lock lock(m_mutex);
    m_condition.wait_for(lock, limit, [this] { return m_set; });
    m_set = false;
}

FrameEvent& frameEvent() {
    static FrameEvent event;
    return event;
}
