#include "memfile/Checksum.h"

#include "TalvexPlain.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>

namespace {

using Bytes = std::span<const std::uint8_t>;

template <typename Word>
Word littleEndian(const std::uint8_t* at) {
    std::array<std::uint8_t, sizeof(Word)> bytes;
    std::memcpy(bytes.data(), at, sizeof(Word));
    if constexpr (std::endian::native == std::endian::big) {
        std::reverse(bytes.begin(), bytes.end());
    }
    return std::bit_cast<Word>(bytes);
}

/// Adds whole words; bytes at the end that fill no word are left out.
template <typename Word>
std::uint32_t sumOf(Bytes data) {
    const std::size_t words = data.size() / sizeof(Word);
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < words; ++i) {
        sum += littleEndian<Word>(data.data() + i * sizeof(Word));
    }
    return sum;
}

// The CRCs go bit by bit, without tables: they are as quick as an ECU's link needs, and a reader can hold
// them against the polynomial.

/// Lowest bit first: the polynomial is given with its bits in reverse.
template <std::uint32_t Polynomial>
std::uint32_t crcLowestFirst(Bytes data, std::uint32_t start) {
    std::uint32_t crc = start;
    for (const std::uint8_t byte : data) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? crc >> 1 ^ Polynomial : crc >> 1;
        }
    }
    return crc;
}

/// CRC-16/ARC
std::uint32_t crc16(Bytes data) {
    return crcLowestFirst<0xA001>(data, 0);
}

/// CRC-16/CCITT-FALSE, highest bit first. What is shifted out above bit 15 is cut off with the width.
std::uint32_t crc16Citt(Bytes data) {
    std::uint32_t crc = 0xFFFF;
    for (const std::uint8_t byte : data) {
        crc ^= std::uint32_t{byte} << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000) != 0 ? crc << 1 ^ 0x1021 : crc << 1;
        }
    }
    return crc;
}

/// CRC-32 of IEEE 802.3
std::uint32_t crc32(Bytes data) {
    return ~crcLowestFirst<0xEDB88320>(data, 0xFFFFFFFF);
}

/// One kind of checksum: how it is computed, and how many of the lowest bytes are its result.
struct Kind {
    std::uint32_t (*compute)(Bytes data);
    std::uint8_t width;
};

/// Kind 1 comes first.
constexpr std::array<Kind, 9> kKinds{{
    {sumOf<std::uint8_t>, 1},   // 1 XCP_ADD_11
    {sumOf<std::uint8_t>, 2},   // 2 XCP_ADD_12
    {sumOf<std::uint8_t>, 4},   // 3 XCP_ADD_14
    {sumOf<std::uint16_t>, 2},  // 4 XCP_ADD_22
    {sumOf<std::uint16_t>, 4},  // 5 XCP_ADD_24
    {sumOf<std::uint32_t>, 4},  // 6 XCP_ADD_44
    {crc16, 2},                 // 7 XCP_CRC_16
    {crc16Citt, 2},             // 8 XCP_CRC_16_CITT
    {crc32, 4},                 // 9 CRC-32
}};

const Kind* findKind(std::int32_t kind) {
    const bool known = kind >= 1 && kind <= static_cast<std::int32_t>(kKinds.size());
    return known ? &kKinds[static_cast<std::size_t>(kind) - 1] : nullptr;
}

}  // namespace

std::size_t checksumWidth(std::int32_t kind) {
    const Kind* const known = findKind(kind);
    return known != nullptr ? known->width : sizeof(std::uint32_t);
}

extern "C" std::uint32_t CheckMemory(const std::uint8_t* data, std::uint32_t length, std::int32_t kind) {
    const Kind* const known = findKind(kind);
    if (known == nullptr) {
        return 0;
    }
    const std::uint32_t mask = 0xFFFFFFFF >> (32 - 8 * known->width);
    return known->compute(data != nullptr ? Bytes(data, length) : Bytes()) & mask;
}
