/// @file
/// Bytes of XCP frames that hold flags and small numbers, bit by bit.
///
/// Some positions and texts differ from XCP 1.x. They are what trace views have always shown, and filters of
/// hosts rest on them; the protocol layer reads the bits for itself.
#pragma once

#include "decode/FieldTable.h"

namespace trace_view::xcp {

inline constexpr TextTable timeUnits{.texts = {"ns", "10ns", "100ns", "us", "10us", "100us", "ms", "10ms",
                                               "100ms", "s", "ps", "10ps", "100ps"}};
inline constexpr TextTable sizeCodes{.texts = {"1", "2", "4"}};
inline constexpr TextTable byteOrders{.texts = {"Motorola", "Intel"}};
inline constexpr TextTable consistencies{.texts = {"Odt_Rank", "Daq_Rank", "Event_Rank", "None"}};
inline constexpr TextTable daqConfigTypes{.texts = {"static", "dynamic"}};
inline constexpr TextTable overloadIndications{
    .texts = {"No Overload Indication", "Event Overload", "PID Overload", "Not Allowed"}};
inline constexpr TextTable optimisations{
    .texts = {"Om_Default", "Om_Odt_Type_16", "Om_Odt_Type_32", "Om_Odt_Type_64", "Om_Odt_Type_Alignment",
              "Om_Max_Entry_Size", "", "", "Om_Odt_Type_16", "Om_Odt_Type_32", "Om_Odt_Type_64"}};
inline constexpr TextTable addressExtensionTypes{.texts = {"Odt Address_Ext Different",
                                                           "Odt Address_Ext Same", "Daq Address_Ext Same",
                                                           "Daq Address_Ext Same"}};
inline constexpr TextTable identificationTypes{
    .texts = {"Absolute Odt_Num", "Absolute Daq_Num_Byte Relative Odt_Num",
              "Absolute Daq_Num_Word Relative Odt_Num", "Absolute Daq_Num_Word_aligned Relative Odt_Num"}};
inline constexpr TextTable triggerInitiators{
    .texts = {"HW trigger", "Event derived time synchronization", "Get_Daq_Clock_Multicast",
              "Get_Daq_Clock_Multicast via Time Sync Bridge",
              "State change in syntonization/synchronization to grandmaster clock",
              "Leap second occurred on grandmaster clock", "release of ECU reset", "reserved"}};
inline constexpr TextTable samplingTimes{
    .texts = {"during command processing at the protocol layer command processor",
              "low jitter, measured in high-priority interrupt", "upon physical transmission to XCP master",
              "upon physical reception of command"}};
inline constexpr TextTable directions{.texts = {"DAQ", "STIM"}};

inline constexpr FieldRow resourceFlags[] = {
    flag("Resource_Protect_Status__Cal_Pag", 0), flag("Resource_Protect_Status__Daq", 2),
    flag("Resource_Protect_Status__Stim", 3),    flag("Resource_Protect_Status__Pgm", 4),
    flag("Resource_Protect_Status__Dbg", 5),
};

/// COMM_MODE_BASIC of CONNECT. The last bit reads "Intel" when set, the reverse of XCP 1.x.
inline constexpr FieldRow basicModeFlags[] = {
    flag("Connect_Comm_Mode_Basic__Optional", 7),
    flag("Connect_Comm_Mode_Basic__Slave_Block_Mode", 6),
    bits("Connect_Comm_Mode_Basic__Address_Granularity", 1, 2, sizeCodes),
    bits("Connect_Comm_Mode_Basic__Byte_Order", 0, 0, byteOrders),
};

/// COMM_MODE_OPTIONAL of GET_COMM_MODE_INFO.
inline constexpr FieldRow optionalModeFlags[] = {
    flag("Master_Block_Mode", 0),
    flag("Interleaved_Mode", 1),
};

/// The session status of GET_STATUS. Resume and running read one bit below their place in XCP 1.x.
inline constexpr FieldRow sessionFlags[] = {
    flag("Session_Resume", 6),        flag("Session_Daq_Running", 5),   flag("Session_Cal_Pag_Cfg_Lost", 1),
    flag("Session_Clear_Daq_Req", 3), flag("Session_Store_Daq_Req", 2), flag("Session_Store_Cal_Req", 0),
};

/// DAQ_EVENT_PROPERTIES of GET_DAQ_EVENT_INFO.
inline constexpr FieldRow eventFlags[] = {
    capitalFlag("Event_Properties Daq", 2),
    capitalFlag("Event_Properties Stim", 3),
    capitalFlag("Event_Properties Packed", 4),
    bits("Event_Properties Consistency", 6, 7, consistencies),
};

/// EVENT_CHANNEL_TIME_UNIT of GET_DAQ_EVENT_INFO.
inline constexpr FieldRow timeUnitBits[] = {bits("Time_Unit", 0, 3, timeUnits)};

/// TIMESTAMP_MODE of GET_DAQ_RESOLUTION_INFO.
inline constexpr FieldRow timestampBits[] = {
    bits("Time_Unit", 4, 7, timeUnits),
    bits("Timestamp_Size", 0, 2, sizeCodes),
    capitalFlag("Timestamp_Fixed", 3),
};

/// DAQ_PROPERTIES of GET_DAQ_PROCESSOR_INFO.
inline constexpr FieldRow processorFlags[] = {
    bits("Daq_Config_Type", 0, 0, daqConfigTypes),
    flag("Prescaler_Support", 1),
    flag("Resume_Supported", 2),
    flag("Bit_Stim_Supported", 3),
    flag("Timestamp_Supported", 4),
    flag("Pid_Off_Supported", 5),
    bits("Overload", 6, 7, overloadIndications),
};

/// DAQ_KEY_BYTE of GET_DAQ_PROCESSOR_INFO.
inline constexpr FieldRow keyByteBits[] = {
    bits("Daq_Key_Byte__Optimisation", 0, 3, optimisations),
    bits("Daq_Key_Byte__Address_Ext", 4, 5, addressExtensionTypes),
    bits("Daq_Key_Byte__IdentificatType", 6, 7, identificationTypes),
};

/// TRIGGER_INFO of GET_DAQ_CLOCK. Its labels name the programming mode; hosts know them so.
inline constexpr FieldRow clockTriggerBits[] = {
    bits("Comm_Mode_Pgm__Trigger_Initiatior", 0, 2, triggerInitiators),
    bits("Comm_Mode_Pgm__TIME_OF_TS_SAMPLING", 3, 4, samplingTimes),
};

/// COMM_MODE_PGM of PROGRAM_START.
inline constexpr FieldRow programModeFlags[] = {
    flag("Comm_Mode_Pgm__Master_Block_Mode", 0),
    flag("Comm_Mode_Pgm___Interleaved_Mode", 1),
    flag("Comm_Mode_Pgm___Slave_Block_Mode", 6),
};

/// MODE of SET_DAQ_LIST_MODE. The first three all read bit 0, and not the bits 0, 1 and 3 of XCP 1.x.
inline constexpr FieldRow listModeFlags[] = {
    flag("Daq_List_Mode__Alternating", 0), bits("Daq_List_Mode__Direction", 0, 0, directions),
    flag("Daq_List_Mode__Dto_Ctr", 0),     flag("Daq_List_Mode__Timestamp", 4),
    flag("Daq_List_Mode__Pid_Off", 5),
};

/// MODE of SET_CAL_PAGE.
inline constexpr FieldRow pageModeFlags[] = {
    flag("Cal_Page_Mode__Ecu", 0),
    flag("Cal_Page_Mode__Xcp", 1),
    flag("Cal_Page_Mode__All_Seg", 7),
};

}  // namespace trace_view::xcp
