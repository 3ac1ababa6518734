/// @file
/// An ECU, its bus and its host's configuration, drawn from a seed.
#pragma once

#include "sim/EcuFaults.h"
#include "sim/VirtualBus.h"
#include "tests/sweep/Draw.h"
#include "tests/sweep/Evidence.h"
#include "tests/system/CcpMemoryBench.h"
#include "tests/system/MemoryBench.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sweep {

/// Memory that the host reads and writes. Code is the first sector of the flash.
struct SeedMemory {
    std::uint32_t scratchBase = 0;
    std::uint32_t scratchSize = 0;
    std::uint32_t dataBase = 0;
    std::uint32_t dataSize = 0;
    std::uint32_t codeBase = systemtest::kCodeBase;
    std::uint32_t codeSize = systemtest::kSectorSize;
};

/// What both protocols have in common.
struct SeedShape {
    Patience patience;
    bool deaf = false;      ///< the ECU may keep silent; the host is impatient, else it waits for ever
    bool pages = false;     ///< the host knows how to switch pages, else it flashes
    bool canErase = false;  ///< what the library sends for an erase means the same to the ECU
    bool canCheck = false;  ///< the same for a checksum
    SeedMemory memory;
    std::string summary{};  ///< for the reader of a failure
    sim::VirtualBusConfig bus;
    std::vector<mcMeasureVariable> sampled{};  ///< signals, by DAQ
    std::vector<mcMeasureVariable> polled{};   ///< one of them, by polling
};

struct XcpShape : SeedShape {
    systemtest::EcuPair ecu;
};

struct CcpShape : SeedShape {
    systemtest::CcpPair ecu;
};

[[nodiscard]] XcpShape drawXcpShape(Draw& draw);
[[nodiscard]] CcpShape drawCcpShape(Draw& draw);

/// A fault of the answers to commands.
[[nodiscard]] sim::EcuFault drawFault(Draw& draw, const SeedShape& shape);
/// A fault of DAQ packets or samples.
[[nodiscard]] sim::EcuFault drawDaqFault(Draw& draw, bool xcp);

}  // namespace sweep
