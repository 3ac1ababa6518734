/// @file
/// The analysis of single CCP frames. Both functions are pure.
#pragma once

#include "TalvexDecode.h"
#include "TalvexRecords.h"

#include <cstdint>
#include <vector>

namespace CCP_MOUDLE {

/// Analyses a command.
/// @param record  if not null, gets the title in `name` and the counter in `fields`; the command's own fields
///                are returned only
/// @return the command's own fields; none, and no title, for an unknown code
std::vector<mcDecodeField> sendMsgAnalyse(const msgBuf& msg, bool swapBytes, mcDecodeMsg* record = nullptr);

/// Analyses a response. A negative one is read like a positive one.
/// @param lastCmd  byte 0 of the command that @p msg answers
/// @param record   if not null, gets the title in `name`, return code and counter in `fields` and the text of
///                 a return code that is not 0 in `errorText`
/// @return the response's own fields; none, and no title, for an unknown code
std::vector<mcDecodeField> recvMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg, bool swapBytes,
                                          mcDecodeMsg* record = nullptr);

}  // namespace CCP_MOUDLE
