#include "transport/FrameStore.h"

#include "transport/FrameEvent.h"
#include "transport/IdRegistry.h"

#include <chrono>

void FrameStore::append(const msgBuf& frame) {
    std::list<msgBuf> made{frame};  // nodes are made and freed outside the lock
    std::list<msgBuf> dropped;
    const std::lock_guard lock(m_frameMutex);
    std::list<msgBuf>& waiting = m_frames[{frame.channel, frame.id}];
    if (waiting.size() >= kListLimit) {
        dropped.splice(dropped.end(), waiting, waiting.begin());
    }
    waiting.splice(waiting.end(), made);
    frameEvent().set();
}

std::list<msgBuf> FrameStore::take(std::uint8_t channel, std::uint32_t id) {
    std::list<msgBuf> taken;
    const std::lock_guard lock(m_frameMutex);
    const auto entry = m_frames.find({channel, id});
    if (entry != m_frames.end()) {
        taken.swap(entry->second);
    }
    return taken;
}

void FrameStore::erase(std::uint8_t channel, const std::set<std::uint32_t>& ids) {
    std::map<Key, std::list<msgBuf>> erased;
    const std::lock_guard lock(m_frameMutex);
    for (const std::uint32_t id : ids) {
        erased.insert(m_frames.extract({channel, id}));
    }
}

FrameStore& frameStore() {
    static FrameStore store;
    return store;
}

void storeFrame(const msgBuf& frame) {
    if (idRegistry().isWanted(frame.id)) {
        frameStore().append(frame);
    }
}

std::list<msgBuf> takeFrames(std::uint8_t channel, std::uint32_t id, bool wait) {
    using namespace std::chrono_literals;
    std::list<msgBuf> taken = frameStore().take(channel, id);
    if (taken.empty() && wait) {
        frameEvent().wait(1ms);
        taken = frameStore().take(channel, id);
    }
    return taken;
}
