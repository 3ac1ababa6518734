/// @file
/// The checksums of BUILD_CHECKSUM, computed as a slave does.
#pragma once

#include "sim/ByteOrder.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace sim {

/// Kinds of checksum by their number on the wire.
enum class XcpChecksum : std::uint8_t {
    add11 = 1,       ///< bytes added into a byte
    add12 = 2,       ///< bytes added into a word
    add14 = 3,       ///< bytes added into a double word
    add22 = 4,       ///< words added into a word
    add24 = 5,       ///< words added into a double word
    add44 = 6,       ///< double words added into a double word
    crc16 = 7,       ///< polynomial 0x8005, reflected, start 0
    crc16Ccitt = 8,  ///< polynomial 0x1021, start 0xFFFF
    crc32 = 9,       ///< polynomial 0x04C11DB7, reflected, start and end inverted
};

/// Bytes that the checksum takes at a time; the size of a block must be a multiple.
[[nodiscard]] std::size_t checksumWord(XcpChecksum kind);

/// @param order  byte order of the words that are added; the CRCs do not use it
[[nodiscard]] std::uint32_t computeChecksum(XcpChecksum kind, std::span<const std::uint8_t> bytes,
                                            ByteOrder order);

}  // namespace sim
