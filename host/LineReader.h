/// @file
/// A text as lines, from a file or from a pipe that is still being written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// Reads with one system call a block, so a line of a live pipe is there as soon as it was written. One
/// thread.
class LineReader {
public:
    /// Longest line that is kept whole; of a longer one the rest is dropped.
    static constexpr std::size_t kLongestLine = 4096;

    /// @param file  "-" is standard input
    /// @throws std::system_error if it cannot be opened
    explicit LineReader(const std::string& file);
    ~LineReader();

    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /// The next line without its line feed, valid until the next call.
    /// @return nothing at the end, after a request to end the program, and if reading failed
    [[nodiscard]] std::optional<std::string_view> next();

    /// Lines that next() has given.
    [[nodiscard]] std::uint64_t count() const { return m_count; }

    /// Why reading ended early; empty if it did not.
    [[nodiscard]] const std::string& failure() const { return m_failure; }

private:
    [[nodiscard]] bool readMore();

    const bool m_isStandardInput;
    int m_file = -1;
    std::vector<char> m_block;  ///< what was read last
    std::size_t m_at = 0;       ///< next byte of it
    std::size_t m_end = 0;
    std::string m_line;
    std::uint64_t m_count = 0;
    std::string m_failure;
};

}  // namespace host
