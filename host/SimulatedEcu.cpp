#include "host/SimulatedEcu.h"

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
    return config;
}

sim::XcpDaqConfig simulatedDaq(const EcuRecord& ecu) {
    sim::XcpDaqConfig daq;
    daq.idField = static_cast<sim::XcpIdField>(ecu.daq.idField);
    daq.maxEntrySize = ecu.daq.maxEntrySize;
    daq.maxOdts = ecu.daq.maxOdts;
    daq.maxEntries = ecu.daq.maxEntries;
    daq.timestampSize = ecu.daq.timestampSize;
    for (const EventRecord& event : ecu.events) {
        daq.events.push_back(simulatedEvent(event));
    }
    return daq;
}

std::vector<sim::XcpLock> simulatedLocks(const SecurityRecord& security) {
    std::vector<sim::XcpLock> locks;
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

sim::XcpEcuConfig simulatedEcu(const EcuRecord& ecu) {
    sim::XcpEcuConfig config;
    config.name = ecu.name;
    config.masterId = ecu.commandId;
    config.slaveId = ecu.responseId;
    config.extended = ecu.extended;
    config.fd = config.brs = ecu.fd;
    config.responseDelay = kResponseDelayNs;
    config.byteOrder = ecu.byteOrder;
    config.maxCto = ecu.maxCto;
    config.maxDto = ecu.maxDto;
    config.slaveBlockMode = ecu.blockMode;
    config.resources = 0x01 | 0x04;
    for (const LockRecord& lock : ecu.security.locks) {
        config.resources |= lock.resource;
    }
    config.locks = simulatedLocks(ecu.security);
    config.daq = simulatedDaq(ecu);
    for (const SegmentRecord& segment : ecu.segments) {
        const auto access = segment.writable ? sim::MemoryAccess::readWrite : sim::MemoryAccess::readOnly;
        config.memory.push_back(sim::plainSegment(segment.address, segment.size, access));
    }
    config.signals = simulatedSignals(ecu.signals);
    return config;
}

}  // namespace host
