/// @file
/// The seed and key secret of the simulated ECUs. A host that plays the owner of such an ECU may use
/// `computeKey` as the maker's seed and key function.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace sim {

/// The key that opens @p resource (mask of the protected resource) after @p seed.
/// As long as the seed; the same inputs always give the same key. Any thread.
[[nodiscard]] std::vector<std::uint8_t> computeKey(std::uint8_t resource, std::span<const std::uint8_t> seed);

/// A seed of @p length bytes; the same @p number (how many seeds the ECU gave out before) always
/// gives the same bytes. Any thread.
[[nodiscard]] std::vector<std::uint8_t> makeSeed(std::uint8_t resource, std::size_t length,
                                                 std::uint32_t number);

}  // namespace sim
