/// @file
/// Image files, read through the library.
#pragma once

#include "host/HexLines.h"

#include <TalvexMemory.h>

#include <cstdint>
#include <list>
#include <string>

namespace host {

struct HexFile {
    std::string path;
    HexFormat format = HexFormat::intelHex;
    std::list<mem_buf> blocks;  ///< in the order of the file; none is empty or reaches beyond 32 bits
};

/// The format by the ending of a name: .hex, .s19 or .mot. Case counts, as it does for the library's reader.
/// @throws HostError ExitCode::usage with the endings that are allowed
[[nodiscard]] HexFormat hexFormatOf(const std::string& path);

/// How a format is called.
[[nodiscard]] const char* hexFormatName(HexFormat format);

/// One past the last address of @p block; up to 2^32.
[[nodiscard]] inline std::uint64_t endOf(const mem_buf& block) {
    return std::uint64_t{block.address} + block.data.size();
}

/// Reads a file whose every line is in order.
/// @throws HostError naming the file, and the line where it is known
[[nodiscard]] HexFile loadHexFile(const std::string& path);

}  // namespace host
