/// @file
/// Byte orders of a simulated ECU, and the one place that turns numbers into bytes and back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace sim {

/// Order of the bytes of a number in memory and on the wire.
enum class ByteOrder : std::uint8_t {
    intel,     ///< least significant byte first
    motorola,  ///< most significant byte first
};

/// Writes the low `out.size()` bytes of @p value; at most 8 bytes.
inline void putNumber(std::span<std::uint8_t> out, std::uint64_t value, ByteOrder order) {
    for (std::size_t i = 0; i < out.size(); ++i) {
        const std::size_t at = order == ByteOrder::intel ? i : out.size() - 1 - i;
        out[at] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

/// Reads a number of `bytes.size()` bytes; at most 8 bytes.
[[nodiscard]] inline std::uint64_t getNumber(std::span<const std::uint8_t> bytes, ByteOrder order) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t at = order == ByteOrder::intel ? bytes.size() - 1 - i : i;
        value = value << 8 | bytes[at];
    }
    return value;
}

}  // namespace sim
