/// @file
/// The identifiers that somebody in the process wants to receive.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <vector>

/// Counts, per identifier, the protocol objects that want its frames. Locks itself.
class IdRegistry {
public:
    /// Adds one to the count of each identifier.
    void registerIds(const std::set<std::uint32_t>& ids);

    /// Takes one from the count of each identifier that is known; at 0 it is forgotten.
    void releaseIds(const std::set<std::uint32_t>& ids);

    /// @return true if somebody wants frames with @p id. One look-up, no allocation: this runs for every
    /// frame
    ///         of the bus.
    [[nodiscard]] bool isWanted(std::uint32_t id);

private:
    void remakeSnapshot();

    std::mutex m_idMutex;  ///< g_idMutex: held for moments, nothing is taken while it is held
    std::map<std::uint32_t, std::int32_t> m_ids;  ///< g_ids: identifier to count; guarded by m_idMutex
    std::vector<std::uint32_t> m_snapshot;  ///< the keys of m_ids, sorted; guarded by m_idMutex. A reader
                                            ///< looks under the lock, as a reference to it would cost more to
                                            ///< take and give back than the look-up does
};

/// The one registry of the process.
IdRegistry& idRegistry();

/// `IdRegistry::registerIds` of the process's registry.
void registerIds(const std::set<std::uint32_t>& ids);

/// `IdRegistry::releaseIds` of the process's registry.
void releaseIds(const std::set<std::uint32_t>& ids);
