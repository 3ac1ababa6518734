#include "host/DeliveryPace.h"

#include <algorithm>

namespace host {

void DeliveryPace::sent(Clock::time_point now) {
    const std::lock_guard lock(m_mutex);
    ++m_unanswered;
    m_lastSent = now;
}

void DeliveryPace::handedOver(std::uint64_t timeUs, bool isAnswer) {
    const std::lock_guard lock(m_mutex);
    if (isAnswer) {
        m_unanswered -= std::min<std::size_t>(m_unanswered, 1);
    } else if (m_latest) {
        m_waiting.push_back(timeUs);
    }
}

void DeliveryPace::delivered(std::uint64_t timeUs, Clock::time_point now) {
    const std::lock_guard lock(m_mutex);
    m_latest = now;
    m_waiting.erase(m_waiting.begin(), std::upper_bound(m_waiting.begin(), m_waiting.end(), timeUs));
}

bool DeliveryPace::holds(Clock::time_point now) {
    const std::lock_guard lock(m_mutex);
    if (m_latest && now - *m_latest > kPatience) {
        m_latest.reset();
        m_waiting.clear();
    }
    if (now - m_lastSent > kPatience) {
        m_unanswered = 0;
    }
    return m_unanswered == 0 && m_waiting.size() > kMostWaiting;
}

}  // namespace host
