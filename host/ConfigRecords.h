/// @file
/// The content of a configuration file as plain records. What they hold has been checked.
#pragma once

#include "host/ConfigError.h"
#include "sim/ByteOrder.h"
#include "sim/Signals.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// One CAN bus.
struct BusRecord {
    std::string name;
    std::uint8_t channel = 0;               ///< CAN channel that the library knows it by
    std::uint32_t nominalRate = 0;          ///< bit/s
    std::optional<std::uint32_t> dataRate;  ///< bit/s; set for a CAN FD bus
};

/// How the host waits for an ECU. Milliseconds.
struct TimeoutRecord {
    std::uint16_t commandMs = 100;        ///< answer to an ordinary command, or after "busy"
    std::uint16_t longMs = 1000;          ///< answer to a command that works on memory
    std::int32_t retries = 2;             ///< repeats of a command without answer
    std::uint32_t retryDelayMs = 5;       ///< pause after each failed repeat
    std::uint32_t statusPeriodMs = 1000;  ///< period of the keep-alive; 0 is off

    /// The longest that one command can go without an answer before its ECU counts as lost.
    [[nodiscard]] std::uint32_t budgetMs() const {
        const auto repeats = static_cast<std::uint32_t>(retries);
        return retryDelayMs * repeats + commandMs * (repeats + 1);
    }
};

/// A resource of an ECU that is closed until its key was given.
struct LockRecord {
    std::uint8_t resource = 0;  ///< one bit of the protocol's resource mask
    std::uint8_t seedLength = 4;
};

/// Seed and key of an ECU.
struct SecurityRecord {
    std::string seedKey;  ///< where the key function comes from; empty: the ECU is not unlocked
    std::vector<LockRecord> locks;
};

/// One event channel.
struct EventRecord {
    std::string name;
    std::uint8_t cycle = 0;  ///< in `unit`
    std::uint8_t unit = 0;   ///< code n stands for 10^n nanoseconds
    std::uint8_t priority = 0;
    std::uint64_t periodNs = 0;
};

/// How an ECU measures.
struct DaqRecord {
    std::uint8_t idField = 0;       ///< identification field of its packets, 0 to 3
    std::uint8_t maxEntrySize = 7;  ///< bytes
    std::uint16_t maxOdts = 252;
    std::uint16_t maxEntries = 1000;
    std::uint8_t timestampSize = 0;  ///< bytes: 0 (no timestamps), 1, 2 or 4
    std::uint8_t packMode = 2;       ///< as in the library's record: 0, 1 or 2
};

/// A range of memory.
struct SegmentRecord {
    std::uint32_t address = 0;
    std::uint32_t size = 0;  ///< bytes
    bool writable = false;
};

/// What moves in the memory of a simulated ECU: one value, or several behind each other.
struct SignalRecord {
    sim::Signal first;
    std::uint32_t elements = 1;  ///< each one event ahead of the one before

    [[nodiscard]] std::size_t elementSize() const { return sim::signalSize(first); }
    [[nodiscard]] std::size_t size() const { return elementSize() * elements; }
};

/// Something to measure.
struct VariableRecord {
    std::string name;
    std::string unit;
    std::optional<std::size_t> signal;  ///< index of the signal that it shows
    std::uint32_t address = 0;
    std::uint32_t size = 0;      ///< bytes
    std::uint16_t event = 0;     ///< number of its event channel
    std::uint16_t periodMs = 0;  ///< not 0: it is polled
    double factor = 1.0;         ///< shown value = raw value * factor + offset
    double offset = 0.0;
};

/// One ECU.
struct EcuRecord {
    std::string name;
    ConfigPlace place;    ///< where it stands in the file
    std::size_t bus = 0;  ///< index of its bus
    std::uint32_t commandId = 0;
    std::uint32_t responseId = 0;
    bool extended = false;  ///< identifiers of 29 bits
    bool fd = false;        ///< CAN FD frames, with bit rate switch
    sim::ByteOrder byteOrder = sim::ByteOrder::intel;
    std::uint8_t maxCto = 8;
    std::uint16_t maxDto = 8;
    bool blockMode = false;              ///< uploads answered in blocks
    bool rejectZeroAddress = false;      ///< a variable at address 0 is a mistake
    std::vector<std::uint8_t> commands;  ///< codes of the optional commands that it has
    TimeoutRecord timeouts;
    SecurityRecord security;
    DaqRecord daq;
    std::vector<EventRecord> events;
    std::vector<SegmentRecord> segments;
    std::vector<SignalRecord> signals;
    std::vector<VariableRecord> variables;

    /// Whether the library has to refuse @p variable.
    [[nodiscard]] bool rejects(const VariableRecord& variable) const {
        return rejectZeroAddress && variable.address == 0;
    }
};

/// Limits of a measuring time, seconds.
inline constexpr double kLeastSeconds = 0.5;
inline constexpr double kMostSeconds = 3600.0;

/// What the demo does.
struct DemoRecord {
    double seconds = 3.0;      ///< of measuring
    std::size_t silenced = 0;  ///< index of the ECU that falls silent
};

/// A whole file.
struct Config {
    std::string file;
    std::vector<BusRecord> buses;
    std::vector<EcuRecord> ecus;
    DemoRecord demo;
};

}  // namespace host
