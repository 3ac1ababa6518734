/// @file
/// Codes and bits of XCP (ASAM MCD-1 XCP) that the master sends and reads.
#pragma once

#include <cstdint>

namespace XCP_MOUDLE {

/// Byte 0 of a command.
enum XcpCommand : std::uint8_t {
    kConnect = 0xFF,
    kDisconnect = 0xFE,
    kGetStatus = 0xFD,
    kSynch = 0xFC,
    kGetCommModeInfo = 0xFB,
    kGetSeed = 0xF8,
    kUnlock = 0xF7,
    kSetMta = 0xF6,
    kUpload = 0xF5,
    kShortUpload = 0xF4,
    kBuildChecksum = 0xF3,
    kDownload = 0xF0,
    kDownloadNext = 0xEF,
    kSetCalPage = 0xEB,
    kCopyCalPage = 0xE4,
    kClearDaqList = 0xE3,
    kSetDaqPtr = 0xE2,
    kWriteDaq = 0xE1,
    kSetDaqListMode = 0xE0,
    kStartStopDaqList = 0xDE,
    kStartStopSynch = 0xDD,
    kGetDaqClock = 0xDC,
    kGetDaqProcessorInfo = 0xDA,
    kGetDaqResolutionInfo = 0xD9,
    kGetDaqEventInfo = 0xD7,
    kFreeDaq = 0xD6,
    kAllocDaq = 0xD5,
    kAllocOdt = 0xD4,
    kAllocOdtEntry = 0xD3,
    kProgramStart = 0xD2,
    kProgramClear = 0xD1,
    kProgram = 0xD0,
    kProgramReset = 0xCF,
    kProgramPrepare = 0xCC,
    kProgramNext = 0xCA,
    kProgramMax = 0xC9,
    kProgramVerify = 0xC8,
};

/// Byte 0 of a packet from the ECU; anything lower is a DAQ frame.
enum XcpPacket : std::uint8_t {
    kPositive = 0xFF,
    kError = 0xFE,
    kEvent = 0xFD,
    kService = 0xFC,
    kReserved = 0xFB,
};

/// Byte 1 of an error packet, as far as the master tells them apart.
enum XcpError : std::uint8_t {
    kErrCmdSynch = 0x00,
    kErrCmdBusy = 0x10,
    kErrPgmActive = 0x12,
};

/// The status of an exchange: 1 to 255 are the ECU's error codes.
enum XcpStatus : std::uint32_t {
    kStatusSuccess = 256,
    kStatusNoAnswer = 2304,
};

/// Resource bits of CONNECT, GET_STATUS, GET_SEED.
enum XcpResource : std::uint8_t {
    kResourceCalPag = 0x01,
    kResourceDaq = 0x04,
    kResourceStim = 0x08,
    kResourcePgm = 0x10,
};

}  // namespace XCP_MOUDLE
