#pragma once

#include <cstddef>
#include <istream>
#include <string_view>
#include <vector>

namespace memfile {

/// Splits a stream into lines, through a large buffer. A line ends at a line feed; a carriage return directly
/// ahead of the line feed isn't part of it, any other is. What stands behind the last line feed is a line,
/// unless it is empty.
class LineReader {
public:
    /// Reads from the present position of @p stream, which has to outlive the reader.
    explicit LineReader(std::istream& stream);

    /// Fetches the next line, without its end. The characters live until the next call.
    /// @return false at the end of the stream, with @p line empty
    bool next(std::string_view& line);

    /// @return the number of characters behind the present line; only those already read if the stream can't
    ///         tell its length
    std::size_t left() const { return m_end - m_begin + m_unread; }

private:
    bool refill();
    std::string_view take(std::size_t length, std::size_t skip);

    std::istream& m_stream;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0;  ///< first character not yet handed out
    std::size_t m_end = 0;    ///< behind the last character read
    std::size_t m_unread;     ///< characters that the stream still has, as far as known
};

}  // namespace memfile
