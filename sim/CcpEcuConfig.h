/// @file
/// Everything that describes one simulated CCP ECU.
#pragma once

#include "sim/ByteOrder.h"
#include "sim/CcpEcuCodes.h"
#include "sim/Flash.h"
#include "sim/Frame.h"
#include "sim/Memory.h"
#include "sim/SeedKey.h"
#include "sim/Signals.h"
#include "sim/XcpEcuChecksum.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace sim {

/// An identifier of a CAN frame.
struct CcpCanId {
    std::uint32_t id = 0;
    bool extended = false;  ///< 29 bits wide

    bool operator==(const CcpCanId&) const = default;
};

/// What GET_DAQ_SIZE may do with the identifier of a list's packets.
enum class CcpIdRule : std::uint8_t {
    taken,    ///< the list takes the identifier that the command names
    checked,  ///< the list keeps its own, and the command fails if it names another one
    kept,     ///< the list keeps its own, whatever the command names
};

/// A DAQ list. CCP lists are there from the start; a tool only fills them.
struct CcpDaqListConfig {
    std::uint8_t odts = 1;
    std::uint8_t elementsPerOdt = 7;
    std::uint8_t firstPid = 0;  ///< of its first ODT; the others follow. Unlike those of all other lists
    std::optional<CcpCanId> canId{};  ///< its own identifier instead of `dtoId`
    CcpIdRule idRule = CcpIdRule::taken;
    std::set<std::uint8_t> events{};  ///< event channels it can be put on; empty: any
};

struct CcpEventConfig {
    std::string name{};
    Time period = 10'000'000;  ///< nanoseconds, 100 us or more; 0: not cyclic, never happens by itself
};

/// A resource that is closed until its key was given.
struct CcpLock {
    std::uint8_t resource = ccp::kDaq;  ///< one bit
    std::uint8_t seedLength = 4;        ///< 1 to 4 bytes
    /// The key has at most 6 bytes.
    std::function<std::vector<std::uint8_t>(std::uint8_t resource, std::span<const std::uint8_t> seed)> key =
        computeKey;
};

/// A page of calibration data, named by the address of its first byte. Pages lie in memory one beside
/// the other, and a tool reads and writes each at its own address, active or not.
struct CcpCalPage {
    std::uint32_t address = 0;
    std::uint8_t extension = 0;

    bool operator==(const CcpCalPage&) const = default;
};

/// A service of DIAG_SERVICE or ACTION_SERVICE.
struct CcpService {
    std::string result{};   ///< bytes to upload, at most 255
    std::uint8_t type = 0;  ///< data type qualifier of the result
    Time duration = 0;      ///< nanoseconds that the service takes
};

/// What becomes of commands while the ECU erases, programs or serves.
enum class CcpBusy : std::uint8_t {
    late,     ///< the answer of the long command, and those behind it, come when it is done
    refused,  ///< the long command is answered at once, those behind it with `busyCode` until it is done
};

struct CcpEcuConfig {
    std::string name = "ccp";
    std::uint32_t croId = 0x700;  ///< commands come with this identifier, for all stations on it
    std::uint32_t dtoId = 0x701;  ///< responses and, unless a list has its own, DAQ packets
    bool extended = false;        ///< 29-bit identifiers, both directions
    std::uint16_t stationAddress = 1;
    std::uint8_t padByte = 0x00;  ///< fills the frames, which always have 8 bytes
    Time responseDelay = 0;       ///< from the end of a command to its answer, nanoseconds
    ByteOrder byteOrder = ByteOrder::intel;

    std::uint8_t versionMajor = 2;
    std::uint8_t versionMinor = 1;
    std::string id{};         ///< identification that EXCHANGE_ID leaves for UPLOAD, at most 255 bytes
    std::uint8_t idType = 0;  ///< its data type qualifier

    std::uint8_t resources = ccp::kAllResources;
    std::vector<CcpLock> locks{};
    std::set<std::uint8_t> missingCommands{};  ///< optional commands that the ECU does not know

    XcpChecksum checksum = XcpChecksum::crc32;
    std::uint8_t checksumSize = 4;                ///< bytes of a checksum in the response: 1 to 4
    std::uint32_t maxChecksumBlock = 0xFFFFFFFF;  ///< bytes

    std::vector<CcpCalPage> calPages{};  ///< the first is active at the start
    FlashConfig flash{};                 ///< what CLEAR_MEMORY and PROGRAM work on, by sectors
    CcpBusy busy = CcpBusy::late;
    CcpReturn busyCode = CcpReturn::commandBusy;

    std::map<std::uint16_t, CcpService> diagServices{};    ///< by number
    std::map<std::uint16_t, CcpService> actionServices{};  ///< by number

    std::vector<CcpDaqListConfig> lists{};
    std::vector<CcpEventConfig> events{};
    std::set<std::uint8_t> elementSizes{1, 2, 4};  ///< sizes of WRITE_DAQ that the ECU takes
    bool cutsLastOdt =
        false;  ///< START_STOP with a last ODT behind the list means its last one; else refused
    bool resumeSupported = false;  ///< the RESUME bit keeps DAQ going over the end of a session

    std::vector<MemorySegment> memory{};  ///< each of one page: CCP pages have addresses of their own
    std::vector<Signal> signals{};
    std::uint32_t faultSeed = 1;  ///< of faults that are drawn

    /// @throws std::invalid_argument with the reason if no ECU can be like this
    void check() const;
};

}  // namespace sim
