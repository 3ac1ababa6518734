#include "daq/CycleUnit.h"

#include <array>

namespace {

/// Milliseconds of one unit, by its code.
constexpr std::array<double, 13> kUnitMs = {
    0.000001,     // 1 ns
    0.00001,      // 10 ns
    0.0001,       // 100 ns
    0.001,        // 1 us
    0.01,         // 10 us
    0.1,          // 100 us
    1,            // 1 ms
    10,           // 10 ms
    100,          // 100 ms
    1000,         // 1 s
    0.000000001,  // 1 ps
    0.00000001,   // 10 ps
    0.0000001,    // 100 ps
};

}  // namespace

double cycleMs(std::uint8_t timeCycle, std::uint8_t timeUnit) {
    return timeCycle * (timeUnit < kUnitMs.size() ? kUnitMs[timeUnit] : 1.0);
}

double periodOrDefaultMs(double cycle, std::uint16_t pollPeriodMs) {
    if (cycle > 0) {
        return cycle;
    }
    return pollPeriodMs != 0 ? pollPeriodMs : kDefaultPollPeriodMs;
}
