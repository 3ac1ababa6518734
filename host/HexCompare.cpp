#include "host/HexCompare.h"

#include <algorithm>
#include <functional>
#include <tuple>

namespace host {
namespace {

/// Walks through an image by rising addresses.
class Walker {
public:
    explicit Walker(const std::list<mem_buf>& image) : m_at(image.begin()), m_end(image.end()) {}

    /// The byte at @p address, null without one. Addresses must not fall from call to call.
    const std::uint8_t* at(std::uint64_t address) {
        while (m_at != m_end && endOf(*m_at) <= address) {
            ++m_at;
        }
        const bool inside = m_at != m_end && m_at->address <= address;
        return inside ? m_at->data.data() + (address - m_at->address) : nullptr;
    }

private:
    std::list<mem_buf>::const_iterator m_at;
    std::list<mem_buf>::const_iterator m_end;
};

/// Where a block of either image begins or ends, rising.
std::vector<std::uint64_t> bordersOf(const std::list<mem_buf>& first, const std::list<mem_buf>& second) {
    std::vector<std::uint64_t> borders;
    for (const auto* image : {&first, &second}) {
        for (const mem_buf& block : *image) {
            borders.push_back(block.address);
            borders.push_back(endOf(block));
        }
    }
    std::sort(borders.begin(), borders.end());
    borders.erase(std::unique(borders.begin(), borders.end()), borders.end());
    return borders;
}

HexRange rangeOf(std::uint64_t from, std::uint64_t to) {
    return {static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to - 1)};
}

/// Adds the runs of unlike bytes among @p count that both images hold from @p address on.
void addUnlike(std::vector<HexDifference>& differences, std::uint64_t address, const std::uint8_t* first,
               const std::uint8_t* second, std::uint64_t count) {
    const std::uint8_t* const end = first + count;
    const std::uint8_t* one = first;
    const std::uint8_t* other = second;
    while (true) {
        std::tie(one, other) = std::mismatch(one, end, other);
        if (one == end) {
            return;
        }
        const auto [oneStop, otherStop] = std::mismatch(one, end, other, std::not_equal_to<>());
        const std::uint64_t from = address + static_cast<std::uint64_t>(one - first);
        const std::uint64_t to = address + static_cast<std::uint64_t>(oneStop - first);
        differences.push_back({HexDifferenceKind::values, rangeOf(from, to), one, other});
        one = oneStop;
        other = otherStop;
    }
}

}  // namespace

std::vector<HexDifference> differencesOf(const std::list<mem_buf>& first, const std::list<mem_buf>& second) {
    const std::vector<std::uint64_t> borders = bordersOf(first, second);
    std::vector<HexDifference> differences;
    Walker inFirst(first);
    Walker inSecond(second);
    for (std::size_t i = 0; i + 1 < borders.size(); ++i) {
        const std::uint64_t from = borders[i];
        const std::uint64_t to = borders[i + 1];
        const std::uint8_t* const one = inFirst.at(from);
        const std::uint8_t* const other = inSecond.at(from);
        if (one != nullptr && other != nullptr) {
            addUnlike(differences, from, one, other, to - from);
        } else if (one != nullptr) {
            differences.push_back({HexDifferenceKind::onlyFirst, rangeOf(from, to), one, nullptr});
        } else if (other != nullptr) {
            differences.push_back({HexDifferenceKind::onlySecond, rangeOf(from, to), nullptr, other});
        }
    }
    return differences;
}

}  // namespace host
