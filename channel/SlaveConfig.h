/// @file
/// From the records of the channel interface to the configuration of an ECU.
#pragma once

#include "TalvexChannel.h"
#include "TalvexRecords.h"

/// Writes what the three records say into @p cfg; the rest stays as it was.
void applySlaveConfig(EcuProtoCfg& cfg, const XcpCanChannelCfg& channel, const XcpSlaveCanCfg& can,
                      const XcpSlaveProtoCfg& proto);
