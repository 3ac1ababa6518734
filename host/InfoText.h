/// @file
/// Words for what ECUs say in bits.
#pragma once

#include "host/ConfigRecords.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// A bit and its name.
struct BitName {
    std::uint8_t bit;
    const char* name;
};

inline constexpr std::array<BitName, 4> kXcpResourceBits{
    {{0x01, "calibration"}, {0x04, "daq"}, {0x08, "stim"}, {0x10, "programming"}}};
inline constexpr std::array<BitName, 3> kCcpResourceBits{
    {{0x01, "calibration"}, {0x02, "daq"}, {0x40, "programming"}}};

/// The names of the bits that are set, with commas; @p none if there are none.
template <std::size_t N>
[[nodiscard]] std::string bitTexts(const std::array<BitName, N>& names, std::uint8_t bits, const char* none) {
    std::string text;
    for (const BitName& row : names) {
        if ((bits & row.bit) != 0) {
            text += (text.empty() ? "" : ", ") + std::string(row.name);
        }
    }
    return text.empty() ? none : text;
}

[[nodiscard]] inline std::string yesNo(bool yes) {
    return yes ? "yes" : "no";
}

[[nodiscard]] inline std::string orderText(sim::ByteOrder order) {
    return order == sim::ByteOrder::intel ? "little" : "big";
}

/// The locks that the configuration speaks of, as bits.
[[nodiscard]] inline std::uint8_t lockBits(const SecurityRecord& security) {
    std::uint8_t bits = 0;
    for (const LockRecord& lock : security.locks) {
        bits = static_cast<std::uint8_t>(bits | lock.resource);
    }
    return bits;
}

/// Bytes of an ECU as a text: what is no printable character becomes a dot.
[[nodiscard]] std::string printable(const std::vector<std::uint8_t>& bytes);

/// @p ns nanoseconds in the largest unit in which it is a whole number: "10 ms"; 0 is "not cyclic".
[[nodiscard]] std::string cycleText(std::uint64_t ns);

/// `cycleText` of @p cycle units, where code n stands for 10^n nanoseconds. Codes 10 to 12, which are shorter
/// than that, are shown as they are.
[[nodiscard]] std::string cycleText(std::uint8_t cycle, std::uint8_t unit);

}  // namespace host
