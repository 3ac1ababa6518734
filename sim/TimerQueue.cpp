#include "sim/TimerQueue.h"

#include <algorithm>
#include <utility>

namespace sim {

TimerId TimerQueue::add(Timer timer) {
    const std::uint32_t index = takeSlot();
    Slot& slot = m_slots[index];
    slot.timer = std::move(timer);
    slot.live = true;
    m_heap.push_back({slot.timer.when, m_order++, index});
    std::push_heap(m_heap.begin(), m_heap.end(), later);
    return static_cast<TimerId>(slot.generation) << 32U | index;
}

void TimerQueue::cancel(TimerId id) {
    const auto index = static_cast<std::uint32_t>(id);
    if (index < m_slots.size() && m_slots[index].live && m_slots[index].generation == id >> 32U) {
        kill(m_slots[index]);
        restoreFront();
    }
}

void TimerQueue::cancelAll(PortNumber port) {
    for (Slot& slot : m_slots) {
        if (slot.live && slot.timer.port == port) {
            kill(slot);
        }
    }
    restoreFront();
}

std::optional<Time> TimerQueue::next() const {
    return m_heap.empty() ? std::nullopt : std::optional<Time>(m_heap.front().when);
}

TimerQueue::Timer TimerQueue::pop() {
    Slot& slot = m_slots[m_heap.front().slot];
    Timer timer = std::move(slot.timer);
    slot.live = false;
    popEntry();
    restoreFront();
    return timer;
}

bool TimerQueue::later(const Entry& a, const Entry& b) {
    return a.when != b.when ? a.when > b.when : a.order > b.order;
}

std::uint32_t TimerQueue::takeSlot() {
    if (m_free.empty()) {
        m_slots.emplace_back();
        return static_cast<std::uint32_t>(m_slots.size() - 1);
    }
    const std::uint32_t index = m_free.back();
    m_free.pop_back();
    return index;
}

void TimerQueue::kill(Slot& slot) {
    slot.live = false;
    slot.timer.action = nullptr;
    ++m_cancelled;
}

void TimerQueue::release(std::uint32_t index) {
    ++m_slots[index].generation;  // the old number now names nothing
    if (m_slots[index].generation == 0) {
        m_slots[index].generation = 1;  // keeps 0 from being a timer
    }
    m_free.push_back(index);
}

void TimerQueue::popEntry() {
    std::pop_heap(m_heap.begin(), m_heap.end(), later);
    release(m_heap.back().slot);
    m_heap.pop_back();
}

void TimerQueue::restoreFront() {
    compact();
    while (!m_heap.empty() && !m_slots[m_heap.front().slot].live) {
        popEntry();
        --m_cancelled;
    }
}

/// Sweeps cancelled timers once they are the majority, so that time-outs that are set and cancelled
/// all the time do not pile up.
void TimerQueue::compact() {
    constexpr std::size_t kFew = 64;
    if (m_cancelled < kFew || m_cancelled * 2 < m_heap.size()) {
        return;
    }
    const auto dead = [this](const Entry& entry) { return !m_slots[entry.slot].live; };
    for (const Entry& entry : m_heap) {
        if (dead(entry)) {
            release(entry.slot);
        }
    }
    std::erase_if(m_heap, dead);
    std::make_heap(m_heap.begin(), m_heap.end(), later);
    m_cancelled = 0;
}

}  // namespace sim
