/// @file
/// Frames that are on their way to a bus, to be known again when they are on it.
#pragma once

#include "sim/Frame.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace host {

/// A list of frames in the order of their sending. One thread at a time.
///
/// A bus reports a frame by its content alone. Frames of one identifier leave in the order in which they were
/// sent, so the first equal one is meant; two senders with one identifier are a fault on any CAN bus.
class OwnFrames {
public:
    /// Notes that @p frame goes out. @p sender is handed back by take().
    void add(const sim::Frame& frame, std::uint64_t sender);

    /// Takes the first frame off the list that is on the wire as @p wire: equal, but for the padding to a
    /// length that CAN FD has.
    /// @return its sender, or nothing if there is none like it
    std::optional<std::uint64_t> take(const sim::Frame& wire);

    /// Takes the oldest frame off the list, which must not be empty.
    void dropOldest() { m_frames.pop_front(); }

    [[nodiscard]] std::size_t size() const { return m_frames.size(); }

private:
    struct Sent {
        sim::Frame frame;  ///< zero behind its length
        std::uint64_t sender = 0;
    };

    std::deque<Sent> m_frames;
};

}  // namespace host
