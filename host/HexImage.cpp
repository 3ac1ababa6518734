#include "host/HexImage.h"

#include <algorithm>
#include <map>
#include <numeric>

namespace host {
namespace {

/// Bytes that count, with one past the last address.
struct Part {
    std::uint64_t end;
    const std::uint8_t* data;
};

/// By first address; none overlaps another.
using Parts = std::map<std::uint64_t, Part>;

/// Adds what of @p block lies in the gaps of @p parts.
void addUncovered(Parts& parts, const mem_buf& block) {
    std::uint64_t at = block.address;
    const std::uint64_t end = endOf(block);
    auto above = parts.upper_bound(at);
    if (above != parts.begin()) {
        at = std::max(at, std::prev(above)->second.end);
    }
    while (at < end) {
        const std::uint64_t stop = above == parts.end() ? end : std::min(end, above->first);
        if (at < stop) {
            parts.emplace_hint(above, at, Part{stop, block.data.data() + (at - block.address)});
        }
        if (above == parts.end()) {
            return;
        }
        at = above->second.end;
        ++above;
    }
}

}  // namespace

std::vector<HexPiece> piecesOf(const std::vector<HexFile>& files) {
    std::vector<HexPiece> pieces;
    for (std::size_t file = 0; file < files.size(); ++file) {
        for (const mem_buf& block : files[file].blocks) {
            pieces.push_back({&block, file});
        }
    }
    return pieces;
}

std::vector<HexOverlap> overlapsOf(std::vector<HexPiece> pieces) {
    std::stable_sort(pieces.begin(), pieces.end(), [](const HexPiece& left, const HexPiece& right) {
        return left.block->address < right.block->address;
    });
    std::vector<HexOverlap> overlaps;
    const HexPiece* highest = nullptr;  // of the pieces so far the one that reaches highest
    for (const HexPiece& piece : pieces) {
        const std::uint64_t end = endOf(*piece.block);
        const std::uint64_t reached = highest == nullptr ? 0 : endOf(*highest->block);
        if (piece.block->address < reached) {
            const auto last = static_cast<std::uint32_t>(std::min(end, reached) - 1);
            overlaps.push_back({{piece.block->address, last}, highest->file, piece.file});
        }
        if (end > reached) {
            highest = &piece;
        }
    }
    return overlaps;
}

std::list<mem_buf> joined(const std::vector<HexPiece>& pieces) {
    Parts parts;
    for (const HexPiece& piece : pieces) {
        addUncovered(parts, *piece.block);
    }
    std::list<mem_buf> image;
    for (const auto& [address, part] : parts) {
        if (image.empty() || endOf(image.back()) != address) {
            image.push_back({static_cast<std::uint32_t>(address), {}});
        }
        std::vector<std::uint8_t>& data = image.back().data;
        data.insert(data.end(), part.data, part.data + (part.end - address));
    }
    return image;
}

std::uint64_t bytesIn(const std::list<mem_buf>& blocks) {
    return std::accumulate(blocks.begin(), blocks.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const mem_buf& block) { return sum + block.data.size(); });
}

}  // namespace host
