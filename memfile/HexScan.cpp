#include "memfile/HexScan.h"

#include <algorithm>

namespace memfile {

namespace {

bool isSpace(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

}  // namespace

std::optional<std::uint32_t> scanHex(std::string_view text, std::size_t maxDigits) {
    const auto first = std::find_if_not(text.begin(), text.end(), isSpace);
    const std::string_view digits = std::string_view(first, text.end()).substr(0, maxDigits);
    std::uint32_t value = 0;
    std::size_t taken = 0;
    for (; taken < digits.size(); ++taken) {
        const int digit = kDigitValue[static_cast<unsigned char>(digits[taken])];
        if (digit < 0) {
            break;
        }
        value = value * 16 + static_cast<std::uint32_t>(digit);
    }
    if (taken == 0) {
        return std::nullopt;
    }
    return value;
}

std::size_t takeDigitPairs(std::string_view text, std::size_t count, std::uint8_t* bytes) {
    const std::size_t limit = std::min(count, text.size() / 2);
    const char* pair = text.data();
    std::size_t taken = 0;
    for (; taken < limit; ++taken, pair += 2) {
        const int value = twoDigits(pair);
        if (value < 0) {
            break;
        }
        bytes[taken] = static_cast<std::uint8_t>(value);
    }
    return taken;
}

}  // namespace memfile
