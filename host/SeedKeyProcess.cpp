#include "host/SeedKeyProcess.h"

#include "host/BoundedProcess.h"

#include <fmt/format.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string_view>

#include <unistd.h>

namespace host {
namespace {

constexpr const char* kHelperName = "talvex-seedkey";

/// What was under way, for messages.
std::string subject(const SeedKeyRequest& request) {
    return fmt::format("{}: {}", request.library, request.check ? "loading it" : request.entry);
}

/// @p argument as a shell takes it for one word.
std::string quoted(const std::string& argument) {
    constexpr std::string_view kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./:=,+@%-";
    if (!argument.empty() && argument.find_first_not_of(kPlain) == std::string::npos) {
        return argument;
    }
    std::string text = "'";
    for (const char character : argument) {
        text += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return text + "'";
}

/// The command by which a user sees the same.
std::string byHand(const std::string& helper, const SeedKeyRequest& request) {
    std::string command = quoted(helper);
    for (const std::string& argument : seedKeyArguments(request)) {
        command += ' ' + quoted(argument);
    }
    return command;
}

SeedKeyAnswer problem(std::string text) {
    return {{}, std::move(text)};
}

SeedKeyAnswer notStarted(const std::string& helper, int error) {
    return problem(
        fmt::format("the helper {} cannot be started: {}; give the path of {}, built for the word "
                    "size of the library",
                    helper, std::strerror(error), kHelperName));
}

SeedKeyAnswer crashed(const std::string& helper, const SeedKeyRequest& request, int signal) {
    if (signal == SIGALRM || signal == SIGXCPU) {
        return problem(fmt::format("{} did not come back and was stopped; ask its maker", subject(request)));
    }
    return problem(fmt::format("{} crashed ({}); ask its maker, who may want to see: {}", subject(request),
                               strsignal(signal), byHand(helper, request)));
}

/// The helper says what is wrong, unless the library closed its mouth.
SeedKeyAnswer failed(const SeedKeyRequest& request, const ProcessOutcome& outcome) {
    const std::string message = seedKeyMessage(outcome.error);
    if (!message.empty()) {
        return problem(message);
    }
    return problem(fmt::format("{} ended the helper with code {} and without a message; ask its maker",
                               subject(request), outcome.code));
}

SeedKeyAnswer answered(const SeedKeyRequest& request, const ProcessOutcome& outcome) {
    if (request.check && outcome.output.empty()) {
        return {};
    }
    std::optional<std::vector<std::uint8_t>> key = parseSeedKeyOutput(outcome.output);
    if (request.check || !key || key->empty() || key->size() > request.room) {
        return problem(fmt::format("{} ended the process without a key; ask its maker", subject(request)));
    }
    return {*std::move(key), {}};
}

bool isProgram(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

}  // namespace

std::string findSeedKeyHelper() {
    std::error_code error;
    const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error && isProgram(own.parent_path() / kHelperName)) {
        return own.parent_path() / kHelperName;
    }
    const char* const folders = std::getenv("PATH");
    std::istringstream list(folders != nullptr ? folders : "");
    for (std::string folder; std::getline(list, folder, ':');) {
        const std::filesystem::path candidate =
            std::filesystem::path(folder.empty() ? "." : folder) / kHelperName;
        if (isProgram(candidate)) {
            return candidate;
        }
    }
    return {};
}

SeedKeyAnswer runSeedKeyHelper(const std::string& helper, const SeedKeyRequest& request, std::uint32_t timeMs,
                               const std::function<bool()>& stop) {
    ProcessBounds bounds;
    bounds.time = std::chrono::milliseconds(timeMs);
    bounds.stop = stop;
    const ProcessOutcome outcome = runBounded(helper, seedKeyArguments(request), bounds);
    switch (outcome.end) {
        case ProcessEnd::exited:
            return outcome.code == static_cast<int>(SeedKeyStatus::done) ? answered(request, outcome)
                                                                         : failed(request, outcome);
        case ProcessEnd::signalled:
            return crashed(helper, request, outcome.code);
        case ProcessEnd::timeOut:
            return problem(
                fmt::format("{} did not come back within {} ms and was stopped; raise its time limit "
                            "or ask its maker",
                            subject(request), timeMs));
        case ProcessEnd::tooMuch:
            return problem(fmt::format("{} printed more than {} bytes and was stopped; ask its maker",
                                       subject(request), bounds.output));
        case ProcessEnd::stopped:
            return problem(fmt::format("{} was interrupted", subject(request)));
        case ProcessEnd::unknown:
            return problem(
                fmt::format("{}: nobody can tell how the helper ended, because something in this "
                            "process waits for all others; try it by hand: {}",
                            subject(request), byHand(helper, request)));
        case ProcessEnd::notStarted:
            break;
    }
    return notStarted(helper, outcome.code);
}

}  // namespace host
