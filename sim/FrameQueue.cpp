#include "sim/FrameQueue.h"

#include <algorithm>

namespace sim {

void FrameQueue::push(std::uint64_t rank, const Item& item) {
    m_heap.push_back({rank, m_order++, store(item)});
    std::push_heap(m_heap.begin(), m_heap.end(), later);
}

FrameQueue::Item FrameQueue::pop() {
    std::pop_heap(m_heap.begin(), m_heap.end(), later);
    const std::uint32_t slot = m_heap.back().slot;
    m_heap.pop_back();
    m_free.push_back(slot);
    return m_slots[slot];
}

void FrameQueue::removeAll(PortNumber port) {
    const auto ofPort = [this, port](const Entry& entry) { return m_slots[entry.slot].port == port; };
    for (const Entry& entry : m_heap) {
        if (ofPort(entry)) {
            m_free.push_back(entry.slot);
        }
    }
    std::erase_if(m_heap, ofPort);
    std::make_heap(m_heap.begin(), m_heap.end(), later);
}

bool FrameQueue::later(const Entry& a, const Entry& b) {
    return a.rank != b.rank ? a.rank > b.rank : a.order > b.order;
}

std::uint32_t FrameQueue::store(const Item& item) {
    if (m_free.empty()) {
        m_slots.push_back(item);
        return static_cast<std::uint32_t>(m_slots.size() - 1);
    }
    const std::uint32_t slot = m_free.back();
    m_free.pop_back();
    m_slots[slot] = item;
    return slot;
}

}  // namespace sim
