/// @file
/// A host and one ECU with code, calibration pages and flash, and what every byte of that ECU has to be.
#pragma once

#include "sim/VirtualBus.h"
#include "sim/XcpEcu.h"
#include "tests/system/BusHost.h"
#include "tests/system/EcuPair.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace systemtest {

using Bytes = std::vector<std::uint8_t>;

/// Commands of memory that `TaskResult::command` reports beside those of `Command`.
enum MemoryCommand : std::uint32_t {
    kForce = 14,
    kErase = 15,
    kCheck = 16,
    kCopyPage = 18,
};

// Code in flash, and two segments of data with a page of RAM and one of flash each. Memory that the host has
// no segment for lies at both sides of each.
inline constexpr std::uint32_t kCodeBase = 0x100000;
inline constexpr std::uint32_t kCodeSize = 0x8000;
inline constexpr std::uint32_t kDataBase = 0x200000;
inline constexpr std::uint32_t kDataSize = 0x2000;
inline constexpr std::uint32_t kMoreDataBase = 0x300000;
inline constexpr std::uint32_t kMoreDataSize = 0x400;
inline constexpr std::uint32_t kGuardSize = 0x100;
inline constexpr std::uint32_t kSectorSize = 0x400;

/// Numbers of the segments in the configuration of the simulated ECU.
enum EcuSegment : std::size_t {
    kSignalSegment,
    kScratchSegment,
    kCodeGuardSegment,
    kCodeSegment,
    kDataGuardSegment,
    kDataSegment,
    kMoreDataSegment,
    kLastGuardSegment,
};
enum EcuPage : std::size_t { kRamPage, kFlashPage };

/// An ECU with that memory on classic CAN, or on CAN FD, with both block modes if @p blockMode is set. The
/// memory holds a pattern; no cell of the flash is cleared. The host knows all commands of memory.
[[nodiscard]] EcuPair memoryEcu(bool blockMode = false, bool fd = false);

/// Takes SET_CAL_PAGE from the host. After a command that ends with PROGRAM_RESET the library puts the page
/// back, which an ECU without a session does not answer.
void forgetPages(EcuPair& pair);

/// Bytes without a pattern, the same for the same @p seed.
[[nodiscard]] Bytes noise(std::size_t size, std::uint32_t seed = 1);

/// What every page of an ECU should hold.
class ExpectedMemory {
public:
    explicit ExpectedMemory(const sim::XcpEcuConfig& config);

    /// @p bytes from @p address on must lie inside the segment.
    void put(EcuSegment segment, EcuPage page, std::uint32_t address, const Bytes& bytes);
    void clear(EcuSegment segment, EcuPage page, std::uint32_t address, std::uint32_t size);

    /// Fails for the first byte of each page that is another one.
    void expectIn(const sim::XcpEcu& ecu) const;

private:
    std::vector<sim::MemorySegment> m_segments;
};

/// Plays the host on a fast bus, and keeps the progress that is reported.
class MemoryBench {
public:
    /// Puts the ECU on its bus and connects to it.
    explicit MemoryBench(const EcuPair& pair, const sim::VirtualBusConfig& bus = fastBus());
    ~MemoryBench();
    MemoryBench(const MemoryBench&) = delete;
    MemoryBench& operator=(const MemoryBench&) = delete;

    int connects() { return host.connects({"ecu"}); }

    // Each queues a command and returns its result. Those that restore the page wait for that too.
    int uploads(mcMemOperType type);
    int downloads(mcMemOperType type, const std::list<mem_buf>& blocks);
    int erases(mcMemOperType type = mcMemCode);
    int checks(mcMemOperType type, const std::list<mem_buf>& blocks);
    int forces(const std::string& path);
    int setsPage(bool working);
    int copiesPage();
    int writes(std::uint32_t address, const Bytes& bytes);
    /// @return what the host got for a variable; empty if nothing came
    Bytes reads(std::uint32_t address, std::uint32_t size);

    /// The result of the page that the latest memory operation put back.
    [[nodiscard]] int pageResult() const { return m_pageResult; }

    /// The percentages of 12 or 13 that came since the last call.
    [[nodiscard]] static std::vector<std::uint32_t> takeProgress(std::uint32_t command);

    /// Commands that the ECU got from now on, until the next call, by their code.
    void record();
    [[nodiscard]] std::vector<std::uint8_t> recorded();

    BusHost host;
    sim::VirtualBus& bus;
    sim::XcpEcu& ecu;
    ExpectedMemory expected;

private:
    int finishes(std::uint32_t command);

    const std::uint32_t m_masterId;
    int m_pageResult = -1;
    std::vector<std::uint8_t> m_recorded;  ///< written by the bus thread while a monitor is set
};

/// Percentages rise, and end with 100.
void expectRisingTo100(const std::vector<std::uint32_t>& percentages);

}  // namespace systemtest
