/// @file
/// Which results the commands may have.
#pragma once

#include <cstdint>

namespace stress {

/// Whether `taskResultFun` or `memResultFun` may report @p result for @p command, for ECUs that have neither
/// pages nor flash nor locks, with anything else going wrong.
bool mayReport(std::uint32_t command, std::uint32_t result);

}  // namespace stress
