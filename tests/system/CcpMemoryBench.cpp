#include "tests/system/CcpMemoryBench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace systemtest {
namespace {

constexpr std::uint8_t kSelectCalPage = 0x11;
/// GET_ACTIVE_CAL_PAGE, SELECT_CAL_PAGE, MOVE.
const std::set<std::uint8_t> kMemoryCommands = {0x09, kSelectCalPage, 0x19};
constexpr std::uint32_t kDataType = 2;

/// Memory with a pattern in which every cell has a bit that cannot rise by programming.
sim::MemorySegment patterned(std::uint32_t base, std::uint32_t size,
                             sim::MemoryAccess access = sim::MemoryAccess::readWrite) {
    sim::MemorySegment segment = sim::plainSegment(base, size, access);
    segment.pages[0].bytes = noise(size, base + 1);
    for (std::uint8_t& byte : segment.pages[0].bytes) {
        byte = static_cast<std::uint8_t>(byte & 0x7F);
    }
    return segment;
}

void addFlash(sim::CcpEcuConfig& ecu, std::uint32_t base, std::uint32_t size) {
    ecu.memory.push_back(patterned(base - kGuardSize, kGuardSize));
    ecu.memory.push_back(patterned(base, size, sim::MemoryAccess::readOnly));
    ecu.memory.push_back(patterned(base + size, kGuardSize));
    for (std::uint32_t offset = 0; offset < size; offset += kSectorSize) {
        ecu.flash.sectors.push_back({.base = base + offset, .size = kSectorSize});
    }
}

mcMemoryInfo segmentOf(std::uint32_t base, std::uint32_t size) {
    mcMemoryInfo segment;
    segment.address = base;
    segment.length = size;
    segment.programType = kDataType;
    segment.memoryType = kDataType;
    segment.checksumType = static_cast<std::uint32_t>(sim::XcpChecksum::crc32);
    return segment;
}

}  // namespace

CcpPair ccpMemoryEcu(const std::string& name, unsigned number) {
    CcpPair pair = ccpEcu(name, number);
    EcuProtoCfg& cfg = pair.twin.cfg;
    cfg.supportedCmds.insert(kMemoryCommands.begin(), kMemoryCommands.end());
    cfg.ccp.statusPeriodMs = 0;
    cfg.ccp.workingPageAddress = kCcpWorkingPage;
    cfg.ccp.referencePageAddress = kCcpReferencePage;
    cfg.codeSegments = {segmentOf(kCodeBase, kCodeSize)};
    cfg.dataSegments = {segmentOf(kCcpWorkingPage, kCcpPageSize)};
    pair.ecu.calPages = {{.address = kCcpWorkingPage}, {.address = kCcpReferencePage}};
    pair.ecu.memory.push_back(patterned(kCcpWorkingPage, kCcpPageSize));
    pair.ecu.memory.push_back(patterned(kCcpWorkingPage + kCcpPageSize, kGuardSize));
    addFlash(pair.ecu, kCcpReferencePage, kCcpPageSize);
    addFlash(pair.ecu, kCodeBase, kCodeSize);
    return pair;
}

/// The request for a seed that opens a forced download names all resources of the mask, and ECUs take one.
void makeForcible(CcpPair& pair) {
    forgetPages(pair);
    pair.twin.cfg.dataSegments = {segmentOf(kCcpReferencePage, kCcpPageSize)};
    pair.twin.cfg.ccp.unlockMask = sim::ccp::kPgm;
}

void forgetPages(CcpPair& pair) {
    pair.twin.cfg.supportedCmds.erase(kSelectCalPage);
}

std::uint32_t clearSize(const CcpPair& pair, std::uint32_t size) {
    const Bytes bytes = {static_cast<std::uint8_t>(size), static_cast<std::uint8_t>(size >> 8),
                         static_cast<std::uint8_t>(size >> 16), static_cast<std::uint8_t>(size >> 24)};
    return static_cast<std::uint32_t>(sim::getNumber(bytes, pair.ecu.byteOrder));
}

CcpExpectedMemory::CcpExpectedMemory(const sim::CcpEcuConfig& config) : m_segments(config.memory) {}

void CcpExpectedMemory::put(std::uint32_t address, const Bytes& bytes) {
    for (sim::MemorySegment& segment : m_segments) {
        Bytes& all = segment.pages[0].bytes;
        if (address >= segment.base && address - segment.base + bytes.size() <= all.size()) {
            std::copy(bytes.begin(), bytes.end(), all.begin() + (address - segment.base));
            return;
        }
    }
    FAIL() << "no memory at " << address;
}

void CcpExpectedMemory::clear(std::uint32_t address, std::uint32_t size) {
    put(address, Bytes(size, 0xFF));
}

Bytes CcpExpectedMemory::at(std::uint32_t address, std::uint32_t size) const {
    for (const sim::MemorySegment& segment : m_segments) {
        const Bytes& all = segment.pages[0].bytes;
        if (address >= segment.base && address - segment.base + size <= all.size()) {
            const auto begin = all.begin() + (address - segment.base);
            return {begin, begin + size};
        }
    }
    ADD_FAILURE() << "no memory at " << address;
    return {};
}

void CcpExpectedMemory::expectIn(sim::CcpEcu& ecu) const {
    for (const sim::MemorySegment& segment : m_segments) {
        const Bytes& wanted = segment.pages[0].bytes;
        const Bytes found = ecu.read(segment.base, segment.extension, wanted.size());
        ASSERT_EQ(found.size(), wanted.size());
        const auto other = std::mismatch(found.begin(), found.end(), wanted.begin());
        if (other.first != found.end()) {
            ADD_FAILURE() << "address " << segment.base + (other.first - found.begin()) << ": "
                          << int{*other.first} << " instead of " << int{*other.second};
        }
    }
}

CcpMemoryBench::CcpMemoryBench(const CcpPair& pair, const sim::VirtualBusConfig& busConfig)
    : MemoryBench(classicEcu(pair.ecu.name), busConfig),
      m_station(host, bus, ecuOf(pair)),
      expected(pair.ecu) {
    reconfigures(pair);
}

void CcpMemoryBench::reconfigures(const CcpPair& pair) {
    host.configure(pair.twin.cfg);
    EXPECT_EQ(connects(), 0);
}

void CcpMemoryBench::record() {
    bus.setMonitor([this](const sim::Frame& frame, sim::PortNumber /*sender*/, sim::Time /*end*/) {
        if (frame.id == ecu.config().croId) {
            m_recorded.push_back(frame.data[0]);
        }
    });
}

Bytes CcpMemoryBench::recorded() {
    bus.setMonitor(nullptr);
    return std::exchange(m_recorded, {});
}

}  // namespace systemtest
