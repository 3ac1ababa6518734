/// @file
/// The content of a configuration file as plain records. What they hold has been checked.
#pragma once

#include "host/ConfigError.h"
#include "sim/ByteOrder.h"
#include "sim/Signals.h"

#include <algorithm>
#include <array>
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
    std::string url = "sim:";               ///< where it is: in the process, on an interface, at a server
};

/// How the host waits for an ECU. Milliseconds.
struct TimeoutRecord {
    std::uint16_t commandMs = 100;         ///< answer to an ordinary command, or after "busy"
    std::uint16_t longMs = 1000;           ///< XCP: answer to a command that works on memory
    std::array<std::uint16_t, 7> xcpMs{};  ///< XCP: t1 to t7; where the file has none, one of the two above
    std::int32_t retries = 2;              ///< repeats of a command without answer
    std::uint32_t retryDelayMs = 5;        ///< pause after each failed repeat
    std::uint32_t statusPeriodMs = 1000;   ///< period of the status as keep-alive; 0 is off
    std::uint32_t synchPeriodMs = 0;       ///< XCP: period of SYNCH as keep-alive; 0 is off

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
    ConfigPlace place{};          ///< where it stands in the file
};

/// Seed and key of an ECU.
struct SecurityRecord {
    std::string seedKey;                ///< "sim:", or the file of a library; empty: the ECU is not unlocked
    std::string entry;                  ///< function of the library; empty: that of the protocol
    std::optional<bool> zeroIsSuccess;  ///< its result 0 means success; none: as the protocol has it
    std::uint32_t timeMs = 2000;        ///< longest that it may take, milliseconds
    std::string helper;  ///< program that calls the library; empty: the one beside the host tool
    std::uint32_t unlockMask = 0xFFFFFFFF;  ///< bits of the resources to unlock
    std::vector<LockRecord> locks;
};

/// One event channel.
struct EventRecord {
    std::string name;
    std::uint8_t cycle = 0;            ///< in `unit`; 0: not cyclic
    std::uint8_t unit = 0;             ///< code n stands for 10^n nanoseconds
    std::uint8_t priority = 0;         ///< XCP
    std::uint64_t periodNs = 0;        ///< 0: not cyclic
    std::uint8_t maxLists = 0xFF;      ///< XCP: DAQ lists that it can drive; 0 has its variables polled
    std::vector<std::uint32_t> ids{};  ///< XCP: further identifiers of the packets of its lists
    ConfigPlace place{};               ///< where it stands in the file
};

/// What is known of one DAQ list. A CCP ECU has all of its lists from the start; an XCP ECU makes most of
/// them as they are asked for, and needs a record only for what is peculiar.
struct DaqListRecord {
    std::uint8_t odts = 1;                     ///< CCP: its ODTs. XCP: the most it takes; 0 is no limit
    std::uint8_t firstPid = 0;                 ///< first byte of the packets of its first ODT
    std::optional<std::uint32_t> id{};         ///< identifier of its packets; none: that of the responses
    std::vector<std::uint8_t> events{};        ///< CCP: event channels that it can be put on; empty: any
    std::uint8_t odtBytes = 0;                 ///< XCP: most payload bytes of an ODT; 0 is no limit
    std::optional<std::uint8_t> fixedEvent{};  ///< XCP: event channel that the list is predefined for
    ConfigPlace place{};                       ///< where it stands in the file
};

/// How an ECU measures.
struct DaqRecord {
    std::uint8_t idField = 0;            ///< XCP: identification field of its packets, 0 to 3
    std::uint8_t entryGranularity = 1;   ///< XCP: bytes that the size of an entry is a multiple of
    std::uint8_t maxEntrySize = 6;       ///< XCP: bytes
    std::uint16_t maxOdts = 252;         ///< XCP: of a simulated ECU
    std::uint16_t maxEntries = 1000;     ///< XCP: of a simulated ECU
    std::uint8_t timestampSize = 0;      ///< XCP: bytes: 0 (no timestamps), 1, 2 or 4
    std::uint8_t timestampUnit = 3;      ///< XCP: code of `kTimestampUnits`
    std::uint16_t timestampTicks = 1;    ///< XCP: units of one tick
    bool timestampFixed = false;         ///< XCP: every list carries a timestamp, asked for or not
    bool timestamps = false;             ///< XCP: asked for in the first packet of a cycle
    bool counter = false;                ///< XCP: packets carry a counter
    bool dynamic = true;                 ///< XCP: the lists are made as they are asked for
    std::uint16_t minLists = 0;          ///< XCP: lists that it always has; static ones are cleared first
    std::uint16_t maxLists = 0;          ///< XCP: DAQ lists; 0 is no limit
    std::uint8_t packMode = 2;           ///< as in the library's record: 0, 1 or 2
    std::uint8_t prescaler = 1;          ///< one packet for so many events
    std::uint16_t pollPeriodMs = 0;      ///< not 0: everything is polled in this period instead, milliseconds
    bool querySizes = true;              ///< CCP: the ECU is asked for the size of each list
    std::uint16_t firstList = 0;         ///< CCP: the lists ahead of it are not used
    std::vector<DaqListRecord> lists{};  ///< by number
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
    std::uint32_t size = 0;                  ///< bytes
    bool writable = false;                   ///< `ram` only
    std::uint32_t referenceAddress = 0;      ///< `calibration` only; XCP has both pages at one address
    std::uint8_t extension = 0;              ///< address extension
    std::uint8_t number = 0;                 ///< XCP, `calibration`: number of the segment
    std::uint8_t workingPage = 0;            ///< XCP, `calibration`: number of the page that can be written
    std::uint8_t referencePage = 1;          ///< XCP, `calibration`: number of the page that cannot
    std::optional<std::uint8_t> checksum{};  ///< kind of its checksums, 0 is none; not there: that of the ECU
    std::uint32_t checksumBlock = 0;         ///< bytes of one checksum; 0: 16384
    bool paged = true;                       ///< XCP, `calibration`: its pages can be selected
    ConfigPlace place{};                     ///< where it stands in the file
};

/// Flash of an ECU: how it works and how it is checked.
struct FlashRecord {
    std::uint32_t sectorSize = 0x1000;  ///< bytes that are cleared together
    std::uint32_t eraseMs = 5;          ///< milliseconds to clear one sector
    std::uint32_t programUs = 50;       ///< microseconds to program the bytes of one command
};

/// What moves in the memory of a simulated ECU: one value, or several behind each other.
struct SignalRecord {
    sim::Signal first;
    std::uint32_t elements = 1;  ///< each one event ahead of the one before
    ConfigPlace place{};         ///< where it stands in the file

    [[nodiscard]] std::size_t elementSize() const { return sim::signalSize(first); }
    [[nodiscard]] std::size_t size() const { return elementSize() * elements; }
};

/// What the bytes of a variable are. The numbers stand in the order of `sim::SignalType`.
enum class ValueType : std::uint8_t { u8, i8, u16, i16, u32, i32, u64, i64, f32, f64, bytes };

/// Bytes of one value of that type; 1 for `bytes`.
[[nodiscard]] constexpr std::uint32_t valueSize(ValueType type) {
    constexpr std::array<std::uint8_t, 11> kSizes{1, 1, 2, 2, 4, 4, 8, 8, 4, 8, 1};
    return kSizes[static_cast<std::size_t>(type)];
}

/// What the library takes for no period, milliseconds.
inline constexpr std::uint16_t kDefaultPeriodMs = 1000;

/// Something to measure, read or write.
struct VariableRecord {
    std::string name;
    std::string unit;
    std::optional<std::size_t> signal;  ///< index of the signal that it shows
    ValueType type = ValueType::bytes;  ///< of each element
    std::uint32_t address = 0;
    std::uint8_t extension = 0;  ///< address extension
    std::uint32_t size = 0;      ///< bytes, a multiple of the size of the type
    std::uint16_t event = 0;     ///< number of its event channel
    bool hasEvent = true;        ///< without one it is polled
    std::uint16_t periodMs = 0;  ///< not 0: it is polled
    double factor = 1.0;         ///< shown value = raw value * factor + offset; not 0
    double offset = 0.0;
    ConfigPlace place{};  ///< where it stands in the file
};

/// A calibration value, and what the demo writes there.
struct ParameterRecord : VariableRecord {
    std::vector<std::uint8_t> bytes{};  ///< the value, as the ECU stores it
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
    std::optional<std::uint32_t> broadcastId;  ///< taken for a response as well; none: that of the commands
    bool extended = false;                     ///< identifiers of 29 bits
    bool fd = false;                           ///< CAN FD frames
    bool bitRateSwitch = false;                ///< CAN FD frames switch the bit rate
    bool padFrames = false;                    ///< frames to the ECU are filled up to their full length
    std::uint8_t padByte = 0;                  ///< XCP: with this
    sim::ByteOrder byteOrder = sim::ByteOrder::intel;
    std::uint8_t maxCto = 8;
    std::uint16_t maxDto = 8;
    bool acceptLimits = false;  ///< XCP: what the ECU says of max_cto and max_dto counts as it comes
    std::uint8_t addressGranularity = 1;  ///< XCP: bytes at one address: 1, 2 or 4
    bool blockMode = false;               ///< XCP: uploads answered in blocks
    bool masterBlockMode = false;         ///< XCP: downloads and programming in blocks
    std::uint8_t maxBs = 0;               ///< XCP: frames of a block, for an ECU that does not tell
    std::uint8_t minSt = 0;               ///< XCP: pause between them, units of 100 us, likewise
    bool rejectZeroAddress = false;       ///< a variable at address 0 is a mistake
    std::vector<std::uint8_t> commands;   ///< codes of the optional commands that it has
    std::uint8_t checksum = 9;            ///< kind of its checksums, as the library numbers them
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

    /// The variable or parameter of that name, or null.
    [[nodiscard]] const VariableRecord* find(const std::string& wanted) const {
        const auto named = [&wanted](const VariableRecord& variable) { return variable.name == wanted; };
        const auto variable = std::find_if(variables.begin(), variables.end(), named);
        if (variable != variables.end()) {
            return &*variable;
        }
        const auto parameter = std::find_if(parameters.begin(), parameters.end(), named);
        return parameter != parameters.end() ? &*parameter : nullptr;
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
    bool hasDemo = false;  ///< the file says what the demo does
    DemoRecord demo;
};

}  // namespace host
