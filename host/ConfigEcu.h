/// @file
/// Reading of the [[ecu]] tables of a configuration.
#pragma once

#include "host/ConfigRecords.h"
#include "host/ConfigTable.h"

#include <vector>

namespace host {

/// Reads one ECU, each value within its own range; how they fit together is for `checkEcu`.
/// @throws ConfigError
[[nodiscard]] EcuRecord readEcu(ConfigTable& table, const std::vector<BusRecord>& buses);

/// Reads how the flash of an ECU works. @throws ConfigError
[[nodiscard]] FlashRecord readFlash(ConfigTable table);

/// Reads the memory of an ECU. @throws ConfigError
[[nodiscard]] std::vector<SegmentRecord> readSegments(ConfigTable& ecuTable, const EcuRecord& ecu);

/// Reads the calibration values of an ECU. @throws ConfigError
[[nodiscard]] std::vector<ParameterRecord> readParameters(ConfigTable& ecuTable, const EcuRecord& ecu);

/// The types of values, in the order of `sim::SignalType`.
[[nodiscard]] const Words& typeWords();

/// Reads the signals of an ECU. @throws ConfigError
[[nodiscard]] std::vector<SignalRecord> readSignals(ConfigTable& ecuTable, const EcuRecord& ecu);

/// Reads the variables of an ECU, whose events and signals have been read. @throws ConfigError
[[nodiscard]] std::vector<VariableRecord> readVariables(ConfigTable& ecuTable, const EcuRecord& ecu);

/// The names of an ECU's event channels, by number.
[[nodiscard]] Words eventNames(const EcuRecord& ecu);

}  // namespace host
