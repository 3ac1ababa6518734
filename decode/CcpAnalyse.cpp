#include "decode/CcpAnalyse.h"

#include "decode/CcpTables.h"
#include "decode/FieldWalker.h"
#include "decode/StatusText.h"

namespace CCP_MOUDLE {

using namespace trace_view;

namespace {

// What every frame begins with.
constexpr FieldRow commandHead[] = {hex8("CTR", 1).unmarked()};
constexpr FieldRow responseHead[] = {status("Code", 1, ccpStatusText).unmarked(), hex8("Ctr", 2).unmarked()};

}  // namespace

std::vector<mcDecodeField> sendMsgAnalyse(const msgBuf& msg, bool swapBytes, mcDecodeMsg* record) {
    const FrameRow& row = ccp::commandTable[msg.data[0]];
    if (record != nullptr) {
        record->name = row.title;
        record->fields = makeFields(commandHead, msg, swapBytes);
    }
    return makeFields(row.fields, msg, swapBytes);
}

std::vector<mcDecodeField> recvMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg, bool swapBytes,
                                          mcDecodeMsg* record) {
    const FrameRow& row = ccp::responseTable[lastCmd];
    if (record != nullptr) {
        record->name = row.title;
        record->fields = makeFields(responseHead, msg, swapBytes);
        if (msg.data[1] != 0) {
            record->errorText = record->fields.front().text;
        }
    }
    return makeFields(row.fields, msg, swapBytes);
}

}  // namespace CCP_MOUDLE
