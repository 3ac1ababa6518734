/// @file
/// The frames of XCP 1.x, by command or event code.
#pragma once

#include "decode/FieldTable.h"

namespace trace_view::xcp {

extern const FrameTable commandTable;   ///< what the master sends
extern const FrameTable responseTable;  ///< positive responses, by the code of the command
extern const FrameTable eventTable;     ///< events of the ECU, by event code

}  // namespace trace_view::xcp
