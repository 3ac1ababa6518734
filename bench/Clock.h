/// @file
/// The clocks of the benches, all in nanoseconds.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

namespace bench {

/// Real time since some fixed moment.
inline std::uint64_t wallNs() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::nanoseconds(now).count());
}

/// Processor time that the calling thread has used. A row that wants the cost of a thread of the library
/// calls this inside a callback that runs on that thread.
inline std::uint64_t threadNs() {
    std::timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U +
           static_cast<std::uint64_t>(time.tv_nsec);
}

}  // namespace bench
