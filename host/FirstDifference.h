/// @file
/// Where the memory of an ECU begins to differ from what it should hold.
#pragma once

#include <TalvexMemory.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace host {

/// A byte of an ECU that is not that of the image.
struct FirstDifference {
    std::uint32_t address = 0;
    std::uint8_t wanted = 0;  ///< of the image
    std::uint8_t found = 0;   ///< of the ECU
};

/// Reads bytes of an ECU, all that it is asked for.
using MemoryReader = std::function<std::vector<std::uint8_t>(std::uint32_t address, std::uint32_t size)>;

/// Reads the ECU from the begin of @p wanted on, no further than to the piece that differs.
/// @param piece  bytes read at once, not 0
/// @return nothing if no byte differs
[[nodiscard]] std::optional<FirstDifference> findFirstDifference(const mem_buf& wanted, std::uint32_t piece,
                                                                 const MemoryReader& read);

}  // namespace host
