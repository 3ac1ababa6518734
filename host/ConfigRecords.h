/// @file
/// The content of a configuration file as plain records. What they hold has been checked.
#pragma once

#include "host/ConfigError.h"
#include "sim/ByteOrder.h"
#include "sim/Signals.h"

#include <algorithm>
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
    std::uint8_t resource = 0;    ///< one bit of the protocol's resource mask
    std::uint8_t seedLength = 4;  ///< bytes; 4 in every CCP ECU
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

/// One DAQ list of a CCP ECU. An XCP ECU makes its lists as they are asked for.
struct DaqListRecord {
    std::uint8_t odts = 1;
    std::uint8_t firstPid = 0;         ///< first byte of the packets of its first ODT
    std::optional<std::uint32_t> id;   ///< identifier of its packets; none: that of the responses
    std::vector<std::uint8_t> events;  ///< event channels that it can be put on; empty: any
};

/// How an ECU measures.
struct DaqRecord {
    std::uint8_t idField = 0;            ///< XCP: identification field of its packets, 0 to 3
    std::uint8_t maxEntrySize = 7;       ///< XCP: bytes
    std::uint16_t maxOdts = 252;         ///< XCP
    std::uint16_t maxEntries = 1000;     ///< XCP
    std::uint8_t timestampSize = 0;      ///< XCP: bytes: 0 (no timestamps), 1, 2 or 4
    std::uint8_t packMode = 2;           ///< as in the library's record: 0, 1 or 2
    std::vector<DaqListRecord> lists{};  ///< CCP: by number
};

/// What a range of memory is for.
enum class SegmentKind : std::uint8_t {
    ram,          ///< what moves, and what is measured
    calibration,  ///< a working page that can be written and a reference page that cannot
    flash,        ///< the program; it is erased and programmed
};

/// A range of memory.
struct SegmentRecord {
    SegmentKind kind = SegmentKind::ram;
    std::uint32_t address = 0;
    std::uint32_t size = 0;              ///< bytes
    bool writable = false;               ///< `ram` only
    std::uint32_t referenceAddress = 0;  ///< `calibration` only; XCP has both pages at one address
};

/// Flash of an ECU: how it works and how it is checked.
struct FlashRecord {
    std::uint32_t sectorSize = 0x1000;  ///< bytes that are cleared together
    std::uint32_t eraseMs = 5;          ///< milliseconds to clear one sector
    std::uint32_t programUs = 50;       ///< microseconds to program the bytes of one command
};

/// A calibration value, and what the demo writes there.
struct ParameterRecord {
    std::string name;
    std::uint32_t address = 0;        ///< on the working page
    std::vector<std::uint8_t> bytes;  ///< the value, as the ECU stores it
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
    ConfigPlace place;                 ///< where it stands in the file
    std::size_t bus = 0;               ///< index of its bus
    bool ccp = false;                  ///< it speaks CCP, else XCP
    std::uint16_t stationAddress = 1;  ///< CCP
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
    std::uint8_t checksum = 9;           ///< kind of its checksums, as the library numbers them
    TimeoutRecord timeouts;
    SecurityRecord security;
    DaqRecord daq;
    std::vector<EventRecord> events;
    FlashRecord flash;
    std::vector<SegmentRecord> segments;
    std::vector<ParameterRecord> parameters;
    std::vector<SignalRecord> signals;
    std::vector<VariableRecord> variables;

    /// Whether the library has to refuse @p variable.
    [[nodiscard]] bool rejects(const VariableRecord& variable) const {
        return rejectZeroAddress && variable.address == 0;
    }

    /// Whether it has the optional command of that code.
    [[nodiscard]] bool knows(std::uint8_t code) const {
        return std::find(commands.begin(), commands.end(), code) != commands.end();
    }

    /// The first segment of that kind, or null.
    [[nodiscard]] const SegmentRecord* firstSegment(SegmentKind kind) const {
        const auto found =
            std::find_if(segments.begin(), segments.end(),
                         [kind](const SegmentRecord& segment) { return segment.kind == kind; });
        return found != segments.end() ? &*found : nullptr;
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
