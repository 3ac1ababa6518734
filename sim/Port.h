/// @file
/// What a node of the simulated bus sees of its bus, and what the bus sees of a node.
#pragma once

#include "sim/Frame.h"

#include <cstdint>
#include <functional>

namespace sim {

/// Names a pending timer of a port. 0 is never a timer.
using TimerId = std::uint64_t;

/// A node's connection to a bus. Frames and timers of one bus are delivered one after the other
/// on the bus thread, so a node that acts only from them needs no lock of its own.
class Port {
public:
    virtual ~Port() = default;

    /// Queues a frame for arbitration. Frames of one port leave in the order of their identifiers'
    /// priority, frames of one identifier in the order of the calls. Any thread.
    virtual void send(const Frame& frame) = 0;

    /// Bus time now. On the bus thread: the time of the event that is being delivered.
    [[nodiscard]] virtual Time now() const = 0;

    /// Calls @p action on the bus thread once bus time reaches @p when (at once if it has passed).
    virtual TimerId at(Time when, std::function<void()> action) = 0;

    /// Drops a timer that has not fired; anything else is ignored. Any thread.
    virtual void cancel(TimerId timer) = 0;
};

/// A participant of the bus.
class Node {
public:
    virtual ~Node() = default;

    /// A frame of another node is complete on the bus, its last bit at bus time @p end. Bus thread.
    virtual void onFrame(const Frame& frame, Time end) = 0;
};

}  // namespace sim
