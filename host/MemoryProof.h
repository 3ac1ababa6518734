/// @file
/// Proves of every byte of a simulated ECU that it is what it has to be.
#pragma once

#include "host/ConfigRecords.h"
#include "host/MemoryPart.h"
#include "host/SimulatedStation.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace host {

/// Keeps a copy of the memory of one ECU and does to it what the ECU was told to do. Bytes under signals move
/// and are not looked at. One thread.
class MemoryProof {
public:
    /// Begins with the content that the ECU starts with.
    explicit MemoryProof(const EcuRecord& ecu);

    /// @p bytes stand from @p address on in the first part of that kind from now on.
    /// @throws std::out_of_range if there is no such place
    void put(PartKind kind, std::uint32_t address, std::span<const std::uint8_t> bytes);

    /// What has to stand from @p address on in the first part of that kind.
    /// @throws std::out_of_range if there is no such place
    [[nodiscard]] std::vector<std::uint8_t> at(PartKind kind, std::uint32_t address, std::size_t size) const;

    /// The first part of that kind. @throws std::out_of_range if there is none
    [[nodiscard]] const MemoryPart& part(PartKind kind) const { return m_parts[indexOf(kind)].part; }

    /// Parts, in the order of `memoryParts`.
    [[nodiscard]] std::size_t count() const { return m_parts.size(); }
    [[nodiscard]] const MemoryPart& part(std::size_t index) const { return m_parts.at(index).part; }

    /// How @p found differs from part number @p index, in words; nothing if it does not.
    [[nodiscard]] std::optional<std::string> difference(std::size_t index,
                                                        std::span<const std::uint8_t> found) const;

    /// How the memory of @p station differs, a line for each part that does.
    [[nodiscard]] std::vector<std::string> differences(SimulatedStation& station) const;

    /// Bytes that are compared.
    [[nodiscard]] std::size_t size() const;

private:
    struct Copy {
        MemoryPart part;
        std::vector<std::uint8_t> bytes;
        std::vector<bool> moves;  ///< by byte: it belongs to a signal
    };

    [[nodiscard]] std::size_t indexOf(PartKind kind) const;
    [[nodiscard]] static std::size_t offsetOf(const Copy& copy, std::uint32_t address, std::size_t size);
    static void markSignal(Copy& copy, const SignalRecord& signal);

    std::vector<Copy> m_parts;
};

}  // namespace host
