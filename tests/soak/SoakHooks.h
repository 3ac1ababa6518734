/// @file
/// What a soak looks at on the way from the library to its host.
#pragma once

#include "tests/soak/FlowMeter.h"
#include "tests/soak/SoakVerdict.h"

#include <chrono>

namespace soak {

/// Stands between the library and a `BusHost`, which gets everything. Log lines and lost links go to the
/// verdict, the times of values to the meter. One at a time; made behind the host, ahead of any connect.
class SoakHooks {
public:
    /// @param slowness  what the host takes for each call of `measureFun` with DAQ values
    SoakHooks(SoakVerdict& verdict, FlowMeter& meter, std::chrono::microseconds slowness);
    ~SoakHooks();
    SoakHooks(const SoakHooks&) = delete;
    SoakHooks& operator=(const SoakHooks&) = delete;
};

}  // namespace soak
