/// @file
/// A simulated ECU and the configuration by which a host reaches it, made to match.
#pragma once

#include "sim/ByteOrder.h"
#include "sim/Signals.h"
#include "sim/XcpEcuConfig.h"

#include <TalvexSDK.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace systemtest {

/// What `BusHost` takes for the path of a seed and key library.
inline constexpr const char* kKeyLibrary = "right keys";
inline constexpr const char* kWrongKeyLibrary = "wrong keys";
inline constexpr const char* kMissingKeyLibrary = "no library";

/// Where the signals of an ECU begin, and where it has memory to write to.
inline constexpr std::uint32_t kSignalBase = 0x1000;
inline constexpr std::uint32_t kScratchBase = 0x8000;
inline constexpr std::uint32_t kScratchSize = 0x100;

/// Both sides of one ECU. The functions below change both alike.
struct EcuPair {
    EcuProtoCfg cfg;
    sim::XcpEcuConfig ecu;
};

/// An ECU on classic CAN, little endian, with dynamic DAQ lists, two events of 10 and 100 ms, nothing locked
/// and no signals. It takes 20 s to time out.
/// @param number  makes its identifiers: 0x600 and 0x601 for 0, 0x602 and 0x603 for 1, and so on
[[nodiscard]] EcuPair classicEcu(const std::string& name, unsigned number = 0);

/// The same on CAN FD with bit rate switch.
/// @param frameSize  MAX_CTO and MAX_DTO, 8 to 64
[[nodiscard]] EcuPair fdEcu(const std::string& name, std::uint8_t frameSize, unsigned number = 0);

/// To be called ahead of the functions that add signals.
void setByteOrder(EcuPair& pair, sim::ByteOrder order);
void setGranularity(EcuPair& pair, std::uint8_t granularity);

/// The time-out of a host whose ECU is to fall silent. An answer that is on its way is there long before it,
/// also on a machine that does other things.
inline constexpr std::chrono::milliseconds kImpatient{600};

/// Time-out of all commands, and how often one is sent again.
void setPatience(EcuPair& pair, std::chrono::milliseconds timeout, std::int32_t retryCount);

/// Locks a resource behind a seed of @p seedLength bytes. The host gets the right keys.
void addLock(EcuPair& pair, std::uint8_t resource, std::uint8_t seedLength);

void setIdField(EcuPair& pair, sim::XcpIdField field);

/// Timestamps of @p size bytes in each first ODT; 0 for none.
void setTimestamp(EcuPair& pair, std::uint8_t size);

/// Replaces the dynamic lists by @p lists lists of @p odts ODTs with @p entries entries each.
void useStaticLists(EcuPair& pair, std::uint16_t lists, std::uint8_t odts, std::uint8_t entries);

/// Takes from the host the commands that ask for the DAQ facts, and gives it the facts instead.
void tellDaqFacts(EcuPair& pair);

/// Adds a signal behind the ones that are there; its address and byte order are filled in.
void addSignal(EcuPair& pair, sim::Signal signal);

/// Adds a 32-bit counter, which tells by itself at which event it was sampled.
void addCounter(EcuPair& pair, const std::string& name, std::uint16_t event);

/// Adds five signals of 13 bytes in all that move with @p event: counters that start at 0 and short of their
/// end, a sine, a ramp through 0, and a constant. Their names begin with @p prefix.
void addSignals(EcuPair& pair, std::uint16_t event, const std::string& prefix);

/// The signal of @p pair named @p name as a host measures it.
/// @param periodMs  0 for DAQ, else how often it is polled
[[nodiscard]] mcMeasureVariable variableOf(const EcuPair& pair, const std::string& name,
                                           std::uint16_t periodMs = 0);

/// All signals of @p pair, by DAQ.
[[nodiscard]] std::vector<mcMeasureVariable> allVariables(const EcuPair& pair);

}  // namespace systemtest
