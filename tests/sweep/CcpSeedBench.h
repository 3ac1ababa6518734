/// @file
/// A host and one CCP ECU with code, pages, flash and signals.
#pragma once

#include "sim/CcpEcu.h"
#include "tests/system/CcpStation.h"
#include "tests/system/MemoryBench.h"

namespace sweep {

/// Plays the host on a fast bus. The values that come are held against the twin, to which the host is
/// connected until the CCP ECU takes its name.
class CcpSeedBench : private systemtest::MemoryBench {
public:
    /// Puts the ECU on its bus and connects to it.
    CcpSeedBench(const systemtest::CcpPair& pair, const sim::VirtualBusConfig& bus);

    using MemoryBench::bus;
    using MemoryBench::checks;
    using MemoryBench::connects;
    using MemoryBench::copiesPage;
    using MemoryBench::downloads;
    using MemoryBench::erases;
    using MemoryBench::host;
    using MemoryBench::pageResult;
    using MemoryBench::reads;
    using MemoryBench::setsPage;
    using MemoryBench::uploads;
    using MemoryBench::writes;

private:
    systemtest::CcpStation m_station;

public:
    sim::CcpEcu& ecu = m_station.ecu;
};

}  // namespace sweep
