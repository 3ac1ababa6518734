/// @file
/// Bytes of flags that several frames of CCP hold.
#pragma once

#include "decode/FieldTable.h"

namespace trace_view::ccp {

inline constexpr FieldRow resourceFlags[] = {
    flag("Available_Resource__Cal", 0),
    flag("Available_Resource__Daq", 1),
    flag("Available_Resource__Pgm", 6),
};

inline constexpr FieldRow protectionFlags[] = {
    flag("Protect_Mask__Cal", 0),
    flag("Protect_Mask__Daq", 1),
    flag("Protect_Mask__Pgm", 6),
};

inline constexpr FieldRow sessionStatusFlags[] = {
    flag("Session_Status__Cal", 0),   flag("Session_Status__Daq", 1), flag("Session_Status__Resume", 2),
    flag("Session_Status__Store", 6), flag("Session_Status__Run", 7),
};

}  // namespace trace_view::ccp
