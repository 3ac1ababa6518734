/// @file
/// The Motorola S-record format: where the fields of a line stand, and what its records are.
#pragma once

#include <cstddef>
#include <cstdint>

namespace memfile::srec {

inline constexpr char kMark = 'S';               ///< first character of every record
inline constexpr std::size_t kTypeIndex = 1;     ///< one digit
inline constexpr std::size_t kCountIndex = 2;    ///< two digits: bytes of address, data and checksum
inline constexpr std::size_t kAddressIndex = 4;  ///< two digits a byte, most significant byte first

inline constexpr std::size_t kMaxCount = 255;  ///< what the count field can hold
inline constexpr std::size_t kChecksumSize = 1;

inline constexpr char kTypeData16 = '1';  ///< data, 2 address bytes
inline constexpr char kTypeData24 = '2';  ///< data, 3 address bytes
inline constexpr char kTypeData32 = '3';  ///< data, 4 address bytes
inline constexpr char kTypeEnd32 = '7';   ///< end, 4 address bytes

/// @return the number of address bytes of a data record, 0 for all other records
constexpr std::size_t addressSize(char type) {
    return type >= kTypeData16 && type <= kTypeData32 ? static_cast<std::size_t>(type - kTypeData16) + 2 : 0;
}

/// @param sum  sum of count, address bytes and data bytes
constexpr std::uint8_t checksumOf(std::uint8_t sum) {
    return static_cast<std::uint8_t>(~sum);
}

}  // namespace memfile::srec
