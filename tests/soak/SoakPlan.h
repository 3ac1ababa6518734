/// @file
/// What a soak is asked to do.
#pragma once

#include "sim/Frame.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace soak {

inline constexpr sim::Time kMs = 1'000'000;  ///< nanoseconds
inline constexpr sim::Time kSecond = 1'000 * kMs;
inline constexpr sim::Time kMinute = 60 * kSecond;

/// What the script does to see that the verdict tells of it.
enum class Provocation : std::uint8_t {
    none,
    gap,   ///< one ECU loses a DAQ frame
    log,   ///< a write to where the ECU has no memory, of which the library logs that it failed
    leak,  ///< each write leaves 64 KiB behind
};

struct SoakPlan {
    sim::Time length = 30 * kMinute;  ///< of bus time
    Provocation provocation = Provocation::none;
    std::chrono::microseconds slowness{
        0};  ///< what the host takes for each call of `measureFun` with DAQ values

    /// Each ECU is flashed at least once, whatever the length.
    [[nodiscard]] sim::Time flashPeriod() const { return std::min(kMinute, length / 4); }

    /// From when on memory has to be flat. Short soaks have had all of their kinds of work by then.
    [[nodiscard]] sim::Time warmUp() const { return std::min(kMinute, length / 2); }
};

}  // namespace soak
