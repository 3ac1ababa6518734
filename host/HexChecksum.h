/// @file
/// Kinds of checksum by name.
#pragma once

#include <TalvexMemory.h>

#include <cstdint>
#include <string>
#include <vector>

namespace host {

struct HexChecksum {
    const char* name;
    std::int32_t kind;  ///< as CheckMemory counts
    int digits;         ///< hexadecimal, of its width
};

/// All names, in the order of the kinds.
[[nodiscard]] std::vector<std::string> hexChecksumNames();

/// The kind that is called @p name; null if none is.
[[nodiscard]] const HexChecksum* findHexChecksum(const std::string& name);

/// Checksum over a block.
[[nodiscard]] std::uint32_t checksumOf(const HexChecksum& kind, const mem_buf& block);

}  // namespace host
