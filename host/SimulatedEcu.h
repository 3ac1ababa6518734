/// @file
/// A simulated ECU as the configuration describes it.
#pragma once

#include "host/ConfigRecords.h"
#include "sim/CcpEcuConfig.h"
#include "sim/XcpEcuConfig.h"

#include <cstdint>
#include <vector>

namespace host {

/// What the simulation has to know of @p ecu, which speaks XCP.
[[nodiscard]] sim::XcpEcuConfig simulatedXcpEcu(const EcuRecord& ecu);

/// What the simulation has to know of @p ecu, which speaks CCP.
[[nodiscard]] sim::CcpEcuConfig simulatedCcpEcu(const EcuRecord& ecu);

/// One element of a signal.
[[nodiscard]] sim::Signal signalElement(const SignalRecord& signal, std::uint32_t element);

/// The bytes of a whole signal after @p eventIndex events of its channel.
[[nodiscard]] std::vector<std::uint8_t> signalBytesAt(const SignalRecord& signal, std::uint64_t eventIndex);

}  // namespace host
