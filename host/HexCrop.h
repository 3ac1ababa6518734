/// @file
/// Parts of an image.
#pragma once

#include "host/HexImage.h"

#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace host {

/// Most bytes that a filled image may have. A slip in a range must not take all memory.
inline constexpr std::uint64_t kMostFilled = 256ULL * 1024 * 1024;

/// A range as on the command line: "0x8000:256" is address and length, "0x8000-0x80FF" is first and last
/// address. Numbers are decimal, or hexadecimal behind "0x".
/// @throws HostError ExitCode::usage
[[nodiscard]] HexRange parseHexRange(const std::string& text);

/// A byte to fill with, 0 to 255.
/// @throws HostError ExitCode::usage
[[nodiscard]] std::uint8_t parseFillByte(const std::string& text);

/// @p ranges by rising address, those that touch or overlap joined.
[[nodiscard]] std::vector<HexRange> united(std::vector<HexRange> ranges);

/// Whether any byte of @p image lies in @p range.
[[nodiscard]] bool holdsAny(const std::list<mem_buf>& image, const HexRange& range);

/// What of @p image lies in @p ranges.
/// @param image   as joined() makes it
/// @param ranges  as united() makes them
[[nodiscard]] std::list<mem_buf> cropped(const std::list<mem_buf>& image,
                                         const std::vector<HexRange>& ranges);

/// @p image with @p fill at every address of @p ranges that it does not hold.
/// @throws HostError for more than kMostFilled bytes
[[nodiscard]] std::list<mem_buf> filled(const std::list<mem_buf>& image, const std::vector<HexRange>& ranges,
                                        std::uint8_t fill);

}  // namespace host
