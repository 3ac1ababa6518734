#include "decode/XcpTables.h"

namespace trace_view::xcp {

namespace {

constexpr FieldRow resumeMode[] = {hex16("Session Id", 2), hex32("Timestamp", 4)};
constexpr FieldRow timeSync[] = {hex32("Timestamp", 4)};

// All three show byte 2, which also chooses the label of the last. Hosts match the three together.
constexpr TextTable stimNumberLabels{.texts = {"Event Channel Num", "DAQ List Num"}, .otherwise = "Num"};
constexpr FieldRow stimTimeout[] = {
    hex8("Type", 2),
    hex8("Fail_Type", 2),
    hex8("", 2).labelledBy(stimNumberLabels),
};

constexpr FieldRow stateChange[] = {hex8("State_Num", 2)};

constexpr FrameRow events[] = {
    {0x00, "EV_RESUME_MODE", resumeMode},
    {0x01, "EV_CLEAR_DAQ"},
    {0x02, "EV_STORE_DAQ"},
    {0x03, "EV_STORE_CAL"},
    {0x05, "EV_CMD_PENDING"},
    {0x06, "EV_DAQ_OVERLOAD"},
    {0x07, "EV_SESSION_TERMINATED"},
    {0x08, "EV_TIME_SYNC", timeSync},
    {0x09, "EV_STIM_TIMEOUT", stimTimeout},
    {0x0A, "EV_SLEEP"},
    {0x0B, "EV_WAKE_UP"},
    {0x0C, "EV_ECU_STATE_CHANGE", stateChange},
    {0xFC, "EV_DBG"},
    {0xFD, "EV_POD"},
    {0xFE, "EV_USER"},
    {0xFF, "EV_TRANSPORT"},
};

}  // namespace

constinit const FrameTable eventTable(events, "Unknow Cmd");

}  // namespace trace_view::xcp
