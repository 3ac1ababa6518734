/// @file
/// Numbers in the payload of a frame. The one place of the library that swaps bytes.
#pragma once

#include "TalvexRecords.h"

#include <cstddef>
#include <cstdint>

/// @return the 16-bit number at @p position, little endian, or big endian if @p swap is set; bytes behind the
///         payload read zero
std::uint16_t fieldU16(const msgBuf& frame, std::size_t position, bool swap = false);

/// As `fieldU16`, for 32 bits.
std::uint32_t fieldU32(const msgBuf& frame, std::size_t position, bool swap = false);

/// @return @p value with its two bytes exchanged
std::uint16_t swapped16(std::uint16_t value);

/// A command frame being formed: zeroed but for what is put into it. Bytes that would lie behind the payload
/// are not written.
class CommandFrame {
public:
    /// A frame with @p code as byte 0 and @p length valid bytes.
    CommandFrame(std::uint8_t code, std::uint16_t length);

    /// Puts one byte at @p position.
    CommandFrame& put8(std::size_t position, std::uint8_t value);

    /// Puts 16 bits at @p position, little endian, or big endian if @p swap is set.
    CommandFrame& put16(std::size_t position, std::uint16_t value, bool swap = false);

    /// Puts 32 bits at @p position, little endian, or big endian if @p swap is set.
    CommandFrame& put32(std::size_t position, std::uint32_t value, bool swap = false);

    /// The frame, to be sent. Sending writes its identifier, its time and its padding.
    msgBuf& frame() { return m_frame; }
    [[nodiscard]] const msgBuf& frame() const { return m_frame; }

private:
    CommandFrame& put(std::size_t position, std::uint32_t value, std::size_t width, bool swap);

    msgBuf m_frame;
};
