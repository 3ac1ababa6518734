/// @file
/// A simulated CCP ECU with code, calibration pages and flash, and what every byte of it has to be.
#pragma once

#include "sim/CcpEcu.h"
#include "tests/system/CcpStation.h"
#include "tests/system/MemoryBench.h"

#include <cstdint>
#include <vector>

namespace systemtest {

/// The working page, in RAM. It lies at address 0 because MOVE copies there: the library does not say where
/// to.
inline constexpr std::uint32_t kCcpWorkingPage = 0;
/// The reference page, in flash.
inline constexpr std::uint32_t kCcpReferencePage = kDataBase;
inline constexpr std::uint32_t kCcpPageSize = 0x800;

/// An ECU with both pages, and code in flash at `kCodeBase`. Other memory lies at both sides of each; all
/// hold a pattern, and no cell of the flash is cleared. The host's data segment is the working page. It knows
/// all commands of memory, and asks for no status.
/// @param number  as for `ccpEcu`
[[nodiscard]] CcpPair ccpMemoryEcu(const std::string& name = "ecu", unsigned number = 0);

/// Makes the reference page the data segment, for forced downloads. The page commands are taken from the
/// host: they would move the address that the image goes to.
void makeForcible(CcpPair& pair);

/// Takes SELECT_CAL_PAGE from the host.
void forgetPages(CcpPair& pair);

/// The number of bytes that makes a big endian ECU clear @p size of them: that one is never swapped.
[[nodiscard]] std::uint32_t clearSize(const CcpPair& pair, std::uint32_t size);

/// What the memory of an ECU should hold.
class CcpExpectedMemory {
public:
    explicit CcpExpectedMemory(const sim::CcpEcuConfig& config);

    /// @p bytes from @p address on must lie inside a segment.
    void put(std::uint32_t address, const Bytes& bytes);
    void clear(std::uint32_t address, std::uint32_t size);
    [[nodiscard]] Bytes at(std::uint32_t address, std::uint32_t size) const;

    /// Fails for the first byte of each segment that is another one.
    void expectIn(sim::CcpEcu& ecu) const;

private:
    std::vector<sim::MemorySegment> m_segments;
};

/// Plays the host on a fast bus. The ECU of the base is the twin, to which it is connected until the CCP ECU
/// takes its name.
class CcpMemoryBench : private MemoryBench {
public:
    /// Puts the ECU on its bus and connects to it.
    explicit CcpMemoryBench(const CcpPair& pair, const sim::VirtualBusConfig& bus = fastBus());

    using MemoryBench::bus;
    using MemoryBench::checks;
    using MemoryBench::connects;
    using MemoryBench::copiesPage;
    using MemoryBench::downloads;
    using MemoryBench::erases;
    using MemoryBench::forces;
    using MemoryBench::host;
    using MemoryBench::pageResult;
    using MemoryBench::reads;
    using MemoryBench::setsPage;
    using MemoryBench::takeProgress;
    using MemoryBench::uploads;
    using MemoryBench::writes;

    /// Gives the host's side of @p pair to the library and connects.
    void reconfigures(const CcpPair& pair);

    /// Codes of the commands that went out from now on, until the next call.
    void record();
    [[nodiscard]] Bytes recorded();

private:
    CcpStation m_station;
    Bytes m_recorded;  ///< written by the bus thread while a monitor is set

public:
    sim::CcpEcu& ecu = m_station.ecu;
    CcpExpectedMemory expected;
};

}  // namespace systemtest
