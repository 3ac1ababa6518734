/// @file
/// What the memory of a simulated ECU should hold, but for the segment in which signals move.
#pragma once

#include "sim/CcpEcu.h"
#include "sim/XcpEcu.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sweep {

/// Starts as the ECU does. Page 0 is that of segments without pages too.
class SeedImage {
public:
    using Bytes = std::vector<std::uint8_t>;

    explicit SeedImage(std::vector<sim::MemorySegment> segments);

    /// @p bytes from @p address on must lie inside a segment.
    void put(std::uint32_t address, const Bytes& bytes, std::size_t page = 0);
    [[nodiscard]] Bytes at(std::uint32_t address, std::size_t size, std::size_t page = 0) const;
    /// Copies one page of the segment at @p address to another.
    void copyPage(std::uint32_t address, std::size_t from, std::size_t to);

    /// Takes over what the ECU holds.
    void adopt(sim::XcpEcu& ecu);
    void adopt(sim::CcpEcu& ecu);

    /// @return where the ECU holds something else; empty if nowhere
    [[nodiscard]] std::string differenceTo(sim::XcpEcu& ecu) const;
    [[nodiscard]] std::string differenceTo(sim::CcpEcu& ecu) const;

private:
    [[nodiscard]] std::size_t find(std::uint32_t address) const;
    template <typename Ecu>
    void adoptFrom(Ecu& ecu);
    template <typename Ecu>
    [[nodiscard]] std::string compare(Ecu& ecu) const;

    std::vector<sim::MemorySegment> m_segments;
};

}  // namespace sweep
