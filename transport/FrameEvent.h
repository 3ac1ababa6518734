/// @file
/// The event that wakes whoever waits for a frame.
#pragma once

#include "platform/TimerResolution.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

/// An event that resets itself with the first waiter it wakes. It is not tied to a frame or an identifier: a
/// waiter wakes for any frame and looks for its own. Locks itself.
class FrameEvent {
public:
    /// Sets the event; wakes one waiter.
    void set();

    /// Waits until the event is set, at most @p limit, and resets it.
    void wait(std::chrono::nanoseconds limit);

private:
    std::mutex m_mutex;  ///< innermost lock: nothing is taken while it is held
    std::condition_variable m_condition;
    bool m_set = false;  ///< guarded by m_mutex
    /// For all waits of the process: the event is made with the first use of the library.
    [[maybe_unused, no_unique_address]] platform::TimerResolution m_resolution;
};

/// The one event of the process, set at each stored frame.
FrameEvent& frameEvent();
