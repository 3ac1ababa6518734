#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string_view>

namespace memfile {

/// Forms lines of upper case hexadecimal digits and writes them to a stream in large pieces. It sums the
/// bytes of the line, as both formats end a line in a checksum. Failures of the stream are not looked at.
class HexLineWriter {
public:
    /// @param stream  has to outlive the writer
    explicit HexLineWriter(std::ostream& stream) : m_stream(stream) {}

    /// Writes what is left.
    ~HexLineWriter() { flush(); }

    HexLineWriter(const HexLineWriter&) = delete;
    HexLineWriter& operator=(const HexLineWriter&) = delete;

    /// Begins a line with @p text, which isn't summed. A line has room for 512 characters in all.
    void begin(std::string_view text);

    /// Adds the @p size lowest bytes of @p value, the highest of them first.
    void number(std::uint32_t value, std::size_t size);

    /// Adds two digits for each byte.
    void bytes(std::span<const std::uint8_t> data);

    /// @return sum of the line's bytes so far, in 8 bits
    std::uint8_t sum() const { return m_sum; }

    /// Ends the line with a checksum and a line feed.
    void end(std::uint8_t checksum);

private:
    void digits(std::uint8_t byte);
    void flush();

    std::ostream& m_stream;
    std::array<char, 64 * 1024> m_buffer;
    std::size_t m_size = 0;  ///< characters in m_buffer
    std::uint8_t m_sum = 0;
};

}  // namespace memfile
