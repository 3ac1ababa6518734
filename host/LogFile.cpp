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

LogFile::LogFile(const std::string& file, std::uint32_t leastLevel)
    : m_leastLevel(leastLevel), m_file(std::fopen(file.c_str(), "we")) {
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
    static_cast<void>(std::fwrite(line.data(), 1, line.size(), m_file.get()));
    static_cast<void>(std::fflush(m_file.get()));
}

}  // namespace host
