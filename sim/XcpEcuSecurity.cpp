#include "sim/XcpEcuSecurity.h"

#include <algorithm>

namespace sim {

XcpEcuSecurity::XcpEcuSecurity(const std::vector<XcpLock>& locks) : m_locks(locks) {
    reset();
}

void XcpEcuSecurity::reset() {
    forgetExchange();
    m_protection = 0;
    for (const XcpLock& lock : m_locks) {
        m_protection |= lock.resource;
    }
}

void XcpEcuSecurity::forgetExchange() {
    m_lock = nullptr;
    m_seed.clear();
    m_seedSent = 0;
    m_key.clear();
    m_keyBegun = false;
}

const XcpLock* XcpEcuSecurity::findLock(std::uint8_t resource) const {
    const auto found = std::find_if(m_locks.begin(), m_locks.end(),
                                    [resource](const XcpLock& lock) { return lock.resource == resource; });
    return found != m_locks.end() ? &*found : nullptr;
}

void XcpEcuSecurity::beginSeed(const XcpLock& lock) {
    m_lock = &lock;
    m_seed = makeSeed(lock.resource, lock.seedLength, m_seedNumber);
    ++m_seedNumber;
}

XcpError XcpEcuSecurity::seedPart(bool first, std::uint8_t resource, std::size_t room, XcpSeedPart& part) {
    if (first) {
        forgetExchange();
        const XcpLock* lock = findLock(resource);
        if (lock == nullptr || (m_protection & resource) == 0) {
            return XcpError::none;
        }
        beginSeed(*lock);
    } else if (m_lock == nullptr || m_seedSent == m_seed.size()) {
        return XcpError::sequence;
    }
    const std::span<const std::uint8_t> rest = std::span<const std::uint8_t>(m_seed).subspan(m_seedSent);
    const std::span<const std::uint8_t> now = rest.first(std::min(room, rest.size()));
    part.remaining = static_cast<std::uint8_t>(rest.size());
    part.bytes.assign(now.begin(), now.end());
    m_seedSent += now.size();
    return XcpError::none;
}

XcpError XcpEcuSecurity::keyPart(std::uint8_t remaining, std::span<const std::uint8_t> bytes,
                                 std::size_t room) {
    if (m_lock == nullptr || m_seedSent < m_seed.size()) {
        return XcpError::sequence;
    }
    if (m_keyBegun && remaining != m_keySize - m_key.size()) {
        forgetExchange();
        return XcpError::sequence;
    }
    const std::size_t count = std::min<std::size_t>(remaining, room);
    if (bytes.size() < count) {
        return XcpError::cmdSyntax;
    }
    if (!m_keyBegun) {
        m_keyBegun = true;
        m_keySize = remaining;
    }
    m_key.insert(m_key.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    return m_key.size() == m_keySize ? verify() : XcpError::none;
}

XcpError XcpEcuSecurity::verify() {
    const XcpLock& lock = *m_lock;
    const bool right = m_key == lock.key(lock.resource, m_seed);
    forgetExchange();
    if (!right) {
        return XcpError::accessLocked;
    }
    m_protection = static_cast<std::uint8_t>(m_protection & ~lock.resource);
    ++m_unlocks;
    return XcpError::none;
}

}  // namespace sim
