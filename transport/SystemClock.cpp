#include "transport/SystemClock.h"

#include <chrono>
#include <ratio>

namespace {

/// The system tick: 100 nanoseconds.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

std::uint64_t systemTicks() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<Ticks>(sinceEpoch).count());
}

}  // namespace

std::uint64_t systemMicros() {
    return systemTicks() / 10;
}

std::uint64_t systemMillis() {
    return systemTicks() / 10 / 1000;
}
