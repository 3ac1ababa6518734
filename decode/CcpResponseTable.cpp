#include "decode/CcpFlagGroups.h"
#include "decode/CcpTables.h"

namespace trace_view::ccp {

namespace {

constexpr FieldRow dnload[] = {hex32("Address", 4), hex8("Address_Ext", 3)};
constexpr FieldRow upload[] = {bytesToEnd("Data", 3)};
constexpr FieldRow program[] = {hex32("Address", 4).unmarked(), hex8("Address_Ext", 3).unmarked()};

// The one address in decimal: hosts read the page address from this text.
constexpr FieldRow getActiveCalPage[] = {dec32("Address", 4).unmarked(), hex8("Address_Ext", 3).unmarked()};

constexpr FieldRow getSessionStatus[] = {
    group(sessionStatusFlags, 3),
    hex8("Additional_Status_Qualifier", 4).unmarked(),
    hex8("Additional_Status_Option", 5).unmarked(),
};
constexpr FieldRow buildChecksum[] = {
    hex8("Check_Sum_Size", 3).unmarked(),
    bytesCounted("Check_Sum", 4, 3).unmarked(),
};

constexpr TextTable notZero{.texts = {"False"}, .otherwise = "True"};
constexpr FieldRow getSeed[] = {choice("Protect_Statu", 3, notZero), bytesToEnd("Seed", 4)};
constexpr FieldRow unlock[] = {hex8("Cur_Res_Mask", 3)};

// Both groups read the resource byte. Byte 6, the protection mask of CCP 2.1, is not shown: hosts have
// learnt to read protection from GET_SEED.
constexpr FieldRow exchangeId[] = {
    dec8("Slave_Device_Id_Len", 3),
    dec8("Slave_Device_Id_Type", 4),
    group(resourceFlags, 5),
    group(protectionFlags, 5),
};
constexpr FieldRow getCcpVersion[] = {
    hex8("Main_Proto_Version", 3).unmarked(),
    hex8("Release_Version", 4).unmarked(),
};

constexpr FieldRow getDaqSize[] = {hex8("Odt_Size", 3), hex8("First_Pid", 4)};

// The same bytes under two spellings, one for each service.
constexpr FieldRow diagService[] = {hex8("Info_Len", 3).unmarked(), hex8("Data_Type", 4).unmarked()};
constexpr FieldRow actionService[] = {hex8("InfoLen", 3).unmarked(), hex8("DataType", 4).unmarked()};

constexpr FrameRow responses[] = {
    {0x01, "CONNECT"},
    {0x02, "SET_MTA"},
    {0x03, "DNLOAD", dnload},
    {0x04, "UPLOAD", upload},
    {0x05, "TEST"},
    {0x06, "START_STOP"},
    {0x07, "DISCONNECT"},
    {0x08, "START_STOP_ALL"},
    {0x09, "GET_ACTIVE_CAL_PAGE", getActiveCalPage},
    {0x0C, "SET_S_STATUS"},
    {0x0D, "GET_S_STATUS", getSessionStatus},
    {0x0E, "BUILD_CHKSUM", buildChecksum},
    {0x0F, "SHORT_UP", upload},
    {0x10, "CLEAR_MEMORY"},
    {0x11, "SELECT_CAL_PAGE"},
    {0x12, "GET_SEED", getSeed},
    {0x13, "UNLOCK", unlock},
    {0x14, "GET_DAQ_SIZE", getDaqSize},
    {0x15, "SET_DAQ_PTR"},
    {0x16, "WRITE_DAQ"},
    {0x17, "EXCHANGE_ID", exchangeId},
    {0x18, "PROGRAM", program},
    {0x19, "MOVE"},
    {0x1B, "GET_CCP_VERSION", getCcpVersion},
    {0x20, "DIAG_SERVICE", diagService},
    {0x21, "ACTION_SERVICE", actionService},
    {0x22, "PROGRAM_6", program},
    {0x23, "DNLOAD_6", dnload},  // its command is "DOWNLOAD_6"; hosts tell the two apart by it
};

}  // namespace

constinit const FrameTable responseTable(responses);

}  // namespace trace_view::ccp
