#include "decode/ValueText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace trace_view {

namespace {

constexpr std::string_view upperDigits = "0123456789ABCDEF";
constexpr std::string_view lowerDigits = "0123456789abcdef";

}  // namespace

std::string hexText(std::uint32_t value) {
    std::array<char, 10> buffer;
    std::size_t start = buffer.size();
    do {
        buffer[--start] = upperDigits[value & 0xFU];
        value >>= 4U;
    } while (value != 0);
    buffer[--start] = 'x';
    buffer[--start] = '0';
    return {buffer.data() + start, buffer.size() - start};
}

std::string decText(std::uint32_t value) {
    std::array<char, 10> buffer;
    const std::to_chars_result result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return {buffer.data(), result.ptr};
}

std::string byteText(std::span<const std::uint8_t> bytes, std::size_t count) {
    std::string text(2 + 2 * count, '0');
    text[1] = 'x';
    const std::span<const std::uint8_t> present = bytes.first(std::min(count, bytes.size()));
    std::size_t at = 2;
    for (const std::uint8_t byte : present) {
        text[at++] = lowerDigits[byte >> 4U];
        text[at++] = lowerDigits[byte & 0xFU];
    }
    return text;
}

}  // namespace trace_view
