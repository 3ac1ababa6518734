/// @file
/// Cycles of event channels in milliseconds.
#pragma once

#include <cstdint>
#include <map>

/// Polling period in milliseconds of a variable that names none.
inline constexpr std::uint16_t kDefaultPollPeriodMs = 1000;

/// @param timeCycle  cycle in units of @p timeUnit
/// @param timeUnit   0 = 1 ns ... 9 = 1 s in decades, 10 to 12 = 1, 10, 100 ps; anything else counts as 1 ms
/// @return milliseconds, 0 if @p timeCycle is 0
double cycleMs(std::uint8_t timeCycle, std::uint8_t timeUnit);

/// @return @p cycle if it is not 0, else @p pollPeriodMs if that is not 0, else kDefaultPollPeriodMs;
/// milliseconds
double periodOrDefaultMs(double cycle, std::uint16_t pollPeriodMs);

/// The polling period that stands in for an event channel.
/// @param events  event channels by number; an unknown @p event has no cycle
/// @return milliseconds, never 0
template <typename Event>
double eventPeriodMs(const std::map<std::uint16_t, Event>& events, std::uint16_t event,
                     std::uint16_t pollPeriodMs) {
    const auto found = events.find(event);
    const double cycle =
        found == events.end() ? 0.0 : cycleMs(found->second.timeCycle, found->second.timeUnit);
    return periodOrDefaultMs(cycle, pollPeriodMs);
}
