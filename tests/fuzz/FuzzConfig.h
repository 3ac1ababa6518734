/// @file
/// Configurations, variables and plans out of an input.
#pragma once

#include "tests/fuzz/FuzzInput.h"

#include <TalvexRecords.h>

#include <cstdint>
#include <vector>

namespace fuzz {

/// A configuration of any content, on the identifiers of `FuzzEcu`. Time-outs are the shortest there are,
/// repeats few and without pauses, segments and polling small, so that an input takes milliseconds at most.
/// The pack mode is valid.
EcuProtoCfg drawConfig(FuzzInput& input, bool xcp);

/// Variables of any size, address and event. Their names are few, so that some come twice.
/// @param most      how many at most
/// @param mostSize  bytes of one at most
std::vector<mcMeasureVariable> drawVariables(FuzzInput& input, unsigned most, std::uint32_t mostSize);

/// Blocks of bytes in and around the segments of `drawConfig`.
std::list<mem_buf> drawBlocks(FuzzInput& input);

/// A plan that no planner made: ODTs with pieces of any size at any offset.
std::map<std::uint16_t, DaqListPlan> drawPlan(FuzzInput& input);

/// Which of the names of `drawPlan` a list is said to finish.
DaqFinishedNames drawFinishedNames(FuzzInput& input);

}  // namespace fuzz
