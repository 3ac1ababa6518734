#include "TalvexAnalyse.h"

#include "decode/CcpAnalyse.h"
#include "decode/CommandName.h"
#include "decode/XcpAnalyse.h"

namespace talvex_interface {

std::vector<mcDecodeField> ccpSendMsgAnalyse(const msgBuf& msg, bool swapBytes) {
    return CCP_MOUDLE::sendMsgAnalyse(msg, swapBytes);
}

std::vector<mcDecodeField> ccpRecvMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg, bool swapBytes) {
    return CCP_MOUDLE::recvMsgAnalyse(lastCmd, msg, swapBytes);
}

std::vector<mcDecodeField> xcpSendMsgAnalyse(const msgBuf& msg, bool swapBytes) {
    return XCP_MOUDLE::sendMsgAnalyse(msg, swapBytes);
}

std::vector<mcDecodeField> xcpRecvMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg, bool swapBytes) {
    return XCP_MOUDLE::recvMsgAnalyse(lastCmd, msg, swapBytes);
}

std::vector<mcDecodeField> xcpEventMsgAnalyse(const msgBuf& msg, bool swapBytes) {
    return XCP_MOUDLE::eventMsgAnalyse(msg, swapBytes);
}

std::string getCommandName(std::uint8_t code, std::uint8_t subCode, bool fromSlave) {
    return trace_view::commandName(code, subCode, fromSlave);
}

}  // namespace talvex_interface
