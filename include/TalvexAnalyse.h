/// @file
/// Analysis of single CCP and XCP frames into named fields, for trace views and replayed recordings.
///
/// All functions are pure and may be called from any thread. None refuses a frame: fixed positions are read
/// whatever `msgBuf::length` says, and only fields of variable length look at it. Bytes behind the 64 of a
/// frame read as 0, and a field that goes to the frame's end never goes beyond them. An unknown code gives no
/// fields.
///
/// With `swapBytes` the ECU's multi-byte values are taken as big endian. Labels and texts are stable: hosts
/// filter by them, so that even the misspelled ones stay as they are.
#pragma once

#include "TalvexDecode.h"
#include "TalvexExport.h"
#include "TalvexRecords.h"

#include <cstdint>
#include <string>
#include <vector>

namespace talvex_interface {

/// Analyses a CCP command frame. The counter of byte 1 is left out.
/// @return the fields of the command, empty for an unknown one
TALVEX_API std::vector<mcDecodeField> ccpSendMsgAnalyse(const msgBuf& msg, bool swapBytes);

/// Analyses a CCP response. Its return code and counter (bytes 1 and 2) are left out; a negative response is
/// read like a positive one.
/// @param lastCmd  byte 0 of the command that @p msg answers
/// @return the fields of the response, empty for an unknown command
TALVEX_API std::vector<mcDecodeField> ccpRecvMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg,
                                                        bool swapBytes);

/// Analyses an XCP command frame.
/// @return the fields of the command, empty for an unknown one
TALVEX_API std::vector<mcDecodeField> xcpSendMsgAnalyse(const msgBuf& msg, bool swapBytes);

/// Analyses an XCP response. An error frame (byte 0 is 0xFE) gives the one field "ErrorCode" whatever
/// @p lastCmd is; every other frame is read as a positive response.
/// @param lastCmd  byte 0 of the command that @p msg answers
/// @return the fields of the response, empty for an unknown command
TALVEX_API std::vector<mcDecodeField> xcpRecvMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg,
                                                        bool swapBytes);

/// Analyses an XCP event frame by the event code in byte 1. Byte 0 is not looked at.
/// @return the fields of the event, empty for an unknown one
TALVEX_API std::vector<mcDecodeField> xcpEventMsgAnalyse(const msgBuf& msg, bool swapBytes);

/// The short name of a frame by its first byte, for both protocols at once.
/// @param code       byte 0 of the frame
/// @param subCode    byte 1 of the frame; looked at for code 0xC0 only
/// @param fromSlave  true for frames of the ECU: codes below 0xFB are "DAQ"
/// @return the name; an empty text for an unknown sub-code of 0xC0; "UNKNOWN_PID (0x254)" for a code without
///         a name, 0xFE (DISCONNECT) and 0xFF (CONNECT) of XCP among them. The digits are decimal.
TALVEX_API std::string getCommandName(std::uint8_t code, std::uint8_t subCode, bool fromSlave);

}  // namespace talvex_interface
