/// @file
/// A CAN or CAN FD frame as it stands on the simulated bus.
#pragma once

#include <array>
#include <cstdint>

namespace sim {

/// Nanoseconds of bus time, counted from the start of the bus.
using Time = std::uint64_t;

/// Most data bytes of a CAN FD frame.
inline constexpr std::size_t kMaxPayload = 64;

/// One data frame. Plain value; the bytes behind `length` are zero.
struct Frame {
    std::uint32_t id = 0;     ///< identifier without flag bits, 11 or 29 bits wide
    bool extended = false;    ///< 29-bit identifier
    bool fd = false;          ///< CAN FD frame format
    bool brs = false;         ///< data phase at the data bit rate (only with `fd`)
    std::uint8_t length = 0;  ///< valid bytes of `data`: 0 to 8, or 0 to 64 with `fd`
    std::array<std::uint8_t, kMaxPayload> data{};
};

}  // namespace sim
