#include "decode/CommandName.h"

#include "decode/ValueText.h"

#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace trace_view {

namespace {

struct NameRow {
    std::uint8_t code;
    std::string_view name;
};

// One table for both protocols, so a few codes have no name: 0xFE and 0xFF of XCP and the seed and key
// commands 0x12 and 0x13 of CCP. Hosts that want those take the titles of analysed frames.
constexpr NameRow names[] = {
    {0x01, "CONNECT"},
    {0x02, "SET_MTA"},
    {0x03, "DNLOAD"},
    {0x04, "UPLOAD"},
    {0x05, "TEST"},
    {0x06, "START_STOP"},
    {0x07, "DISCONNECT"},
    {0x08, "START_STOP_ALL"},
    {0x09, "GET_ACTIVE_CAL_PAGE"},
    {0x0C, "SET_S_STATUS"},
    {0x0D, "GET_S_STATUS"},
    {0x0E, "BUILD_CHKSUM"},
    {0x0F, "SHORT_UP"},
    {0x10, "CLEAR_MEMORY"},
    {0x11, "SELECT_CAL_PAGE"},
    {0x14, "GET_DAQ_SIZE"},
    {0x15, "SET_DAQ_PTR"},
    {0x16, "WRITE_DAQ"},
    {0x17, "EXCHANGE_ID"},
    {0x18, "PROGRAM"},
    {0x19, "MOVE"},
    {0x1B, "GET_CCP_VERSION"},
    {0x20, "DIAG_SERVICE"},
    {0x21, "ACTION_SERVICE"},
    {0x22, "PROGRAM_6"},
    {0x23, "DNLOAD_6"},

    {0xC5, "DTO_CTR_PROPERTIES"},
    {0xC6, "TIME_CORRELATION_PROPERTIES"},
    {0xC7, "WRITE_DAQ_MULTIPLE"},
    {0xC8, "PROGRAM_VERIFY"},
    {0xC9, "PROGRAM_MAX"},
    {0xCA, "PROGRAM_NEXT"},
    {0xCB, "PROGRAM_FORMAT"},
    {0xCC, "PROGRAM_PREPARE"},
    {0xCD, "GET_SECTOR_INFO"},
    {0xCE, "GET_PGM_PROCESSOR_INFO"},
    {0xCF, "PROGRAM_RESET"},
    {0xD0, "PROGRAM"},
    {0xD1, "PROGRAM_CLEAR"},
    {0xD2, "PROGRAM_START"},
    {0xD3, "ALLOC_ODT_ENTRY"},
    {0xD4, "ALLOC_ODT"},
    {0xD5, "ALLOC_DAQ"},
    {0xD6, "FREE_DAQ"},
    {0xD7, "GET_DAQ_EVENT_INFO"},
    {0xD8, "GET_DAQ_LIST_INFO"},
    {0xD9, "GET_DAQ_RESOLUTION_INFO"},
    {0xDA, "GET_DAQ_PROCESSOR_INFO"},
    {0xDB, "READ_DAQ"},
    {0xDC, "GET_DAQ_CLOCK"},
    {0xDD, "START_STOP_SYNCH"},
    {0xDE, "START_STOP_DAQ_LIST"},
    {0xDF, "GET_DAQ_LIST_MODE"},
    {0xE0, "SET_DAQ_LIST_MODE"},
    {0xE1, "WRITE_DAQ"},
    {0xE2, "SET_DAQ_PTR"},
    {0xE3, "CLEAR_DAQ_LIST"},
    {0xE4, "COPY_CAL_PAGE"},
    {0xE5, "GET_SEGMENT_MODE"},
    {0xE6, "SET_SEGMENT_MODE"},
    {0xE7, "GET_PAGE_INFO"},
    {0xE8, "GET_SEGMENT_INFO"},
    {0xE9, "GET_PAG_PROCESSOR_INFO"},
    {0xEA, "GET_CAL_PAGE"},
    {0xEB, "SET_CAL_PAGE"},
    {0xEC, "MODIFY_BITS"},
    {0xED, "SHORT_DOWNLOAD"},
    {0xEE, "DOWNLOAD_MAX"},
    {0xEF, "DOWNLOAD_NEXT"},
    {0xF0, "DOWNLOAD"},
    {0xF1, "USER_CMD"},
    {0xF2, "TRANSPORT_LAYER_CMD"},
    {0xF3, "BUILD_CHECKSUM"},
    {0xF4, "SHORT_UPLOAD"},
    {0xF5, "UPLOAD"},
    {0xF6, "SET_MTA"},
    {0xF7, "UNLOCK"},
    {0xF8, "GET_SEED"},
    {0xF9, "SET_REQUEST"},
    {0xFA, "GET_ID"},
    {0xFB, "GET_COMM_MODE_INFO"},
    {0xFC, "SYNCH"},
    {0xFD, "GET_STATUS"},
};

// By the second byte of code 0xC0. The last name begins with a blank; hosts compare it so.
constexpr NameRow subNames[] = {
    {0x00, "GET_VERSION"},
    {0x01, "SET_DAQ_PACKED_MODE"},
    {0x02, "GET_DAQ_PACKED_MODE"},
    {0xFC, "XCP AS SW-DBG-over-XCP4"},
    {0xFD, " POD BS4"},
};

static_assert(std::size(names) == 83);
static_assert(std::size(subNames) == 5);

constexpr std::uint8_t subCommandCode = 0xC0;
constexpr std::uint8_t lowestAnswerPid = 0xFB;  ///< below it, what an ECU sends by itself is DAQ

using NameIndex = std::array<std::string_view, 256>;

template <std::size_t N>
constexpr NameIndex indexOf(const NameRow (&rows)[N]) {
    NameIndex index{};
    for (const NameRow& row : rows) {
        if (!index[row.code].empty()) {
            throw "a code stands twice";
        }
        index[row.code] = row.name;
    }
    return index;
}

constexpr NameIndex nameIndex = indexOf(names);
constexpr NameIndex subNameIndex = indexOf(subNames);

/// The digits are decimal behind a hexadecimal prefix. Hosts have this text in their filters.
std::string unknownName(std::uint8_t code) {
    return "UNKNOWN_PID (0x" + decText(code) + ")";
}

std::string nameOrUnknown(std::string_view name, std::uint8_t code) {
    if (name.empty()) {
        return unknownName(code);
    }
    return std::string(name);
}

}  // namespace

std::string commandName(std::uint8_t code, std::uint8_t subCode, bool fromSlave) {
    if (fromSlave) {
        return nameOrUnknown(code < lowestAnswerPid ? "DAQ" : "", code);
    }
    if (code == subCommandCode) {
        return std::string(subNameIndex[subCode]);
    }
    return nameOrUnknown(nameIndex[code], code);
}

}  // namespace trace_view
