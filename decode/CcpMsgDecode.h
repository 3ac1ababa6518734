/// @file
/// The frame analysis of CCP for the host's trace view.
#pragma once

#include "decode/BasicDecode.h"

#include <cstdint>

namespace CCP_MOUDLE {

/// Hands each frame of one CCP ECU, analysed, to the host.
class CcpMsgDecode : public BasicDecode {
public:
    /// Titles are "RES " and the name of the command; `mcDecodeMsg::command` is @p lastCmd: the frame itself
    /// holds only a return code.
    void resMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg) override;

    /// Titles are "CTO " and the name of the command; `mcDecodeMsg::command` is byte 0 of the frame.
    void ctoMsgAnalyse(const msgBuf& msg) override;

    /// Does nothing: CCP has no event frames of its own in the trace.
    void eventMsgAnalyse(const msgBuf& msg) override;
};

}  // namespace CCP_MOUDLE
