#include "sim/XcpEcuChecksum.h"

namespace sim {
namespace {

/// Words of `word` bytes are added, and the sum is cut by `mask`.
struct Sum {
    std::size_t word;
    std::uint32_t mask;
    XcpChecksum kind;
};

constexpr Sum kSums[] = {
    {1, 0xFF, XcpChecksum::add11},   {1, 0xFFFF, XcpChecksum::add12},     {1, 0xFFFFFFFF, XcpChecksum::add14},
    {2, 0xFFFF, XcpChecksum::add22}, {2, 0xFFFFFFFF, XcpChecksum::add24}, {4, 0xFFFFFFFF, XcpChecksum::add44},
};

const Sum* findSum(XcpChecksum kind) {
    for (const Sum& sum : kSums) {
        if (sum.kind == kind) {
            return &sum;
        }
    }
    return nullptr;
}

std::uint32_t add(const Sum& sum, std::span<const std::uint8_t> bytes, ByteOrder order) {
    std::uint64_t total = 0;
    for (std::size_t at = 0; at + sum.word <= bytes.size(); at += sum.word) {
        total += getNumber(bytes.subspan(at, sum.word), order);
    }
    return static_cast<std::uint32_t>(total) & sum.mask;
}

/// CRC whose bits run through the register from the low end; @p polynomial has its bits mirrored.
std::uint32_t crcReflected(std::span<const std::uint8_t> bytes, std::uint32_t polynomial, std::uint32_t crc) {
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1U) != 0 ? crc >> 1 ^ polynomial : crc >> 1;
        }
    }
    return crc;
}

std::uint32_t crcCcitt(std::span<const std::uint8_t> bytes) {
    std::uint32_t crc = 0xFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= static_cast<std::uint32_t>(byte) << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000U) != 0 ? crc << 1 ^ 0x1021U : crc << 1;
        }
    }
    return crc & 0xFFFFU;
}

}  // namespace

std::size_t checksumWord(XcpChecksum kind) {
    const Sum* sum = findSum(kind);
    return sum != nullptr ? sum->word : 1;
}

std::uint32_t computeChecksum(XcpChecksum kind, std::span<const std::uint8_t> bytes, ByteOrder order) {
    switch (kind) {
        case XcpChecksum::crc16:
            return crcReflected(bytes, 0xA001, 0);
        case XcpChecksum::crc16Ccitt:
            return crcCcitt(bytes);
        case XcpChecksum::crc32:
            return ~crcReflected(bytes, 0xEDB88320, 0xFFFFFFFF);
        default:
            break;
    }
    const Sum* sum = findSum(kind);
    return sum != nullptr ? add(*sum, bytes, order) : 0;
}

}  // namespace sim
