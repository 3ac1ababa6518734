#include "host/PatientWrite.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <limits>
#include <optional>

namespace host {
namespace {

using std::chrono::steady_clock;

constexpr int kSliceMs = 50;
constexpr std::chrono::seconds kGrace{1};

/// What a file takes without blocking once it says that it can be written.
std::size_t mostAtOnce(int file) {
    struct stat about {};
    const bool regular = fstat(file, &about) == 0 && S_ISREG(about.st_mode);
    return regular ? std::numeric_limits<std::size_t>::max() : PIPE_BUF;
}

/// Waits until @p file can be written, or until writing it tells what is wrong. @return whether it gave up
bool isHopeless(int file, const GiveUp& giveUp) {
    std::optional<steady_clock::time_point> deadline;
    for (;;) {
        pollfd waiting{file, POLLOUT, 0};
        if (poll(&waiting, 1, kSliceMs) > 0) {
            return false;
        }
        if (!deadline && giveUp()) {
            deadline = steady_clock::now() + kGrace;
        }
        if (deadline && steady_clock::now() >= *deadline) {
            return true;
        }
    }
}

}  // namespace

std::size_t writePatiently(int file, const char* data, std::size_t size, const GiveUp& giveUp) {
    const std::size_t most = mostAtOnce(file);
    std::size_t done = 0;
    while (done < size) {
        if (isHopeless(file, giveUp)) {
            errno = ETIMEDOUT;
            break;
        }
        const ssize_t count = write(file, data + done, std::min(most, size - done));
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
            break;
        }
    }
    return done;
}

}  // namespace host
