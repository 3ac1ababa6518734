/// @file
/// Frames that only the channel interface forms.
#pragma once

#include "TalvexChannel.h"
#include "channel/SlaveCommand.h"

#include <cstdint>

namespace channel {

/// Commands that the session layers do not send (ASAM MCD-1 XCP).
enum ChannelCommand : std::uint8_t {
    kGetId = 0xFA,
    kSetRequest = 0xF9,
    kTransportLayerCmd = 0xF2,
    kUserCmd = 0xF1,
    kShortDownload = 0xED,
    kModifyBits = 0xEC,
    kGetCalPage = 0xEA,
    kGetPagProcessorInfo = 0xE9,
    kGetSegmentInfo = 0xE8,
    kGetPageInfo = 0xE7,
    kSetSegmentMode = 0xE6,
    kGetDaqListMode = 0xDF,
    kReadDaq = 0xDB,
    kGetDaqListInfo = 0xD8,
    kGetPgmProcessorInfo = 0xCE,
    kGetSectorInfo = 0xCD,
    kProgramFormat = 0xCB,
    kWriteDaqMultiple = 0xC7,
};

/// Null data counts as no data everywhere below. Nothing is written behind the 64 bytes of a frame.

/// A command with a sub-command and the host's bytes behind it.
CommandFrame subCommandFrame(std::uint8_t code, std::uint8_t subCommand, const std::uint8_t* data,
                             std::uint8_t length);

/// UNLOCK with as many bytes of the key as fit; byte 1 keeps the whole length.
msgBuf unlockFrame(const Slave& slave, const std::uint8_t* key, std::uint8_t length);

/// A frame in the form of DOWNLOAD. Without room for its header it goes out with its code alone and length 0.
msgBuf plainFrame(const Slave& slave, std::uint8_t code, const std::uint8_t* data, std::uint8_t count);

/// A frame in the form of DOWNLOAD_NEXT: byte 1 counts elements.
msgBuf nextFrame(const Slave& slave, std::uint8_t code, const std::uint8_t* data, std::uint8_t count);

/// A frame full of data.
msgBuf maxFrame(const Slave& slave, std::uint8_t code, const std::uint8_t* data);

/// SHORT_DOWNLOAD of as many bytes as fit.
msgBuf shortDownloadFrame(const Slave& slave, std::uint8_t addressExtension, std::uint32_t address,
                          const std::uint8_t* data, std::uint8_t count);

/// WRITE_DAQ_MULTIPLE with the entries that fit; byte 1 keeps the whole count.
msgBuf writeDaqMultipleFrame(const Slave& slave, const XcpDaqEntry* entries, std::uint8_t count);

}  // namespace channel
