/// @file
/// The one place that names the task classes.
#pragma once

#include "TalvexRecords.h"
#include "engine/ITask_Transmit.h"

#include <memory>

/// Makes the task object of one ECU, XCP if `protoType` is 1 and CCP otherwise, from a deep copy of its
/// configuration and of the callbacks.
std::shared_ptr<ITask_Transmit> makeTask(const EcuProtoCfg& cfg, const CallBackFuns& callBacks);
