/// @file
/// A plan as text and as JSON.
#pragma once

#include "host/MeasurePlan.h"

#include <string>
#include <vector>

namespace host {

/// The share of all plans on one bus.
struct BusPlan {
    std::size_t bus = 0;  ///< index of the configuration
    BusShare daq;
    BusShare polling;
    BusShare keepAlive;

    /// All that is known to go over the bus.
    [[nodiscard]] BusShare total() const;
};

/// The buses that @p plans take something of, in the order of the configuration.
[[nodiscard]] std::vector<BusPlan> busPlans(const Config& config, const std::vector<EcuPlan>& plans);

/// A table per ECU and a line per bus, on standard output. @return false if it could not be written
[[nodiscard]] bool printPlanText(const Config& config, const std::vector<EcuPlan>& plans);

/// The lines of `printPlanText`.
[[nodiscard]] std::vector<std::string> planLines(const Config& config, const std::vector<EcuPlan>& plans);

/// An object per list, polled variable, rejected variable, undelivered variable and bus, on standard output.
/// @return false if they could not be written
[[nodiscard]] bool printPlanJson(const Config& config, const std::vector<EcuPlan>& plans);

}  // namespace host
