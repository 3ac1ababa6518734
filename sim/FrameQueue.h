/// @file
/// Frames that wait on a simulated bus.
#pragma once

#include "sim/Frame.h"
#include "sim/PortNumber.h"

#include <cstdint>
#include <vector>

namespace sim {

/// Frames in the order of a rank, those of one rank in the order in which they were added.
/// Does not allocate once it has reached its size. One thread at a time.
class FrameQueue {
public:
    struct Item {
        PortNumber port = 0;
        Frame frame;
    };

    /// Lower ranks leave first.
    void push(std::uint64_t rank, const Item& item);

    [[nodiscard]] bool empty() const { return m_heap.empty(); }

    /// Rank of the first frame. There must be one.
    [[nodiscard]] std::uint64_t frontRank() const { return m_heap.front().rank; }

    /// Takes the first frame out. There must be one.
    [[nodiscard]] Item pop();

    /// Drops all frames of @p port.
    void removeAll(PortNumber port);

private:
    struct Entry {
        std::uint64_t rank;
        std::uint64_t order;
        std::uint32_t slot;
    };

    static bool later(const Entry& a, const Entry& b);
    std::uint32_t store(const Item& item);

    std::vector<Item> m_slots;
    std::vector<std::uint32_t> m_free;
    std::vector<Entry> m_heap;
    std::uint64_t m_order = 0;
};

}  // namespace sim
