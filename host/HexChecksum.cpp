#include "host/HexChecksum.h"

#include <TalvexPlain.h>

#include <algorithm>
#include <array>

namespace host {
namespace {

/// add24 adds words of 2 bytes to a sum of 4.
constexpr std::array<HexChecksum, 9> kChecksums{{
    {"add11", 1, 2},
    {"add12", 2, 4},
    {"add14", 3, 8},
    {"add22", 4, 4},
    {"add24", 5, 8},
    {"add44", 6, 8},
    {"crc16", 7, 4},
    {"crc16citt", 8, 4},
    {"crc32", 9, 8},
}};

}  // namespace

std::vector<std::string> hexChecksumNames() {
    std::vector<std::string> names;
    names.reserve(kChecksums.size());
    for (const HexChecksum& checksum : kChecksums) {
        names.emplace_back(checksum.name);
    }
    return names;
}

const HexChecksum* findHexChecksum(const std::string& name) {
    const auto* const found =
        std::find_if(kChecksums.begin(), kChecksums.end(),
                     [&](const HexChecksum& checksum) { return name == checksum.name; });
    return found == kChecksums.end() ? nullptr : found;
}

std::uint32_t checksumOf(const HexChecksum& kind, const mem_buf& block) {
    return CheckMemory(block.data.data(), static_cast<std::uint32_t>(block.data.size()), kind.kind);
}

}  // namespace host
