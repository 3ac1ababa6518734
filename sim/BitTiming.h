/// @file
/// How many bits a frame has on the wire, and how long they take. Pure functions, no clock.
#pragma once

#include "sim/Frame.h"

#include <cstdint>

namespace sim {

/// Bits per second; both above 0.
struct BitRates {
    std::uint32_t nominal = 500'000;  ///< arbitration, acknowledge, end of frame; all of a classic frame
    std::uint32_t data = 2'000'000;   ///< data phase of CAN FD frames with `brs`
};

/// Which stuff bits are counted.
enum class Stuffing {
    None,    ///< no dynamic stuff bits: the shortest a frame of this length can be
    Actual,  ///< those of the frame's real bit sequence
    Worst    ///< the most a frame of this length can have
};

/// Bits of a frame by the rate at which they are sent.
struct FrameBits {
    std::uint32_t nominal = 0;
    std::uint32_t data = 0;  ///< 0 but for CAN FD frames with `brs`

    [[nodiscard]] std::uint32_t total() const { return nominal + data; }
    friend bool operator==(const FrameBits&, const FrameBits&) = default;
};

/// The CRC of classic frames: x^15 + x^14 + x^10 + x^8 + x^7 + x^4 + x^3 + 1, started at 0.
class Crc15 {
public:
    /// Takes the lowest @p width bits of @p bits, most significant bit first.
    void put(std::uint32_t bits, unsigned width);
    [[nodiscard]] std::uint16_t value() const { return m_value; }

private:
    std::uint16_t m_value = 0;
};

/// Whether a controller could send @p frame: identifier within its width, at most 8 data bytes
/// (64 with `fd`), `brs` only with `fd`.
[[nodiscard]] bool isSendable(const Frame& frame);

/// Data bytes that go over the wire: the length of @p frame, with `fd` rounded up to the next
/// length that CAN FD has (12, 16, 20, 24, 32, 48, 64). @p frame must be sendable.
[[nodiscard]] std::uint8_t wireLength(const Frame& frame);

/// CRC of the classic frame @p frame over start of frame to the last data bit.
[[nodiscard]] std::uint16_t frameCrc15(const Frame& frame);

/// Dynamic stuff bits of a sendable frame. The fixed stuff bits in the CRC field of CAN FD are no
/// part of it, frameBits() always has them.
[[nodiscard]] FrameBits stuffBits(const Frame& frame, Stuffing stuffing);

/// All bits of a sendable frame, from start of frame to the third bit of the intermission.
[[nodiscard]] FrameBits frameBits(const Frame& frame, Stuffing stuffing);

/// Picoseconds that @p bits take. Exact for rates that divide 10^12, else less than 2 ps short.
[[nodiscard]] std::uint64_t wireTimePs(const FrameBits& bits, const BitRates& rates);

/// Nanoseconds that a sendable frame occupies the bus, intermission included, rounded down.
[[nodiscard]] Time duration(const Frame& frame, const BitRates& rates, Stuffing stuffing);

}  // namespace sim
