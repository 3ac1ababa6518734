/// @file
/// The one place that names the task classes.
#pragma once

#include "TalvexRecords.h"
#include "engine/ITask_Transmit.h"

#include <memory>

/// Makes the task object of one ECU from a deep copy of its configuration and of the callbacks.
/// @return nothing for a protocol that there is no task class for
std::shared_ptr<ITask_Transmit> makeTask(const EcuProtoCfg& cfg, const CallBackFuns& callBacks);
