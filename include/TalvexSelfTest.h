/// @file
/// The self-test of the channel interface.
#pragma once

#include "TalvexExport.h"
#include "TalvexRecords.h"

/// Runs a fixed script of channel functions against an ECU, on a thread of its own: connect, unlock, read the
/// DAQ facts, set up and start one DAQ list, wait ten seconds, disconnect. Returns at once and reports
/// nothing; the frames show on the bus and in the log. The thread ends with the library.
/// @param cfg  its channel, identifiers, time-outs, byte order and address granularity count
TALVEX_API void xcpTest(EcuProtoCfg cfg);
