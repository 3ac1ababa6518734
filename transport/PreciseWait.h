/// @file
/// Waiting to the moment where a plain sleep would overshoot.
#pragma once

#include <chrono>

/// Returns at @p moment, never before and only microseconds later: sleeps through the most of it and spins
/// through the rest, because a sleep ends late.
void waitUntilPrecisely(std::chrono::steady_clock::time_point moment);
