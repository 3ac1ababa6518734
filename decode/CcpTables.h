/// @file
/// The frames of CCP 2.1, by command code.
#pragma once

#include "decode/FieldTable.h"

namespace trace_view::ccp {

extern const FrameTable commandTable;   ///< what the master sends
extern const FrameTable responseTable;  ///< what answers it, by the code of the command

}  // namespace trace_view::ccp
