/// @file
/// Numbers of ASAM CCP 2.1 as a station puts them on the wire.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sim {

namespace ccp {

// First byte of what the station sends; everything below names the ODT of a DAQ packet.
inline constexpr std::uint8_t kPidResponse = 0xFF;
inline constexpr std::uint8_t kPidEvent = 0xFE;
/// ODTs that the identifiers 0x00 to 0xFD can number.
inline constexpr unsigned kMaxOdtNumbers = 0xFE;
/// Bytes of every frame that the station sends.
inline constexpr std::size_t kFrameSize = 8;
/// Bytes of an ODT, behind its identifier.
inline constexpr std::size_t kOdtSize = 7;
/// Most data bytes of DNLOAD, UPLOAD, SHORT_UP, PROGRAM, and of a response.
inline constexpr std::size_t kMaxData = 5;
/// Data bytes of DNLOAD_6 and PROGRAM_6, and most bytes of a key.
inline constexpr std::size_t kLongData = 6;
/// Bit of an identifier in GET_DAQ_SIZE that makes it one of 29 bits.
inline constexpr std::uint32_t kExtendedBit = 0x80000000;

// Commands that the dispatcher looks at by itself.
inline constexpr std::uint8_t kConnect = 0x01;
inline constexpr std::uint8_t kTest = 0x05;

// Resources: bits of the availability, protection and privilege masks.
inline constexpr std::uint8_t kCal = 0x01;
inline constexpr std::uint8_t kDaq = 0x02;
inline constexpr std::uint8_t kPgm = 0x40;
inline constexpr std::uint8_t kAllResources = kCal | kDaq | kPgm;

// Session status bits.
inline constexpr std::uint8_t kStatusCal = 0x01;
inline constexpr std::uint8_t kStatusDaq = 0x02;
inline constexpr std::uint8_t kStatusResume = 0x04;
inline constexpr std::uint8_t kStatusStore = 0x40;
inline constexpr std::uint8_t kStatusRun = 0x80;

}  // namespace ccp

/// Return codes of a response, and codes of an event message.
enum class CcpReturn : std::uint8_t {
    acknowledge = 0x00,
    daqOverload = 0x01,
    commandBusy = 0x10,
    daqBusy = 0x11,
    internalTimeout = 0x12,
    keyRequest = 0x18,
    sessionStatusRequest = 0x19,
    coldStartRequest = 0x20,
    calInitRequest = 0x21,
    daqInitRequest = 0x22,
    codeUpdateRequest = 0x23,
    unknownCommand = 0x30,
    syntax = 0x31,
    outOfRange = 0x32,
    accessDenied = 0x33,
    overload = 0x34,
    accessLocked = 0x35,
    notAvailable = 0x36,
};

}  // namespace sim
