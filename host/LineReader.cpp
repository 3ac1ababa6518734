#include "host/LineReader.h"

#include "host/Interrupt.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace host {
namespace {

constexpr std::size_t kBlock = 65536;

}  // namespace

LineReader::LineReader(const std::string& file)
    : m_isStandardInput(file == "-"),
      m_file(m_isStandardInput ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC)),
      m_block(kBlock) {
    if (m_file < 0) {
        throw std::system_error(errno, std::generic_category(), file + " cannot be read");
    }
}

LineReader::~LineReader() {
    if (!m_isStandardInput) {
        close(m_file);
    }
}

bool LineReader::readMore() {
    ssize_t count = -1;
    while (!interrupted()) {
        count = read(m_file, m_block.data(), m_block.size());
        if (count >= 0 || errno != EINTR) {
            break;
        }
    }
    if (count < 0 && !interrupted()) {
        m_failure = std::generic_category().message(errno);
    }
    m_at = 0;
    m_end = count > 0 ? static_cast<std::size_t>(count) : 0;
    return count > 0;
}

std::optional<std::string_view> LineReader::next() {
    m_line.clear();
    bool begun = false;
    while (m_at < m_end || readMore()) {
        begun = true;
        const auto from = m_block.begin() + static_cast<std::ptrdiff_t>(m_at);
        const auto to = m_block.begin() + static_cast<std::ptrdiff_t>(m_end);
        const auto feed = std::find(from, to, '\n');
        m_line.append(from, feed);
        m_line.resize(std::min(m_line.size(), kLongestLine));
        m_at = static_cast<std::size_t>(feed - m_block.begin()) + (feed == to ? 0U : 1U);
        if (feed != to) {
            break;
        }
    }
    if (!begun || interrupted()) {
        return std::nullopt;
    }
    ++m_count;
    return m_line;
}

}  // namespace host
