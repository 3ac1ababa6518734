/// @file
/// Which variables a measurement is of.
#pragma once

#include "host/ConfigRecords.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// The variables of one ECU.
struct EcuSelection {
    std::size_t ecu = 0;                      ///< index of the configuration
    std::vector<VariableRecord> variables{};  ///< each name once
};

/// What is measured, and what was left out.
struct MeasureSelection {
    std::vector<EcuSelection> ecus;     ///< those with variables, in the order of the configuration
    std::vector<std::string> rejected;  ///< "ECU.NAME" of variables that the library would refuse
};

/// Has the library poll everything of @p ecus in this period, milliseconds, whatever @p config said.
void pollAll(Config& config, const std::vector<std::size_t>& ecus, std::uint16_t periodMs);

/// Chooses variables of @p ecus by name: NAME, ECU.NAME, or a pattern of either with * and ?. A name that is
/// there is no pattern. No names are all variables.
/// @param ecus      of the configuration, by index, ascending
/// @param periodMs  not 0: all are polled in this period, milliseconds, and not in that of their ECU
/// @throws HostError ExitCode::usage for a name that is not there or is there in several ECUs,
///         ExitCode::configuration if nothing is left that can be measured
[[nodiscard]] MeasureSelection selectVariables(const Config& config, const std::vector<std::size_t>& ecus,
                                               const std::vector<std::string>& names, std::uint16_t periodMs);

}  // namespace host
