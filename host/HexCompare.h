/// @file
/// Where two images differ.
#pragma once

#include "host/HexImage.h"

#include <cstdint>
#include <list>
#include <vector>

namespace host {

enum class HexDifferenceKind { values, onlyFirst, onlySecond };

struct HexDifference {
    HexDifferenceKind kind = HexDifferenceKind::values;
    HexRange range;
    const std::uint8_t* first = nullptr;   ///< bytes of the first image; null if it has none here
    const std::uint8_t* second = nullptr;  ///< bytes of the second
};

/// Differences by rising address; none if the images are equal. They point into the images.
/// @param first, second  as joined() makes them
[[nodiscard]] std::vector<HexDifference> differencesOf(const std::list<mem_buf>& first,
                                                       const std::list<mem_buf>& second);

}  // namespace host
