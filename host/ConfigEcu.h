/// @file
/// Reading of the [[ecu]] tables of a configuration.
#pragma once

#include "host/ConfigRecords.h"
#include "host/ConfigTable.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// Reads one ECU, each value within its own range; how they fit together is for `checkEcu`.
/// @throws ConfigError
[[nodiscard]] EcuRecord readEcu(ConfigTable& table, const std::vector<BusRecord>& buses);

/// Reads an identifier of 11 bits, or of 29 with @p extended. @throws ConfigError
[[nodiscard]] std::uint32_t readId(ConfigTable& table, const std::string& key, bool extended);

/// @p id, which stands at @p key, as an identifier. @throws ConfigError if it has too many bits
[[nodiscard]] std::uint32_t checkedId(const ConfigTable& table, const std::string& key, std::int64_t id,
                                      bool extended);

/// Reads seed and key of an ECU. Paths count from the folder of the file. @throws ConfigError
[[nodiscard]] SecurityRecord readSecurity(ConfigTable table, bool ccp);

/// Reads the event channels of an ECU. @throws ConfigError
[[nodiscard]] std::vector<EventRecord> readEvents(ConfigTable& ecuTable, const EcuRecord& ecu);

/// Reads how an ECU measures, whose events have been read. @throws ConfigError
[[nodiscard]] DaqRecord readDaq(ConfigTable table, const EcuRecord& ecu);

/// Reads how the flash of an ECU works. @throws ConfigError
[[nodiscard]] FlashRecord readFlash(ConfigTable table);

/// Reads the memory of an ECU. @throws ConfigError
[[nodiscard]] std::vector<SegmentRecord> readSegments(ConfigTable& ecuTable, const EcuRecord& ecu);

/// Reads the calibration values of an ECU. @throws ConfigError
[[nodiscard]] std::vector<ParameterRecord> readParameters(ConfigTable& ecuTable, const EcuRecord& ecu);

/// The types of values, in the order of `sim::SignalType`.
[[nodiscard]] const Words& typeWords();

/// Reads unit, factor and offset of a variable. @throws ConfigError
void readConversion(ConfigTable& table, VariableRecord& variable);

/// Reads the signals of an ECU. @throws ConfigError
[[nodiscard]] std::vector<SignalRecord> readSignals(ConfigTable& ecuTable, const EcuRecord& ecu);

/// Reads the variables of an ECU, whose events and signals have been read. @throws ConfigError
[[nodiscard]] std::vector<VariableRecord> readVariables(ConfigTable& ecuTable, const EcuRecord& ecu);

/// The names of an ECU's event channels, by number.
[[nodiscard]] Words eventNames(const EcuRecord& ecu);

}  // namespace host
