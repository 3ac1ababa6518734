/// @file
/// The command line of a soak.
#pragma once

#include "tests/soak/SoakPlan.h"

#include <optional>
#include <string>
#include <vector>

namespace soak {

inline constexpr const char* kUsageText =
    "usage: talvex_soak [--minutes N | --seconds N] [--provoke gap|log|leak] [--slow MICROSECONDS]\n";

/// @param arguments  without the name of the program
/// @return nothing if they cannot be understood
[[nodiscard]] std::optional<SoakPlan> planOf(const std::vector<std::string>& arguments);

}  // namespace soak
