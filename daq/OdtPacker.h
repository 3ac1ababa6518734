/// @file
/// The step that both planners take again and again: fill one ODT from the queue.
#pragma once

#include "TalvexDaq.h"
#include "daq/PackMode.h"
#include "daq/VariableQueue.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <utility>
#include <vector>

/// Makes the ODTs of one DAQ list. Variables are taken from the front of the queue; the first that fits the
/// list but not the rest of an ODT closes the ODT, and no later one is tried in its place.
class OdtPacker {
public:
    /// How the filling of one ODT ended.
    enum class Filled {
        placed,   ///< the ODT has entries and is part of the list
        nothing,  ///< no variable went in, so the ODT was dropped
        skipped,  ///< all that is left is too large. An ODT with entries is part of the list all the same
    };

    /// @param names  gets the names of the variables whose last byte was placed
    OdtPacker(VariableQueue& queue, std::list<std::string>& names, std::uint32_t packMode)
        : m_queue(queue), m_names(names), m_packMode(packMode) {}

    /// Fills one ODT.
    /// @param room      its payload bytes
    /// @param tooLarge  called with the room left; tells the size from which on a variable is skipped now
    template <typename TooLarge>
    Filled fill(std::uint8_t room, TooLarge tooLarge) {
        m_entries.clear();
        m_size = 0;
        bool skippedRest = false;
        while (!skippedRest && room != 0 && !m_queue.atEnd()) {
            const std::uint32_t size = m_queue.front().size;
            const std::uint64_t limit = tooLarge(room);
            if (size >= limit) {
                skippedRest = m_queue.noneBelow(limit);
                if (!skippedRest) {
                    m_queue.skip();
                }
            } else if (const std::uint32_t piece = pieceOf(size, room); piece <= room) {
                place(piece);
                room = static_cast<std::uint8_t>(room - piece);
            } else {
                break;
            }
        }
        return close(skippedRest);
    }

    /// @return the number of ODTs made so far
    [[nodiscard]] std::size_t count() const { return m_odts.size(); }

    /// @return the ODTs made. Ends the packer's life
    std::vector<DaqOdtPlan> take() { return std::move(m_odts); }

private:
    [[nodiscard]] std::uint32_t pieceOf(std::uint32_t size, std::uint8_t room) const;
    void place(std::uint32_t piece);
    Filled close(bool skippedRest);

    VariableQueue& m_queue;
    std::list<std::string>& m_names;
    std::uint32_t m_packMode;
    std::vector<DaqOdtPlan> m_odts;
    std::vector<DaqOdtEntry> m_entries;  ///< of the ODT that is being filled
    std::uint8_t m_size = 0;             ///< its payload bytes
};
