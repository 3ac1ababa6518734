#include "host/SeedKeyLoader.h"

#include "sim/SeedKey.h"

#include <algorithm>
#include <span>
#include <vector>

namespace host {
namespace {

/// The library takes anything but 0 for success.
constexpr std::int32_t kSuccess = 1;
constexpr std::int32_t kFailure = 0;

std::int32_t simulatedKey(std::uint8_t privilege, std::uint8_t seedLength, std::uint8_t* seed,
                          std::uint8_t* keyLength, std::uint8_t* key) {
    const std::vector<std::uint8_t> computed =
        sim::computeKey(privilege, std::span<const std::uint8_t>(seed, seedLength));
    if (computed.size() > *keyLength) {
        return kFailure;
    }
    std::copy(computed.begin(), computed.end(), key);
    *keyLength = static_cast<std::uint8_t>(computed.size());
    return kSuccess;
}

}  // namespace

SeedKeyFun loadSeedKey(const std::string& path) {
    return path == kSimulatedSeedKey ? SeedKeyFun(simulatedKey) : SeedKeyFun();
}

}  // namespace host
