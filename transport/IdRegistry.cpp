#include "transport/IdRegistry.h"

#include <algorithm>

void IdRegistry::registerIds(const std::set<std::uint32_t>& ids) {
    const std::lock_guard lock(m_idMutex);
    for (const std::uint32_t id : ids) {
        ++m_ids[id];
    }
    remakeSnapshot();
}

void IdRegistry::releaseIds(const std::set<std::uint32_t>& ids) {
    const std::lock_guard lock(m_idMutex);
    for (const std::uint32_t id : ids) {
        const auto entry = m_ids.find(id);
        if (entry != m_ids.end() && --entry->second < 1) {
            m_ids.erase(entry);
        }
    }
    remakeSnapshot();
}

bool IdRegistry::isWanted(std::uint32_t id) {
    const std::lock_guard lock(m_idMutex);
    return std::binary_search(m_snapshot.begin(), m_snapshot.end(), id);
}

void IdRegistry::remakeSnapshot() {
    m_snapshot.clear();
    for (const auto& [id, count] : m_ids) {
        m_snapshot.push_back(id);
    }
}

IdRegistry& idRegistry() {
    static IdRegistry registry;
    return registry;
}

void registerIds(const std::set<std::uint32_t>& ids) {
    idRegistry().registerIds(ids);
}

void releaseIds(const std::set<std::uint32_t>& ids) {
    idRegistry().releaseIds(ids);
}
