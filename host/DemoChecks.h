/// @file
/// What the values of a demo must be like.
#pragma once

#include "host/ConfigRecords.h"
#include "host/EcuMonitor.h"
#include "host/Verdict.h"

#include <cstdint>
#include <vector>

namespace host {

/// Events of each channel of an ECU, when its measurement had begun and when it ended.
struct MeasuredEvents {
    std::vector<std::uint64_t> begin;
    std::vector<std::uint64_t> end;
};

/// Checks what was measured: nothing missing in any counter, every value one that the ECU had, no channel
/// that started late or ended early, nothing delivered that was not asked for.
void checkMeasured(Verdict& verdict, const EcuRecord& ecu, const EcuReport& report,
                   const MeasuredEvents& events);

/// Whether the values came up to the end of the measurement, but for those that are still on their way.
[[nodiscard]] bool cameToTheEnd(const EcuRecord& ecu, const EcuReport& report, const MeasuredEvents& events);

/// Checks what was read once: memory values right, and the variables that had to be refused named.
/// @param expected  how many values were to come
void checkReadOnce(Verdict& verdict, const EcuRecord& ecu, const EcuReport& report, std::uint64_t expected);

/// The variables that the demo reads once: those that do not move, and those that have to be refused.
[[nodiscard]] std::vector<VariableRecord> readOnceVariables(const EcuRecord& ecu);

}  // namespace host
