#include "memfile/PageSplit.h"

#include <algorithm>

namespace memfile {

namespace {

constexpr std::uint32_t kPageSize = 0x10000;

}  // namespace

std::vector<PageRun> splitIntoPages(const std::list<mem_buf>& blocks) {
    std::vector<PageRun> runs;
    for (const mem_buf& block : blocks) {
        std::uint32_t address = block.address;
        std::span<const std::uint8_t> rest(block.data);
        while (!rest.empty()) {
            const auto size = std::min<std::size_t>(rest.size(), kPageSize - address % kPageSize);
            runs.push_back({address, rest.first(size)});
            rest = rest.subspan(size);
            address += static_cast<std::uint32_t>(size);
        }
    }
    return runs;
}

}  // namespace memfile
