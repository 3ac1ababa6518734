#include "tests/soak/SoakVerdict.h"

namespace soak {

void SoakVerdict::add(const std::string& fault) {
    ++m_faultCount;
    if (m_faults.size() < kMostKept) {
        m_faults.push_back(fault);
    }
}

void SoakVerdict::blame(const std::string& fault) {
    const std::lock_guard lock(m_mutex);
    add(fault);
}

void SoakVerdict::announce(std::uint32_t level, const std::string& text) {
    const std::lock_guard lock(m_mutex);
    ++m_announced[{level, text}];
}

void SoakVerdict::onLog(std::uint32_t level, const std::string& text) {
    if (level < kFirstBadLevel) {
        return;
    }
    const std::lock_guard lock(m_mutex);
    const auto announced = m_announced.find({level, text});
    if (announced == m_announced.end()) {
        add("a log line of level " + std::to_string(level) + ": " + text);
        return;
    }
    ++m_announcedLines;
    if (--announced->second == 0) {
        m_announced.erase(announced);
    }
}

void SoakVerdict::blameUnused() {
    const std::lock_guard lock(m_mutex);
    for (const auto& [line, times] : m_announced) {
        add("no log line of level " + std::to_string(line.first) + ": " + line.second);
    }
}

bool SoakVerdict::held() const {
    const std::lock_guard lock(m_mutex);
    return m_faultCount == 0;
}

std::vector<std::string> SoakVerdict::faults() const {
    const std::lock_guard lock(m_mutex);
    return m_faults;
}

std::size_t SoakVerdict::faultCount() const {
    const std::lock_guard lock(m_mutex);
    return m_faultCount;
}

std::uint64_t SoakVerdict::announcedLines() const {
    const std::lock_guard lock(m_mutex);
    return m_announcedLines;
}

}  // namespace soak
