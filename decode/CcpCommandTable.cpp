#include "decode/CcpFlagGroups.h"
#include "decode/CcpTables.h"

namespace trace_view::ccp {

namespace {

constexpr TextTable startStopModes{.texts = {"Stop", "Start", "PrepareStart"}};
constexpr TextTable startStopAllModes{.texts = {"Stop", "Start"}};

// Station addresses are little endian on every ECU, but DISCONNECT's follows the ECU's byte order in the
// trace: hosts have stored traces with it.
constexpr FieldRow connect[] = {hex16("Station_Address", 2).neverSwapped()};
constexpr FieldRow test[] = {hex16("Station_Address", 2).neverSwapped().unmarked()};
constexpr FieldRow disconnect[] = {hex8("Type", 2), hex16("Station_Address", 4)};

constexpr FieldRow setMta[] = {dec8("Mta_Num", 2), hex32("Address", 4), hex8("Address_Ext", 3)};
constexpr FieldRow dnload[] = {dec8("Data_Size", 2), bytesCounted("Data", 3, 2)};
constexpr FieldRow download6[] = {bytesToEnd("Data", 2)};
constexpr FieldRow upload[] = {dec8("Data_Size", 2)};
constexpr FieldRow shortUp[] = {dec8("Data_Size", 2), hex32("Address", 4), hex8("Address_Ext", 3)};

constexpr FieldRow startStop[] = {
    choice("Mode", 2, startStopModes).unmarked(),
    hex8("Daq_Num", 3),
    hex8("Last_Odt_Num", 4),
    hex8("Event_Num", 5),
    hex16("Rate_Prescaler", 6).neverSwapped(),
};
constexpr FieldRow startStopAll[] = {choice("Mode", 2, startStopAllModes).unmarked()};

constexpr FieldRow setSessionStatus[] = {group(sessionStatusFlags, 2)};
constexpr FieldRow getSeed[] = {group(protectionFlags, 2)};
constexpr FieldRow unlock[] = {bytesToEnd("Key", 2)};
constexpr FieldRow exchangeId[] = {bytesToEnd("Master_Device_ID", 2)};
constexpr FieldRow getCcpVersion[] = {
    hex8("Main_Proto_Version", 2).unmarked(),
    hex8("Release_Version", 3).unmarked(),
};

constexpr FieldRow getDaqSize[] = {hex8("Daq_Num", 2), hex32("Canid", 4)};
constexpr FieldRow setDaqPtr[] = {hex8("Daq_Num", 2), hex8("Odt_Num", 3), hex8("Element_Num", 4)};
constexpr FieldRow writeDaq[] = {hex8("Element_Size", 2), hex8("Address_Ext", 3), hex32("Address", 4)};

// The 32-bit sizes of BUILD_CHKSUM, CLEAR_MEMORY and MOVE stay little endian, unlike addresses, and of the
// last two the text shows the low byte alone: a trace view that wants the size takes the raw value.
constexpr FieldRow buildChecksum[] = {hex32("Data_Size", 2).neverSwapped().unmarked()};
constexpr FieldRow clearMemory[] = {number(Form::HexLowByte, "Memory_Size", 2, 4).neverSwapped().unmarked()};
constexpr FieldRow move[] = {number(Form::HexLowByte, "Data_Size", 2, 4).neverSwapped().unmarked()};

constexpr FieldRow program[] = {
    hex8("Data_Size", 2).unmarked(),
    bytesCounted("Data", 3, 2).unmarked(),
};
constexpr FieldRow program6[] = {bytesToEnd("Data", 2).unmarked()};

// "Paramsters" is the label hosts filter by.
constexpr FieldRow service[] = {
    number(Form::HexLowByte, "Service_Num", 2, 2).neverSwapped().unmarked(),
    bytesToEnd("Paramsters", 4).unmarked(),
};

constexpr FrameRow commands[] = {
    {0x01, "CONNECT", connect},
    {0x02, "SET_MTA", setMta},
    {0x03, "DNLOAD", dnload},
    {0x04, "UPLOAD", upload},
    {0x05, "TEST", test},
    {0x06, "START_STOP", startStop},
    {0x07, "DISCONNECT", disconnect},
    {0x08, "START_STOP_ALL", startStopAll},
    {0x09, "GET_ACTIVE_CAL_PAGE"},
    {0x0C, "SET_S_STATUS", setSessionStatus},
    {0x0D, "GET_S_STATUS"},
    {0x0E, "BUILD_CHKSUM", buildChecksum},
    {0x0F, "SHORT_UP", shortUp},
    {0x10, "CLEAR_MEMORY", clearMemory},
    {0x11, "SELECT_CAL_PAGE"},
    {0x12, "GET_SEED", getSeed},
    {0x13, "UNLOCK", unlock},
    {0x14, "GET_DAQ_SIZE", getDaqSize},
    {0x15, "SET_DAQ_PTR", setDaqPtr},
    {0x16, "WRITE_DAQ", writeDaq},
    {0x17, "EXCHANGE_ID", exchangeId},
    {0x18, "PROGRAM", program},
    {0x19, "MOVE", move},
    {0x1B, "GET_CCP_VERSION", getCcpVersion},
    {0x20, "DIAG_SERVICE", service},
    {0x21, "ACTION_SERVICE", service},
    {0x22, "PROGRAM_6", program6},
    {0x23, "DOWNLOAD_6", download6},  // its response is "DNLOAD_6"; hosts tell the two apart by it
};

}  // namespace

constinit const FrameTable commandTable(commands);

}  // namespace trace_view::ccp
