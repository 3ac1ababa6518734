#include "host/FirstDifference.h"

#include <algorithm>

namespace host {

std::optional<FirstDifference> findFirstDifference(const mem_buf& wanted, std::uint32_t piece,
                                                   const MemoryReader& read) {
    const auto size = static_cast<std::uint32_t>(wanted.data.size());
    for (std::uint32_t offset = 0; offset < size; offset += std::min(piece, size - offset)) {
        const std::uint32_t count = std::min(piece, size - offset);
        const std::vector<std::uint8_t> found = read(wanted.address + offset, count);
        const auto begin = wanted.data.begin() + offset;
        const auto [mine, theirs] = std::mismatch(begin, begin + count, found.begin(), found.end());
        if (mine != begin + count && theirs != found.end()) {
            const auto address = static_cast<std::uint32_t>(mine - wanted.data.begin()) + wanted.address;
            return FirstDifference{address, *mine, *theirs};
        }
    }
    return std::nullopt;
}

}  // namespace host
