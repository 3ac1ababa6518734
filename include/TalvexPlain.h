/// @file
/// The exports that take and give plain data only. They have C linkage, so that a host can look them up by
/// their bare name. This header compiles as C11 and as C++17.
///
/// Conventions (all of TalvexSDK.h hold here too): lengths in bytes, times of frames in the host's own time
/// base, all functions callable from any thread unless a function says otherwise.
#ifndef TALVEX_PLAIN_H
#define TALVEX_PLAIN_H

#include "TalvexExport.h"

#ifdef __cplusplus
#include <cstddef>
#include <cstdint>
#else
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#endif

#pragma pack(push, 1)
/// One address range of ParseMemFileNewBuff: 10 bytes, packed, because hosts lay out arrays of it.
typedef struct mcMemRange {
    uint8_t reserved0;  ///< not read
    uint32_t length;    ///< bytes, host byte order
    uint8_t reserved1;  ///< not read
    uint32_t address;   ///< first address, host byte order
} mcMemRange;
#pragma pack(pop)

TALVEX_ASSERT_LAYOUT(sizeof(mcMemRange) == 10);
TALVEX_ASSERT_LAYOUT(offsetof(mcMemRange, length) == 1 && offsetof(mcMemRange, address) == 6);

TALVEX_C_BEGIN

/// Takes in one received CAN or CAN FD frame. Frames whose identifier no connected ECU uses are dropped, so a
/// host hands over the whole bus. Never blocks for longer than a list operation; decodes nothing.
/// @param hostTag  handed back unchanged to `msgDecodeFun`
/// @param time     time stamp in microseconds, the host's own base; DAQ values carry it
/// @param channel  CAN channel, as in `EcuProtoCfg::canChannel`
/// @param id       CAN identifier without flag bits
/// @param length   bytes at @p data; more than 64 are cut to 64
/// @param data     the payload; null counts as no data
TALVEX_API void recvCanMsg(uint64_t hostTag, uint64_t time, uint8_t channel, uint32_t id, uint16_t length,
                           const uint8_t* data);

/// True once an `EcuConnect` ended with another result than 3, until a disconnect has run.
TALVEX_API bool isConnectEcu(void);

/// True while a measurement runs.
TALVEX_API bool isMeasureing(void);

/// Emergency stop: empties the command queue and for 100 ms refuses every send and ends every wait. Blocks
/// for these 100 ms. Connections and measurements keep their state.
TALVEX_API void stopAllTask(void);

/// Queues a disconnect of all ECUs (command 2); what is queued behind it is thrown away.
TALVEX_API void EcuDisconnect(void);

/// Queues the end of the measurement on all ECUs (command 6).
TALVEX_API void StopMeasurement(void);

/// Reads an image from a file, as `ParseMemFile` does, and hands out for each range the first block that lies
/// in it, cut to the range. Further blocks in the same range are left out, and a range that begins ahead of
/// its block yields a buffer that begins at the block's start; nothing says so. If an array is null, nothing
/// is written.
/// @param path        zero-terminated; the ending chooses the format
/// @param ranges      @p rangeCount ranges
/// @param rangeCount  below 1, nothing is written
/// @param outBuffers  @p rangeCount pointers: a new buffer, to be handed back through `DeleteMemBuff`,
///                    or null for a range without a block
/// @param outSizes    @p rangeCount lengths of the buffers in bytes; left as they were for ranges without a
///                    block
/// @throws std::out_of_range  as `ParseMemFile` does
TALVEX_API void ParseMemFileNewBuff(const char* path, const mcMemRange* ranges, int32_t rangeCount,
                                    uint8_t** outBuffers, uint32_t* outSizes);

/// Frees the buffers of `ParseMemFileNewBuff` and stores null in their place, so that a second call is
/// harmless. Does nothing if @p buffers is null or @p count below 1.
TALVEX_API void DeleteMemBuff(uint8_t** buffers, int32_t count);

/// Checksum over @p length bytes at @p data (null counts as no data), right aligned in the result. Words are
/// read little endian whatever an ECU's byte order; bytes at the end that fill no word are left out.
/// @param data    the bytes
/// @param length  their number
/// @param kind    the XCP checksum type: 1, 2, 3 sum of bytes in 8, 16, 32 bits; 4, 5 sum of 16-bit words
///                in 16, 32 bits; 6 sum of 32-bit words; 7 CRC-16/ARC; 8 CRC-16/CCITT-FALSE; 9 CRC-32
/// @return the checksum, 0 for any other kind
TALVEX_API uint32_t CheckMemory(const uint8_t* data, uint32_t length, int32_t kind);

TALVEX_C_END

#endif /* TALVEX_PLAIN_H */
