#include "decode/XcpFlagGroups.h"
#include "decode/XcpTables.h"

namespace trace_view::xcp {

namespace {

constexpr TextTable seedModes{.texts = {"First"}, .otherwise = "Remain"};

constexpr FieldRow connect[] = {hex8("Mode", 1)};
constexpr FieldRow getSeed[] = {choice("Mode", 1, seedModes), group(resourceFlags, 2)};
constexpr FieldRow unlock[] = {dec8("Key_Len", 1)};

constexpr FieldRow setMta[] = {hex32("Address", 4), hex8("Address_Ext", 3)};
constexpr FieldRow elements[] = {dec8("Element_Num", 1)};
constexpr FieldRow elementsAt[] = {dec8("Element_Num", 1), hex32("Address", 4), hex8("Address_Ext", 3)};
constexpr FieldRow buildChecksum[] = {hex32("Block_Sz", 4)};

constexpr FieldRow setCalPage[] = {dec8("Seg_Num", 2), dec8("Pag_Num", 3), group(pageModeFlags, 1)};
constexpr FieldRow getCalPage[] = {hex8("Access_Mode", 1), dec8("Seg_Num", 2)};

// On a big endian ECU the two bytes behind the list number show 256 times their value. Stored traces hold
// them so.
constexpr FieldRow setDaqPtr[] = {
    dec16("Daq_List_Number", 2),
    dec8("Odt_Number", 4).swapped(Swap::AsWord),
    dec8("Odt_Entry_Number", 5).swapped(Swap::AsWord),
};
constexpr FieldRow writeDaq[] = {
    dec8("Bit_Offset", 1),
    dec8("Daq_Size", 2),
    hex32("Daq_Address", 4),
    hex8("Daq_Address_Ext", 3),
};
constexpr FieldRow setDaqListMode[] = {
    group(listModeFlags, 1), dec16("Daq_List_Number", 2), dec16("Event_Number", 4),
    dec8("Prescaler", 6),    dec8("Daq_Priority", 7),
};
constexpr FieldRow getDaqListMode[] = {dec16("Daq_List_Num", 2)};
constexpr FieldRow startStopDaqList[] = {hex8("Mode", 1), dec16("Daq_List_Number", 2)};
constexpr FieldRow startStopSynch[] = {hex8("Mode", 1)};
constexpr FieldRow getDaqEventInfo[] = {dec16("Event_Number", 2)};
constexpr FieldRow allocDaq[] = {dec16("Daq_Count", 2)};
constexpr FieldRow allocOdt[] = {dec16("Daq_List_Number", 2), dec8("Odt_Number", 4)};
constexpr FieldRow allocOdtEntry[] = {
    dec16("Daq_List_Number", 2),
    dec8("Odt_Number", 4),
    dec8("Odt_Entries_Count", 5),
};

constexpr FieldRow programClear[] = {dec32("Clear_Range", 4), hex8("Mode", 1)};
constexpr FieldRow program[] = {dec8("Len", 1)};
constexpr FieldRow programVerify[] = {
    hex8("Verify_Mode", 1),
    dec16("Verify_Type", 2),
    dec32("Verify_Value", 4),
};

constexpr FrameRow commands[] = {
    {0xFF, "CONNECT", connect},
    {0xFE, "DISCONNECT"},
    {0xFD, "GET_STATUS"},
    {0xFC, "SYNCH"},
    {0xFB, "GET_COMM_MODE_INFO"},
    {0xF8, "GET_SEED", getSeed},
    {0xF7, "UNLOCK", unlock},
    {0xF6, "SET_MTA", setMta},
    {0xF5, "UPLOAD", elements},
    {0xF4, "SHORT_UPLOAD", elementsAt},
    {0xF3, "BUILD_CHECKSUM", buildChecksum},
    {0xF0, "DOWNLOAD", elements},
    {0xEF, "DOWNLOAD_NEXT", elements},
    {0xED, "SHORT_DOWNLOAD", elementsAt},
    {0xEB, "SET_CAL_PAGE", setCalPage},
    {0xEA, "GET_CAL_PAGE", getCalPage},
    {0xE4, "COPY_CAL_PAGE"},
    {0xE3, "CLEAR_DAQ_LIST"},
    {0xE2, "SET_DAQ_PTR", setDaqPtr},
    {0xE1, "WRITE_DAQ", writeDaq},
    {0xE0, "SET_DAQ_LIST_MODE", setDaqListMode},
    {0xDF, "GET_DAQ_LIST_MODE", getDaqListMode},
    {0xDE, "START_STOP_DAQ_LIST", startStopDaqList},
    {0xDD, "START_STOP_SYNCH", startStopSynch},
    {0xDC, "GET_DAQ_CLOCK"},
    {0xDA, "GET_DAQ_PROCESSOR_INFO"},
    {0xD9, "GET_DAQ_RESOLUTION_INFO"},
    {0xD8, "GET_DAQ_LIST_INFO"},
    {0xD7, "GET_DAQ_EVENT_INFO", getDaqEventInfo},
    {0xD6, "FREE_DAQ"},
    {0xD5, "ALLOC_DAQ", allocDaq},
    {0xD4, "ALLOC_ODT", allocOdt},
    {0xD3, "ALLOC_ODT_ENTRY", allocOdtEntry},
    {0xD2, "PROGRAM_START"},
    {0xD1, "PROGRAM_CLEAR", programClear},
    {0xD0, "PROGRAM", program},
    {0xCF, "PROGRAM_RESET"},
    {0xC8, "PROGRAM_VERIFY", programVerify},

    // Commands of XCP that stay without a title. They count as known: "Unknow Cmd" is for the rest.
    {0xFA, ""},  // GET_ID
    {0xF9, ""},  // SET_REQUEST
    {0xF2, ""},  // TRANSPORT_LAYER_CMD
    {0xF1, ""},  // USER_CMD
    {0xEE, ""},  // DOWNLOAD_MAX
    {0xE9, ""},  // GET_PAG_PROCESSOR_INFO
    {0xE8, ""},  // GET_SEGMENT_INFO
    {0xE7, ""},  // GET_PAGE_INFO
    {0xE6, ""},  // SET_SEGMENT_MODE
    {0xE5, ""},  // GET_SEGMENT_MODE
    {0xDB, ""},  // READ_DAQ
    {0xCE, ""},  // GET_PGM_PROCESSOR_INFO
    {0xCD, ""},  // GET_SECTOR_INFO
    {0xCC, ""},  // PROGRAM_PREPARE
    {0xCB, ""},  // PROGRAM_FORMAT
    {0xCA, ""},  // PROGRAM_NEXT
    {0xC9, ""},  // PROGRAM_MAX
    {0xC7, ""},  // WRITE_DAQ_MULTIPLE
};

}  // namespace

constinit const FrameTable commandTable(commands, "Unknow Cmd");

}  // namespace trace_view::xcp
