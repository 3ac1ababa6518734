/// @file
/// Everything that describes one simulated XCP ECU.
#pragma once

#include "sim/ByteOrder.h"
#include "sim/Flash.h"
#include "sim/Frame.h"
#include "sim/Memory.h"
#include "sim/SeedKey.h"
#include "sim/Signals.h"
#include "sim/XcpEcuChecksum.h"
#include "sim/XcpEcuCodes.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace sim {

/// How a DTO names its DAQ list and ODT; the numbers are those of DAQ_KEY_BYTE.
enum class XcpIdField : std::uint8_t {
    absolute = 0,             ///< one byte, counted over all lists
    relativeByte = 1,         ///< ODT in its list, list as a byte
    relativeWord = 2,         ///< ODT in its list, list as a word
    relativeWordAligned = 3,  ///< ODT in its list, a fill byte, list as a word
};

/// How the ECU tells that it lost a sample.
enum class XcpOverload : std::uint8_t {
    none,
    msb,    ///< top bit of the first identifier behind the gap
    event,  ///< an event packet EV_DAQ_OVERLOAD
};

/// Units of time on the wire: code n stands for 10^n nanoseconds, 0 (1 ns) to 9 (1 s).
[[nodiscard]] Time xcpUnitNs(std::uint8_t unit);

/// An element of an ODT.
struct XcpDaqEntry {
    std::uint8_t bitOffset = 0xFF;  ///< 0xFF: a whole element
    std::uint8_t size = 0;          ///< in units of the address granularity; 0: not in use
    std::uint8_t extension = 0;
    std::uint32_t address = 0;

    bool operator==(const XcpDaqEntry&) const = default;
};

/// A DAQ list that is there from the start.
struct XcpDaqListConfig {
    std::uint8_t odts = 1;                            ///< MAX_ODT; not used where `content` stands
    std::uint8_t entriesPerOdt = 7;                   ///< MAX_ODT_ENTRIES; not used where `content` stands
    std::optional<std::uint16_t> fixedEvent{};        ///< the only event channel it can be put on
    std::vector<std::vector<XcpDaqEntry>> content{};  ///< by ODT; makes the list a predefined one
    std::optional<std::uint32_t> canId{};             ///< its own identifier instead of `slaveId`
    bool canIdFixed = true;                           ///< SET_DAQ_ID is refused
};

struct XcpEventConfig {
    std::string name{};
    std::uint8_t cycle = 10;  ///< in `unit`; 0: not cyclic, never happens by itself
    std::uint8_t unit = 6;    ///< code of `xcpUnitNs`; the period must be 100 us or more
    std::uint8_t priority = 0;
    std::uint8_t maxLists = 0xFF;    ///< lists that can run on it at a time; 0xFF: no limit
    std::uint8_t properties = 0x04;  ///< DAQ_EVENT_PROPERTIES: 0x04 DAQ, 0x08 STIM

    [[nodiscard]] Time periodNs() const { return cycle * xcpUnitNs(unit); }
};

struct XcpDaqConfig {
    bool dynamic = true;
    std::vector<XcpDaqListConfig> lists{};  ///< static: all lists, predefined first; dynamic: predefined ones
    std::vector<XcpEventConfig> events{};
    XcpIdField idField = XcpIdField::absolute;
    std::uint16_t maxLists = 16;        ///< dynamic: lists that can be allocated
    std::uint16_t maxOdts = 252;        ///< dynamic: ODTs that can be allocated, over all lists
    std::uint16_t maxEntries = 1000;    ///< dynamic: ODT entries that can be allocated, over all lists
    std::uint8_t maxEntrySize = 7;      ///< MAX_ODT_ENTRY_SIZE_DAQ, in units of the address granularity
    std::uint8_t entryGranularity = 1;  ///< GRANULARITY_ODT_ENTRY_SIZE_DAQ in bytes: 1, 2, 4 or 8
    std::uint8_t addressExtension =
        0;  ///< rule of DAQ_KEY_BYTE: 0 free, 1 equal in an ODT, 3 equal in a list
    bool prescalerSupported = true;
    bool pidOffSupported = false;
    bool counterSupported = false;  ///< lists can carry a byte that counts their samples
    XcpOverload overload = XcpOverload::none;

    std::uint8_t timestampSize = 4;    ///< bytes: 0 (no timestamps), 1, 2 or 4
    bool timestampFixed = false;       ///< every list carries a timestamp
    std::uint8_t timestampUnit = 3;    ///< code of `xcpUnitNs`
    std::uint16_t timestampTicks = 1;  ///< units per tick
    std::uint32_t clockStart = 0;      ///< clock at the start of the ECU, in ticks
};

/// How the ECU answers while its flash is cleared or programmed. A command that comes meanwhile, other than
/// those of the session, is refused in any case: with ERR_CMD_BUSY if it programs, else with ERR_PGM_ACTIVE.
enum class XcpFlashAnswer : std::uint8_t {
    whenDone,  ///< the answer comes late
    pending,   ///< the answer comes late, and EV_CMD_PENDING at once and again until then
    atOnce,    ///< the answer comes at once, and the flash goes on
};

/// Programming; an ECU that has it lists the resource xcp::kPgm.
struct XcpProgramConfig {
    FlashConfig flash{};
    XcpFlashAnswer answer = XcpFlashAnswer::whenDone;
    Time pendingPeriod = 10'000'000;  ///< between two EV_CMD_PENDING, nanoseconds

    std::uint8_t maxCto = 0;       ///< MAX_CTO_PGM, 8 to MAX_CTO; 0: MAX_CTO
    bool masterBlockMode = false;  ///< PROGRAM_NEXT is there
    std::uint8_t maxBs = 0;        ///< frames of a block of the master
    std::uint8_t minSt = 0;        ///< as in XcpEcuConfig
    std::uint8_t queueSize = 0;    ///< commands in the queue
    bool functionalMode = false;   ///< areas can be cleared and programmed without an address
    std::uint16_t codeRoom = 0;    ///< room for a program that programs, in units of the address granularity

    /// Takes DOWNLOAD_NEXT as the rest of a PROGRAM. The standard knows PROGRAM_NEXT alone for that, but
    /// there are ECUs with one routine for the rest of any block, and masters that rely on it.
    bool takesDownloadNext = false;
};

/// A resource that is closed until its key was given.
struct XcpLock {
    std::uint8_t resource = xcp::kDaq;  ///< one bit
    std::uint8_t seedLength = 4;        ///< 1 to 255 bytes
    std::function<std::vector<std::uint8_t>(std::uint8_t resource, std::span<const std::uint8_t> seed)> key =
        computeKey;
};

struct XcpEcuConfig {
    std::string name = "xcp";
    std::uint32_t masterId = 0x600;  ///< commands come with this identifier
    std::uint32_t slaveId = 0x601;   ///< responses and, unless a list has its own, DAQ packets
    bool extended = false;           ///< 29-bit identifiers, both directions
    bool fd = false;                 ///< the ECU sends CAN FD frames
    bool brs = false;                ///< with bit rate switch (only with `fd`)
    std::uint8_t padLength = 0;      ///< shorter frames are filled up to this length; 0: not filled
    std::uint8_t padByte = 0x00;     ///< also fills up to the next length that CAN FD has
    Time responseDelay = 0;          ///< from the end of a command to its answer, nanoseconds
    std::uint32_t faultSeed = 1;     ///< of faults that are drawn

    ByteOrder byteOrder = ByteOrder::intel;
    std::uint8_t granularity = 1;  ///< bytes per address: 1, 2 or 4
    std::uint8_t maxCto = 8;       ///< 8 to 64, above 8 only with `fd`
    std::uint16_t maxDto = 8;      ///< 8 to 64, above 8 only with `fd`

    std::uint8_t resources = xcp::kCalPag | xcp::kDaq;
    std::vector<XcpLock> locks{};
    std::set<std::uint8_t> missingCommands{};  ///< codes answered with ERR_CMD_UNKNOWN
    bool userConnect = false;                  ///< CONNECT of mode 1 is taken too

    bool slaveBlockMode = false;
    bool masterBlockMode = false;
    bool interleavedMode = false;
    std::uint8_t maxBs = 0;        ///< frames of a block of the master
    std::uint8_t minSt = 0;        ///< least time between the ends of two of them, in 100 us
    std::uint8_t blockFrames = 0;  ///< frames of a block that it really takes, both here and when it is
                                   ///< programmed; 0: as many as it tells
    std::uint8_t queueSize = 0;    ///< commands in the queue, interleaved mode
    bool commModeInfo = true;      ///< GET_COMM_MODE_INFO is there
    std::uint8_t driverVersion = 0x10;

    std::map<std::uint8_t, std::string> ids{};  ///< texts of GET_ID by type
    bool idInResponse = false;                  ///< a text that fits comes in the response itself

    XcpChecksum checksum = XcpChecksum::crc32;
    std::uint32_t maxChecksumBlock = 0xFFFFFFFF;  ///< in units of the address granularity
    Time storeDuration = 1'000'000;               ///< from SET_REQUEST to its event, nanoseconds

    bool freezeSupported = false;  ///< segments can be marked for storing
    XcpDaqConfig daq{};
    XcpProgramConfig program{};
    std::vector<MemorySegment> memory{};
    std::vector<Signal> signals{};

    /// Longest command of programming.
    [[nodiscard]] std::uint8_t maxCtoPgm() const { return program.maxCto > 0 ? program.maxCto : maxCto; }

    /// @throws std::invalid_argument with the reason if no ECU can be like this
    void check() const;
};

}  // namespace sim
