#include "sim/SeedKey.h"

namespace sim {
namespace {

/// One turn of a 32-bit linear congruential generator; the low bits are the weak ones.
std::uint32_t turn(std::uint32_t state) {
    return state * 1664525U + 1013904223U;
}

std::uint8_t highByte(std::uint32_t state) {
    return static_cast<std::uint8_t>(state >> 24);
}

}  // namespace

std::vector<std::uint8_t> computeKey(std::uint8_t resource, std::span<const std::uint8_t> seed) {
    std::uint32_t state = 0x54414C56U ^ resource;
    for (const std::uint8_t byte : seed) {
        state = turn(state ^ byte);
    }
    std::vector<std::uint8_t> key;
    key.reserve(seed.size());
    for (const std::uint8_t byte : seed) {
        state = turn(state);
        key.push_back(static_cast<std::uint8_t>(byte ^ highByte(state)));
    }
    return key;
}

std::vector<std::uint8_t> makeSeed(std::uint8_t resource, std::size_t length, std::uint32_t number) {
    std::uint32_t state = turn(0x5EEDU + number) ^ resource;
    std::vector<std::uint8_t> seed(length);
    for (std::uint8_t& byte : seed) {
        state = turn(state);
        byte = highByte(state);
    }
    return seed;
}

}  // namespace sim
