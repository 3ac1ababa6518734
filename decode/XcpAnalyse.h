/// @file
/// The analysis of single XCP frames. All functions are pure.
#pragma once

#include "TalvexDecode.h"
#include "TalvexRecords.h"

#include <cstdint>
#include <vector>

namespace XCP_MOUDLE {

/// Analyses a command.
/// @param record  if not null, gets the title in `name`: empty for known commands without fields of their own
///                in the trace, "Unknow Cmd" for unknown ones
/// @return the command's fields
std::vector<mcDecodeField> sendMsgAnalyse(const msgBuf& msg, bool swapBytes, mcDecodeMsg* record = nullptr);

/// Analyses a response.
/// @param lastCmd  byte 0 of the command that @p msg answers
/// @param record   if not null, gets the title in `name`, "RES " in front of it, and the text of an error
///                 frame in `errorText`; an error frame in answer to SYNCH is no error
/// @return the response's fields; "ErrorCode" alone for an error frame
std::vector<mcDecodeField> recvMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg, bool swapBytes,
                                          mcDecodeMsg* record = nullptr);

/// Analyses an event by the code in byte 1.
/// @param record  if not null, gets the title in `name`, "Unknow Cmd" for an unknown event
/// @return the event's fields
std::vector<mcDecodeField> eventMsgAnalyse(const msgBuf& msg, bool swapBytes, mcDecodeMsg* record = nullptr);

}  // namespace XCP_MOUDLE
