/// @file
/// What a simulated bus has counted.
#pragma once

#include "sim/Frame.h"

#include <cstdint>
#include <vector>

namespace sim {

/// A snapshot of the counts since the start of the bus. A frame counts when its last bit is out.
struct BusCounters {
    std::uint64_t frames = 0;                 ///< frames on the wire
    std::uint64_t dataBytes = 0;              ///< their data bytes, padding to a CAN FD length included
    std::uint64_t bits = 0;                   ///< their bits, stuff bits and intermission included
    std::uint64_t rejected = 0;               ///< frames that no controller could send
    std::uint64_t dropped = 0;                ///< fault: not sent
    std::uint64_t delayed = 0;                ///< fault: offered to the bus later
    std::uint64_t duplicated = 0;             ///< fault: sent twice
    std::uint64_t corrupted = 0;              ///< fault: first byte changed
    std::uint64_t silenced = 0;               ///< not sent because the port was silent
    Time now = 0;                             ///< bus time of the snapshot, ns
    Time busy = 0;                            ///< how long a frame or its intermission was on the wire, ns
    std::vector<std::uint64_t> framesByPort;  ///< frames on the wire; the first is that of port 1

    /// Percent of the time since the start of the bus in which it was busy; 0 at the start.
    [[nodiscard]] double loadPercent() const;

    /// Percent of the time since the snapshot @p earlier in which the bus was busy; 0 if none passed.
    [[nodiscard]] double loadPercentSince(const BusCounters& earlier) const;
};

}  // namespace sim
