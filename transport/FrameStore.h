/// @file
/// The process-wide mailbox of received frames: a frame waits here until the thread of a protocol object
/// comes and takes it. Nothing is called from here into a protocol object.
#pragma once

#include "TalvexRecords.h"

#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <utility>

/// Frames by channel and identifier, each list oldest first. Locks itself.
class FrameStore {
public:
    /// Most frames of one list: bounds the store while nobody fetches.
    static constexpr std::size_t kListLimit = 4096;

    /// Appends a copy of @p frame to its list, which loses its oldest frame at the limit, and sets the frame
    /// event.
    void append(const msgBuf& frame);

    /// Takes all frames of one list without copying them.
    std::list<msgBuf> take(std::uint8_t channel, std::uint32_t id);

    /// Drops the lists of @p ids on @p channel.
    void erase(std::uint8_t channel, const std::set<std::uint32_t>& ids);

private:
    using Key = std::pair<std::uint8_t, std::uint32_t>;  ///< channel, identifier

    std::mutex m_frameMutex;  ///< g_frameMutex: held for moments; only the event's own lock is taken inside
    std::map<Key, std::list<msgBuf>> m_frames;  ///< g_frames; guarded by m_frameMutex
};

/// The one store of the process.
FrameStore& frameStore();

/// Stores @p frame if its identifier is registered, on whatever channel; drops it silently otherwise.
/// Any thread.
void storeFrame(const msgBuf& frame);

/// Takes what the store holds for (@p id, @p channel), oldest first. If that is nothing and @p wait is set,
/// waits up to 1 ms for the next frame of any kind and looks once more.
std::list<msgBuf> takeFrames(std::uint8_t channel, std::uint32_t id, bool wait);
