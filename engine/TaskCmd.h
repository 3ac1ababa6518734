/// @file
/// One entry of the command queue.
#pragma once

#include "TalvexRecords.h"

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

/// Numbers of commands and of what the callbacks report: one number space.
enum TaskCode : std::uint32_t {
    kTaskConnect = 1,
    kTaskDisconnect = 2,
    kTaskLinkLost = 3,      ///< `taskResultFun` only
    kTaskMeasureBegun = 4,  ///< `taskResultFun` only
    kTaskStartMeasurement = 5,
    kTaskStopMeasurement = 6,
    kTaskMeasureVars = 7,
    kTaskCalibration = 8,
    kTaskSetPage = 9,
    kTaskUpload = 10,
    kTaskDownload = 11,
    kTaskForceDownload = 14,
    kTaskErase = 15,
    kTaskCheck = 16,
    kTaskCopyPage = 18,
};

/// A command with its arguments; which members count depends on `cmd`.
struct TaskCmd {
    std::uint32_t cmd = 0;           ///< a `TaskCode`
    std::vector<std::string> names;  ///< ECUs; for a forced download the ECU and the path
    mcMemOperType memType = 0;       ///< ranges of a memory operation
    std::map<std::string, std::vector<mcMeasureVariable>> variables;  ///< by ECU
    bool page = false;                                                ///< true is the working page
    mcMeasureVariable variable;                                       ///< the variable to write
    std::vector<std::uint8_t> bytes;                                  ///< its bytes
    std::list<mem_buf> blocks;                                        ///< an image
};
