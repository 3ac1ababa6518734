#include "TalvexAnalyse.h"
#include "tests/decode/DecodeTesting.h"

#include <functional>

namespace {

using namespace decode_testing;

using Texts = std::vector<std::string>;

/// Some bits of a byte and their texts from 0; values behind the last text show an empty one.
struct Bits {
    std::string label;
    unsigned first;
    unsigned last;
    Texts texts;
};

const Texts plain{"false", "true"};
const Texts capital{"False", "True"};
const Texts units{"ns",   "10ns",  "100ns", "us", "10us", "100us", "ms",
                  "10ms", "100ms", "s",     "ps", "10ps", "100ps"};

using Analyser = std::function<std::vector<mcDecodeField>(const msgBuf&)>;

/// A group of bits: who shows it, in which byte, with how many fields ahead of it.
struct Group {
    std::string name;
    Analyser analyse;
    std::size_t byte;
    std::size_t ahead;
    std::vector<Bits> bits;
};

Analyser ccpSent(unsigned code) {
    return [code](msgBuf msg) {
        msg.data[0] = byteOf(code);
        return talvex_interface::ccpSendMsgAnalyse(msg, true);
    };
}

Analyser ccpReceived(unsigned lastCmd) {
    return [lastCmd](const msgBuf& msg) {
        return talvex_interface::ccpRecvMsgAnalyse(byteOf(lastCmd), msg, true);
    };
}

Analyser xcpSent(unsigned code) {
    return [code](msgBuf msg) {
        msg.data[0] = byteOf(code);
        return talvex_interface::xcpSendMsgAnalyse(msg, true);
    };
}

Analyser xcpReceived(unsigned lastCmd) {
    return [lastCmd](const msgBuf& msg) {
        return talvex_interface::xcpRecvMsgAnalyse(byteOf(lastCmd), msg, true);
    };
}

Fields expectedFields(const Group& group, unsigned value) {
    Fields fields;
    for (const Bits& bits : group.bits) {
        const unsigned number = (value >> bits.first) % (1U << (bits.last - bits.first + 1));
        fields.push_back({bits.label, number < bits.texts.size() ? bits.texts[number] : "", number, false});
    }
    return fields;
}

/// Shows all 256 values of the group's byte; all other bytes are 0, byte 0 is 0xFF.
void expectEveryValue(const Group& group) {
    for (unsigned value = 0; value < 256; ++value) {
        SCOPED_TRACE(group.name + " " + std::to_string(value));
        msgBuf msg = frame("ff 00 00 00 00 00 00 00");
        msg.data[group.byte] = byteOf(value);
        const Fields all = shown(group.analyse(msg));
        ASSERT_GE(all.size(), group.ahead + group.bits.size());
        const auto begin = all.begin() + static_cast<std::ptrdiff_t>(group.ahead);
        EXPECT_EQ(Fields(begin, begin + static_cast<std::ptrdiff_t>(group.bits.size())),
                  expectedFields(group, value));
    }
}

const std::vector<Bits> ccpResource{{"Available_Resource__Cal", 0, 0, plain},
                                    {"Available_Resource__Daq", 1, 1, plain},
                                    {"Available_Resource__Pgm", 6, 6, plain}};
const std::vector<Bits> ccpProtection{{"Protect_Mask__Cal", 0, 0, plain},
                                      {"Protect_Mask__Daq", 1, 1, plain},
                                      {"Protect_Mask__Pgm", 6, 6, plain}};
const std::vector<Bits> ccpSession{{"Session_Status__Cal", 0, 0, plain},
                                   {"Session_Status__Daq", 1, 1, plain},
                                   {"Session_Status__Resume", 2, 2, plain},
                                   {"Session_Status__Store", 6, 6, plain},
                                   {"Session_Status__Run", 7, 7, plain}};
const std::vector<Bits> xcpResource{{"Resource_Protect_Status__Cal_Pag", 0, 0, plain},
                                    {"Resource_Protect_Status__Daq", 2, 2, plain},
                                    {"Resource_Protect_Status__Stim", 3, 3, plain},
                                    {"Resource_Protect_Status__Pgm", 4, 4, plain},
                                    {"Resource_Protect_Status__Dbg", 5, 5, plain}};

TEST(CcpFlagGroups, ResourceFlagsStandInExchangeId) {
    expectEveryValue({"EXCHANGE_ID", ccpReceived(0x17), 5, 2, ccpResource});
}

TEST(CcpFlagGroups, ProtectionFlagsStandInGetSeedAndRepeatTheResourceByteInExchangeId) {
    expectEveryValue({"GET_SEED", ccpSent(0x12), 2, 0, ccpProtection});
    expectEveryValue({"EXCHANGE_ID", ccpReceived(0x17), 5, 5, ccpProtection});
}

TEST(CcpFlagGroups, SessionStatusFlagsStandInSetAndGetSessionStatus) {
    expectEveryValue({"SET_S_STATUS", ccpSent(0x0C), 2, 0, ccpSession});
    expectEveryValue({"GET_S_STATUS", ccpReceived(0x0D), 3, 0, ccpSession});
}

TEST(XcpFlagGroups, ResourceFlagsStandInFourFrames) {
    expectEveryValue({"GET_SEED", xcpSent(0xF8), 2, 1, xcpResource});
    expectEveryValue({"CONNECT", xcpReceived(0xFF), 1, 1, xcpResource});
    expectEveryValue({"GET_STATUS", xcpReceived(0xFD), 2, 6, xcpResource});
    expectEveryValue({"UNLOCK", xcpReceived(0xF7), 1, 0, xcpResource});
}

TEST(XcpFlagGroups, BasicModeFlagsShowTheGranularityInBytes) {
    expectEveryValue({"CONNECT",
                      xcpReceived(0xFF),
                      2,
                      7,
                      {{"Connect_Comm_Mode_Basic__Optional", 7, 7, plain},
                       {"Connect_Comm_Mode_Basic__Slave_Block_Mode", 6, 6, plain},
                       {"Connect_Comm_Mode_Basic__Address_Granularity", 1, 2, {"1", "2", "4"}},
                       {"Connect_Comm_Mode_Basic__Byte_Order", 0, 0, {"Motorola", "Intel"}}}});
}

TEST(XcpFlagGroups, OptionalModeFlags) {
    expectEveryValue({"GET_COMM_MODE_INFO",
                      xcpReceived(0xFB),
                      2,
                      0,
                      {{"Master_Block_Mode", 0, 0, plain}, {"Interleaved_Mode", 1, 1, plain}}});
}

TEST(XcpFlagGroups, SessionFlagsReadResumeFromBitSixAndRunningFromBitFive) {
    expectEveryValue({"GET_STATUS",
                      xcpReceived(0xFD),
                      1,
                      0,
                      {{"Session_Resume", 6, 6, plain},
                       {"Session_Daq_Running", 5, 5, plain},
                       {"Session_Cal_Pag_Cfg_Lost", 1, 1, plain},
                       {"Session_Clear_Daq_Req", 3, 3, plain},
                       {"Session_Store_Daq_Req", 2, 2, plain},
                       {"Session_Store_Cal_Req", 0, 0, plain}}});
}

TEST(XcpFlagGroups, EventFlagsAreCapital) {
    expectEveryValue(
        {"GET_DAQ_EVENT_INFO",
         xcpReceived(0xD7),
         1,
         0,
         {{"Event_Properties Daq", 2, 2, capital},
          {"Event_Properties Stim", 3, 3, capital},
          {"Event_Properties Packed", 4, 4, capital},
          {"Event_Properties Consistency", 6, 7, {"Odt_Rank", "Daq_Rank", "Event_Rank", "None"}}}});
}

TEST(XcpFlagGroups, TimeUnitOfAnEventIsTheLowNibble) {
    expectEveryValue({"GET_DAQ_EVENT_INFO", xcpReceived(0xD7), 5, 4, {{"Time_Unit", 0, 3, units}}});
}

TEST(XcpFlagGroups, TimestampShowsItsUnitFromTheHighNibbleFirst) {
    expectEveryValue({"GET_DAQ_RESOLUTION_INFO",
                      xcpReceived(0xD9),
                      5,
                      0,
                      {{"Time_Unit", 4, 7, units},
                       {"Timestamp_Size", 0, 2, {"1", "2", "4"}},
                       {"Timestamp_Fixed", 3, 3, capital}}});
}

TEST(XcpFlagGroups, ProcessorFlagsNameTheKindOfConfiguration) {
    expectEveryValue(
        {"GET_DAQ_PROCESSOR_INFO",
         xcpReceived(0xDA),
         1,
         0,
         {{"Daq_Config_Type", 0, 0, {"static", "dynamic"}},
          {"Prescaler_Support", 1, 1, plain},
          {"Resume_Supported", 2, 2, plain},
          {"Bit_Stim_Supported", 3, 3, plain},
          {"Timestamp_Supported", 4, 4, plain},
          {"Pid_Off_Supported", 5, 5, plain},
          {"Overload", 6, 7, {"No Overload Indication", "Event Overload", "PID Overload", "Not Allowed"}}}});
}

TEST(XcpFlagGroups, KeyByteRepeatsTheOdtTypesWithBitThreeSet) {
    expectEveryValue(
        {"GET_DAQ_PROCESSOR_INFO",
         xcpReceived(0xDA),
         7,
         10,
         {{"Daq_Key_Byte__Optimisation",
           0,
           3,
           {"Om_Default", "Om_Odt_Type_16", "Om_Odt_Type_32", "Om_Odt_Type_64", "Om_Odt_Type_Alignment",
            "Om_Max_Entry_Size", "", "", "Om_Odt_Type_16", "Om_Odt_Type_32", "Om_Odt_Type_64"}},
          {"Daq_Key_Byte__Address_Ext",
           4,
           5,
           {"Odt Address_Ext Different", "Odt Address_Ext Same", "Daq Address_Ext Same",
            "Daq Address_Ext Same"}},
          {"Daq_Key_Byte__IdentificatType",
           6,
           7,
           {"Absolute Odt_Num", "Absolute Daq_Num_Byte Relative Odt_Num",
            "Absolute Daq_Num_Word Relative Odt_Num", "Absolute Daq_Num_Word_aligned Relative Odt_Num"}}}});
}

TEST(XcpFlagGroups, ClockTriggerIsLabelledAsProgrammingMode) {
    expectEveryValue(
        {"GET_DAQ_CLOCK",
         xcpReceived(0xDC),
         2,
         0,
         {{"Comm_Mode_Pgm__Trigger_Initiatior",
           0,
           2,
           {"HW trigger", "Event derived time synchronization", "Get_Daq_Clock_Multicast",
            "Get_Daq_Clock_Multicast via Time Sync Bridge",
            "State change in syntonization/synchronization to grandmaster clock",
            "Leap second occurred on grandmaster clock", "release of ECU reset", "reserved"}},
          {"Comm_Mode_Pgm__TIME_OF_TS_SAMPLING",
           3,
           4,
           {"during command processing at the protocol layer command processor",
            "low jitter, measured in high-priority interrupt", "upon physical transmission to XCP master",
            "upon physical reception of command"}}}});
}

TEST(XcpFlagGroups, ProgramModeFlagsMixTwoAndThreeUnderscores) {
    expectEveryValue({"PROGRAM_START",
                      xcpReceived(0xD2),
                      2,
                      0,
                      {{"Comm_Mode_Pgm__Master_Block_Mode", 0, 0, plain},
                       {"Comm_Mode_Pgm___Interleaved_Mode", 1, 1, plain},
                       {"Comm_Mode_Pgm___Slave_Block_Mode", 6, 6, plain}}});
}

TEST(XcpFlagGroups, AlternatingDirectionAndCounterOfAListAllReadBitZero) {
    expectEveryValue({"SET_DAQ_LIST_MODE",
                      xcpSent(0xE0),
                      1,
                      0,
                      {{"Daq_List_Mode__Alternating", 0, 0, plain},
                       {"Daq_List_Mode__Direction", 0, 0, {"DAQ", "STIM"}},
                       {"Daq_List_Mode__Dto_Ctr", 0, 0, plain},
                       {"Daq_List_Mode__Timestamp", 4, 4, plain},
                       {"Daq_List_Mode__Pid_Off", 5, 5, plain}}});
}

TEST(XcpFlagGroups, PageModeFlagsFollowSegmentAndPage) {
    expectEveryValue({"SET_CAL_PAGE",
                      xcpSent(0xEB),
                      1,
                      2,
                      {{"Cal_Page_Mode__Ecu", 0, 0, plain},
                       {"Cal_Page_Mode__Xcp", 1, 1, plain},
                       {"Cal_Page_Mode__All_Seg", 7, 7, plain}}});
}

}  // namespace
