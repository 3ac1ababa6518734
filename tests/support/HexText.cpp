#include "tests/support/HexText.h"

#include <sstream>

namespace support {

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> found;
    for (std::string word; stream >> word;) {
        found.push_back(word);
    }
    return found;
}

std::vector<std::uint8_t> bytes(const std::string& hex) {
    std::vector<std::uint8_t> read;
    for (const std::string& word : words(hex)) {
        read.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
    }
    return read;
}

std::string hexText(const std::uint8_t* data, std::size_t count) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += i == 0 ? "" : " ";
        text += kDigits[data[i] >> 4];
        text += kDigits[data[i] & 15];
    }
    return text;
}

std::string hexText(const std::vector<std::uint8_t>& data) {
    return hexText(data.data(), data.size());
}

std::vector<std::uint8_t> countingBytes(std::size_t count, std::uint8_t first) {
    std::vector<std::uint8_t> made(count);
    for (std::uint8_t& byte : made) {
        byte = first++;
    }
    return made;
}

}  // namespace support
