/// @file
/// Seed and key of a simulated CCP ECU: which resources are closed, and the exchange that opens them.
#pragma once

#include "sim/CcpEcuCodes.h"
#include "sim/CcpEcuConfig.h"

#include <cstdint>
#include <span>
#include <vector>

namespace sim {

/// State: closed -> seed given -> key taken -> open, or closed again. A seed opens one resource, once.
/// Holds no lock.
class CcpEcuSecurity {
public:
    /// @param locks  must outlive the object
    explicit CcpEcuSecurity(const std::vector<CcpLock>& locks);

    /// Closes every resource but those of @p stayOpen.
    void reset(std::uint8_t stayOpen);

    /// Mask of the resources that are closed now.
    [[nodiscard]] std::uint8_t closed() const { return m_closed; }

    /// Mask of the resources that have a lock, closed or not.
    [[nodiscard]] std::uint8_t locked() const;

    /// A new seed for @p resource; empty if it is open.
    [[nodiscard]] std::vector<std::uint8_t> seed(std::uint8_t resource);

    /// Takes the key to the latest seed, which is used up.
    /// @param bytes  what the frame holds; bytes behind the key are not looked at
    /// @return acknowledge if the resource is open now, accessLocked without a seed or for a wrong key
    [[nodiscard]] CcpReturn unlock(std::span<const std::uint8_t> bytes);

    [[nodiscard]] std::uint64_t unlocks() const { return m_unlocks; }

private:
    const std::vector<CcpLock>& m_locks;
    std::uint8_t m_closed = 0;
    const CcpLock* m_lock = nullptr;  ///< the lock whose exchange runs
    std::vector<std::uint8_t> m_seed;
    std::uint32_t m_seedNumber = 0;
    std::uint64_t m_unlocks = 0;
};

}  // namespace sim
