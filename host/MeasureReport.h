/// @file
/// A measurement in words.
#pragma once

#include "host/LiveTable.h"
#include "host/MeasureRecords.h"
#include "host/MeasureSelection.h"

#include <chrono>
#include <string>
#include <vector>

namespace host {

/// The row of one variable.
/// @param name  as it is shown
/// @param now   for the age of its last value
[[nodiscard]] LiveRow liveRow(const std::string& name, const VariableRecord& variable,
                              const MeasureTally& tally, std::chrono::steady_clock::time_point now);

/// "nothing lost", or what was lost at which ECU: "lost: engine: 2 gaps in ODT order, 1 incomplete cycle".
[[nodiscard]] std::string lossText(const Config& config, const MeasureSelection& selection,
                                   const MeasureLosses& losses);

/// A line for each DAQ list that ran.
[[nodiscard]] std::vector<std::string> listLines(const EcuRecord& ecu, const EcuLosses& losses);

}  // namespace host
