#include "sim/Flash.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace sim {

Flash::Flash(FlashConfig config, const std::vector<MemorySegment>& layout, Memory& memory)
    : m_config(std::move(config)), m_memory(memory) {
    for (const FlashSector& sector : m_config.sectors) {
        m_places.push_back(locate(sector, layout));
    }
    checkOverlap();
}

std::uint64_t Flash::startOf(const FlashSector& sector) const {
    return std::uint64_t{sector.base} * m_memory.granularity();
}

Flash::Place Flash::locate(const FlashSector& sector, const std::vector<MemorySegment>& layout) const {
    const std::uint64_t start = startOf(sector);
    for (std::size_t i = 0; i < layout.size(); ++i) {
        const MemorySegment& segment = layout[i];
        const std::uint64_t base = std::uint64_t{segment.base} * m_memory.granularity();
        const std::uint64_t size = segment.pages.front().bytes.size();
        const bool inside = start >= base && start - base + sector.size <= size;
        if (segment.extension == sector.extension && inside && sector.size > 0 &&
            sector.page < segment.pages.size()) {
            return Place{i, static_cast<std::size_t>(start - base)};
        }
    }
    throw std::invalid_argument("a flash sector needs cells in a page of one segment");
}

void Flash::checkOverlap() const {
    for (const FlashSector& a : m_config.sectors) {
        for (const FlashSector& b : m_config.sectors) {
            const bool apart = &a == &b || a.extension != b.extension || startOf(a) + a.size <= startOf(b) ||
                               startOf(b) + b.size <= startOf(a);
            if (!apart) {
                throw std::invalid_argument("flash sectors overlap");
            }
        }
    }
}

FlashResult Flash::clear(Time now, std::uint32_t address, std::uint8_t extension, std::uint64_t size) {
    std::vector<Piece> pieces;
    if (!split(address, extension, size, pieces)) {
        return FlashResult::unmapped;
    }
    for (const Piece& piece : pieces) {
        clearSector(now, piece.sector);
    }
    return FlashResult::ok;
}

void Flash::clear(Time now, FlashArea area) {
    for (std::size_t i = 0; i < m_config.sectors.size(); ++i) {
        if (m_config.sectors[i].area == area) {
            clearSector(now, i);
        }
    }
}

void Flash::clearSector(Time now, std::size_t sector) {
    const std::span<std::uint8_t> cells = cellsOf(Piece{sector, 0, m_config.sectors[sector].size});
    std::fill(cells.begin(), cells.end(), kCleared);
    work(now, m_config.clearTime);
}

FlashResult Flash::program(Time now, std::uint32_t address, std::uint8_t extension,
                           std::span<const std::uint8_t> bytes) {
    std::vector<Piece> pieces;
    return split(address, extension, bytes.size(), pieces) ? burn(now, pieces, bytes) : FlashResult::unmapped;
}

FlashResult Flash::programAt(Time now, std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    std::vector<Piece> pieces;
    return splitAt(offset, bytes.size(), pieces) ? burn(now, pieces, bytes) : FlashResult::unmapped;
}

/// The bits of all bytes are looked at ahead of the first pulse, as a driver does that checks for blank
/// cells.
FlashResult Flash::burn(Time now, const std::vector<Piece>& pieces, std::span<const std::uint8_t> bytes) {
    std::span<const std::uint8_t> rest = bytes;
    for (const Piece& piece : pieces) {
        const auto holds = [](std::uint8_t cell, std::uint8_t byte) { return (cell & byte) == byte; };
        const std::span<const std::uint8_t> cells = cellsOf(piece);
        if (!std::equal(cells.begin(), cells.end(), rest.begin(), holds)) {
            return FlashResult::notCleared;
        }
        rest = rest.subspan(piece.size);
    }
    for (const Piece& piece : pieces) {
        std::copy_n(bytes.begin(), piece.size, cellsOf(piece).begin());
        bytes = bytes.subspan(piece.size);
    }
    work(now, m_config.programTime);
    return FlashResult::ok;
}

void Flash::work(Time now, Time duration) {
    m_busyUntil = std::max(m_busyUntil, now) + duration;
}

std::vector<std::uint8_t> Flash::read(std::uint32_t address, std::uint8_t extension, std::size_t size) const {
    std::vector<Piece> pieces;
    std::vector<std::uint8_t> bytes;
    if (split(address, extension, size, pieces)) {
        for (const Piece& piece : pieces) {
            const std::span<const std::uint8_t> part = cells(piece.sector).subspan(piece.offset, piece.size);
            bytes.insert(bytes.end(), part.begin(), part.end());
        }
    }
    return bytes;
}

std::span<const std::uint8_t> Flash::cells(std::size_t sector) const {
    const FlashSector& found = m_config.sectors.at(sector);
    const MemorySegment& segment = std::as_const(m_memory).segment(m_places[sector].segment);
    return {segment.pages[found.page].bytes.data() + m_places[sector].offset, found.size};
}

bool Flash::blank(std::size_t sector) const {
    const std::span<const std::uint8_t> all = cells(sector);
    return std::all_of(all.begin(), all.end(), [](std::uint8_t cell) { return cell == kCleared; });
}

std::span<std::uint8_t> Flash::cellsOf(const Piece& piece) {
    const Place& place = m_places[piece.sector];
    MemoryPage& page = m_memory.segment(place.segment).pages[m_config.sectors[piece.sector].page];
    return {page.bytes.data() + place.offset + piece.offset, piece.size};
}

bool Flash::split(std::uint32_t address, std::uint8_t extension, std::uint64_t size,
                  std::vector<Piece>& pieces) const {
    std::uint64_t position = std::uint64_t{address} * m_memory.granularity();
    while (size > 0) {
        Piece piece{};
        if (!find(position, extension, piece)) {
            return false;
        }
        piece.size = static_cast<std::size_t>(std::min<std::uint64_t>(piece.size, size));
        pieces.push_back(piece);
        position += piece.size;
        size -= piece.size;
    }
    return !pieces.empty();
}

bool Flash::find(std::uint64_t position, std::uint8_t extension, Piece& piece) const {
    for (std::size_t i = 0; i < m_config.sectors.size(); ++i) {
        const FlashSector& sector = m_config.sectors[i];
        const std::uint64_t start = startOf(sector);
        if (sector.extension == extension && position >= start && position - start < sector.size) {
            const auto offset = static_cast<std::size_t>(position - start);
            piece = Piece{i, offset, sector.size - offset};
            return true;
        }
    }
    return false;
}

bool Flash::splitAt(std::uint64_t offset, std::uint64_t size, std::vector<Piece>& pieces) const {
    for (std::size_t i = 0; i < m_config.sectors.size() && size > 0; ++i) {
        const std::uint64_t room = m_config.sectors[i].size;
        if (offset < room) {
            const std::uint64_t taken = std::min(size, room - offset);
            pieces.push_back(Piece{i, static_cast<std::size_t>(offset), static_cast<std::size_t>(taken)});
            size -= taken;
            offset = 0;
        } else {
            offset -= room;
        }
    }
    return size == 0 && !pieces.empty();
}

}  // namespace sim
