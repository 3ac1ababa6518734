#include "decode/CcpMsgDecode.h"

#include "decode/CcpAnalyse.h"

namespace CCP_MOUDLE {

void CcpMsgDecode::resMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg) {
    analyse({.titlePrefix = "RES ", .command = lastCmd}, msg,
            [&](mcDecodeMsg& record) { return recvMsgAnalyse(lastCmd, msg, swapBytes, &record); });
}

void CcpMsgDecode::ctoMsgAnalyse(const msgBuf& msg) {
    analyse({.titlePrefix = "CTO ", .command = msg.data[0]}, msg,
            [&](mcDecodeMsg& record) { return sendMsgAnalyse(msg, swapBytes, &record); });
}

void CcpMsgDecode::eventMsgAnalyse(const msgBuf&) {}

}  // namespace CCP_MOUDLE
