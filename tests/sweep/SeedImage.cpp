#include "tests/sweep/SeedImage.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace sweep {
namespace {

/// Of the segments of all ECUs the first one holds the signals.
constexpr std::size_t kFirstStill = 1;

SeedImage::Bytes contentOf(sim::XcpEcu& ecu, const sim::MemorySegment& /*segment*/, std::size_t number,
                           std::size_t page) {
    return ecu.readPage(number, page);
}

SeedImage::Bytes contentOf(sim::CcpEcu& ecu, const sim::MemorySegment& segment, std::size_t /*number*/,
                           std::size_t page) {
    return ecu.read(segment.base, segment.extension, segment.pages[page].bytes.size());
}

}  // namespace

SeedImage::SeedImage(std::vector<sim::MemorySegment> segments) : m_segments(std::move(segments)) {}

std::size_t SeedImage::find(std::uint32_t address) const {
    for (std::size_t i = 0; i < m_segments.size(); ++i) {
        const sim::MemorySegment& segment = m_segments[i];
        if (address >= segment.base && address - segment.base < segment.pages[0].bytes.size()) {
            return i;
        }
    }
    throw std::invalid_argument("no memory at " + std::to_string(address));
}

void SeedImage::put(std::uint32_t address, const Bytes& bytes, std::size_t page) {
    sim::MemorySegment& segment = m_segments[find(address)];
    Bytes& all = segment.pages.at(page).bytes;
    const std::size_t offset = address - segment.base;
    if (offset + bytes.size() > all.size()) {
        throw std::invalid_argument("no room at " + std::to_string(address));
    }
    std::copy(bytes.begin(), bytes.end(), all.begin() + static_cast<std::ptrdiff_t>(offset));
}

SeedImage::Bytes SeedImage::at(std::uint32_t address, std::size_t size, std::size_t page) const {
    const sim::MemorySegment& segment = m_segments[find(address)];
    const Bytes& all = segment.pages.at(page).bytes;
    const std::size_t offset = address - segment.base;
    const auto begin = all.begin() + static_cast<std::ptrdiff_t>(offset);
    return {begin, begin + static_cast<std::ptrdiff_t>(std::min(size, all.size() - offset))};
}

void SeedImage::copyPage(std::uint32_t address, std::size_t from, std::size_t to) {
    sim::MemorySegment& segment = m_segments[find(address)];
    segment.pages.at(to).bytes = segment.pages.at(from).bytes;
}

template <typename Ecu>
void SeedImage::adoptFrom(Ecu& ecu) {
    for (std::size_t i = kFirstStill; i < m_segments.size(); ++i) {
        for (std::size_t page = 0; page < m_segments[i].pages.size(); ++page) {
            m_segments[i].pages[page].bytes = contentOf(ecu, m_segments[i], i, page);
        }
    }
}

template <typename Ecu>
std::string SeedImage::compare(Ecu& ecu) const {
    for (std::size_t i = kFirstStill; i < m_segments.size(); ++i) {
        for (std::size_t page = 0; page < m_segments[i].pages.size(); ++page) {
            const Bytes found = contentOf(ecu, m_segments[i], i, page);
            const Bytes& wanted = m_segments[i].pages[page].bytes;
            if (found == wanted) {
                continue;
            }
            const auto other =
                std::mismatch(found.begin(), found.end(), wanted.begin(), wanted.end()).first - found.begin();
            return "page " + std::to_string(page) + ", address " +
                   std::to_string(m_segments[i].base + static_cast<std::uint32_t>(other));
        }
    }
    return {};
}

void SeedImage::adopt(sim::XcpEcu& ecu) {
    adoptFrom(ecu);
}

void SeedImage::adopt(sim::CcpEcu& ecu) {
    adoptFrom(ecu);
}

std::string SeedImage::differenceTo(sim::XcpEcu& ecu) const {
    return compare(ecu);
}

std::string SeedImage::differenceTo(sim::CcpEcu& ecu) const {
    return compare(ecu);
}

}  // namespace sweep
