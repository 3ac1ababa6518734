/// @file
/// How finely the system's sleeps and timed waits end.
#pragma once

#include <chrono>

namespace platform {

#if defined(_WIN32)

/// As long as one exists, sleeps and waits of the process end within a millisecond or two of their time,
/// where otherwise they would end up to 16 ms late.
class TimerResolution {
public:
    TimerResolution();
    TimerResolution(const TimerResolution&) = delete;
    TimerResolution& operator=(const TimerResolution&) = delete;
    ~TimerResolution();
};

/// How late a sleep may end.
constexpr std::chrono::microseconds kSleepLateness{2000};

#else

/// Timers are fine as they are.
class TimerResolution {};

/// How late a sleep may end.
constexpr std::chrono::microseconds kSleepLateness{200};

#endif

}  // namespace platform
