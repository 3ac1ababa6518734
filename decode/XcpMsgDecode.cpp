#include "decode/XcpMsgDecode.h"

#include "decode/XcpAnalyse.h"

namespace XCP_MOUDLE {

// The routine for responses sets "RES " itself: it has titles of its own for error frames.
void XcpMsgDecode::resMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg) {
    analyse({.titlePrefix = "", .command = msg.data[0]}, msg,
            [&](mcDecodeMsg& record) { return recvMsgAnalyse(lastCmd, msg, swapBytes, &record); });
}

void XcpMsgDecode::ctoMsgAnalyse(const msgBuf& msg) {
    analyse({.titlePrefix = "CTO ", .command = msg.data[0]}, msg,
            [&](mcDecodeMsg& record) { return sendMsgAnalyse(msg, swapBytes, &record); });
}

void XcpMsgDecode::eventMsgAnalyse(const msgBuf& msg) {
    analyse({.titlePrefix = "Event ", .command = msg.data[1], .withData = false}, msg,
            [&](mcDecodeMsg& record) { return XCP_MOUDLE::eventMsgAnalyse(msg, swapBytes, &record); });
}

}  // namespace XCP_MOUDLE
