/// @file
/// The frame analysis of XCP for the host's trace view.
#pragma once

#include "decode/BasicDecode.h"

#include <cstdint>

namespace XCP_MOUDLE {

/// Hands each frame of one XCP ECU, analysed, to the host.
class XcpMsgDecode : public BasicDecode {
public:
    /// Titles are "RES " and the name of the command; `mcDecodeMsg::command` is byte 0 of the frame.
    void resMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg) override;

    /// Titles are "CTO " and the name of the command; `mcDecodeMsg::command` is byte 0 of the frame.
    void ctoMsgAnalyse(const msgBuf& msg) override;

    /// Titles are "Event " and the name of the event; `mcDecodeMsg::command` is the event code and
    /// `mcDecodeMsg::data` stays empty.
    void eventMsgAnalyse(const msgBuf& msg) override;
};

}  // namespace XCP_MOUDLE
