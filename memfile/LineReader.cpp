#include "memfile/LineReader.h"

#include <algorithm>
#include <cstring>

namespace memfile {

namespace {

constexpr std::size_t kBufferSize = 128 * 1024;

/// @return the number of characters from the present position to the end, 0 if the stream can't tell
std::size_t charactersLeft(std::istream& stream) {
    const std::streamoff here = stream.tellg();
    if (here < 0) {
        return 0;
    }
    stream.seekg(0, std::ios::end);
    const std::streamoff end = stream.tellg();
    stream.clear(stream.rdstate() & ~std::ios::failbit);
    stream.seekg(here);
    return end > here ? static_cast<std::size_t>(end - here) : 0;
}

}  // namespace

LineReader::LineReader(std::istream& stream)
    : m_stream(stream), m_buffer(kBufferSize), m_unread(charactersLeft(stream)) {}

bool LineReader::next(std::string_view& line) {
    std::size_t searched = 0;
    for (;;) {
        const char* const start = m_buffer.data() + m_begin;
        const void* const lineFeed = std::memchr(start + searched, '\n', m_end - m_begin - searched);
        if (lineFeed != nullptr) {
            line = take(static_cast<std::size_t>(static_cast<const char*>(lineFeed) - start), 1);
            if (line.ends_with('\r')) {
                line.remove_suffix(1);
            }
            return true;
        }
        searched = m_end - m_begin;
        if (!refill()) {
            line = take(searched, 0);
            return !line.empty();
        }
    }
}

/// Hands out @p length characters and steps over @p skip behind them.
std::string_view LineReader::take(std::size_t length, std::size_t skip) {
    const std::string_view taken(m_buffer.data() + m_begin, length);
    m_begin += length + skip;
    return taken;
}

/// Reads more behind the begun line, which moves to the front of the buffer; a line as long as the buffer
/// doubles it.
/// @return false if there was nothing to read
bool LineReader::refill() {
    const auto data = m_buffer.begin();
    std::copy(data + static_cast<std::ptrdiff_t>(m_begin), data + static_cast<std::ptrdiff_t>(m_end), data);
    m_end -= m_begin;
    m_begin = 0;
    if (m_end == m_buffer.size()) {
        m_buffer.resize(2 * m_buffer.size());
    }
    m_stream.read(m_buffer.data() + m_end, static_cast<std::streamsize>(m_buffer.size() - m_end));
    const auto count = static_cast<std::size_t>(m_stream.gcount());
    m_end += count;
    m_unread -= std::min(count, m_unread);
    return count != 0;
}

}  // namespace memfile
