#include "host/LogFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace host {
namespace {

constexpr std::array<const char*, 5> kLevelNames{"frame", "result", "progress", "warning", "error"};

}  // namespace

LogFile::LogFile(const std::string& file, std::uint32_t leastLevel, bool append)
    : m_leastLevel(leastLevel), m_file(std::fopen(file.c_str(), append ? "ae" : "we")) {
    if (!m_file) {
        throw std::system_error(errno, std::generic_category(), file + ": cannot be written");
    }
}

/// Flushed line by line: a log is read most when the program did not end well.
void LogFile::write(std::uint32_t level, const std::string& text) {
    if (level < m_leastLevel) {
        return;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
    const char* name = kLevelNames[std::min<std::size_t>(level, kLevelNames.size() - 1)];
    const std::string line = fmt::format("{:12.6f} {:<8} {}\n", elapsed.count(), name, text);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_file) {
        const bool written = std::fwrite(line.data(), 1, line.size(), m_file.get()) == line.size();
        const bool flushed = std::fflush(m_file.get()) == 0;
        m_whole = m_whole && written && flushed;
    }
}

bool LogFile::close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_file) {
        m_whole = std::fclose(m_file.release()) == 0 && m_whole;
    }
    return m_whole;
}

}  // namespace host
