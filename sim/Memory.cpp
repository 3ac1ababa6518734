#include "sim/Memory.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace sim {

MemorySegment plainSegment(std::uint32_t base, std::size_t size, MemoryAccess access,
                           std::uint8_t extension) {
    MemorySegment segment;
    segment.base = base;
    segment.extension = extension;
    segment.access = access;
    segment.pages.push_back(MemoryPage{.bytes = std::vector<std::uint8_t>(size)});
    return segment;
}

Memory::Memory(std::vector<MemorySegment> segments, std::size_t granularity)
    : m_granularity(granularity), m_segments(std::move(segments)) {
    if (granularity != 1 && granularity != 2 && granularity != 4) {
        throw std::invalid_argument("address granularity must be 1, 2 or 4");
    }
    for (std::size_t i = 0; i < m_segments.size(); ++i) {
        checkSegment(m_segments[i]);
        if (m_segments[i].calibration) {
            m_calibration.push_back(i);
        }
    }
    checkOverlap();
}

void Memory::checkSegment(const MemorySegment& segment) const {
    if (segment.pages.empty() || segment.toolPage >= segment.pages.size() ||
        segment.ecuPage >= segment.pages.size()) {
        throw std::invalid_argument("a segment needs the pages it names");
    }
    const std::size_t size = segment.pages.front().bytes.size();
    const bool equal = std::all_of(segment.pages.begin(), segment.pages.end(),
                                   [size](const MemoryPage& page) { return page.bytes.size() == size; });
    if (!equal || size % m_granularity != 0) {
        throw std::invalid_argument("pages of a segment must have one size, a multiple of the granularity");
    }
}

void Memory::checkOverlap() const {
    const auto start = [this](const MemorySegment& s) { return std::uint64_t{s.base} * m_granularity; };
    for (std::size_t i = 0; i < m_segments.size(); ++i) {
        for (std::size_t k = i + 1; k < m_segments.size(); ++k) {
            const MemorySegment& a = m_segments[i];
            const MemorySegment& b = m_segments[k];
            const bool apart = start(a) + a.pages.front().bytes.size() <= start(b) ||
                               start(b) + b.pages.front().bytes.size() <= start(a);
            if (a.extension == b.extension && !apart) {
                throw std::invalid_argument("segments overlap");
            }
        }
    }
}

MemoryResult Memory::read(MemoryView view, std::uint32_t address, std::uint8_t extension,
                          std::span<std::uint8_t> out) const {
    std::vector<Piece> pieces;
    const MemoryResult result = split(address, extension, out.size(), Rights::read, view, pieces);
    if (result == MemoryResult::ok) {
        fetch(view, pieces, out);
    }
    return result;
}

std::vector<std::uint8_t> Memory::peek(MemoryView view, std::uint32_t address, std::uint8_t extension,
                                       std::size_t size) const {
    std::vector<Piece> pieces;
    if (split(address, extension, size, Rights::any, view, pieces) != MemoryResult::ok) {
        return {};
    }
    std::vector<std::uint8_t> out(size);
    fetch(view, pieces, out);
    return out;
}

void Memory::fetch(MemoryView view, const std::vector<Piece>& pieces, std::span<std::uint8_t> out) const {
    for (const Piece& piece : pieces) {
        const std::vector<std::uint8_t>& bytes = page(m_segments[piece.segment], view).bytes;
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(piece.offset), piece.size, out.begin());
        out = out.subspan(piece.size);
    }
}

MemoryResult Memory::write(MemoryView view, std::uint32_t address, std::uint8_t extension,
                           std::span<const std::uint8_t> bytes) {
    return store(Rights::write, view, address, extension, bytes);
}

MemoryResult Memory::poke(MemoryView view, std::uint32_t address, std::uint8_t extension,
                          std::span<const std::uint8_t> bytes) {
    return store(Rights::any, view, address, extension, bytes);
}

MemoryResult Memory::store(Rights rights, MemoryView view, std::uint32_t address, std::uint8_t extension,
                           std::span<const std::uint8_t> bytes) {
    std::vector<Piece> pieces;
    const MemoryResult result = split(address, extension, bytes.size(), rights, view, pieces);
    if (result != MemoryResult::ok) {
        return result;
    }
    for (const Piece& piece : pieces) {
        MemorySegment& target = m_segments[piece.segment];
        const std::size_t number = view == MemoryView::tool ? target.toolPage : target.ecuPage;
        std::copy_n(bytes.begin(), piece.size,
                    target.pages[number].bytes.begin() + static_cast<std::ptrdiff_t>(piece.offset));
        bytes = bytes.subspan(piece.size);
    }
    return MemoryResult::ok;
}

MemoryResult Memory::checkRead(std::uint32_t address, std::uint8_t extension, std::uint64_t size) const {
    std::vector<Piece> pieces;
    return split(address, extension, size, Rights::read, MemoryView::tool, pieces);
}

MemoryResult Memory::split(std::uint32_t address, std::uint8_t extension, std::uint64_t size, Rights rights,
                           MemoryView view, std::vector<Piece>& pieces) const {
    std::uint64_t position = std::uint64_t{address} * m_granularity;
    while (size > 0) {
        Piece piece{};
        if (!find(position, extension, piece)) {
            return MemoryResult::unmapped;
        }
        const MemoryResult result = allowed(m_segments[piece.segment], rights, view);
        if (result != MemoryResult::ok) {
            return result;
        }
        piece.size = static_cast<std::size_t>(std::min<std::uint64_t>(piece.size, size));
        pieces.push_back(piece);
        position += piece.size;
        size -= piece.size;
    }
    return MemoryResult::ok;
}

bool Memory::find(std::uint64_t position, std::uint8_t extension, Piece& piece) const {
    for (std::size_t i = 0; i < m_segments.size(); ++i) {
        const MemorySegment& segment = m_segments[i];
        const std::uint64_t start = std::uint64_t{segment.base} * m_granularity;
        const std::size_t size = segment.pages.front().bytes.size();
        if (segment.extension == extension && position >= start && position - start < size) {
            const auto offset = static_cast<std::size_t>(position - start);
            piece = Piece{i, offset, size - offset};
            return true;
        }
    }
    return false;
}

MemoryResult Memory::allowed(const MemorySegment& segment, Rights rights, MemoryView view) const {
    if (rights == Rights::any) {
        return MemoryResult::ok;
    }
    if (segment.access == MemoryAccess::none) {
        return MemoryResult::readProtected;
    }
    const bool writable = segment.access == MemoryAccess::readWrite && page(segment, view).toolWritable;
    return rights == Rights::read || writable ? MemoryResult::ok : MemoryResult::writeProtected;
}

const MemoryPage& Memory::page(const MemorySegment& segment, MemoryView view) {
    return segment.pages[view == MemoryView::tool ? segment.toolPage : segment.ecuPage];
}

}  // namespace sim
