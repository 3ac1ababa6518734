// The commands that a simulated XCP ECU knows. Later groups add their rows here.
#include "sim/XcpEcu.h"

namespace sim {

std::span<const XcpEcu::CommandRow> XcpEcu::commandRows() {
    using E = XcpEcu;
    static constexpr std::uint8_t kNone = 0;
    // code, least length, needs a session, resource, handler
    static constexpr CommandRow kRows[] = {
        // Standard
        {0xFF, 2, false, kNone, &E::onConnect},
        {0xFE, 1, true, kNone, &E::onDisconnect},
        {0xFD, 1, true, kNone, &E::onGetStatus},
        {0xFC, 1, true, kNone, &E::onSynch},
        {0xFB, 1, true, kNone, &E::onGetCommModeInfo},
        {0xFA, 2, true, kNone, &E::onGetId},
        {0xF9, 4, true, kNone, &E::onSetRequest},
        {0xF8, 3, true, kNone, &E::onGetSeed},
        {0xF7, 2, true, kNone, &E::onUnlock},
        {0xF6, 8, true, kNone, &E::onSetMta},
        {0xF5, 2, true, kNone, &E::onUpload},
        {0xF4, 8, true, kNone, &E::onShortUpload},
        {0xF3, 8, true, kNone, &E::onBuildChecksum},
        {0xF2, 2, true, kNone, &E::onTransportLayerCmd},
        // Calibration
        {0xF0, 3, true, xcp::kCalPag, &E::onDownload},
        {0xEF, 3, true, xcp::kCalPag, &E::onDownloadNext},
        {0xEE, 2, true, xcp::kCalPag, &E::onDownloadMax},
        {0xED, 8, true, xcp::kCalPag, &E::onShortDownload},
        {0xEC, 6, true, xcp::kCalPag, &E::onModifyBits},
        // Paging
        {0xEB, 4, true, xcp::kCalPag, &E::onSetCalPage},
        {0xEA, 3, true, xcp::kCalPag, &E::onGetCalPage},
        {0xE9, 1, true, xcp::kCalPag, &E::onGetPagProcessorInfo},
        {0xE8, 5, true, xcp::kCalPag, &E::onGetSegmentInfo},
        {0xE7, 4, true, xcp::kCalPag, &E::onGetPageInfo},
        {0xE6, 3, true, xcp::kCalPag, &E::onSetSegmentMode},
        {0xE5, 3, true, xcp::kCalPag, &E::onGetSegmentMode},
        {0xE4, 5, true, xcp::kCalPag, &E::onCopyCalPage},
        // Data acquisition
        {0xE3, 4, true, xcp::kDaq, &E::onClearDaqList},
        {0xE2, 6, true, xcp::kDaq, &E::onSetDaqPtr},
        {0xE1, 8, true, xcp::kDaq, &E::onWriteDaq},
        {0xE0, 8, true, xcp::kDaq, &E::onSetDaqListMode},
        {0xDF, 4, true, xcp::kDaq, &E::onGetDaqListMode},
        {0xDE, 4, true, xcp::kDaq, &E::onStartStopDaqList},
        {0xDD, 2, true, xcp::kDaq, &E::onStartStopSynch},
        {0xDC, 1, true, xcp::kDaq, &E::onGetDaqClock},
        {0xDB, 1, true, xcp::kDaq, &E::onReadDaq},
        {0xDA, 1, true, xcp::kDaq, &E::onGetDaqProcessorInfo},
        {0xD9, 1, true, xcp::kDaq, &E::onGetDaqResolutionInfo},
        {0xD8, 4, true, xcp::kDaq, &E::onGetDaqListInfo},
        {0xD7, 4, true, xcp::kDaq, &E::onGetDaqEventInfo},
        {0xD6, 1, true, xcp::kDaq, &E::onFreeDaq},
        {0xD5, 4, true, xcp::kDaq, &E::onAllocDaq},
        {0xD4, 5, true, xcp::kDaq, &E::onAllocOdt},
        {0xD3, 6, true, xcp::kDaq, &E::onAllocOdtEntry},
        {0xC7, 2, true, xcp::kDaq, &E::onWriteDaqMultiple},
        // Programming
        {0xD2, 1, true, xcp::kPgm, &E::onProgramStart},
        {0xD1, 8, true, xcp::kPgm, &E::onProgramClear},
        {0xD0, 2, true, xcp::kPgm, &E::onProgram},
        {0xCF, 1, true, xcp::kPgm, &E::onProgramReset},
        {0xCE, 1, true, xcp::kPgm, &E::onGetPgmProcessorInfo},
        {0xCD, 3, true, xcp::kPgm, &E::onGetSectorInfo},
        {0xCC, 4, true, xcp::kPgm, &E::onProgramPrepare},
        {0xCB, 5, true, xcp::kPgm, &E::onProgramFormat},
        {0xCA, 3, true, xcp::kPgm, &E::onProgramNext},
        {0xC9, 2, true, xcp::kPgm, &E::onProgramMax},
        {0xC8, 8, true, xcp::kPgm, &E::onProgramVerify},
    };
    return kRows;
}

const XcpEcu::CommandRow* XcpEcu::findRow(std::uint8_t code) {
    for (const CommandRow& row : commandRows()) {
        if (row.code == code) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace sim
