#include "tests/decode/XcpRows.h"

namespace decode_testing {

const std::vector<Row>& xcpEventRows() {
    static const std::vector<Row> rows{
        {0x00,
         "EV_RESUME_MODE",
         "fd 00 0a 01 a4 b3 c2 d1",
         {{"Session Id", "0x10A", 0x10A, true}, {"Timestamp", "0xD1C2B3A4", 0xD1C2B3A4, true}},
         Fields{{"Session Id", "0xA01", 0xA01, true}, {"Timestamp", "0xA4B3C2D1", 0xA4B3C2D1, true}}},
        {0x01, "EV_CLEAR_DAQ", "fd 01", {}},
        {0x02, "EV_STORE_DAQ", "fd 02", {}},
        {0x03, "EV_STORE_CAL", "fd 03", {}},
        {0x05, "EV_CMD_PENDING", "fd 05", {}},
        {0x06, "EV_DAQ_OVERLOAD", "fd 06", {}},
        {0x07, "EV_SESSION_TERMINATED", "fd 07", {}},
        {0x08,
         "EV_TIME_SYNC",
         "fd 08 00 00 a4 b3 c2 d1",
         {{"Timestamp", "0xD1C2B3A4", 0xD1C2B3A4, true}},
         Fields{{"Timestamp", "0xA4B3C2D1", 0xA4B3C2D1, true}}},
        {0x09,
         "EV_STIM_TIMEOUT",
         "fd 09 00 0a 0b 0c",
         {{"Type", "0x0", 0, true}, {"Fail_Type", "0x0", 0, true}, {"Event Channel Num", "0x0", 0, true}}},
        {0x0A, "EV_SLEEP", "fd 0a", {}},
        {0x0B, "EV_WAKE_UP", "fd 0b", {}},
        {0x0C, "EV_ECU_STATE_CHANGE", "fd 0c 1f", {{"State_Num", "0x1F", 0x1F, true}}},
        {0xFC, "EV_DBG", "fd fc", {}},
        {0xFD, "EV_POD", "fd fd", {}},
        {0xFE, "EV_USER", "fd fe", {}},
        {0xFF, "EV_TRANSPORT", "fd ff", {}},
    };
    return rows;
}

}  // namespace decode_testing
