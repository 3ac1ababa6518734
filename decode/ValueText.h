/// @file
/// The forms in which the trace view shows a number or a run of bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace trace_view {

/// @return "0x" and the value in upper case without leading zeros, as "0x0", "0x1F"
std::string hexText(std::uint32_t value);

/// @return the value in decimal
std::string decText(std::uint32_t value);

/// @return "0x" and two lower case digits for each of @p count bytes, as "0x0a1b"; "0x" alone for none.
///         Bytes that @p bytes does not have read as 0.
std::string byteText(std::span<const std::uint8_t> bytes, std::size_t count);

}  // namespace trace_view
