#include "daq/VariableQueue.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

VariableQueue::VariableQueue(std::vector<mcMeasureVariable>& variables)
    : m_variables(variables),
      m_next(variables.size()),
      m_waiting(static_cast<std::uint32_t>(variables.size())) {
    for (std::uint32_t index = 0; index < m_waiting; ++index) {
        m_next[index] = index + 1;
        countSize(variables[index].size);
    }
    if (m_waiting != 0) {
        m_tail = m_waiting - 1;
        m_next[m_tail] = m_head;
    }
    rewind();
}

void VariableQueue::beginPass(std::uint64_t tooLarge) {
    if (m_smallestSkipped < tooLarge) {
        rewind();
    }
}

void VariableQueue::skip() {
    const std::uint32_t size = front().size;
    m_smallestSkipped = std::min(m_smallestSkipped, size);
    ++m_skipped;
    m_previous = m_cursor;
    m_cursor = m_next[m_cursor];
}

bool VariableQueue::take(std::uint32_t bytes) {
    mcMeasureVariable& variable = m_variables[m_cursor];
    --countOf(variable.size);
    variable.fragment = static_cast<std::uint8_t>(variable.fragment + 1);
    variable.address = variable.address + bytes;
    variable.size = variable.size - bytes;
    if (variable.size == 0) {
        unlink();
        return true;
    }
    countSize(variable.size);
    return false;
}

bool VariableQueue::noneBelow(std::uint64_t size) {
    while (m_smallest < kSizes - 1 && m_counts[m_smallest] == 0) {
        ++m_smallest;
    }
    return m_smallest >= size;
}

void VariableQueue::putSkippedLast() {
    m_head = m_cursor;
    m_tail = m_previous;
    rewind();
}

void VariableQueue::compact() {
    if (m_waiting == 0) {
        m_variables.clear();
        return;
    }
    // Round the ring the indices ascend, but for one step back to the lowest of those that were put last.
    std::uint32_t lowest = m_head;
    std::ptrdiff_t aheadOfStep = 0;
    do {
        lowest = m_next[lowest];
        ++aheadOfStep;
    } while (lowest > m_head);
    std::uint32_t index = lowest;
    for (std::uint32_t place = 0; place < m_waiting; ++place) {
        if (index != place) {
            m_variables[place] = std::move(m_variables[index]);
        }
        index = m_next[index];
    }
    m_variables.resize(m_waiting);
    std::rotate(m_variables.begin(), m_variables.end() - aheadOfStep, m_variables.end());
}

void VariableQueue::countSize(std::uint32_t size) {
    ++countOf(size);
    m_smallest = std::min(m_smallest, size);
}

std::uint32_t& VariableQueue::countOf(std::uint32_t size) {
    return m_counts[std::min(size, kSizes - 1)];
}

void VariableQueue::rewind() {
    m_cursor = m_head;
    m_previous = m_tail;
    m_skipped = 0;
    m_smallestSkipped = std::numeric_limits<std::uint32_t>::max();
}

void VariableQueue::unlink() {
    const std::uint32_t next = m_next[m_cursor];
    m_next[m_previous] = next;
    if (m_cursor == m_head) {
        m_head = next;
    }
    if (m_cursor == m_tail) {
        m_tail = m_previous;
    }
    m_cursor = next;
    --m_waiting;
}
