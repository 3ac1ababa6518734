/// @file
/// The order in which a planner offers variables to its DAQ lists.
#pragma once

#include "TalvexRecords.h"

#include <array>
#include <cstdint>
#include <vector>

/// The variables of one event that wait for a place.
///
/// A planner fills one DAQ list by one *pass* over the queue: it looks at `front`, and places bytes of it or
/// skips it. What it skips keeps its place for the next list, unless the pass ends with `putSkippedLast`.
/// Each step costs the same however many variables wait, and skipping all that is left costs nothing.
///
/// The queue is a ring of indices into the caller's vector, which is put in order by `compact` alone.
class VariableQueue {
public:
    /// Takes all of @p variables in their order. They must outlive the queue and keep their place.
    explicit VariableQueue(std::vector<mcMeasureVariable>& variables);

    /// @return true if every variable was placed
    [[nodiscard]] bool empty() const { return m_waiting == 0; }

    /// Begins a pass that starts by skipping variables of @p tooLarge bytes and more. Does not go again over
    /// variables that the pass before skipped if this one would skip them all.
    void beginPass(std::uint64_t tooLarge);

    /// @return true if the pass has seen all that waits
    [[nodiscard]] bool atEnd() const { return m_skipped == m_waiting; }

    /// The variable that is next. Only if not atEnd.
    [[nodiscard]] const mcMeasureVariable& front() const { return m_variables[m_cursor]; }

    /// Leaves the front variable for a later pass.
    void skip();

    /// Takes @p bytes off the front variable, which is the next piece of it. A variable that has no bytes
    /// left leaves the queue.
    /// @return true if the variable is finished
    bool take(std::uint32_t bytes);

    /// @return true if every waiting variable has @p size bytes or more
    [[nodiscard]] bool noneBelow(std::uint64_t size);

    /// Ends a pass: variables that it did not reach come first from now on.
    void putSkippedLast();

    /// Leaves in the vector what still waits, in the order of the queue. Ends the queue's life.
    void compact();

private:
    static constexpr std::uint32_t kSizes = 257;  ///< sizes 0 to 255, and one for all above

    void countSize(std::uint32_t size);
    std::uint32_t& countOf(std::uint32_t size);
    void rewind();
    void unlink();

    std::vector<mcMeasureVariable>& m_variables;
    std::vector<std::uint32_t> m_next;             ///< ring: index of the one behind each waiting variable
    std::uint32_t m_waiting;                       ///< variables in the ring
    std::uint32_t m_head = 0;                      ///< the first in order
    std::uint32_t m_tail = 0;                      ///< the last in order
    std::uint32_t m_cursor = 0;                    ///< the pass's front
    std::uint32_t m_previous = 0;                  ///< the one ahead of the cursor in the ring
    std::uint32_t m_skipped = 0;                   ///< waiting variables from the head up to the cursor
    std::uint32_t m_smallestSkipped = 0;           ///< no skipped variable is smaller
    std::array<std::uint32_t, kSizes> m_counts{};  ///< waiting variables by size
    std::uint32_t m_smallest = kSizes - 1;         ///< no waiting variable is smaller
};
