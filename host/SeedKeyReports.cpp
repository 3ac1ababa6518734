#include "host/SeedKeyReports.h"

namespace host {

void SeedKeyReports::take(std::size_t ecu, const std::string& text) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_texts[ecu] = text;
    if (m_log) {
        m_log(text);
    }
}

void SeedKeyReports::clear(std::size_t ecu) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_texts.erase(ecu);
}

std::string SeedKeyReports::of(std::size_t ecu) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_texts.find(ecu);
    return found != m_texts.end() ? found->second : std::string();
}

void SeedKeyReports::close() {
    m_closed = true;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_log = nullptr;
}

}  // namespace host
