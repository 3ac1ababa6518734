#include "host/MemoryProof.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace host {

MemoryProof::MemoryProof(const EcuRecord& ecu) {
    for (const MemoryPart& part : memoryParts(ecu)) {
        Copy copy{part, initialContent(part), std::vector<bool>(part.size)};
        if (part.kind == PartKind::ram) {
            for (const SignalRecord& signal : ecu.signals) {
                markSignal(copy, signal);
            }
        }
        m_parts.push_back(std::move(copy));
    }
}

void MemoryProof::markSignal(Copy& copy, const SignalRecord& signal) {
    const std::uint64_t begin = signal.first.address;
    const std::uint64_t end = begin + signal.size();
    for (std::size_t i = 0; i < copy.bytes.size(); ++i) {
        const std::uint64_t address = std::uint64_t{copy.part.address} + i;
        copy.moves[i] = copy.moves[i] || (address >= begin && address < end);
    }
}

std::size_t MemoryProof::indexOf(PartKind kind) const {
    const auto found = std::find_if(m_parts.begin(), m_parts.end(),
                                    [kind](const Copy& copy) { return copy.part.kind == kind; });
    if (found == m_parts.end()) {
        throw std::out_of_range("the ECU has no such memory");
    }
    return static_cast<std::size_t>(std::distance(m_parts.begin(), found));
}

std::size_t MemoryProof::offsetOf(const Copy& copy, std::uint32_t address, std::size_t size) {
    const bool inside = address >= copy.part.address && address - copy.part.address <= copy.bytes.size() &&
                        size <= copy.bytes.size() - (address - copy.part.address);
    if (!inside) {
        throw std::out_of_range("the range lies outside the memory");
    }
    return address - copy.part.address;
}

void MemoryProof::put(PartKind kind, std::uint32_t address, std::span<const std::uint8_t> bytes) {
    Copy& copy = m_parts[indexOf(kind)];
    const std::size_t offset = offsetOf(copy, address, bytes.size());
    std::copy(bytes.begin(), bytes.end(), copy.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

std::vector<std::uint8_t> MemoryProof::at(PartKind kind, std::uint32_t address, std::size_t size) const {
    const Copy& copy = m_parts[indexOf(kind)];
    const auto begin = copy.bytes.begin() + static_cast<std::ptrdiff_t>(offsetOf(copy, address, size));
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

std::optional<std::string> MemoryProof::difference(std::size_t index,
                                                   std::span<const std::uint8_t> found) const {
    const Copy& copy = m_parts.at(index);
    if (found.size() != copy.bytes.size()) {
        return fmt::format("{}: {} bytes instead of {}", partName(copy.part), found.size(),
                           copy.bytes.size());
    }
    std::size_t count = 0;
    std::size_t first = 0;
    for (std::size_t i = 0; i < found.size(); ++i) {
        const bool wrong = !copy.moves[i] && found[i] != copy.bytes[i];
        first = wrong && count == 0 ? i : first;
        count += wrong ? 1U : 0U;
    }
    if (count == 0) {
        return std::nullopt;
    }
    return fmt::format("{}: {} bytes are wrong, the first at 0x{:X} is 0x{:02X} instead of 0x{:02X}",
                       partName(copy.part), count, copy.part.address + first, found[first],
                       copy.bytes[first]);
}

std::vector<std::string> MemoryProof::differences(SimulatedStation& station) const {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < m_parts.size(); ++i) {
        if (const auto line = difference(i, station.content(m_parts[i].part))) {
            lines.push_back(*line);
        }
    }
    return lines;
}

std::size_t MemoryProof::size() const {
    std::size_t size = 0;
    for (const Copy& copy : m_parts) {
        size += static_cast<std::size_t>(std::count(copy.moves.begin(), copy.moves.end(), false));
    }
    return size;
}

}  // namespace host
