/// @file
/// A signal that a thread waits for together with its sockets.
#pragma once

#include "host/FileHandle.h"

namespace host {

/// Readable from set() until clear(). Any thread.
class WakeUp {
public:
    /// @throws std::system_error if the system has no more descriptors
    WakeUp();

    /// Makes it readable.
    void set() const;

    /// Makes it wait for the next set().
    void clear() const;

    /// For poll().
    [[nodiscard]] int descriptor() const { return m_event.get(); }

private:
    FileHandle m_event;
};

}  // namespace host
