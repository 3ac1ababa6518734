#include "tests/support/ThreadCount.h"

#include "tests/support/TestHost.h"

#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <thread>

#if defined(__linux__)
#include <unistd.h>
#endif

namespace support {

#if defined(__linux__)

namespace {

const std::filesystem::path kThreads = "/proc/self/task";

/// The thread sanitizer starts a thread of its own with the first one of the program, and keeps it.
bool startFirstThread() {
    std::string number;
    std::thread([&number] { number = std::to_string(gettid()); }).join();
    return waitFor([&number] { return !std::filesystem::exists(kThreads / number); });
}

}  // namespace

std::size_t threadCount() {
    static const bool started = startFirstThread();
    std::error_code error;
    const std::filesystem::directory_iterator threads(kThreads, error);
    return started && !error ? static_cast<std::size_t>(std::distance(begin(threads), end(threads))) : 0;
}

#else

std::size_t threadCount() {
    return 0;
}

#endif

}  // namespace support
