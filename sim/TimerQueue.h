/// @file
/// The pending timers of a simulated bus.
#pragma once

#include "sim/Port.h"
#include "sim/PortNumber.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace sim {

/// Timers in the order of their times, those of one time in the order in which they were added.
/// Invariant: the front of the heap is a live timer. One thread at a time.
class TimerQueue {
public:
    struct Timer {
        PortNumber port = 0;
        Time when = 0;
        std::function<void()> action;
    };

    /// @return a number that no other pending timer has; never 0
    TimerId add(Timer timer);

    /// Drops a pending timer; any other number is ignored.
    void cancel(TimerId id);

    /// Drops all timers of @p port.
    void cancelAll(PortNumber port);

    /// Time of the first timer, nothing if there is none.
    [[nodiscard]] std::optional<Time> next() const;

    /// Takes the first timer out. There must be one.
    [[nodiscard]] Timer pop();

private:
    struct Slot {
        Timer timer;
        std::uint32_t generation = 1;
        bool live = false;
    };
    struct Entry {
        Time when;
        std::uint64_t order;
        std::uint32_t slot;
    };

    static bool later(const Entry& a, const Entry& b);
    std::uint32_t takeSlot();
    void kill(Slot& slot);
    void release(std::uint32_t index);
    void popEntry();
    void restoreFront();
    void compact();

    std::vector<Slot> m_slots;
    std::vector<std::uint32_t> m_free;
    std::vector<Entry> m_heap;  ///< one entry per slot in use; those of cancelled timers go lazily
    std::size_t m_cancelled = 0;
    std::uint64_t m_order = 0;
};

}  // namespace sim
