#include "decode/XcpAnalyse.h"

#include "decode/FieldWalker.h"
#include "decode/StatusText.h"
#include "decode/XcpTables.h"

namespace XCP_MOUDLE {

using namespace trace_view;

namespace {

constexpr std::uint8_t errorPid = 0xFE;
constexpr std::uint8_t synchCode = 0xFC;

constexpr FieldRow errorFrame[] = {status("ErrorCode", 1, xcpStatusText).unmarked()};

/// After SYNCH an error frame is the expected answer, whatever its code says.
std::vector<mcDecodeField> errorAnalyse(std::uint8_t lastCmd, const msgBuf& msg, bool swapBytes,
                                        mcDecodeMsg* record) {
    std::vector<mcDecodeField> fields = makeFields(errorFrame, msg, swapBytes);
    if (record != nullptr) {
        const bool synchronised = lastCmd == synchCode;
        record->name = synchronised ? "RES Synch" : "RES Error";
        if (!synchronised) {
            record->errorText = fields.front().text;
        }
    }
    return fields;
}

std::vector<mcDecodeField> rowAnalyse(const FrameRow& row, const msgBuf& msg, bool swapBytes,
                                      mcDecodeMsg* record) {
    if (record != nullptr) {
        record->name = row.title;
    }
    return makeFields(row.fields, msg, swapBytes);
}

}  // namespace

std::vector<mcDecodeField> sendMsgAnalyse(const msgBuf& msg, bool swapBytes, mcDecodeMsg* record) {
    return rowAnalyse(xcp::commandTable[msg.data[0]], msg, swapBytes, record);
}

std::vector<mcDecodeField> recvMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg, bool swapBytes,
                                          mcDecodeMsg* record) {
    if (msg.data[0] == errorPid) {
        return errorAnalyse(lastCmd, msg, swapBytes, record);
    }
    std::vector<mcDecodeField> fields = rowAnalyse(xcp::responseTable[lastCmd], msg, swapBytes, record);
    if (record != nullptr) {
        record->name.insert(0, "RES ");
    }
    return fields;
}

std::vector<mcDecodeField> eventMsgAnalyse(const msgBuf& msg, bool swapBytes, mcDecodeMsg* record) {
    return rowAnalyse(xcp::eventTable[msg.data[1]], msg, swapBytes, record);
}

}  // namespace XCP_MOUDLE
