/// @file
/// Scanning of hexadecimal fields in lines of text.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace memfile {

/// Value of each character as a hexadecimal digit of either case, -1 for all others.
inline constexpr std::array<std::int8_t, 256> kDigitValue = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::uint8_t digit = 0; digit < 10; ++digit) {
        values[static_cast<std::size_t>('0' + digit)] = static_cast<std::int8_t>(digit);
    }
    for (std::uint8_t digit = 10; digit < 16; ++digit) {
        values[static_cast<std::size_t>('A' + digit - 10)] = static_cast<std::int8_t>(digit);
        values[static_cast<std::size_t>('a' + digit - 10)] = static_cast<std::int8_t>(digit);
    }
    return values;
}();

/// @return the value of the two characters at @p text, negative if one of them is no hexadecimal digit
inline int twoDigits(const char* text) {
    const int high = kDigitValue[static_cast<unsigned char>(text[0])];
    const int low = kDigitValue[static_cast<unsigned char>(text[1])];
    return (high * 16) | low;
}

/// Scans a number at the start of @p text: leading white space is skipped and not counted, then come at most
/// @p maxDigits hexadecimal digits. What follows the number doesn't matter: "1G" is 1. A sign or "0x" has no
/// meaning of its own: "-1" is no number, "0x12" is 0.
///
/// @param maxDigits  at most 8
/// @return nothing if there is no digit to take
std::optional<std::uint32_t> scanHex(std::string_view text,
                                     std::size_t maxDigits = std::numeric_limits<std::uint32_t>::digits / 4);

/// Takes pairs of digits from the start of @p text as bytes, as many as stand there in an unbroken row and at
/// most @p count. Each pair has the value that scanHex finds for it.
///
/// @param bytes  room for @p count bytes
/// @return the number of pairs taken
std::size_t takeDigitPairs(std::string_view text, std::size_t count, std::uint8_t* bytes);

}  // namespace memfile
