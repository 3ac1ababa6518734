#include "host/MemoryPlan.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <numeric>
#include <utility>

namespace host {
namespace {

/// What is told of a kind, in the order of `PartKind`.
struct KindRow {
    const char* word;    ///< on the command line
    const char* name;    ///< for a person
    mcMemOperType type;  ///< 0: goes along with either page
};

constexpr std::array<KindRow, 4> kKinds{{
    {"ram", "RAM", 0},
    {"working", "working page", mcMemDataWorking},
    {"reference", "reference page", mcMemDataReference},
    {"code", "flash", mcMemCode},
}};

const KindRow& rowOf(PartKind kind) {
    return kKinds[static_cast<std::size_t>(kind)];
}

std::uint64_t endOfPart(const MemoryPart& part) {
    return std::uint64_t{part.address} + part.size;
}

mem_buf pieceOf(const mem_buf& block, std::uint64_t from, std::uint64_t to) {
    const auto begin = block.data.begin() + static_cast<std::ptrdiff_t>(from - block.address);
    return {static_cast<std::uint32_t>(from), {begin, begin + static_cast<std::ptrdiff_t>(to - from)}};
}

/// Indices of @p parts by rising address.
std::vector<std::size_t> risingOrder(const std::vector<MemoryPart>& parts) {
    std::vector<std::size_t> order(parts.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&parts](std::size_t left, std::size_t right) {
        return parts[left].address < parts[right].address;
    });
    return order;
}

/// Adds what of @p plan's image lies from @p from to one before @p to in no part.
void addOutside(MemoryPlan& plan, std::uint64_t from, std::uint64_t to) {
    if (from < to) {
        plan.outside.push_back({static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to - 1)});
    }
}

void addBlock(MemoryPlan& plan, const mem_buf& block, const std::vector<std::size_t>& order) {
    std::uint64_t at = block.address;
    const std::uint64_t end = endOf(block);
    for (const std::size_t index : order) {
        const std::uint64_t from = std::max<std::uint64_t>(at, plan.parts[index].address);
        const std::uint64_t to = std::min(end, endOfPart(plan.parts[index]));
        if (from < to) {
            addOutside(plan, at, from);
            plan.blocks.push_back({pieceOf(block, from, to), index});
            at = to;
        }
    }
    addOutside(plan, at, end);
}

/// Whether the library's operations on @p type reach @p kind. CCP knows no pages in a segment.
bool isReached(const EcuRecord& ecu, PartKind kind, mcMemOperType type) {
    constexpr mcMemOperType kData = mcMemDataReference | mcMemDataWorking;
    const bool anyPage = kind == PartKind::ram || (ecu.ccp && kind != PartKind::flash);
    return (type & (anyPage ? kData : rowOf(kind).type)) != 0;
}

}  // namespace

MemoryPlan planImage(const std::list<mem_buf>& image, std::vector<MemoryPart> parts) {
    MemoryPlan plan;
    plan.parts = std::move(parts);
    const std::vector<std::size_t> order = risingOrder(plan.parts);
    for (const mem_buf& block : image) {
        addBlock(plan, block, order);
    }
    return plan;
}

std::list<mem_buf> plannedImage(const MemoryPlan& plan) {
    std::list<mem_buf> image;
    std::transform(plan.blocks.begin(), plan.blocks.end(), std::back_inserter(image),
                   [](const PlannedBlock& planned) { return planned.block; });
    return image;
}

std::uint64_t plannedBytes(const MemoryPlan& plan, std::size_t part) {
    return std::accumulate(plan.blocks.begin(), plan.blocks.end(), std::uint64_t{0},
                           [part](std::uint64_t sum, const PlannedBlock& planned) {
                               return sum + (planned.part == part ? planned.block.data.size() : 0);
                           });
}

std::vector<MemoryPart> partsOf(const EcuRecord& ecu, const std::vector<PartKind>& kinds) {
    std::vector<MemoryPart> parts = memoryParts(ecu);
    const auto unwanted = [&kinds](const MemoryPart& part) {
        return std::find(kinds.begin(), kinds.end(), part.kind) == kinds.end();
    };
    parts.erase(std::remove_if(parts.begin(), parts.end(), unwanted), parts.end());
    return parts;
}

std::uint64_t bytesIn(const std::vector<MemoryPart>& parts) {
    return std::accumulate(parts.begin(), parts.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const MemoryPart& part) { return sum + part.size; });
}

std::vector<std::string> partKindWords() {
    std::vector<std::string> words;
    std::transform(kKinds.begin(), kKinds.end(), std::back_inserter(words),
                   [](const KindRow& row) { return row.word; });
    return words;
}

std::vector<PartKind> partKindsOf(const std::vector<std::string>& words) {
    std::vector<PartKind> kinds;
    for (std::size_t i = 0; i < kKinds.size(); ++i) {
        if (std::find(words.begin(), words.end(), kKinds[i].word) != words.end()) {
            kinds.push_back(static_cast<PartKind>(i));
        }
    }
    return kinds;
}

const char* partKindName(PartKind kind) {
    return rowOf(kind).name;
}

mcMemOperType memTypeOf(const std::vector<PartKind>& kinds) {
    constexpr mcMemOperType kPages = mcMemDataReference | mcMemDataWorking;
    const mcMemOperType type =
        std::accumulate(kinds.begin(), kinds.end(), mcMemOperType{0},
                        [](mcMemOperType sum, PartKind kind) { return sum | rowOf(kind).type; });
    const bool ram = std::find(kinds.begin(), kinds.end(), PartKind::ram) != kinds.end();
    return ram && (type & kPages) == 0 ? type | mcMemDataWorking : type;
}

/// Code goes ahead of data.
std::vector<MemoryPart> partsReached(const EcuRecord& ecu, mcMemOperType type) {
    std::vector<MemoryPart> parts = memoryParts(ecu);
    const auto missed = [&](const MemoryPart& part) { return !isReached(ecu, part.kind, type); };
    parts.erase(std::remove_if(parts.begin(), parts.end(), missed), parts.end());
    std::stable_partition(parts.begin(), parts.end(),
                          [](const MemoryPart& part) { return part.kind == PartKind::flash; });
    return parts;
}

}  // namespace host
