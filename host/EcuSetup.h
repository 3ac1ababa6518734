/// @file
/// What the library has to know of an ECU.
#pragma once

#include "host/ConfigRecords.h"

#include <TalvexSDK.h>

#include <list>
#include <string>
#include <vector>

namespace host {

/// The library's record of @p ecu on @p bus.
[[nodiscard]] EcuProtoCfg protoCfg(const EcuRecord& ecu, const BusRecord& bus);

/// The library's records of all ECUs, in the order of the configuration.
[[nodiscard]] std::list<EcuProtoCfg> protoCfgs(const Config& config);

/// The library's record of one variable.
[[nodiscard]] mcMeasureVariable measureVariable(const VariableRecord& variable);

/// The library's records of all variables of @p ecu, those that it has to refuse included.
[[nodiscard]] std::vector<mcMeasureVariable> measureVariables(const EcuRecord& ecu);

/// A name for a resource of the ECU's protocol, such as "daq".
[[nodiscard]] std::string resourceName(const EcuRecord& ecu, std::uint8_t resource);

}  // namespace host
