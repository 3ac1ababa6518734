/// @file
/// Bytes as tests write them: "ff 00 1a".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace support {

/// @return the bytes of @p hex, which holds two digits per byte, blanks between them
std::vector<std::uint8_t> bytes(const std::string& hex);

/// @return @p count bytes at @p data as "ff 00", in lower case
std::string hexText(const std::uint8_t* data, std::size_t count);

/// As above, for a vector.
std::string hexText(const std::vector<std::uint8_t>& data);

/// @return the words of @p text between its blanks
std::vector<std::string> words(const std::string& text);

/// @return @p count bytes that count up from @p first and wrap
std::vector<std::uint8_t> countingBytes(std::size_t count, std::uint8_t first = 0);

}  // namespace support
