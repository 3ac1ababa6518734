/// @file
/// The Intel HEX format: where the fields of a line stand, and what its records are.
#pragma once

#include <cstddef>
#include <cstdint>

namespace memfile::intel_hex {

inline constexpr char kMark = ':';  ///< first character of every record

/// One field of a line: where it starts and how many characters it has.
struct Field {
    std::size_t index;
    std::size_t width;
};

inline constexpr Field kCountField{1, 2};     ///< number of data bytes
inline constexpr Field kOffsetField{3, 4};    ///< address less the base
inline constexpr Field kTypeField{7, 2};      ///< type of the record
inline constexpr Field kAddressField{9, 4};   ///< base, in records of the extended types
inline constexpr std::size_t kDataIndex = 9;  ///< first data byte, two digits each

inline constexpr std::size_t kMaxData = 255;  ///< bytes of the longest record

inline constexpr std::uint8_t kTypeData = 0;
inline constexpr std::uint8_t kTypeEnd = 1;
inline constexpr std::uint8_t kTypeSegmentAddress = 2;  ///< base is the value times 16
inline constexpr std::uint8_t kTypeLinearAddress = 4;   ///< base is the value in the upper 16 bits

}  // namespace memfile::intel_hex
