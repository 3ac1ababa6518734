#include "tests/soak/ResidentSize.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace soak {

std::size_t residentSize() {
    std::ifstream file("/proc/self/statm");
    std::size_t all = 0;
    std::size_t resident = 0;
    if (!(file >> all >> resident)) {
        throw std::runtime_error("/proc/self/statm cannot be read");
    }
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

bool ResidentSize::isJudged() {
#ifdef TALVEX_SANITIZED
    return false;
#else
    return true;
#endif
}

std::string ResidentSize::look(sim::Time now) {
    if (now < m_warmUp) {
        return {};
    }
    const std::size_t size = residentSize();
    if (!m_first) {
        m_first = m_highest = m_lowest = size;
    }
    m_highest = std::max(m_highest, size);
    m_lowest = std::min(m_lowest, size);
    if (m_told || !isJudged() || size <= *m_first + kMostGrowth) {
        return {};
    }
    m_told = true;
    return "resident size grew from " + std::to_string(*m_first / 1024) + " KiB behind the warm-up to " +
           std::to_string(size / 1024) + " KiB";
}

}  // namespace soak
