#include "TalvexAnalyse.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

namespace {

using talvex_interface::getCommandName;

const std::map<unsigned, std::string> names{
    {0x01, "CONNECT"},
    {0x02, "SET_MTA"},
    {0xF6, "SET_MTA"},
    {0x03, "DNLOAD"},
    {0x04, "UPLOAD"},
    {0xF5, "UPLOAD"},
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
    {0xE2, "SET_DAQ_PTR"},
    {0x16, "WRITE_DAQ"},
    {0xE1, "WRITE_DAQ"},
    {0x17, "EXCHANGE_ID"},
    {0x18, "PROGRAM"},
    {0xD0, "PROGRAM"},
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
    {0xF7, "UNLOCK"},
    {0xF8, "GET_SEED"},
    {0xF9, "SET_REQUEST"},
    {0xFA, "GET_ID"},
    {0xFB, "GET_COMM_MODE_INFO"},
    {0xFC, "SYNCH"},
    {0xFD, "GET_STATUS"},
};

std::string nameOf(unsigned code, unsigned subCode, bool fromSlave) {
    return getCommandName(static_cast<std::uint8_t>(code), static_cast<std::uint8_t>(subCode), fromSlave);
}

TEST(CommandName, OfEveryCodeButC0IsItsRowOrTheUnknownFormWhateverTheSubCode) {
    ASSERT_EQ(names.size(), 83U);
    for (unsigned code = 0; code < 256; ++code) {
        if (code == 0xC0) {
            continue;
        }
        const auto known = names.find(code);
        const std::string expected =
            known != names.end() ? known->second : "UNKNOWN_PID (0x" + std::to_string(code) + ")";
        for (const unsigned subCode : {0U, 1U, 0xFCU, 0xFFU}) {
            EXPECT_EQ(nameOf(code, subCode, false), expected);
        }
    }
}

TEST(CommandName, OfFramesFromTheSlaveIsDaqBelowFb) {
    for (unsigned code = 0; code < 256; ++code) {
        const std::string expected = code < 0xFB ? "DAQ" : "UNKNOWN_PID (0x" + std::to_string(code) + ")";
        EXPECT_EQ(nameOf(code, 0, true), expected);
        EXPECT_EQ(nameOf(code, 1, true), expected);
    }
}

TEST(CommandName, OfC0IsChosenByTheSubCode) {
    const std::map<unsigned, std::string> subNames{{0x00, "GET_VERSION"},
                                                   {0x01, "SET_DAQ_PACKED_MODE"},
                                                   {0x02, "GET_DAQ_PACKED_MODE"},
                                                   {0xFC, "XCP AS SW-DBG-over-XCP4"},
                                                   {0xFD, " POD BS4"}};
    for (unsigned subCode = 0; subCode < 256; ++subCode) {
        const auto known = subNames.find(subCode);
        EXPECT_EQ(nameOf(0xC0, subCode, false), known != subNames.end() ? known->second : "");
    }
}

TEST(CommandName, OfConnectAndDisconnectOfXcpIsUnknownWithDecimalDigits) {
    EXPECT_EQ(getCommandName(0xFF, 0, false), "UNKNOWN_PID (0x255)");
    EXPECT_EQ(getCommandName(0xFE, 0, false), "UNKNOWN_PID (0x254)");
    EXPECT_EQ(getCommandName(0x00, 0, false), "UNKNOWN_PID (0x0)");
}

TEST(CommandName, OfSeedAndKeyOfCcpIsUnknownBecauseBothProtocolsShareTheTable) {
    EXPECT_EQ(getCommandName(0x12, 0, false), "UNKNOWN_PID (0x18)");
    EXPECT_EQ(getCommandName(0x13, 0, false), "UNKNOWN_PID (0x19)");
}

TEST(CommandName, OfAnUnknownSubCodeIsEmpty) {
    EXPECT_EQ(getCommandName(0xC0, 3, false), "");
}

TEST(CommandName, OfACommandCodeFromTheSlaveIsDaq) {
    EXPECT_EQ(getCommandName(0x10, 0, true), "DAQ");
    EXPECT_EQ(getCommandName(0xC0, 0, true), "DAQ");
}

}  // namespace
