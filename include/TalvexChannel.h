/// @file
/// The channel interface: one XCP command at a time, on the caller's thread, over handles. It does not use
/// the command queue or the worker. Compiles as C11 and as C++17.
///
/// A channel is a remembered record, a slave is one XCP ECU on it. `setCallBackFuns` must have run before a
/// slave is added, as the slave keeps a copy of the callbacks; received frames come in through `recvCanMsg`
/// as ever.
///
/// Results. All functions that return a uint32_t give a status:
///
/// | Status | Meaning |
/// |---|---|
/// | 256 | success |
/// | 1 to 255 | the ECU's error code; 49 also if the slave was removed during its command |
/// | 1280 | the handle is not known; nothing was sent, nothing is written |
/// | 2304 | no answer in time, see below |
///
/// xcpGetErrorText gives the texts of these. After 2304 every command on that slave fails at once with the
/// last status and nothing is sent, until xcpConfigSlave has run.
///
/// Buffers. `buffer` and `size` stand last: the buffer is zeroed for its whole size and then gets the last
/// response that a first attempt received with success, cut to `size`; so after a failure it holds the last
/// good response. 64 bytes always suffice. A null buffer is not written.
///
/// Threads. Any. Commands on one slave take turns frame by frame; a slave removed during its own command
/// lives until that ends. Null data pointers count as no data. Arguments called `unused` are not looked at.
#ifndef TALVEX_CHANNEL_H
#define TALVEX_CHANNEL_H

#include "TalvexExport.h"

#ifdef __cplusplus
#include <cstddef>
#include <cstdint>
#else
#include <stddef.h>
#include <stdint.h>
#endif

#pragma pack(push, 1)

/// A CAN channel, 22 bytes.
typedef struct XcpCanChannelCfg {
    uint8_t canChannel;        ///< CAN channel number, as recvCanMsg and sndFun have it
    uint16_t reserved1;        ///< not read
    uint8_t nominalTiming[8];  ///< compared with dataTiming as a whole
    uint8_t timingSwitch;      ///< not 0: bit rate switching is on exactly if the two timings are equal
    uint8_t reserved2;         ///< not read
    uint8_t dataTiming[8];     ///< compared with nominalTiming as a whole
    uint8_t reserved3;         ///< not read
} XcpCanChannelCfg;

/// A slave on its bus, 16 bytes. In the two identifier words bit 31 is an extended identifier, bit 30 bit
/// rate switching, bit 29 CAN FD, and the low 29 bits are the identifier.
typedef struct XcpSlaveCanCfg {
    uint32_t broadcastId;  ///< registered for reception as it is
    uint32_t masterId;     ///< identifier word of frames to the slave
    uint32_t slaveId;      ///< identifier word of frames from the slave
    uint8_t option;        ///< not read
    uint8_t reserved[3];   ///< not read
} XcpSlaveCanCfg;

/// How to speak to a slave, 24 bytes.
typedef struct XcpSlaveProtoCfg {
    uint16_t t1;        ///< time-out T1, ordinary commands, milliseconds
    uint16_t t2;        ///< time-out T2, BUILD_CHECKSUM, milliseconds
    uint16_t t3;        ///< time-out T3, PROGRAM_START, PROGRAM_VERIFY, PROGRAM_PREPARE, milliseconds
    uint16_t t4;        ///< time-out T4, PROGRAM_CLEAR, milliseconds
    uint16_t t5;        ///< time-out T5, PROGRAM, _NEXT, _MAX and _RESET, milliseconds
    uint16_t t6;        ///< time-out T6, CONNECT in mode 1, milliseconds
    uint16_t t7;        ///< time-out T7, fresh time-out after a busy answer, milliseconds
    uint8_t byteOrder;  ///< 0 little endian, else big endian
    uint8_t addressGranularity;  ///< bytes per address unit: 1, 2 or 4
    uint8_t retryCount;          ///< sends after a failed first, unsigned
    uint8_t padFrames;           ///< not 0: pad every frame to its full length
    uint8_t padByte;             ///< padding
    uint8_t reserved[5];         ///< not read
} XcpSlaveProtoCfg;

/// A calibration page.
typedef struct XcpPageRef {
    uint8_t segment;  ///< number of the memory segment
    uint8_t page;     ///< number of the page within the segment
} XcpPageRef;

/// One entry of an ODT, 7 bytes.
typedef struct XcpDaqEntry {
    uint8_t bitOffset;         ///< 255: a whole byte
    uint8_t size;              ///< bytes
    uint8_t addressExtension;  ///< address extension
    uint32_t address;          ///< first address
} XcpDaqEntry;

/// How a DAQ list runs, 6 bytes.
typedef struct XcpDaqListSetup {
    uint16_t listNumber;  ///< DAQ list number
    uint16_t event;       ///< event channel
    uint8_t prescaler;    ///< transmission rate prescaler
    uint8_t priority;     ///< list priority
} XcpDaqListSetup;

#pragma pack(pop)

TALVEX_ASSERT_LAYOUT(sizeof(XcpCanChannelCfg) == 22);
TALVEX_ASSERT_LAYOUT(offsetof(XcpCanChannelCfg, reserved1) == 1);
TALVEX_ASSERT_LAYOUT(offsetof(XcpCanChannelCfg, nominalTiming) == 3);
TALVEX_ASSERT_LAYOUT(offsetof(XcpCanChannelCfg, timingSwitch) == 11);
TALVEX_ASSERT_LAYOUT(offsetof(XcpCanChannelCfg, dataTiming) == 13);
TALVEX_ASSERT_LAYOUT(sizeof(XcpSlaveCanCfg) == 16 && offsetof(XcpSlaveCanCfg, option) == 12);
TALVEX_ASSERT_LAYOUT(sizeof(XcpSlaveProtoCfg) == 24 && offsetof(XcpSlaveProtoCfg, byteOrder) == 14);
TALVEX_ASSERT_LAYOUT(sizeof(XcpPageRef) == 2);
TALVEX_ASSERT_LAYOUT(sizeof(XcpDaqEntry) == 7 && offsetof(XcpDaqEntry, address) == 3);
TALVEX_ASSERT_LAYOUT(sizeof(XcpDaqListSetup) == 6 && offsetof(XcpDaqListSetup, event) == 2);

TALVEX_C_BEGIN

/// @name Handles
/// A handle is never used again; channel handles wrap at 16 bits; a null out handle is not written.
/// @{

/// Remembers a channel and hands out its handle through @p channel. Always 256.
TALVEX_API uint32_t xcpInitializeCan(uint16_t* channel, XcpCanChannelCfg cfg);

/// Forgets a channel; its slaves stay and work on. @return 256, or 1280 for an unknown handle
TALVEX_API uint32_t xcpUninitialize(uint16_t channel);

/// Makes a slave on a channel and hands out its handle through @p slave. It copies the callbacks and the log
/// functions as they are now. Sends nothing.
/// @return 256, or 1280 for an unknown channel; then @p slave is not written
TALVEX_API uint32_t xcpAddSlave(uint16_t channel, XcpSlaveCanCfg can, XcpSlaveProtoCfg proto,
                                uint32_t* slave);

/// Changes a slave's configuration and lets it send again after a lost link. The channel is looked up by the
/// slave's handle: hosts that make channels and slaves in step have equal numbers. Identifiers and byte order
/// of reception stay those of xcpAddSlave.
/// @return 256, or 1280 without such a slave or channel; then nothing is changed
TALVEX_API uint32_t xcpConfigSlave(uint32_t slave, XcpSlaveCanCfg can, XcpSlaveProtoCfg proto);

/// Forgets a slave, without a DISCONNECT. @return 256, or 1280 for an unknown handle
TALVEX_API uint32_t xcpRemoveSlave(uint32_t slave);

/// Copies the text of a status with its terminator to @p text, which needs room for 128 characters. A null
/// @p text is not written.
TALVEX_API void xcpGetErrorText(uint32_t code, char* text);

/// There is no queue of packets: does nothing and returns 256.
TALVEX_API uint32_t xcpResetQueue(uint32_t slave);

/// There is no queue of packets: does nothing and returns 256.
TALVEX_API uint32_t xcpDequeuePacket(uint32_t slave);
/// @}

/// @name Session
/// @{

/// CONNECT (0xFF). Also takes back an emergency stop that is under way. With @p mode 1 the time-out is T6,
/// else T1.
TALVEX_API uint32_t xcpConnect(uint32_t slave, uint8_t mode, uint8_t* buffer, uint16_t size);

/// DISCONNECT (0xFE).
TALVEX_API uint32_t xcpDisconnect(uint32_t slave, uint8_t* buffer, uint16_t size);

/// GET_STATUS (0xFD): session status, resource protection, state number, session configuration id.
TALVEX_API uint32_t xcpGetStatus(uint32_t slave, uint8_t* buffer, uint16_t size);

/// SYNCH (0xFC): the error packet ERR_CMD_SYNCH that it brings counts as success.
TALVEX_API uint32_t xcpSynchronize(uint32_t slave, uint8_t* buffer, uint16_t size);

/// GET_COMM_MODE_INFO (0xFB): block modes, MAX_BS, MIN_ST, queue size, driver version.
TALVEX_API uint32_t xcpGetCommModeInfo(uint32_t slave, uint8_t* buffer, uint16_t size);

/// GET_ID (0xFA). The text itself is to be read with xcpUpload if the ECU leaves it at the MTA.
TALVEX_API uint32_t xcpGetIdentification(uint32_t slave, uint8_t type, uint8_t* buffer, uint16_t size);

/// SET_REQUEST (0xF9). @p sessionId goes out little endian.
TALVEX_API uint32_t xcpSetRequest(uint32_t slave, uint8_t mode, uint16_t sessionId, uint8_t* buffer,
                                  uint16_t size);

/// TRANSPORT_LAYER_CMD (0xF2). Of @p data at most 62 bytes go out.
TALVEX_API uint32_t xcpTransportLayerCommand(uint32_t slave, uint8_t subCommand, const uint8_t* data,
                                             uint8_t dataLength, uint8_t* buffer, uint16_t size);

/// USER_CMD (0xF1). Of @p data at most 62 bytes go out.
TALVEX_API uint32_t xcpUserCommand(uint32_t slave, uint8_t subCommand, const uint8_t* data,
                                   uint8_t dataLength, uint8_t* buffer, uint16_t size);
/// @}

/// @name Seed and key
/// @{

/// One GET_SEED (0xF8) frame; the host runs the loop over a long seed and reads each part from the buffer.
/// @param mode  0 asks for the first part, 1 for the remaining
TALVEX_API uint32_t xcpGetSeed(uint32_t slave, uint8_t mode, uint8_t resource, uint8_t* buffer,
                               uint16_t size);

/// One UNLOCK (0xF7) frame with as many key bytes as fit; byte 1 says @p keyLength.
TALVEX_API uint32_t xcpUnlock(uint32_t slave, uint8_t keyLength, const uint8_t* key, uint8_t* buffer,
                              uint16_t size);

/// The whole loop over a seed. @p seed needs room for 255 bytes.
TALVEX_API uint32_t xcpGetSeedEx(uint32_t slave, uint8_t resource, uint8_t* seed, uint8_t* seedLength);

/// The whole key, in as many UNLOCK frames as it takes. A key of no bytes sends nothing and succeeds.
TALVEX_API uint32_t xcpUnlockEx(uint32_t slave, uint8_t keyLength, const uint8_t* key);
/// @}

/// @name Memory
/// @{

/// SET_MTA (0xF6).
TALVEX_API uint32_t xcpSetMta(uint32_t slave, uint8_t addressExtension, uint32_t address, uint8_t* buffer,
                              uint16_t size);

/// Reads @p count bytes from the MTA with UPLOAD (0xF5), in several frames if need be; the buffer gets the
/// last of them. Without all bytes it returns the status of the command before, even if that was a success.
TALVEX_API uint32_t xcpUpload(uint32_t slave, uint8_t count, uint8_t* buffer, uint16_t size);

/// SHORT_UPLOAD (0xF4).
TALVEX_API uint32_t xcpShortUpload(uint32_t slave, uint8_t count, uint8_t addressExtension, uint32_t address,
                                   uint8_t* buffer, uint16_t size);

/// BUILD_CHECKSUM (0xF3) over @p blockSize bytes from the MTA. Time-out T2.
TALVEX_API uint32_t xcpBuildChecksum(uint32_t slave, uint32_t blockSize, uint8_t* buffer, uint16_t size);

/// One DOWNLOAD (0xF0) frame.
TALVEX_API uint32_t xcpDownload(uint32_t slave, uint8_t unused, const uint8_t* data, uint8_t count,
                                uint8_t* buffer, uint16_t size);

/// One DOWNLOAD_NEXT (0xEF) frame.
TALVEX_API uint32_t xcpDownloadNext(uint32_t slave, uint8_t unused, const uint8_t* data, uint8_t count,
                                    uint8_t* buffer, uint16_t size);

/// A frame full of data, sent with the code of DOWNLOAD_NEXT (0xEF), on which hosts rely.
/// @param data  MAX_CTO bytes less the header
TALVEX_API uint32_t xcpDownloadMax(uint32_t slave, const uint8_t* data, uint8_t* buffer, uint16_t size);

/// SHORT_DOWNLOAD (0xED) with as many of the @p count bytes as fit; byte 1 says how many did.
TALVEX_API uint32_t xcpShortDownload(uint32_t slave, uint8_t count, uint8_t addressExtension,
                                     uint32_t address, const uint8_t* data, uint8_t unused, uint8_t* buffer,
                                     uint16_t size);

/// MODIFY_BITS (0xEC). The masks go out little endian.
TALVEX_API uint32_t xcpModifyBits(uint32_t slave, uint8_t shift, uint16_t andMask, uint16_t xorMask,
                                  uint8_t* buffer, uint16_t size);
/// @}

/// @name Calibration pages
/// @{

/// SET_CAL_PAGE (0xEB). @p mode: bit 0 ECU, bit 1 XCP, bit 7 all segments.
TALVEX_API uint32_t xcpSetCalibrationPage(uint32_t slave, uint8_t mode, XcpPageRef page, uint8_t* buffer,
                                          uint16_t size);

/// GET_CAL_PAGE (0xEA). @p mode: 1 the page of the ECU, 2 that of XCP.
TALVEX_API uint32_t xcpGetCalibrationPage(uint32_t slave, uint8_t mode, uint8_t segment, uint8_t* buffer,
                                          uint16_t size);

/// COPY_CAL_PAGE (0xE4).
TALVEX_API uint32_t xcpCopyCalibrationPage(uint32_t slave, XcpPageRef source, XcpPageRef target,
                                           uint8_t* buffer, uint16_t size);

/// GET_PAG_PROCESSOR_INFO (0xE9).
TALVEX_API uint32_t xcpGetPagingProcessorInfo(uint32_t slave, uint8_t* buffer, uint16_t size);

/// GET_SEGMENT_INFO (0xE8).
TALVEX_API uint32_t xcpGetSegmentInformation(uint32_t slave, uint8_t mode, uint8_t segment, uint8_t info,
                                             uint8_t mappingIndex, uint8_t* buffer, uint16_t size);

/// GET_PAGE_INFO (0xE7).
TALVEX_API uint32_t xcpGetPageInformation(uint32_t slave, XcpPageRef page, uint8_t* buffer, uint16_t size);

/// SET_SEGMENT_MODE (0xE6).
TALVEX_API uint32_t xcpSetSegmentMode(uint32_t slave, uint8_t mode, uint8_t segment, uint8_t* buffer,
                                      uint16_t size);

/// Sends the code of SET_SEGMENT_MODE (0xE6), on which hosts rely, with mode 0.
TALVEX_API uint32_t xcpGetSegmentMode(uint32_t slave, uint8_t segment, uint8_t* buffer, uint16_t size);
/// @}

/// @name DAQ
/// @{

/// GET_DAQ_CLOCK (0xDC).
TALVEX_API uint32_t xcpGetDaqClock(uint32_t slave, uint8_t* buffer, uint16_t size);

/// GET_DAQ_PROCESSOR_INFO (0xDA).
TALVEX_API uint32_t xcpGetDaqProcessorInfo(uint32_t slave, uint8_t* buffer, uint16_t size);

/// GET_DAQ_RESOLUTION_INFO (0xD9).
TALVEX_API uint32_t xcpGetDaqResolutionInfo(uint32_t slave, uint8_t* buffer, uint16_t size);

/// GET_DAQ_EVENT_INFO (0xD7). The event's name is read along with UPLOAD and not handed back.
TALVEX_API uint32_t xcpGetDaqEventInfo(uint32_t slave, uint8_t event, uint8_t* buffer, uint16_t size);

/// GET_DAQ_LIST_INFO (0xD8).
TALVEX_API uint32_t xcpGetDaqListInfo(uint32_t slave, uint16_t list, uint8_t* buffer, uint16_t size);

/// GET_DAQ_LIST_MODE (0xDF).
TALVEX_API uint32_t xcpGetDaqListMode(uint32_t slave, uint16_t list, uint8_t* buffer, uint16_t size);

/// FREE_DAQ (0xD6).
TALVEX_API uint32_t xcpFreeDaqLists(uint32_t slave, uint8_t* buffer, uint16_t size);

/// ALLOC_DAQ (0xD5).
TALVEX_API uint32_t xcpAllocateDaqLists(uint32_t slave, uint16_t count, uint8_t* buffer, uint16_t size);

/// ALLOC_ODT (0xD4).
TALVEX_API uint32_t xcpAllocateOdt(uint32_t slave, uint16_t list, uint8_t count, uint8_t* buffer,
                                   uint16_t size);

/// ALLOC_ODT_ENTRY (0xD3).
TALVEX_API uint32_t xcpAllocateOdtEntry(uint32_t slave, uint16_t list, uint8_t odt, uint8_t count,
                                        uint8_t* buffer, uint16_t size);

/// CLEAR_DAQ_LIST (0xE3).
TALVEX_API uint32_t xcpClearDaqList(uint32_t slave, uint16_t list, uint8_t* buffer, uint16_t size);

/// SET_DAQ_PTR (0xE2).
TALVEX_API uint32_t xcpSetDaqPtr(uint32_t slave, uint16_t list, uint8_t odt, uint8_t entry, uint8_t* buffer,
                                 uint16_t size);

/// WRITE_DAQ (0xE1).
TALVEX_API uint32_t xcpWriteDaqListEntry(uint32_t slave, XcpDaqEntry entry, uint8_t* buffer, uint16_t size);

/// WRITE_DAQ_MULTIPLE (0xC7). Entries that do not fit the frame are left out; byte 1 says @p count all the
/// same.
TALVEX_API uint32_t xcpWriteDaqListEntries(uint32_t slave, uint8_t count, const XcpDaqEntry* entries,
                                           uint8_t* buffer, uint16_t size);

/// READ_DAQ (0xDB).
TALVEX_API uint32_t xcpReadDaqListEntry(uint32_t slave, uint8_t* buffer, uint16_t size);

/// SET_DAQ_LIST_MODE (0xE0). @p mode: bit 1 stimulation, bit 3 DTO counter, bit 4 timestamp, bit 5 no PID.
TALVEX_API uint32_t xcpSetDaqListMode(uint32_t slave, uint8_t mode, XcpDaqListSetup setup, uint8_t* buffer,
                                      uint16_t size);

/// START_STOP_DAQ_LIST (0xDE). @p mode: 0 stops, 1 starts, 2 selects.
TALVEX_API uint32_t xcpStartStopDaqList(uint32_t slave, uint8_t mode, uint16_t list, uint8_t* buffer,
                                        uint16_t size);

/// START_STOP_SYNCH (0xDD). @p mode: 0 stops all, 1 starts the selected, 2 stops the selected.
TALVEX_API uint32_t xcpStartStopSynch(uint32_t slave, uint8_t mode, uint8_t* buffer, uint16_t size);
/// @}

/// @name Programming
/// @{

/// PROGRAM_START (0xD2). Time-out T3.
TALVEX_API uint32_t xcpProgramStart(uint32_t slave, uint8_t* buffer, uint16_t size);

/// PROGRAM_CLEAR (0xD1). @p mode: 0 absolute, 1 functional. Time-out T4.
TALVEX_API uint32_t xcpProgramClear(uint32_t slave, uint8_t mode, uint32_t range, uint8_t* buffer,
                                    uint16_t size);

/// One PROGRAM (0xD0) frame. Time-out T5.
TALVEX_API uint32_t xcpProgram(uint32_t slave, uint8_t unused, const uint8_t* data, uint8_t count,
                               uint8_t* buffer, uint16_t size);

/// One PROGRAM_NEXT (0xCA) frame. Time-out T5.
TALVEX_API uint32_t xcpProgramNext(uint32_t slave, uint8_t unused, const uint8_t* data, uint8_t count,
                                   uint8_t* buffer, uint16_t size);

/// A PROGRAM_MAX (0xC9) frame full of data. Time-out T5.
/// @param data  MAX_CTO bytes less the header
TALVEX_API uint32_t xcpProgramMax(uint32_t slave, const uint8_t* data, uint8_t* buffer, uint16_t size);

/// PROGRAM_RESET (0xCF): most ECUs end their session with it. Time-out T5.
TALVEX_API uint32_t xcpProgramReset(uint32_t slave, uint8_t* buffer, uint16_t size);

/// PROGRAM_VERIFY (0xC8). Time-out T3.
TALVEX_API uint32_t xcpProgramVerify(uint32_t slave, uint8_t mode, uint16_t type, uint32_t value,
                                     uint8_t* buffer, uint16_t size);

/// PROGRAM_PREPARE (0xCC). @p codeSize goes out little endian. Time-out T3.
TALVEX_API uint32_t xcpProgramPrepare(uint32_t slave, uint16_t codeSize, uint8_t* buffer, uint16_t size);

/// PROGRAM_FORMAT (0xCB). @p format: compression, encryption, programming and access method, from the lowest
/// byte up.
TALVEX_API uint32_t xcpProgramFormat(uint32_t slave, uint32_t format, uint8_t* buffer, uint16_t size);

/// GET_PGM_PROCESSOR_INFO (0xCE).
TALVEX_API uint32_t xcpGetPgmProcessorInfo(uint32_t slave, uint8_t* buffer, uint16_t size);

/// GET_SECTOR_INFO (0xCD). Asks for mode 0 and sector 0 always; the two arguments are not looked at.
TALVEX_API uint32_t xcpGetSectorInfo(uint32_t slave, uint8_t mode, uint8_t sector, uint8_t* buffer,
                                     uint16_t size);
/// @}

TALVEX_C_END

#endif /* TALVEX_CHANNEL_H */
