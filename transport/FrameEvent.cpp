#include "transport/FrameEvent.h"

void FrameEvent::set() {
    {
        const std::lock_guard lock(m_mutex);
        m_set = true;
    }
    m_condition.notify_one();
}

void FrameEvent::wait(std::chrono::nanoseconds limit) {
    std::unique_lock lock(m_mutex);
    m_condition.wait_for(lock, limit, [this] { return m_set; });
    m_set = false;
}

FrameEvent& frameEvent() {
    static FrameEvent event;
    return event;
}
