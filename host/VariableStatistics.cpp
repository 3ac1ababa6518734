#include "host/VariableStatistics.h"

#include <algorithm>

namespace host {

void VariableStatistics::add(std::uint64_t timeUs, const ShownValue& value) {
    if (m_count == 0) {
        m_first = value;
        m_firstTimeUs = timeUs;
        m_least = m_most = value.number;
    }
    m_last = value;
    m_lastTimeUs = timeUs;
    m_least = std::min(m_least, value.number);
    m_most = std::max(m_most, value.number);
    m_series.add(value.number);
    ++m_count;
}

double VariableStatistics::rate() const {
    if (m_count < 2 || m_lastTimeUs <= m_firstTimeUs) {
        return 0.0;
    }
    return static_cast<double>(m_count - 1) * 1e6 / static_cast<double>(m_lastTimeUs - m_firstTimeUs);
}

}  // namespace host
