#include "tests/soak/FlowMeter.h"

#include <algorithm>

namespace soak {
namespace {

constexpr std::uint8_t kFirstPacket = 0xFC;  ///< below it stand the identifiers of ODTs

}  // namespace

void FlowMeter::add(const std::string& ecuName, std::uint8_t channel, std::uint32_t slaveId) {
    m_names[{channel, slaveId}] = ecuName;
}

void FlowMeter::onFrame(std::uint8_t channel, std::uint32_t id, std::uint8_t firstByte,
                        std::uint64_t timeUs) {
    const auto name = m_names.find({channel, id});
    if (name == m_names.end() || firstByte >= kFirstPacket) {
        return;
    }
    const std::lock_guard lock(m_mutex);
    std::deque<std::uint64_t>& waiting = m_waiting[name->second];
    waiting.push_back(timeUs);
    m_most = std::max(m_most, waiting.size());
    ++m_frames;
}

void FlowMeter::onValues(const std::string& ecuName, std::uint64_t timeUs, std::size_t count) {
    const std::lock_guard lock(m_mutex);
    m_values += count;
    std::deque<std::uint64_t>& waiting = m_waiting[ecuName];
    while (!waiting.empty() && waiting.front() <= timeUs) {
        waiting.pop_front();
    }
}

void FlowMeter::clear() {
    const std::lock_guard lock(m_mutex);
    for (auto& [name, waiting] : m_waiting) {
        waiting.clear();
    }
}

std::size_t FlowMeter::mostWaiting() const {
    const std::lock_guard lock(m_mutex);
    return m_most;
}

std::uint64_t FlowMeter::frames() const {
    const std::lock_guard lock(m_mutex);
    return m_frames;
}

std::uint64_t FlowMeter::values() const {
    const std::lock_guard lock(m_mutex);
    return m_values;
}

}  // namespace soak
