/// @file
/// The system clock in the units of frames, values and log lines.
#pragma once

#include <cstdint>

/// @return microseconds since 1970-01-01 00:00 UTC
std::uint64_t systemMicros();

/// @return milliseconds since 1970-01-01 00:00 UTC, from one reading of the clock
std::uint64_t systemMillis();
