/// @file
/// The memory of a simulated ECU, cut into parts that each hold one content.
#pragma once

#include "host/ConfigRecords.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host {

enum class PartKind : std::uint8_t { ram, workingPage, referencePage, flash };

/// Pages of an XCP calibration segment by their numbers.
inline constexpr std::uint8_t kWorkingPage = 0;
inline constexpr std::uint8_t kReferencePage = 1;

/// RAM, one calibration page, or flash.
struct MemoryPart {
    PartKind kind = PartKind::ram;
    std::size_t segment = 0;    ///< of the configuration
    std::uint32_t address = 0;  ///< where a host reads it; XCP has two pages at one address
    std::uint32_t size = 0;     ///< bytes
};

/// All parts in the order of the segments, a working page ahead of its reference page.
[[nodiscard]] std::vector<MemoryPart> memoryParts(const EcuRecord& ecu);

/// What @p part holds when the ECU starts: RAM is zero, all else has a pattern of its own.
[[nodiscard]] std::vector<std::uint8_t> initialContent(const MemoryPart& part);

/// "working page at 0x20008000".
[[nodiscard]] std::string partName(const MemoryPart& part);

}  // namespace host
