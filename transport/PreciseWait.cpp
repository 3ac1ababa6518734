#include "transport/PreciseWait.h"

#include "platform/TimerResolution.h"

#include <thread>

void waitUntilPrecisely(std::chrono::steady_clock::time_point moment) {
    const auto left = moment - std::chrono::steady_clock::now();
    if (left > platform::kSleepLateness) {
        std::this_thread::sleep_for(left - platform::kSleepLateness);
    }
    while (std::chrono::steady_clock::now() < moment) {
    }
}
