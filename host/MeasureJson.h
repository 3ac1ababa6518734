/// @file
/// A measurement as JSON objects.
#pragma once

#include "host/JsonLines.h"
#include "host/MeasureRecords.h"
#include "host/MeasureSelection.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// What is measured from now on. @param startUs  microseconds since 1970-01-01 UTC
[[nodiscard]] Json startJson(const Config& config, const MeasureSelection& selection, std::int64_t startUs);

/// @param values  by variable of @p variables; none where the delivery has no value
[[nodiscard]] Json valuesJson(const EcuRecord& ecu, const std::vector<VariableRecord>& variables,
                              const MeasureDelivery& delivery,
                              const std::vector<std::optional<MeasureValue>>& values);

/// What an ECU lost, as an object inside another one.
[[nodiscard]] Json lossesJson(const EcuLosses& losses);

/// What was lost so far, of all ECUs. @param type  "loss" while it measures, "losses" at the end
[[nodiscard]] Json lossJson(const char* type, const Config& config, const MeasureSelection& selection,
                            const MeasureLosses& losses);

/// How one ECU fared.
[[nodiscard]] Json summaryJson(const EcuRecord& ecu, const EcuLosses& losses);

/// How one variable fared.
[[nodiscard]] Json variableJson(const EcuRecord& ecu, const VariableRecord& variable,
                                const MeasureTally& tally);

}  // namespace host
