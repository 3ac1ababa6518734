#include "sim/CcpEcuSecurity.h"

#include <algorithm>

namespace sim {

CcpEcuSecurity::CcpEcuSecurity(const std::vector<CcpLock>& locks) : m_locks(locks), m_closed(locked()) {}

void CcpEcuSecurity::reset(std::uint8_t stayOpen) {
    m_lock = nullptr;
    const std::uint8_t open = stayOpen & static_cast<std::uint8_t>(~m_closed);
    m_closed = locked() & static_cast<std::uint8_t>(~open);
}

std::uint8_t CcpEcuSecurity::locked() const {
    std::uint8_t mask = 0;
    for (const CcpLock& lock : m_locks) {
        mask |= lock.resource;
    }
    return mask;
}

std::vector<std::uint8_t> CcpEcuSecurity::seed(std::uint8_t resource) {
    m_lock = nullptr;
    if ((m_closed & resource) == 0) {
        return {};
    }
    const auto lock = std::find_if(m_locks.begin(), m_locks.end(), [resource](const CcpLock& candidate) {
        return candidate.resource == resource;
    });
    m_lock = &*lock;
    m_seed = makeSeed(resource, lock->seedLength, m_seedNumber);
    ++m_seedNumber;
    return m_seed;
}

CcpReturn CcpEcuSecurity::unlock(std::span<const std::uint8_t> bytes) {
    const CcpLock* lock = m_lock;
    m_lock = nullptr;
    if (lock == nullptr) {
        return CcpReturn::accessLocked;
    }
    const std::vector<std::uint8_t> key = lock->key(lock->resource, m_seed);
    const bool right = bytes.size() >= key.size() && std::equal(key.begin(), key.end(), bytes.begin());
    if (!right) {
        return CcpReturn::accessLocked;
    }
    m_closed &= static_cast<std::uint8_t>(~lock->resource);
    ++m_unlocks;
    return CcpReturn::acknowledge;
}

}  // namespace sim
