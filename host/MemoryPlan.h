/// @file
/// What becomes of an image in the memory of an ECU, worked out before anything is done.
#pragma once

#include "host/HexImage.h"
#include "host/MemoryPart.h"

#include <TalvexMemory.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace host {

/// A piece of an image that lies in one part of the memory.
struct PlannedBlock {
    mem_buf block;
    std::size_t part = 0;  ///< index
};

/// An image beside the memory that it is for.
struct MemoryPlan {
    std::vector<MemoryPart> parts;     ///< that the image is for
    std::vector<PlannedBlock> blocks;  ///< pieces by rising address; one that reaches over two parts is cut
    std::vector<HexRange> outside;     ///< of the image, in none of the parts, by rising address
};

/// Lays @p image over @p parts.
/// @param image  as joined() makes it
/// @param parts  apart from each other
[[nodiscard]] MemoryPlan planImage(const std::list<mem_buf>& image, std::vector<MemoryPart> parts);

/// The pieces of @p plan as an image.
[[nodiscard]] std::list<mem_buf> plannedImage(const MemoryPlan& plan);

/// Bytes of the parts of @p plan with that index that the image holds.
[[nodiscard]] std::uint64_t plannedBytes(const MemoryPlan& plan, std::size_t part);

/// The parts of @p ecu that are of @p kinds, in the order of the configuration.
[[nodiscard]] std::vector<MemoryPart> partsOf(const EcuRecord& ecu, const std::vector<PartKind>& kinds);

/// All bytes of @p parts.
[[nodiscard]] std::uint64_t bytesIn(const std::vector<MemoryPart>& parts);

/// Names of the kinds on the command line, in the order of `PartKind`.
[[nodiscard]] std::vector<std::string> partKindWords();

/// The kinds that @p words name. Each must be one of `partKindWords`.
[[nodiscard]] std::vector<PartKind> partKindsOf(const std::vector<std::string>& words);

/// "working page".
[[nodiscard]] const char* partKindName(PartKind kind);

/// The bits of the library that reach all of @p kinds: mcMemCode and its fellows.
[[nodiscard]] mcMemOperType memTypeOf(const std::vector<PartKind>& kinds);

/// What the library's operations on @p type work on, in their order.
[[nodiscard]] std::vector<MemoryPart> partsReached(const EcuRecord& ecu, mcMemOperType type);

}  // namespace host
