#include "tests/decode/XcpRows.h"

namespace decode_testing {

namespace {

const Fields resourcesCalStimDbg{
    {"Resource_Protect_Status__Cal_Pag", "true", 1, false},
    {"Resource_Protect_Status__Daq", "false", 0, false},
    {"Resource_Protect_Status__Stim", "true", 1, false},
    {"Resource_Protect_Status__Pgm", "false", 0, false},
    {"Resource_Protect_Status__Dbg", "true", 1, false},
};

/// CONNECT with RESOURCE 0x29 and COMM_MODE_BASIC 0xC5.
Fields connectFields(const Field& maxDto) {
    return joined(joined({{"Resource_Status", "41", 41, true}}, resourcesCalStimDbg),
                  {{"Comm_Mode", "197", 197, true},
                   {"Connect_Comm_Mode_Basic__Optional", "true", 1, false},
                   {"Connect_Comm_Mode_Basic__Slave_Block_Mode", "true", 1, false},
                   {"Connect_Comm_Mode_Basic__Address_Granularity", "4", 2, false},
                   {"Connect_Comm_Mode_Basic__Byte_Order", "Intel", 1, false},
                   {"Max_Cto", "8", 8, true},
                   maxDto,
                   {"Protocol_Version", "0x1A", 26, true},
                   {"Transport_Version", "0x1", 1, true}});
}

/// GET_STATUS with session status 0x2A and protection 0x29.
Fields statusFields(const Field& configurationId) {
    const Fields session{
        {"Session_Resume", "false", 0, false},          {"Session_Daq_Running", "true", 1, false},
        {"Session_Cal_Pag_Cfg_Lost", "true", 1, false}, {"Session_Clear_Daq_Req", "true", 1, false},
        {"Session_Store_Daq_Req", "false", 0, false},   {"Session_Store_Cal_Req", "false", 0, false}};
    return joined(joined(session, resourcesCalStimDbg), {configurationId});
}

/// GET_DAQ_LIST_MODE with mode 0x1F, prescaler 12, priority 13.
Fields listModeFields(const Field& event) {
    return {{"Cur_mode", "0x1F", 0x1F, true},
            event,
            {"Cur_Prescaler", "12", 12, true},
            {"Cur_Priority", "13", 13, true}};
}

/// GET_DAQ_CLOCK with trigger info 0x0B and payload format 0x1C.
Fields clockFields(const Field& timestamp) {
    return {
        {"Comm_Mode_Pgm__Trigger_Initiatior", "Get_Daq_Clock_Multicast via Time Sync Bridge", 3, false},
        {"Comm_Mode_Pgm__TIME_OF_TS_SAMPLING", "low jitter, measured in high-priority interrupt", 1, false},
        {"Payload_Fmt", "0x1C", 0x1C, true},
        timestamp};
}

/// GET_DAQ_PROCESSOR_INFO with properties 0x55 and key byte 0x50.
Fields processorFields(const Field& maxDaq) {
    return {{"Daq_Config_Type", "dynamic", 1, false},
            {"Prescaler_Support", "false", 0, false},
            {"Resume_Supported", "true", 1, false},
            {"Bit_Stim_Supported", "false", 0, false},
            {"Timestamp_Supported", "true", 1, false},
            {"Pid_Off_Supported", "false", 0, false},
            {"Overload", "Event Overload", 1, false},
            maxDaq,
            {"Max_Event_Channel", "772", 772, true},
            {"Min_Daq", "12", 12, true},
            {"Daq_Key_Byte__Optimisation", "Om_Default", 0, false},
            {"Daq_Key_Byte__Address_Ext", "Odt Address_Ext Same", 1, false},
            {"Daq_Key_Byte__IdentificatType", "Absolute Daq_Num_Byte Relative Odt_Num", 1, false}};
}

}  // namespace

const std::vector<Row>& xcpResponseRows() {
    static const std::vector<Row> rows{
        {0xFF, "CONNECT", "ff 29 c5 08 02 01 1a 01", connectFields({"Max_Dto", "258", 258, true}),
         connectFields({"Max_Dto", "513", 513, true})},
        {0xFE, "DISCONNECT", "ff", {}},
        {0xFD, "GET_STATUS", "ff 2a 29 00 02 01", statusFields({"Session_Cfg_Id", "258", 258, true}),
         statusFields({"Session_Cfg_Id", "513", 513, true})},
        {0xFC, "SYNCH", "ff 00", {{"Error_Code", "Command processor synchronization.", 0, true}}},
        {0xFB,
         "GET_COMM_MODE_INFO",
         "ff 00 02 00 0a 0b 0c 1d",
         {{"Master_Block_Mode", "false", 0, false},
          {"Interleaved_Mode", "true", 1, false},
          {"Max_Bs", "10", 10, true},
          {"Min_St", "11", 11, true},
          {"Queue_Size", "12", 12, true},
          {"Driver_Version", "0x1D", 0x1D, true}}},
        {0xF8, "GET_SEED", "ff 0c aa bb", {{"Seed_Len", "12", 12, true}}},
        {0xF7, "UNLOCK", "ff 29", resourcesCalStimDbg},
        {0xF6, "SET_MTA", "ff", {}},
        {0xF5, "UPLOAD", "ff 11 22 33 44", {{"size", "5", 5, true}}},
        {0xF3,
         "BUILD_CHECKSUM",
         "ff 01 00 00 a4 b3 c2 d1",
         {{"Checksum_Type", "0x1", 1, true}, {"Checksum", "0xD1C2B3A4", 0xD1C2B3A4, true}},
         Fields{{"Checksum_Type", "0x1", 1, true}, {"Checksum", "0xA4B3C2D1", 0xA4B3C2D1, true}}},
        {0xF1, "USER", "ff", {}},
        {0xF0, "DOWNLOAD", "ff", {}},
        {0xED, "SHORT_DOWNLOAD", "ff", {}},
        {0xEB, "SET_CAL_PAGE", "ff", {}},
        {0xEA, "GET_CAL_PAGE", "ff 01 02 0c", {{"Page_Number", "12", 12, true}}},
        {0xE4, "COPY_CAL_PAGE", "ff", {}},
        {0xE3, "CLEAR_DAQ_LIST", "ff", {}},
        {0xE2, "SET_DAQ_PTR", "ff", {}},
        {0xE1, "WRITE_DAQ", "ff", {}},
        {0xE0, "SET_DAQ_LIST_MODE", "ff", {}},
        {0xDF, "GET_DAQ_LIST_MODE", "ff 1f 00 00 02 01 0c 0d",
         listModeFields({"Cur_Event_Num", "258", 258, true}),
         listModeFields({"Cur_Event_Num", "513", 513, true})},
        {0xDE, "START_STOP_DAQ_LIST", "ff 05", {}},
        {0xDD, "START_STOP_SYNCH", "ff", {}},
        {0xDC, "GET_DAQ_CLOCK", "ff 00 0b 1c 02 01 00 00", clockFields({"Timestamp", "258", 258, true}),
         clockFields({"Timestamp", "33619968", 33619968, true})},
        {0xDA, "GET_DAQ_PROCESSOR_INFO", "ff 55 02 01 04 03 0c 50",
         processorFields({"Max_Daq", "258", 258, true}), processorFields({"Max_Daq", "513", 513, true})},
        {0xD9,
         "GET_DAQ_RESOLUTION_INFO",
         "ff 01 06 02 07 3a 02 01",
         {{"Time_Unit", "us", 3, false},
          {"Timestamp_Size", "4", 2, false},
          {"Timestamp_Fixed", "True", 1, false},
          {"Granularity_Odt_Entry_Size_Daq", "1", 1, true},
          {"Max_Odt_Entry_Size_Daq", "6", 6, true},
          {"Granularity_Odt_Entry_Size_Stim", "2", 2, true},
          {"Max_Odt_Entry_Size_Stim", "7", 7, true},
          {"Timestamp_Ticks", "258", 258, true}}},
        {0xD8, "GET_DAQ_LIST_INFO", "ff 00 01 02", {}},
        {0xD7,
         "GET_DAQ_EVENT_INFO",
         "ff 94 0a 0b 0c 06 0d",
         {{"Event_Properties Daq", "True", 1, false},
          {"Event_Properties Stim", "False", 0, false},
          {"Event_Properties Packed", "True", 1, false},
          {"Event_Properties Consistency", "Event_Rank", 2, false},
          {"Time_Unit", "ms", 6, false},
          {"Max_Daq_List", "10", 10, true},
          {"Event_Name_length", "11", 11, true},
          {"Event_Time_Cyc", "12", 12, true},
          {"Event_Priority", "13", 13, true}}},
        {0xD6, "FREE_DAQ", "ff", {}},
        {0xD5, "ALLOC_DAQ", "ff", {}},
        {0xD4, "ALLOC_ODT", "ff", {}},
        {0xD3, "ALLOC_ODT_ENTRY", "ff", {}},
        {0xD2,
         "PROGRAM_START",
         "ff 00 41 0a 0b 0c 0d",
         {{"Comm_Mode_Pgm__Master_Block_Mode", "true", 1, false},
          {"Comm_Mode_Pgm___Interleaved_Mode", "false", 0, false},
          {"Comm_Mode_Pgm___Slave_Block_Mode", "true", 1, false},
          {"Max_Cto_Pgm", "10", 10, true},
          {"Max_Bs_Pgm", "11", 11, true},
          {"Min_St_Pgm", "12", 12, true},
          {"Queue_Size_Pgm", "13", 13, true}}},
        {0xD1, "PROGRAM_CLEAR", "ff", {}},
        {0xD0, "PROGRAM", "ff", {}},
        {0xCF, "PROGRAM_RESET", "ff", {}},
        {0xC8, "PROGRAM_VERIFY", "ff", {}},
    };
    return rows;
}

}  // namespace decode_testing
