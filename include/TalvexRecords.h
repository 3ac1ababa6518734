/// @file
/// Records that cross the library's boundary, and the callbacks through which the library reaches its host.
/// All are plain values; they are copied whole in both directions.
#pragma once

#include "TalvexDaq.h"
#include "TalvexDecode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <set>
#include <string>
#include <vector>

/// One CAN or CAN FD frame, in both directions.
struct msgBuf {
    std::uint64_t hostTag = 0;  ///< given by the host in `recvCanMsg`; 0 in sent frames
    std::uint64_t time = 0;     ///< microseconds. Sent: since 1970-01-01 UTC. Received: the host's own base
    std::uint32_t id = 0;       ///< CAN identifier without flag bits
    std::array<std::uint8_t, 64> data{};  ///< payload
    std::uint16_t length = 0;             ///< valid bytes of `data`, at most 64
    std::uint8_t channel = 0;             ///< CAN channel
};

/// One calibration page of a memory segment.
struct mcMemoryPage {
    std::uint8_t pageNumber = 0;    ///< page number of SET_CAL_PAGE
    std::uint32_t ecuAccess = 0;    ///< carried for the host
    std::uint32_t readAccess = 0;   ///< carried for the host
    std::uint32_t writeAccess = 0;  ///< 0: a page that `mcMemDataReference` selects; else `mcMemDataWorking`
};

/// One memory segment of an ECU.
struct mcMemoryInfo {
    std::uint32_t address = 0;            ///< first address
    std::uint32_t length = 0;             ///< bytes
    std::uint8_t addressExtension = 0;    ///< address extension
    std::uint8_t segmentNumber = 0;       ///< XCP segment number
    std::uint32_t programType = 0;        ///< XCP: 1 is a segment without pages to select
    std::uint32_t memoryType = 0;         ///< 2 marks the data segments of a forced download
    std::vector<mcMemoryPage> pages;      ///< the segment's calibration pages
    std::uint32_t checksumBlockSize = 0;  ///< bytes of one BUILD_CHECKSUM; 0 means 16384
    std::uint32_t checksumType = 0;       ///< kind of checksum, as in `CheckMemory`; 0 is no check
};

/// A set of bits that chooses memory ranges. 0 selects nothing.
using mcMemOperType = std::uint32_t;
inline constexpr mcMemOperType mcMemCode = 1;           ///< all code segments
inline constexpr mcMemOperType mcMemDataReference = 2;  ///< data segments, XCP: pages that cannot be written
inline constexpr mcMemOperType mcMemDataWorking = 4;    ///< data segments, XCP: pages that can be written

/// One block of a memory image. An image is a list of these, in no particular order.
struct mem_buf {
    std::uint32_t address = 0;       ///< first address
    std::vector<std::uint8_t> data;  ///< the bytes
};

/// One memory range in a memory result.
struct mcMemoryData {
    std::uint32_t address = 0;           ///< first address
    std::uint32_t length = 0;            ///< bytes
    std::vector<std::uint8_t> data;      ///< upload: the bytes; check: the ECU's checksum
    std::vector<std::uint8_t> expected;  ///< check: the local checksum, least significant byte first
    std::vector<std::uint8_t> actual;    ///< always empty
};

#pragma pack(push, 1)
/// The numbers of a variable, byte packed: hosts lay them out themselves.
struct mcMeasureVariableNumbers {
    std::uint8_t type = 255;            ///< carried for the host; XCP sends it as BIT_OFFSET of WRITE_DAQ
    std::uint32_t size = 0;             ///< bytes
    std::uint8_t addressExtension = 0;  ///< address extension
    std::uint32_t address = 0;          ///< first address
    std::uint16_t event = 0;            ///< DAQ event channel
    std::uint8_t fragment = 0;          ///< the planner's ordinal of a piece; 0 from the host
    std::uint16_t period = 0;           ///< milliseconds; not 0 sends the variable to polling
    std::array<std::uint8_t, 8> hostValue{};  ///< carried for the host
};
#pragma pack(pop)

static_assert(offsetof(mcMeasureVariableNumbers, size) == 1);
static_assert(offsetof(mcMeasureVariableNumbers, addressExtension) == 5);
static_assert(offsetof(mcMeasureVariableNumbers, address) == 6);
static_assert(offsetof(mcMeasureVariableNumbers, event) == 10);
static_assert(offsetof(mcMeasureVariableNumbers, fragment) == 12);
static_assert(offsetof(mcMeasureVariableNumbers, period) == 13);
static_assert(offsetof(mcMeasureVariableNumbers, hostValue) == 15);
static_assert(sizeof(mcMeasureVariableNumbers) == 23);

/// The head of a variable. A base of its own, so that the string stays aligned ahead of the packed numbers.
struct mcMeasureVariableHead {
    std::string name;  ///< results are reported under it
};

/// One variable to measure, read or write. Its fields are plain members: `variable.name`, `variable.size`.
struct mcMeasureVariable : mcMeasureVariableHead, mcMeasureVariableNumbers {};

static_assert(alignof(mcMeasureVariable) == alignof(std::string));
static_assert(sizeof(mcMeasureVariable) ==
              (sizeof(std::string) + sizeof(mcMeasureVariableNumbers) + alignof(std::string) - 1) /
                  alignof(std::string) * alignof(std::string));

/// One measured value.
struct mcMeasureVariableValue {
    std::string name;                ///< the variable's name
    std::uint64_t time = 0;          ///< microseconds. Polled or read: since 1970-01-01 UTC.
                                     ///< DAQ: the host's time of a frame of the cycle
    std::vector<std::uint8_t> data;  ///< the raw bytes as the ECU sent them; empty if a read failed
};

/// One XCP event channel. Overwritten by the ECU's GET_DAQ_EVENT_INFO.
struct XcpEventCfg {
    std::uint8_t maxDaqList = 0;  ///< DAQ lists the channel can drive; 0 leaves its variables unplanned
    std::uint8_t timeCycle = 0;   ///< cycle in units of `timeUnit`; 0 is not cyclic
    std::uint8_t properties = 0;  ///< EVENT_CHANNEL_PROPERTY byte
    std::uint8_t timeUnit = 0;    ///< 0 = 1 ns ... 9 = 1 s in decades, 10 to 12 = 1, 10, 100 ps
    std::uint8_t priority = 0;    ///< priority of SET_DAQ_LIST_MODE
    std::uint8_t nameLength = 0;  ///< valid bytes of `name`
    std::array<std::uint8_t, 255> name{};  ///< the channel's name, not terminated
};

/// What is known of one XCP DAQ list.
struct XcpDaqListCfg {
    std::uint16_t listNumber = 0;    ///< DAQ list number
    std::uint16_t event = 0;         ///< event channel
    std::uint8_t prescaler = 0;      ///< transmission rate prescaler
    std::uint8_t priority = 0;       ///< list priority
    std::uint8_t mode = 0;           ///< CURRENT_MODE byte
    std::uint8_t properties = 0;     ///< DAQ_LIST_PROPERTIES byte
    std::uint8_t maxOdt = 0;         ///< capacity in ODTs; 0 is no limit
    std::uint8_t maxOdtEntries = 0;  ///< most payload bytes of one ODT; 0 is no limit
    std::uint8_t firstPid = 0;       ///< PID of the first ODT; live from START_STOP_DAQ_LIST
    std::uint8_t fixedEvent = 255;   ///< event that this list is predefined for; 255 is none
};

/// The XCP part of a configuration, used if `EcuProtoCfg::protoType` is 1. "Live" fields are overwritten by
/// the ECU's answers in the library's own copy.
struct XcpCfg {
    std::uint16_t t1 = 0;        ///< time-out of ordinary commands, milliseconds; 0 makes every command fail
    std::uint16_t t2 = 0;        ///< time-out of BUILD_CHECKSUM, milliseconds
    std::uint16_t t3 = 0;        ///< time-out of PROGRAM_START, PROGRAM_VERIFY, PROGRAM_PREPARE, milliseconds
    std::uint16_t t4 = 0;        ///< time-out of PROGRAM_CLEAR, milliseconds
    std::uint16_t t5 = 0;        ///< time-out of PROGRAM, _NEXT, _MAX and _RESET, milliseconds
    std::uint16_t t6 = 0;        ///< time-out of CONNECT in mode 1, milliseconds
    std::uint16_t t7 = 0;        ///< fresh time-out after a busy answer, milliseconds
    std::uint8_t byteOrder = 0;  ///< 0 little endian, else big endian; the ECU's own word is not asked
    std::uint8_t addressGranularity = 1;          ///< bytes per address unit: 1, 2 or 4
    std::int32_t retryCount = 0;                  ///< sends after a failed first; -1 without limit
    std::uint32_t retryDelayMs = 0;               ///< pause after each failed repeat, milliseconds
    std::map<std::uint16_t, XcpEventCfg> events;  ///< event channels by number; live
    std::map<std::uint32_t, std::list<std::uint32_t>> eventCanIds;  ///< further receive identifiers by event
    std::map<std::uint32_t, std::uint32_t> daqListCanIds;           ///< receive identifier by DAQ list number
    std::uint8_t rejectZeroAddress = 0;                             ///< flag: refuse variables with address 0
    std::uint8_t workingSegment = 0;                                ///< segment of the working page
    std::uint8_t workingPage = 0;                                   ///< page number of the working page
    std::uint8_t referenceSegment = 0;                              ///< segment of the reference page
    std::uint8_t referencePage = 1;                                 ///< page number of the reference page
    std::uint16_t pollPeriodMs = 0;       ///< milliseconds; not 0 polls all variables instead of DAQ
    std::uint8_t useSlaveBlockMode = 0;   ///< flag: block mode for UPLOAD
    std::uint8_t useMasterBlockMode = 0;  ///< flag: block mode for memory downloads and programming
    std::uint32_t synchPeriodMs = 0;      ///< period of SYNCH as keep-alive, milliseconds; 0 is off
    std::uint32_t statusPeriodMs = 1000;  ///< period of GET_STATUS as keep-alive, milliseconds; 0 is off

    std::uint8_t calPageMode = 0;         ///< live: mode of the last SET_CAL_PAGE
    std::uint8_t clockTriggerInfo = 0;    ///< live: GET_DAQ_CLOCK byte 2
    std::uint8_t clockPayloadFormat = 0;  ///< live: GET_DAQ_CLOCK byte 3
    std::uint32_t clockTimestamp = 0;     ///< live: GET_DAQ_CLOCK bytes 4 to 7
    std::uint8_t commModePgm = 0;         ///< live: PROGRAM_START byte 2
    std::uint8_t maxCtoPgm = 0;           ///< live: PROGRAM_START byte 3
    std::uint8_t minStPgm = 0;            ///< live: PROGRAM_START byte 5
    std::uint8_t maxBsPgm = 0;            ///< live: PROGRAM_START byte 4
    std::uint8_t queueSizePgm = 0;        ///< live: PROGRAM_START byte 6
    std::uint32_t checksumType = 0;       ///< live: BUILD_CHECKSUM byte 1
    std::uint8_t commModeBasic = 0;       ///< live: CONNECT byte 2
    std::uint8_t commModeOptional = 0;    ///< live: GET_COMM_MODE_INFO byte 2
    std::uint8_t maxBs = 0;               ///< live: GET_COMM_MODE_INFO byte 4
    std::uint8_t minSt = 0;               ///< live: GET_COMM_MODE_INFO byte 5, units of 100 us
    std::uint8_t queueSize = 0;           ///< live: GET_COMM_MODE_INFO byte 6
    std::uint8_t driverVersion = 0;       ///< live: GET_COMM_MODE_INFO byte 7
    std::uint8_t sessionStatus = 0;       ///< live: GET_STATUS byte 1
    std::uint8_t protectionStatus = 0;    ///< live: GET_STATUS byte 2, UNLOCK byte 1
    std::uint8_t resource = 0;            ///< live: CONNECT byte 1
    std::uint8_t stateNumber = 0;         ///< live: GET_STATUS byte 3
    std::uint16_t sessionConfigId = 0;    ///< live: GET_STATUS bytes 4 and 5, little endian

    std::uint8_t daqListMode = 0;  ///< mode of SET_DAQ_LIST_MODE: 0x08 counter, 0x10 timestamp in a first ODT
    std::uint8_t daqListPrescaler = 0;                   ///< prescaler of SET_DAQ_LIST_MODE
    std::map<std::uint16_t, XcpDaqListCfg> daqListInfo;  ///< facts by DAQ list number; `firstPid` is live
    std::uint8_t daqProperties = 0;  ///< GET_DAQ_PROCESSOR_INFO byte 1; bit 0 is dynamic configuration; live
    std::uint8_t daqKeyByte = 0;  ///< GET_DAQ_PROCESSOR_INFO byte 7; bits 6, 7 the identification field; live
    std::uint16_t minDaq = 0;     ///< GET_DAQ_PROCESSOR_INFO byte 6; live, times 256 if `byteOrder` is set
    std::uint16_t maxDaq = 1;     ///< GET_DAQ_PROCESSOR_INFO bytes 2, 3; 0 is no limit; live
    std::uint16_t maxEventChannel = 6;  ///< GET_DAQ_PROCESSOR_INFO bytes 4, 5; live
    std::uint32_t packMode = 2;  ///< 0 whole variables, 1 byte by byte, 2 as many bytes as fit; nothing else
    std::uint8_t timestampMode = 0;  ///< GET_DAQ_RESOLUTION_INFO byte 5; bits 0 to 2 are the size; live
    std::uint8_t granularityOdtEntryDaq = 1;   ///< GET_DAQ_RESOLUTION_INFO byte 1; live
    std::uint8_t maxOdtEntrySizeDaq = 6;       ///< GET_DAQ_RESOLUTION_INFO byte 2; live
    std::uint8_t granularityOdtEntryStim = 1;  ///< GET_DAQ_RESOLUTION_INFO byte 3; live
    std::uint8_t maxOdtEntrySizeStim = 6;      ///< GET_DAQ_RESOLUTION_INFO byte 4; live
    std::uint16_t timestampTicks = 1;          ///< GET_DAQ_RESOLUTION_INFO bytes 6, 7; live
    std::uint32_t unlockMask = 0xFFFFFFFFU;    ///< resources to unlock: 0x01, 0x04, 0x08, 0x10
};

/// One CCP event channel.
struct CcpEventCfg {
    std::uint8_t timeCycle = 0;  ///< cycle in units of `timeUnit`
    std::uint8_t timeUnit = 0;   ///< as in `XcpEventCfg`
};

/// What is known of one CCP DAQ list.
struct CcpDaqListCfg {
    std::uint16_t listNumber = 0;      ///< carried for the host
    std::uint8_t odtCount = 0;         ///< capacity in ODTs; live from GET_DAQ_SIZE
    std::uint8_t firstPid = 0;         ///< PID of the first ODT; live from GET_DAQ_SIZE
    std::uint32_t canId = 0;           ///< identifier of the list's frames
    std::vector<std::uint8_t> events;  ///< event channels that may drive the list; empty means any
};

/// The CCP part of a configuration, used if `EcuProtoCfg::protoType` is not 1.
struct CcpCfg {
    std::uint16_t timeoutMs = 0;     ///< time-out of every command, milliseconds; 0 takes each command's own
    std::uint8_t byteOrder = 0;      ///< 0 little endian, else big endian
    std::int32_t retryCount = 0;     ///< sends after a time-out; below 1 is none
    std::uint32_t retryDelayMs = 0;  ///< pause after each failed repeat, milliseconds
    std::map<std::uint16_t, CcpEventCfg> events;  ///< event channels by number
    std::uint8_t rejectZeroAddress = 0;           ///< flag: refuse variables with address 0
    std::uint32_t workingPageAddress = 0;         ///< address that selects the working page
    std::uint32_t referencePageAddress = 1;       ///< address that selects the reference page
    std::uint16_t pollPeriodMs = 0;               ///< milliseconds; not 0 polls all variables instead of DAQ
    std::uint32_t statusPeriodMs = 1000;  ///< period of GET_S_STATUS as keep-alive, milliseconds; 0 is off
    std::uint8_t queryDaqSizes = 0;       ///< flag: ask for each list's size with GET_DAQ_SIZE
    std::uint16_t firstDaqList = 0;       ///< first usable DAQ list number
    std::uint16_t daqListLimit = 1;       ///< first number past the usable ones
    std::uint16_t prescaler = 1;          ///< prescaler of START_STOP
    std::uint32_t packMode = 1;           ///< as in `XcpCfg`
    std::map<std::uint16_t, CcpDaqListCfg> daqLists;  ///< DAQ lists by number; live from GET_DAQ_SIZE
    std::uint16_t stationAddress = 1;                 ///< station address of CONNECT and DISCONNECT
    std::uint8_t unlockMask = 0xFF;                   ///< resources to unlock: 0x01, 0x02, 0x40
};

/// The configuration of one ECU. The library copies it whole at `EcuConnect`; a later change takes effect at
/// the next one.
struct EcuProtoCfg {
    std::string ecuName;                 ///< the key of every lookup; case sensitive
    std::uint32_t protoType = 1;         ///< 1 is XCP, anything else CCP
    std::uint8_t canChannel = 0;         ///< handed to `sndFun`, part of the key of received frames
    std::uint32_t canIdBroadcast = 0;    ///< registered for reception; nothing is sent on it
    std::uint32_t canIdMaster = 1;       ///< identifier of frames to the ECU
    std::uint32_t canIdSlave = 2;        ///< identifier of the ECU's responses, and of DAQ frames by default
    std::uint8_t canSlaveOption = 0;     ///< carried only
    std::uint8_t masterFd = 0;           ///< flag: frames to the ECU are CAN FD
    std::uint8_t slaveFd = 0;            ///< flag, carried only
    std::uint8_t masterBrs = 0;          ///< flag: frames to the ECU switch the bit rate
    std::uint8_t slaveBrs = 0;           ///< flag, carried only
    std::uint8_t masterExtended = 0;     ///< flag: `canIdMaster` has 29 bits
    std::uint8_t slaveExtended = 0;      ///< flag, carried only
    std::uint8_t padFrames = 0;          ///< flag: pad every sent frame to its full length
    std::uint8_t padByte = 0;            ///< padding of XCP frames; CCP pads with 0
    std::uint8_t maxCto = 8;             ///< largest command frame, bytes; live for XCP
    std::uint8_t acceptSlaveLimits = 0;  ///< flag, XCP: take MAX_CTO and MAX_DTO of CONNECT as they come
    std::uint16_t maxDto = 8;            ///< largest DAQ frame, bytes; live for XCP
    XcpCfg xcp;                          ///< used if `protoType` is 1
    CcpCfg ccp;                          ///< used otherwise
    std::set<std::uint8_t> supportedCmds;  ///< command codes the ECU is known to support; optional commands
                                           ///< are sent only if they stand here
    std::string seedkey_path;    ///< seed and key library, handed to the host's loader; empty: no unlocking
    std::uint32_t hostWord = 0;  ///< carried for the host
    std::vector<mcMemoryInfo> codeSegments;  ///< program memory
    std::vector<mcMemoryInfo> dataSegments;  ///< calibration data; also where variables are expected
    std::string hostNote;                    ///< carried for the host
};

/// Takes one log line. Level 0 frame trace, 1 success, 2 progress, 3 warning, 4 error; time in milliseconds
/// since 1970-01-01 UTC; text in UTF-8 without a line end. Any thread of the library.
using logFun = void (*)(std::uint32_t level, std::uint64_t timeMs, const std::string& text);

/// Computes a key from a seed. `keyLength` holds the room at `key` on entry, the key's length on return.
/// Not 0 is success.
using SeedKeyFun =
    std::function<std::int32_t(std::uint8_t privilege, std::uint8_t seedLength, std::uint8_t* seed,
                               std::uint8_t* keyLength, std::uint8_t* key)>;

/// The host's functions. A null position of `setCallBackFuns` leaves what was set before.
struct CallBackFuns {
    /// Values. Kind 0: answer to `MeasureVars` (worker thread), 1: polling (polling thread), 2: DAQ (worker).
    void (*measureFun)(const std::string& ecuName, std::int32_t kind,
                       const std::vector<mcMeasureVariableValue>& values,
                       const std::vector<std::string>& rejected) = nullptr;

    /// Sends one frame. Flags: bit 0 extended identifier, bit 1 CAN FD, bit 2 bit rate switch. The result is
    /// not looked at. Worker and polling thread, and callers of the channel interface.
    std::uint32_t (*sndFun)(std::uint8_t channel, std::uint32_t id, std::uint8_t flags, std::uint8_t length,
                            const std::uint8_t* data) = nullptr;

    /// Takes each command, response and event analysed, on the thread that sent or received it.
    void (*msgDecodeFun)(std::uint64_t hostTag, mcDecodeMsg message) = nullptr;

    /// Takes the results of commands, but for those of `memResultFun`, and the notifications 3 (link lost)
    /// and 4 (measurement begins). Worker thread; 3 on the polling thread. @p details lives for the call
    /// only.
    void (*taskResultFun)(std::uint32_t command, std::uint8_t result,
                          const std::vector<std::string>* details) = nullptr;

    /// Takes progress in percent (12 upload, 13 download) and results (10, 11, 15, 16) of memory operations.
    /// Worker thread.
    void (*memResultFun)(std::uint32_t command, std::uint32_t result,
                         std::vector<mcMemoryData> data) = nullptr;

    /// Loads a seed and key library for an XCP ECU; an empty function means failure. Worker thread.
    SeedKeyFun (*xcpSeedLibFun)(const char* path, const char* entry) = nullptr;

    /// Loads a seed and key library for a CCP ECU; an empty function means failure. Worker thread.
    SeedKeyFun (*ccpSeedLibFun)(const char* path, const char* entry) = nullptr;

    /// Shows the plan of a measurement: the live configuration and the names by event and DAQ list. The
    /// pointers hold for the call only. Worker thread.
    void (*daqInfoFun)(const EcuProtoCfg* cfg, const DaqFinishedNames* plan) = nullptr;

    void* reserved = nullptr;     ///< not read
    std::vector<logFun> logFuns;  ///< not read from the host; see `setLogBackFuns`
};
