/// @file
/// Numbers of ASAM MCD-1 XCP as a slave puts them on the wire.
#pragma once

#include <cstdint>

namespace sim {

namespace xcp {

// Packet identifiers of what the slave sends.
inline constexpr std::uint8_t kPidResponse = 0xFF;
inline constexpr std::uint8_t kPidError = 0xFE;
inline constexpr std::uint8_t kPidEvent = 0xFD;
inline constexpr std::uint8_t kPidService = 0xFC;
/// Lowest code of a command; packets below carry stimulation data.
inline constexpr std::uint8_t kFirstCommand = 0xC0;
/// ODTs that the identifiers 0x00 to 0xFB can number.
inline constexpr unsigned kMaxOdtNumbers = 0xFC;
/// The same when the top bit of the identifier announces an overload.
inline constexpr unsigned kMaxOdtNumbersOverload = 0x7C;

// Resources: bits of RESOURCE and of the protection mask.
inline constexpr std::uint8_t kCalPag = 0x01;
inline constexpr std::uint8_t kDaq = 0x04;
inline constexpr std::uint8_t kStim = 0x08;
inline constexpr std::uint8_t kPgm = 0x10;

// Session status bits; the request bits are those of SET_REQUEST.
inline constexpr std::uint8_t kStoreCalRequest = 0x01;
inline constexpr std::uint8_t kStoreDaqNoResumeRequest = 0x02;
inline constexpr std::uint8_t kStoreDaqRequest = 0x04;
inline constexpr std::uint8_t kClearDaqRequest = 0x08;
inline constexpr std::uint8_t kDaqRunning = 0x40;

// Bits of the mode of a DAQ list.
inline constexpr std::uint8_t kListSelected = 0x01;
inline constexpr std::uint8_t kListStim = 0x02;
inline constexpr std::uint8_t kListCounter = 0x08;
inline constexpr std::uint8_t kListTimestamp = 0x10;
inline constexpr std::uint8_t kListPidOff = 0x20;
inline constexpr std::uint8_t kListRunning = 0x40;

// Events that the slave sends by itself.
inline constexpr std::uint8_t kEventClearDaq = 0x01;
inline constexpr std::uint8_t kEventStoreDaq = 0x02;
inline constexpr std::uint8_t kEventStoreCal = 0x03;
inline constexpr std::uint8_t kEventCommandPending = 0x05;
inline constexpr std::uint8_t kEventDaqOverload = 0x06;
inline constexpr std::uint8_t kEventSessionTerminated = 0x07;

}  // namespace xcp

/// Error codes of a negative response. `none` is not on the wire.
enum class XcpError : std::uint8_t {
    cmdSynch = 0x00,
    cmdBusy = 0x10,
    daqActive = 0x11,
    pgmActive = 0x12,
    cmdUnknown = 0x20,
    cmdSyntax = 0x21,
    outOfRange = 0x22,
    writeProtected = 0x23,
    accessDenied = 0x24,
    accessLocked = 0x25,
    pageNotValid = 0x26,
    modeNotValid = 0x27,
    segmentNotValid = 0x28,
    sequence = 0x29,
    daqConfig = 0x2A,
    memoryOverflow = 0x30,
    generic = 0x31,
    verify = 0x32,
    none = 0xFF,
};

}  // namespace sim
