// talvex-seedkey: calls a seed and key library in a process of its own, so that one that crashes or hangs
// takes nobody along. Built for another word size it serves the libraries of that.
#include "host/SeedKeyWire.h"
#include "host/seedkey/SeedKeyFailure.h"
#include "host/seedkey/SeedKeyLibrary.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using host::SeedKeyRequest;
using host::SeedKeyStatus;
using seedkey::SeedKeyFailure;
using seedkey::SeedKeyLibrary;

/// Out of the way of libraries that close the low numbers.
constexpr int kOutput = 100;

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(descriptor, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return true;
}

/// Ends the process without running what the library left to be run at its end.
[[noreturn]] void end(SeedKeyStatus status) {
    static_cast<void>(std::fflush(nullptr));  // what the library printed; its loss is no failure
    std::_Exit(static_cast<int>(status));
}

[[noreturn]] void end(SeedKeyStatus status, const std::string& text) {
    static_cast<void>(std::fflush(nullptr));
    // Without standard error the exit code has to do.
    static_cast<void>(writeAll(STDERR_FILENO, std::string(host::kSeedKeySpeaker) + text + '\n'));
    std::_Exit(static_cast<int>(status));
}

std::string& endedText() {
    static std::string* const kText = new std::string;  // outlives the statics of the library
    return *kText;
}

/// Runs when the library calls exit(): this program ends in `end` alone.
void onExit() {
    end(SeedKeyStatus::ended, endedText());
}

/// No core files, and an end of its own where nobody else sets one.
void limitSelf(unsigned seconds) {
    const rlimit none{0, 0};
    const rlimit time{seconds, seconds + 1};  // the first one is a signal that tells why
    setrlimit(RLIMIT_CORE, &none);
    setrlimit(RLIMIT_CPU, &time);
    alarm(seconds);
}

/// Keeps standard output for the key: what the library prints goes to standard error.
int takeOutput() {
    const int output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kOutput);
    if (output < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        end(SeedKeyStatus::outputLost, "there is no standard output for the key, or no standard error");
    }
    return output;
}

[[noreturn]] void serve(const SeedKeyRequest& request) {
    limitSelf(request.limitS);
    const int output = takeOutput();
    endedText() = request.library + ": " + request.entry + " ended the process; ask its maker";
    static_cast<void>(std::atexit(onExit));  // the first of at least 32
    const SeedKeyLibrary library(request.library, request.entry);
    if (!request.check && !writeAll(output, host::seedKeyOutput(library.computeKey(request)))) {
        end(SeedKeyStatus::outputLost,
            request.library + ": " + request.entry + " closed the output for its key; ask its maker");
    }
    end(SeedKeyStatus::done);
}

SeedKeyRequest parse(const std::vector<std::string>& arguments) {
    try {
        return host::parseSeedKeyArguments(arguments);
    } catch (const std::invalid_argument& wrong) {
        end(SeedKeyStatus::usage, wrong.what());
    }
}

}  // namespace

int main(int count, char** values) {
    const std::vector<std::string> arguments(values + 1, values + std::max(count, 1));
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        writeAll(STDOUT_FILENO, host::seedKeyUsage());
        return EXIT_SUCCESS;
    }
    const SeedKeyRequest request = parse(arguments);
    try {
        serve(request);
    } catch (const SeedKeyFailure& failure) {
        end(failure.status(), request.library + ": " + failure.what());
    } catch (const std::exception& thrown) {
        end(SeedKeyStatus::ended,
            request.library + ": " + request.entry + " threw \"" + thrown.what() + "\"; ask its maker");
    } catch (...) {
        end(SeedKeyStatus::ended,
            request.library + ": " + request.entry + " threw an exception; ask its maker");
    }
}
