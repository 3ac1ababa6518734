/// @file
/// The one way in which a log line reaches the host.
#pragma once

#include "TalvexRecords.h"

#include <cstdint>
#include <string>
#include <vector>

/// Log levels, as hosts see them.
enum LogLevel : std::uint32_t {
    kLogTrace = 0,     ///< frames and seeds
    kLogSuccess = 1,   ///< result of a command that succeeded
    kLogProgress = 2,  ///< progress of a command
    kLogWarning = 3,
    kLogError = 4,
};

/// Calls every function of @p logFuns in order, null entries skipped, all with the same level, time and text.
/// Without functions the clock is not read. Any thread.
void writeLogLine(const std::vector<logFun>& logFuns, std::uint32_t level, const std::string& text);
