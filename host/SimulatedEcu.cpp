#include "host/SimulatedEcu.h"

#include "host/MemoryPart.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace host {
namespace {

/// Closest to what a real ECU takes to answer.
constexpr sim::Time kResponseDelayNs = 100'000;

sim::XcpEventConfig simulatedEvent(const EventRecord& event) {
    sim::XcpEventConfig config;
    config.name = event.name;
    config.cycle = event.cycle;
    config.unit = event.unit;
    config.priority = event.priority;
    config.maxLists = event.maxLists;
    return config;
}

std::vector<sim::XcpDaqListConfig> simulatedXcpLists(const EcuRecord& ecu) {
    std::vector<sim::XcpDaqListConfig> lists;
    for (const DaqListRecord& record : ecu.daq.lists) {
        sim::XcpDaqListConfig list;
        list.odts = std::max(record.odts, std::uint8_t{1});
        list.fixedEvent = record.fixedEvent;
        list.canId = record.id;
        lists.push_back(std::move(list));
    }
    return lists;
}

sim::XcpDaqConfig simulatedXcpDaq(const EcuRecord& ecu) {
    sim::XcpDaqConfig daq;
    daq.idField = static_cast<sim::XcpIdField>(ecu.daq.idField);
    daq.maxEntrySize = ecu.daq.maxEntrySize;
    daq.maxOdts = ecu.daq.maxOdts;
    daq.maxEntries = ecu.daq.maxEntries;
    daq.entryGranularity = ecu.daq.entryGranularity;
    daq.counterSupported = ecu.daq.counter;
    daq.timestampSize = ecu.daq.timestampSize;
    daq.timestampUnit = ecu.daq.timestampUnit;
    daq.timestampTicks = ecu.daq.timestampTicks;
    daq.timestampFixed = ecu.daq.timestampFixed;
    daq.dynamic = ecu.daq.dynamic;
    if (!daq.dynamic) {
        daq.lists = simulatedXcpLists(ecu);
    } else if (ecu.daq.maxLists > 0) {
        daq.maxLists = ecu.daq.maxLists;
    }
    for (const EventRecord& event : ecu.events) {
        daq.events.push_back(simulatedEvent(event));
    }
    return daq;
}

/// For either protocol.
template <class Lock>
std::vector<Lock> simulatedLocks(const SecurityRecord& security) {
    std::vector<Lock> locks;
    for (const LockRecord& lock : security.locks) {
        locks.push_back({.resource = lock.resource, .seedLength = lock.seedLength});
    }
    return locks;
}

std::vector<sim::Signal> simulatedSignals(const std::vector<SignalRecord>& records) {
    std::vector<sim::Signal> signals;
    for (const SignalRecord& record : records) {
        for (std::uint32_t element = 0; element < record.elements; ++element) {
            signals.push_back(signalElement(record, element));
        }
    }
    return signals;
}

sim::MemoryAccess accessOf(const EcuRecord& ecu, const MemoryPart& part) {
    const bool writable = part.kind == PartKind::workingPage ||
                          (part.kind == PartKind::ram && ecu.segments[part.segment].writable);
    return writable ? sim::MemoryAccess::readWrite : sim::MemoryAccess::readOnly;
}

/// A segment that holds @p part alone.
sim::MemorySegment simulatedSegment(const EcuRecord& ecu, const MemoryPart& part) {
    sim::MemorySegment segment =
        sim::plainSegment(part.address, part.size, accessOf(ecu, part), ecu.segments[part.segment].extension);
    segment.pages.front().bytes = initialContent(part);
    return segment;
}

/// A simulated ECU numbers its segments and pages itself.
void requirePageNumbers(const EcuRecord& ecu) {
    const SegmentRecord* segment = ecu.firstSegment(SegmentKind::calibration);
    if (segment != nullptr && (segment->number != 0 || segment->workingPage != kWorkingPage ||
                               segment->referencePage != kReferencePage)) {
        throw std::invalid_argument("a simulated ECU has segment 0 with working page 0 and reference page 1");
    }
}

/// Both pages of a segment lie at one address.
std::vector<sim::MemorySegment> simulatedXcpMemory(const EcuRecord& ecu) {
    std::vector<sim::MemorySegment> segments;
    for (const MemoryPart& part : memoryParts(ecu)) {
        if (part.kind == PartKind::referencePage) {
            segments.back().calibration = true;
            segments.back().pages.push_back({.bytes = initialContent(part), .toolWritable = false});
        } else {
            segments.push_back(simulatedSegment(ecu, part));
        }
    }
    return segments;
}

/// Sectors of a simulated ECU have numbers of 8 bits.
void requireSectorNumbers(const EcuRecord& ecu) {
    constexpr std::uint64_t kMost = 0xFF;
    std::uint64_t sectors = 0;
    for (const SegmentRecord& segment : ecu.segments) {
        sectors += segment.kind == SegmentKind::flash ? segment.size / ecu.flash.sectorSize : 0;
    }
    if (sectors > kMost) {
        throw std::invalid_argument(
            fmt::format("its flash has {} sectors, and a simulated ECU {} at most; "
                        "give a larger flash.sector_size",
                        sectors, kMost));
    }
}

sim::FlashConfig simulatedFlash(const EcuRecord& ecu) {
    requireSectorNumbers(ecu);
    sim::FlashConfig flash;
    flash.clearTime = ecu.flash.eraseMs * sim::Time{1'000'000};
    flash.programTime = ecu.flash.programUs * sim::Time{1000};
    for (const SegmentRecord& segment : ecu.segments) {
        const std::uint32_t size = segment.kind == SegmentKind::flash ? segment.size : 0;
        for (std::uint32_t offset = 0; offset < size; offset += ecu.flash.sectorSize) {
            flash.sectors.push_back({.base = segment.address + offset, .size = ecu.flash.sectorSize});
        }
    }
    return flash;
}

std::vector<sim::CcpDaqListConfig> simulatedCcpLists(const EcuRecord& ecu) {
    std::vector<sim::CcpDaqListConfig> lists;
    for (const DaqListRecord& record : ecu.daq.lists) {
        sim::CcpDaqListConfig list;
        list.odts = record.odts;
        list.firstPid = record.firstPid;
        list.events.insert(record.events.begin(), record.events.end());
        if (record.id) {
            list.canId = sim::CcpCanId{*record.id, ecu.extended};
            list.idRule = sim::CcpIdRule::kept;
        }
        lists.push_back(list);
    }
    return lists;
}

/// Pages of a CCP ECU lie beside each other, and the working page is active at the start.
void addCcpMemory(sim::CcpEcuConfig& config, const EcuRecord& ecu) {
    for (const MemoryPart& part : memoryParts(ecu)) {
        config.memory.push_back(simulatedSegment(ecu, part));
        if (part.kind == PartKind::workingPage || part.kind == PartKind::referencePage) {
            config.calPages.push_back(
                {.address = part.address, .extension = ecu.segments[part.segment].extension});
        }
    }
    config.flash = simulatedFlash(ecu);
}

}  // namespace

sim::Signal signalElement(const SignalRecord& signal, std::uint32_t element) {
    sim::Signal copy = signal.first;
    copy.address += element * static_cast<std::uint32_t>(signal.elementSize());
    copy.phase += element;
    return copy;
}

std::vector<std::uint8_t> signalBytesAt(const SignalRecord& signal, std::uint64_t eventIndex) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(signal.size());
    for (std::uint32_t element = 0; element < signal.elements; ++element) {
        // Element n is n events ahead of the first.
        const std::vector<std::uint8_t> part = sim::signalBytes(signal.first, eventIndex + element);
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

sim::XcpEcuConfig simulatedXcpEcu(const EcuRecord& ecu) {
    requirePageNumbers(ecu);
    sim::XcpEcuConfig config;
    config.name = ecu.name;
    config.masterId = ecu.commandId;
    config.slaveId = ecu.responseId;
    config.extended = ecu.extended;
    config.fd = ecu.fd;
    config.brs = ecu.bitRateSwitch;
    config.responseDelay = kResponseDelayNs;
    config.byteOrder = ecu.byteOrder;
    config.maxCto = ecu.maxCto;
    config.maxDto = ecu.maxDto;
    config.granularity = ecu.addressGranularity;
    config.slaveBlockMode = ecu.blockMode;
    config.masterBlockMode = config.program.masterBlockMode = ecu.masterBlockMode;
    config.maxBs = config.program.maxBs = ecu.maxBs;
    config.minSt = config.program.minSt = ecu.minSt;
    config.resources = sim::xcp::kCalPag | sim::xcp::kDaq;
    config.program.flash = simulatedFlash(ecu);
    if (!config.program.flash.sectors.empty()) {
        config.resources |= sim::xcp::kPgm;
    }
    for (const LockRecord& lock : ecu.security.locks) {
        config.resources |= lock.resource;
    }
    config.locks = simulatedLocks<sim::XcpLock>(ecu.security);
    config.daq = simulatedXcpDaq(ecu);
    config.checksum = static_cast<sim::XcpChecksum>(ecu.checksum);
    config.memory = simulatedXcpMemory(ecu);
    config.signals = simulatedSignals(ecu.signals);
    return config;
}

sim::CcpEcuConfig simulatedCcpEcu(const EcuRecord& ecu) {
    sim::CcpEcuConfig config;
    config.name = config.id = ecu.name;
    config.croId = ecu.commandId;
    config.dtoId = ecu.responseId;
    config.extended = ecu.extended;
    config.stationAddress = ecu.stationAddress;
    config.responseDelay = kResponseDelayNs;
    config.byteOrder = ecu.byteOrder;
    config.locks = simulatedLocks<sim::CcpLock>(ecu.security);
    config.checksum = static_cast<sim::XcpChecksum>(ecu.checksum);
    config.lists = simulatedCcpLists(ecu);
    // The library gives the last packet identifier, not the last ODT, where it prepares a list.
    config.cutsLastOdt = true;
    for (const EventRecord& event : ecu.events) {
        config.events.push_back({.name = event.name, .period = event.periodNs});
    }
    addCcpMemory(config, ecu);
    config.signals = simulatedSignals(ecu.signals);
    return config;
}

}  // namespace host
