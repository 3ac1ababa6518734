#include "memfile/HexLineWriter.h"

#include <algorithm>

namespace memfile {

namespace {

constexpr std::size_t kLineRoom = 512;

using DigitPair = std::array<char, 2>;

constexpr std::array<DigitPair, 256> digitPairs() {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::array<DigitPair, 256> pairs{};
    for (std::size_t value = 0; value < pairs.size(); ++value) {
        pairs[value] = {digits[value / 16], digits[value % 16]};
    }
    return pairs;
}

/// The two digits of each byte.
constexpr std::array<DigitPair, 256> kDigits = digitPairs();

}  // namespace

void HexLineWriter::begin(std::string_view text) {
    if (m_size + kLineRoom > m_buffer.size()) {
        flush();
    }
    std::copy(text.begin(), text.end(), m_buffer.begin() + static_cast<std::ptrdiff_t>(m_size));
    m_size += text.size();
    m_sum = 0;
}

void HexLineWriter::number(std::uint32_t value, std::size_t size) {
    for (std::size_t i = size; i > 0; --i) {
        const auto byte = static_cast<std::uint8_t>(value >> (8 * (i - 1)));
        digits(byte);
        m_sum = static_cast<std::uint8_t>(m_sum + byte);
    }
}

void HexLineWriter::bytes(std::span<const std::uint8_t> data) {
    std::uint32_t sum = m_sum;
    for (const std::uint8_t byte : data) {
        digits(byte);
        sum += byte;
    }
    m_sum = static_cast<std::uint8_t>(sum);
}

void HexLineWriter::end(std::uint8_t checksum) {
    digits(checksum);
    m_buffer[m_size++] = '\n';
}

void HexLineWriter::digits(std::uint8_t byte) {
    m_buffer[m_size] = kDigits[byte][0];
    m_buffer[m_size + 1] = kDigits[byte][1];
    m_size += 2;
}

void HexLineWriter::flush() {
    m_stream.write(m_buffer.data(), static_cast<std::streamsize>(m_size));
    m_size = 0;
}

}  // namespace memfile
