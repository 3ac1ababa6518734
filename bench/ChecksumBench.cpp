// P12: CheckMemory, held against the barest loops that give the same values.

#include "TalvexPlain.h"
#include "bench/Harness.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Loop = std::uint32_t (*)(const Bytes& bytes);

constexpr std::size_t kSize = 256 * 1024;

std::uint32_t bareCrc16(const Bytes& bytes) {
    std::uint32_t crc = 0;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int i = 0; i < 8; ++i) {
            const std::uint32_t out = crc & 1;
            crc >>= 1;
            if (out != 0) {
                crc ^= 0xA001;
            }
        }
    }
    return crc;
}

std::uint32_t bareCrc16Citt(const Bytes& bytes) {
    std::uint32_t crc = 0xFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= static_cast<std::uint32_t>(byte << 8);
        for (int i = 0; i < 8; ++i) {
            const std::uint32_t out = crc & 0x8000;
            crc <<= 1;
            if (out != 0) {
                crc ^= 0x1021;
            }
        }
    }
    return crc & 0xFFFF;
}

std::uint32_t bareCrc32(const Bytes& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int i = 0; i < 8; ++i) {
            const std::uint32_t out = crc & 1;
            crc >>= 1;
            if (out != 0) {
                crc ^= 0xEDB88320;
            }
        }
    }
    return ~crc;
}

template <typename Word>
std::uint32_t bareSum(const Bytes& bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); i += sizeof(Word)) {
        Word word;
        std::memcpy(&word, &bytes[i], sizeof(Word));
        sum += word;
    }
    return sum;
}

bench::Figure checkAgainst(std::int32_t kind, Loop bare) {
    std::mt19937 random(1);
    Bytes bytes(kSize);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    const auto subject = [&] { return CheckMemory(bytes.data(), static_cast<std::uint32_t>(kSize), kind); };
    if (subject() != bare(bytes)) {
        return bench::failed("the values differ");
    }
    const std::size_t operations = kind < 7 ? 40 : 4;
    return bench::compareInterleaved(
        bench::wallBlock(operations, [&] { benchmark::DoNotOptimize(subject()); }),
        bench::wallBlock(operations, [&] {
            benchmark::ClobberMemory();
            benchmark::DoNotOptimize(bare(bytes));
        }));
}

bool addCheck(std::int32_t kind, const char* baseline, double limit, Loop bare) {
    return bench::addRow({"P12", "CheckMemory, kind " + std::to_string(kind), baseline, "ns",
                          bench::atMost(limit), [kind, bare] { return checkAgainst(kind, bare); }});
}

[[maybe_unused]] const bool kAdded[] = {
    addCheck(7, "a bare bitwise loop", 1.1, bareCrc16),
    addCheck(8, "a bare bitwise loop", 1.1, bareCrc16Citt),
    addCheck(9, "a bare bitwise loop", 1.1, bareCrc32),
    addCheck(3, "a bare adding loop", 1.2, bareSum<std::uint8_t>),
    addCheck(5, "a bare adding loop", 1.2, bareSum<std::uint16_t>),
    addCheck(6, "a bare adding loop", 1.2, bareSum<std::uint32_t>),
};

}  // namespace
