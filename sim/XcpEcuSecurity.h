/// @file
/// Seed and key of a simulated XCP ECU: which resources are closed, and the exchange that opens them.
#pragma once

#include "sim/XcpEcuCodes.h"
#include "sim/XcpEcuConfig.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace sim {

/// What of a seed goes into one response.
struct XcpSeedPart {
    std::uint8_t remaining = 0;  ///< bytes not sent before, this part included; 0: resource is open
    std::vector<std::uint8_t> bytes;
};

/// State: closed -> seed given in parts -> key taken in parts -> open, or closed again. Holds no lock.
class XcpEcuSecurity {
public:
    /// @param locks  must outlive the object
    explicit XcpEcuSecurity(const std::vector<XcpLock>& locks);

    /// Closes every resource, as at the start of a session.
    void reset();

    /// Mask of the resources that are closed.
    [[nodiscard]] std::uint8_t protection() const { return m_protection; }

    /// Starts (@p first) or continues a seed.
    /// @param room  bytes that a response can carry
    [[nodiscard]] XcpError seedPart(bool first, std::uint8_t resource, std::size_t room, XcpSeedPart& part);

    /// Takes the next bytes of the key.
    /// @param remaining  bytes of the key still to come, these included
    /// @param bytes      what the frame holds, perhaps with padding
    /// @param room       bytes of a key that a command can carry
    /// @return accessLocked if the key is complete and wrong; `m_protection` tells if it is complete
    ///         and right
    [[nodiscard]] XcpError keyPart(std::uint8_t remaining, std::span<const std::uint8_t> bytes,
                                   std::size_t room);

    [[nodiscard]] std::uint64_t unlocks() const { return m_unlocks; }

private:
    void forgetExchange();
    void beginSeed(const XcpLock& lock);
    [[nodiscard]] const XcpLock* findLock(std::uint8_t resource) const;
    [[nodiscard]] XcpError verify();

    const std::vector<XcpLock>& m_locks;
    std::uint8_t m_protection = 0;
    const XcpLock* m_lock = nullptr;  ///< the lock whose exchange runs
    std::vector<std::uint8_t> m_seed;
    std::size_t m_seedSent = 0;
    std::vector<std::uint8_t> m_key;
    std::size_t m_keySize = 0;  ///< as the first part told; only with `m_keyBegun`
    bool m_keyBegun = false;
    std::uint32_t m_seedNumber = 0;
    std::uint64_t m_unlocks = 0;
};

}  // namespace sim
