/// @file
/// Codes of CCP (ASAP1a CCP 2.1) that the master sends and reads.
#pragma once

#include <cstdint>

namespace CCP_MOUDLE {

/// Byte 0 of a command (CRO).
enum CcpCommand : std::uint8_t {
    kConnect = 0x01,
    kSetMta = 0x02,
    kDnload = 0x03,
    kUpload = 0x04,
    kStartStop = 0x06,
    kDisconnect = 0x07,
    kStartStopAll = 0x08,
    kGetActiveCalPage = 0x09,
    kSetSStatus = 0x0C,
    kGetSStatus = 0x0D,
    kBuildChksum = 0x0E,
    kShortUp = 0x0F,
    kClearMemory = 0x10,
    kSelectCalPage = 0x11,
    kGetSeed = 0x12,
    kUnlock = 0x13,
    kGetDaqSize = 0x14,
    kSetDaqPtr = 0x15,
    kWriteDaq = 0x16,
    kExchangeId = 0x17,
    kProgram = 0x18,
    kMove = 0x19,
    kGetCcpVersion = 0x1B,
    kDiagService = 0x20,
    kActionService = 0x21,
    kProgram6 = 0x22,
};

/// Byte 0 of a frame from the ECU; anything lower is a DAQ frame.
enum CcpPacket : std::uint8_t {
    kCommandReturn = 0xFF,  ///< CRM
    kEventMessage = 0xFE,
};

/// The status of an exchange: any other value is the ECU's return code.
enum CcpStatus : std::uint32_t {
    kStatusSuccess = 0,
    kStatusNoAnswer = 128,
};

/// Resource bits of EXCHANGE_ID and GET_SEED.
enum CcpResource : std::uint8_t {
    kResourceCal = 0x01,
    kResourceDaq = 0x02,
    kResourcePgm = 0x40,
};

/// What a status means for the repeating of a command.
enum class StatusClass : std::uint8_t {
    kDone = 0,     ///< success
    kWarning = 2,  ///< counts as success; the caller finds the code in `m_lastStatus`
    kBusy = 3,     ///< repeated twice
    kRequest = 4,  ///< the ECU asks for something first: repeated once
    kRefused = 5,  ///< refused or silent: repeated as configured, and the link counts as lost
};

}  // namespace CCP_MOUDLE
