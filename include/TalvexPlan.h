/// @file
/// What-if planning: how a list of variables would be laid out in DAQ lists.
#pragma once

#include "TalvexExport.h"
#include "TalvexRecords.h"

#include <cstdint>
#include <map>
#include <vector>

/// A plan. Owned by the caller; shares nothing with the library.
struct DaqInfo {
    std::map<std::uint16_t, DaqListPlan> daqLists;  ///< the plan by DAQ list number
    std::vector<mcMeasureVariable> pollVars;        ///< what would be polled; `period` in milliseconds, 0
                                                    ///< counts as 1000
    DaqFinishedNames finishedNames;  ///< names by event and by the list that holds their last piece
};

/// Plans @p variables as a measurement of @p cfg would, without an ECU: no frame is sent, no variable is
/// checked against the memory segments, and the DAQ facts are those of @p cfg, not the ECU's answers.
/// @param cfg        `protoType` 1 plans for XCP, anything else for CCP
/// @param unlimited  XCP: lists take ODTs without limit. CCP ignores it
/// @return the plan; what cannot be planned stands in `pollVars`. Any thread
TALVEX_API DaqInfo getDaqInfo(const EcuProtoCfg& cfg, const std::vector<mcMeasureVariable>& variables,
                              bool unlimited);
