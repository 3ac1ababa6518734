#include "decode/StatusText.h"
#include "decode/XcpFlagGroups.h"
#include "decode/XcpTables.h"

namespace trace_view::xcp {

namespace {

constexpr FieldRow connect[] = {
    dec8("Resource_Status", 1),  group(resourceFlags, 1),      dec8("Comm_Mode", 2),
    group(basicModeFlags, 2),    dec8("Max_Cto", 3),           dec16("Max_Dto", 4),
    hex8("Protocol_Version", 6), hex8("Transport_Version", 7),
};
constexpr FieldRow getStatus[] = {
    group(sessionFlags, 1),
    group(resourceFlags, 2),
    dec16("Session_Cfg_Id", 4),
};
constexpr FieldRow synch[] = {status("Error_Code", 1, xcpStatusText)};
constexpr FieldRow getCommModeInfo[] = {
    group(optionalModeFlags, 2), dec8("Max_Bs", 4),         dec8("Min_St", 5),
    dec8("Queue_Size", 6),       hex8("Driver_Version", 7),
};
constexpr FieldRow getSeed[] = {dec8("Seed_Len", 1)};
constexpr FieldRow unlock[] = {group(resourceFlags, 1)};

constexpr FieldRow upload[] = {frameLength("size")};

// The type stays a number. Hosts parse it; the names of XCP 1.x (1 is XCP_ADD_11) would break them.
constexpr FieldRow buildChecksum[] = {hex8("Checksum_Type", 1), hex32("Checksum", 4)};
constexpr FieldRow getCalPage[] = {dec8("Page_Number", 3)};

constexpr FieldRow getDaqListMode[] = {
    hex8("Cur_mode", 1),
    dec16("Cur_Event_Num", 4),
    dec8("Cur_Prescaler", 6),
    dec8("Cur_Priority", 7),
};
constexpr FieldRow getDaqClock[] = {
    group(clockTriggerBits, 2),
    hex8("Payload_Fmt", 3),
    dec32("Timestamp", 4),
};

// "Max_Event_Channel" and, below, "Timestamp_Ticks" do not follow the ECU's byte order as their neighbours
// do. Hosts turn these two themselves.
constexpr FieldRow getDaqProcessorInfo[] = {
    group(processorFlags, 1), dec16("Max_Daq", 2),   dec16("Max_Event_Channel", 4).neverSwapped(),
    dec8("Min_Daq", 6),       group(keyByteBits, 7),
};
constexpr FieldRow getDaqResolutionInfo[] = {
    group(timestampBits, 5),
    dec8("Granularity_Odt_Entry_Size_Daq", 1),
    dec8("Max_Odt_Entry_Size_Daq", 2),
    dec8("Granularity_Odt_Entry_Size_Stim", 3),
    dec8("Max_Odt_Entry_Size_Stim", 4),
    dec16("Timestamp_Ticks", 6).neverSwapped(),
};
constexpr FieldRow getDaqEventInfo[] = {
    group(eventFlags, 1),         group(timeUnitBits, 5),    dec8("Max_Daq_List", 2),
    dec8("Event_Name_length", 3), dec8("Event_Time_Cyc", 4), dec8("Event_Priority", 6),
};

constexpr FieldRow programStart[] = {
    group(programModeFlags, 2), dec8("Max_Cto_Pgm", 3),    dec8("Max_Bs_Pgm", 4),
    dec8("Min_St_Pgm", 5),      dec8("Queue_Size_Pgm", 6),
};

constexpr FrameRow responses[] = {
    {0xFF, "CONNECT", connect},
    {0xFE, "DISCONNECT"},
    {0xFD, "GET_STATUS", getStatus},
    {0xFC, "SYNCH", synch},
    {0xFB, "GET_COMM_MODE_INFO", getCommModeInfo},
    {0xF8, "GET_SEED", getSeed},
    {0xF7, "UNLOCK", unlock},
    {0xF6, "SET_MTA"},
    {0xF5, "UPLOAD", upload},
    {0xF3, "BUILD_CHECKSUM", buildChecksum},
    {0xF1, "USER"},
    {0xF0, "DOWNLOAD"},
    {0xED, "SHORT_DOWNLOAD"},
    {0xEB, "SET_CAL_PAGE"},
    {0xEA, "GET_CAL_PAGE", getCalPage},
    {0xE4, "COPY_CAL_PAGE"},
    {0xE3, "CLEAR_DAQ_LIST"},
    {0xE2, "SET_DAQ_PTR"},
    {0xE1, "WRITE_DAQ"},
    {0xE0, "SET_DAQ_LIST_MODE"},
    {0xDF, "GET_DAQ_LIST_MODE", getDaqListMode},
    {0xDE, "START_STOP_DAQ_LIST"},
    {0xDD, "START_STOP_SYNCH"},
    {0xDC, "GET_DAQ_CLOCK", getDaqClock},
    {0xDA, "GET_DAQ_PROCESSOR_INFO", getDaqProcessorInfo},
    {0xD9, "GET_DAQ_RESOLUTION_INFO", getDaqResolutionInfo},
    {0xD8, "GET_DAQ_LIST_INFO"},
    {0xD7, "GET_DAQ_EVENT_INFO", getDaqEventInfo},
    {0xD6, "FREE_DAQ"},
    {0xD5, "ALLOC_DAQ"},
    {0xD4, "ALLOC_ODT"},
    {0xD3, "ALLOC_ODT_ENTRY"},
    {0xD2, "PROGRAM_START", programStart},
    {0xD1, "PROGRAM_CLEAR"},
    {0xD0, "PROGRAM"},
    {0xCF, "PROGRAM_RESET"},
    {0xC8, "PROGRAM_VERIFY"},
};

}  // namespace

constinit const FrameTable responseTable(responses);

}  // namespace trace_view::xcp
