#include "transport/PreciseWait.h"

#include <thread>

void waitUntilPrecisely(std::chrono::steady_clock::time_point moment) {
    using namespace std::chrono_literals;
    constexpr auto kSpin = 200us;
    const auto left = moment - std::chrono::steady_clock::now();
    if (left > kSpin) {
        std::this_thread::sleep_for(left - kSpin);
    }
    while (std::chrono::steady_clock::now() < moment) {
    }
}
