/* The channel interface: one XCP command at a time, on the caller's thread, over handles. It does not use the
   command queue or the worker. Compiles as C11 and as C++17.

   A channel is a remembered record, a slave is one XCP ECU on it. `setCallBackFuns` must have run before a
   slave is added, as the slave keeps a copy of the callbacks; received frames come in through `recvCanMsg` as
   ever.

   Results. All functions that return a uint32_t give a status:
     256         success
     1 to 255    the ECU's error code; 49 also if the slave was removed during its command
     1280        the handle is not known; nothing was sent, nothing is written
     2304        no answer in time. From then on every command on that slave fails at once with the last
                 status and nothing is sent, until xcpConfigSlave has run.
   xcpGetErrorText gives the texts of these.

   Buffers. `buffer` and `size` stand last: the buffer is zeroed for its whole size and then gets the last
   response that a first attempt received with success, cut to `size`; so after a failure it holds the last
   good response. 64 bytes always suffice. A null buffer is not written.

   Threads. Any. Commands on one slave take turns frame by frame; a slave removed during its own command lives
   until that ends. Null data pointers count as no data. Arguments called `unused` are not looked at. */
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

/* A CAN channel, 22 bytes. */
typedef struct XcpCanChannelCfg {
    uint8_t canChannel;       /* CAN channel number, as recvCanMsg and sndFun have it */
    uint16_t reserved1;       /* stored, not read */
    uint8_t nominalTiming[8]; /* compared with dataTiming as a whole */
    uint8_t timingSwitch;     /* not 0: bit rate switching is on exactly if the two timings are equal */
    uint8_t reserved2;        /* stored, not read */
    uint8_t dataTiming[8];    /* compared with nominalTiming as a whole */
    uint8_t reserved3;        /* not stored */
} XcpCanChannelCfg;

/* A slave on its bus, 16 bytes. In the two identifier words bit 31 is an extended identifier, bit 30 bit rate
   switching, bit 29 CAN FD, and the low 29 bits are the identifier. */
typedef struct XcpSlaveCanCfg {
    uint32_t broadcastId; /* registered for reception as it is */
    uint32_t masterId;    /* identifier word of frames to the slave */
    uint32_t slaveId;     /* identifier word of frames from the slave */
    uint8_t option;       /* stored, not read */
    uint8_t reserved[3];  /* not read */
} XcpSlaveCanCfg;

/* How to speak to a slave, 24 bytes. */
typedef struct XcpSlaveProtoCfg {
    uint16_t t1; /* time-outs T1 to T7, milliseconds */
    uint16_t t2;
    uint16_t t3;
    uint16_t t4;
    uint16_t t5;
    uint16_t t6;
    uint16_t t7;
    uint8_t byteOrder;          /* 0 little endian, else big endian */
    uint8_t addressGranularity; /* bytes per address unit: 1, 2 or 4 */
    uint8_t retryCount;         /* sends after a failed first, unsigned */
    uint8_t padFrames;          /* not 0: pad every frame to its full length */
    uint8_t padByte;            /* padding */
    uint8_t reserved[5];        /* not read */
} XcpSlaveProtoCfg;

/* A calibration page. */
typedef struct XcpPageRef {
    uint8_t segment;
    uint8_t page;
} XcpPageRef;

/* One entry of an ODT, 7 bytes. */
typedef struct XcpDaqEntry {
    uint8_t bitOffset; /* 255: a whole byte */
    uint8_t size;      /* bytes */
    uint8_t addressExtension;
    uint32_t address;
} XcpDaqEntry;

/* How a DAQ list runs, 6 bytes. */
typedef struct XcpDaqListSetup {
    uint16_t listNumber;
    uint16_t event;
    uint8_t prescaler;
    uint8_t priority;
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

/* Handles. A handle is never used again; channel handles wrap at 16 bits. A null out handle is not written.
 */

/* Remembers a channel. Always 256. */
TALVEX_API uint32_t xcpInitializeCan(uint16_t* channel, XcpCanChannelCfg cfg);
/* Forgets a channel; its slaves stay. */
TALVEX_API uint32_t xcpUninitialize(uint16_t channel);
/* Makes a slave. With an unknown channel 1280, and the out handle is not written. */
TALVEX_API uint32_t xcpAddSlave(uint16_t channel, XcpSlaveCanCfg can, XcpSlaveProtoCfg proto,
                                uint32_t* slave);
/* Changes a slave's configuration and lets it send again after a lost link. The channel is looked up by the
   slave's handle: hosts that make channels and slaves in step have equal numbers. Without such a channel
   1280, and nothing is changed. Identifiers and byte order of reception stay those of xcpAddSlave. */
TALVEX_API uint32_t xcpConfigSlave(uint32_t slave, XcpSlaveCanCfg can, XcpSlaveProtoCfg proto);
TALVEX_API uint32_t xcpRemoveSlave(uint32_t slave);
/* Copies the text of a status with its terminator to `text`, which needs room for 128 characters. */
TALVEX_API void xcpGetErrorText(uint32_t code, char* text);
/* There is no queue of packets: both do nothing and return 256. */
TALVEX_API uint32_t xcpResetQueue(uint32_t slave);
TALVEX_API uint32_t xcpDequeuePacket(uint32_t slave);

/* Session. */
/* Also takes back an emergency stop that is under way. */
TALVEX_API uint32_t xcpConnect(uint32_t slave, uint8_t mode, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpDisconnect(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetStatus(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpSynchronize(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetCommModeInfo(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetIdentification(uint32_t slave, uint8_t type, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpSetRequest(uint32_t slave, uint8_t mode, uint16_t sessionId, uint8_t* buffer,
                                  uint16_t size);
/* `data`: at most 62 bytes. */
TALVEX_API uint32_t xcpTransportLayerCommand(uint32_t slave, uint8_t subCommand, const uint8_t* data,
                                             uint8_t dataLength, uint8_t* buffer, uint16_t size);
/* `data`: at most 62 bytes. */
TALVEX_API uint32_t xcpUserCommand(uint32_t slave, uint8_t subCommand, const uint8_t* data,
                                   uint8_t dataLength, uint8_t* buffer, uint16_t size);

/* Seed and key. */
/* One GET_SEED frame; the host runs the loop over a long seed and reads each part from the buffer. */
TALVEX_API uint32_t xcpGetSeed(uint32_t slave, uint8_t mode, uint8_t resource, uint8_t* buffer,
                               uint16_t size);
/* One UNLOCK frame with as many key bytes as fit; byte 1 says keyLength. */
TALVEX_API uint32_t xcpUnlock(uint32_t slave, uint8_t keyLength, const uint8_t* key, uint8_t* buffer,
                              uint16_t size);
/* The whole loop over a seed. `seed` needs room for 255 bytes. */
TALVEX_API uint32_t xcpGetSeedEx(uint32_t slave, uint8_t resource, uint8_t* seed, uint8_t* seedLength);
/* The whole key, in as many frames as it takes. */
TALVEX_API uint32_t xcpUnlockEx(uint32_t slave, uint8_t keyLength, const uint8_t* key);

/* Memory. */
TALVEX_API uint32_t xcpSetMta(uint32_t slave, uint8_t addressExtension, uint32_t address, uint8_t* buffer,
                              uint16_t size);
/* Reads `count` bytes from the MTA, in several frames if need be; the buffer gets the last of them. */
TALVEX_API uint32_t xcpUpload(uint32_t slave, uint8_t count, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpShortUpload(uint32_t slave, uint8_t count, uint8_t addressExtension, uint32_t address,
                                   uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpBuildChecksum(uint32_t slave, uint32_t blockSize, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpDownload(uint32_t slave, uint8_t unused, const uint8_t* data, uint8_t count,
                                uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpDownloadNext(uint32_t slave, uint8_t unused, const uint8_t* data, uint8_t count,
                                    uint8_t* buffer, uint16_t size);
/* A frame full of data. `data`: MAX_CTO bytes less the header. */
TALVEX_API uint32_t xcpDownloadMax(uint32_t slave, const uint8_t* data, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpShortDownload(uint32_t slave, uint8_t count, uint8_t addressExtension,
                                     uint32_t address, const uint8_t* data, uint8_t unused, uint8_t* buffer,
                                     uint16_t size);
TALVEX_API uint32_t xcpModifyBits(uint32_t slave, uint8_t shift, uint16_t andMask, uint16_t xorMask,
                                  uint8_t* buffer, uint16_t size);

/* Calibration pages. */
TALVEX_API uint32_t xcpSetCalibrationPage(uint32_t slave, uint8_t mode, XcpPageRef page, uint8_t* buffer,
                                          uint16_t size);
TALVEX_API uint32_t xcpGetCalibrationPage(uint32_t slave, uint8_t mode, uint8_t segment, uint8_t* buffer,
                                          uint16_t size);
TALVEX_API uint32_t xcpCopyCalibrationPage(uint32_t slave, XcpPageRef source, XcpPageRef target,
                                           uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetPagingProcessorInfo(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetSegmentInformation(uint32_t slave, uint8_t mode, uint8_t segment, uint8_t info,
                                             uint8_t mappingIndex, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetPageInformation(uint32_t slave, XcpPageRef page, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpSetSegmentMode(uint32_t slave, uint8_t mode, uint8_t segment, uint8_t* buffer,
                                      uint16_t size);
/* Sends the code of SET_SEGMENT_MODE, on which hosts rely. */
TALVEX_API uint32_t xcpGetSegmentMode(uint32_t slave, uint8_t segment, uint8_t* buffer, uint16_t size);

/* DAQ. */
TALVEX_API uint32_t xcpGetDaqClock(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetDaqProcessorInfo(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetDaqResolutionInfo(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetDaqEventInfo(uint32_t slave, uint8_t event, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetDaqListInfo(uint32_t slave, uint16_t list, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetDaqListMode(uint32_t slave, uint16_t list, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpFreeDaqLists(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpAllocateDaqLists(uint32_t slave, uint16_t count, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpAllocateOdt(uint32_t slave, uint16_t list, uint8_t count, uint8_t* buffer,
                                   uint16_t size);
TALVEX_API uint32_t xcpAllocateOdtEntry(uint32_t slave, uint16_t list, uint8_t odt, uint8_t count,
                                        uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpClearDaqList(uint32_t slave, uint16_t list, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpSetDaqPtr(uint32_t slave, uint16_t list, uint8_t odt, uint8_t entry, uint8_t* buffer,
                                 uint16_t size);
TALVEX_API uint32_t xcpWriteDaqListEntry(uint32_t slave, XcpDaqEntry entry, uint8_t* buffer, uint16_t size);
/* Entries that do not fit the frame are left out; byte 1 says `count` all the same. */
TALVEX_API uint32_t xcpWriteDaqListEntries(uint32_t slave, uint8_t count, const XcpDaqEntry* entries,
                                           uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpReadDaqListEntry(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpSetDaqListMode(uint32_t slave, uint8_t mode, XcpDaqListSetup setup, uint8_t* buffer,
                                      uint16_t size);
TALVEX_API uint32_t xcpStartStopDaqList(uint32_t slave, uint8_t mode, uint16_t list, uint8_t* buffer,
                                        uint16_t size);
TALVEX_API uint32_t xcpStartStopSynch(uint32_t slave, uint8_t mode, uint8_t* buffer, uint16_t size);

/* Programming. */
TALVEX_API uint32_t xcpProgramStart(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpProgramClear(uint32_t slave, uint8_t mode, uint32_t range, uint8_t* buffer,
                                    uint16_t size);
TALVEX_API uint32_t xcpProgram(uint32_t slave, uint8_t unused, const uint8_t* data, uint8_t count,
                               uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpProgramNext(uint32_t slave, uint8_t unused, const uint8_t* data, uint8_t count,
                                   uint8_t* buffer, uint16_t size);
/* A frame full of data. `data`: MAX_CTO bytes less the header. */
TALVEX_API uint32_t xcpProgramMax(uint32_t slave, const uint8_t* data, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpProgramReset(uint32_t slave, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpProgramVerify(uint32_t slave, uint8_t mode, uint16_t type, uint32_t value,
                                     uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpProgramPrepare(uint32_t slave, uint16_t codeSize, uint8_t* buffer, uint16_t size);
/* `format`: compression, encryption, programming and access method, from the lowest byte up. */
TALVEX_API uint32_t xcpProgramFormat(uint32_t slave, uint32_t format, uint8_t* buffer, uint16_t size);
TALVEX_API uint32_t xcpGetPgmProcessorInfo(uint32_t slave, uint8_t* buffer, uint16_t size);
/* Asks for mode 0 and sector 0 always; the two arguments are not looked at. */
TALVEX_API uint32_t xcpGetSectorInfo(uint32_t slave, uint8_t mode, uint8_t sector, uint8_t* buffer,
                                     uint16_t size);

TALVEX_C_END

#endif /* TALVEX_CHANNEL_H */
