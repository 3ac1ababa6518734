// The commands that a simulated CCP ECU knows.
#include "sim/CcpEcu.h"

#include <stdexcept>
#include <utility>

namespace sim {

std::span<const CcpEcu::CommandRow> CcpEcu::commandRows() {
    using E = CcpEcu;
    static constexpr std::uint8_t kNone = 0;
    // code, name, least length, optional, resource, handler
    static constexpr CommandRow kRows[] = {
        {ccp::kConnect, "CONNECT", 4, false, kNone, &E::onConnect},
        {0x1B, "GET_CCP_VERSION", 4, false, kNone, &E::onGetCcpVersion},
        {0x17, "EXCHANGE_ID", 2, false, kNone, &E::onExchangeId},
        {0x12, "GET_SEED", 3, true, kNone, &E::onGetSeed},
        {0x13, "UNLOCK", 3, true, kNone, &E::onUnlock},
        {0x02, "SET_MTA", 8, false, kNone, &E::onSetMta},
        {0x03, "DNLOAD", 3, false, ccp::kCal, &E::onDnload},
        {0x23, "DNLOAD_6", 8, true, ccp::kCal, &E::onDnload6},
        {0x04, "UPLOAD", 3, false, kNone, &E::onUpload},
        {0x0F, "SHORT_UP", 8, true, kNone, &E::onShortUp},
        {0x11, "SELECT_CAL_PAGE", 2, true, ccp::kCal, &E::onSelectCalPage},
        {0x14, "GET_DAQ_SIZE", 8, false, ccp::kDaq, &E::onGetDaqSize},
        {0x15, "SET_DAQ_PTR", 5, false, ccp::kDaq, &E::onSetDaqPtr},
        {0x16, "WRITE_DAQ", 8, false, ccp::kDaq, &E::onWriteDaq},
        {0x06, "START_STOP", 8, false, ccp::kDaq, &E::onStartStop},
        {0x07, "DISCONNECT", 6, false, kNone, &E::onDisconnect},
        {0x0C, "SET_S_STATUS", 3, true, kNone, &E::onSetSStatus},
        {0x0D, "GET_S_STATUS", 2, true, kNone, &E::onGetSStatus},
        {0x0E, "BUILD_CHKSUM", 6, true, kNone, &E::onBuildChksum},
        {0x10, "CLEAR_MEMORY", 6, true, ccp::kPgm, &E::onClearMemory},
        {0x18, "PROGRAM", 3, true, ccp::kPgm, &E::onProgram},
        {0x22, "PROGRAM_6", 8, true, ccp::kPgm, &E::onProgram6},
        {0x19, "MOVE", 6, true, ccp::kCal, &E::onMove},
        {0x20, "DIAG_SERVICE", 4, true, kNone, &E::onDiagService},
        {0x21, "ACTION_SERVICE", 4, true, kNone, &E::onActionService},
        {ccp::kTest, "TEST", 4, true, kNone, &E::onTest},
        {0x08, "START_STOP_ALL", 3, true, ccp::kDaq, &E::onStartStopAll},
        {0x09, "GET_ACTIVE_CAL_PAGE", 2, true, ccp::kCal, &E::onGetActiveCalPage},
    };
    return kRows;
}

const CcpEcu::CommandRow* CcpEcu::findRow(std::uint8_t code) {
    for (const CommandRow& row : commandRows()) {
        if (row.code == code) {
            return &row;
        }
    }
    return nullptr;
}

/// The config as it came, if an ECU can be like this; called ahead of everything made from it.
CcpEcuConfig CcpEcu::checked(CcpEcuConfig config) {
    config.check();
    for (const std::uint8_t code : config.missingCommands) {
        const CommandRow* row = findRow(code);
        if (row != nullptr && !row->optional) {
            throw std::invalid_argument(std::string(row->name) + " cannot be missing");
        }
    }
    return config;
}

}  // namespace sim
