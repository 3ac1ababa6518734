/// @file
/// Another program, run to its end within a time and with a limit to what it prints.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace host {

/// What a program may take.
struct ProcessBounds {
    std::chrono::milliseconds time{2'000};  ///< real time until it is killed
    std::size_t output = 0x20000;           ///< bytes of each of the two streams
    std::function<bool()> stop{};           ///< asked now and then: true ends it. Empty: never
};

/// How a program ended.
enum class ProcessEnd {
    exited,      ///< by itself; `code` is its exit code
    signalled,   ///< by a signal; `code` is its number
    timeOut,     ///< killed: its time was over
    tooMuch,     ///< killed: it printed more than it may
    stopped,     ///< killed: `stop` wanted that
    unknown,     ///< somehow: this process ignores SIGCHLD, or something else in it took the news
    notStarted,  ///< not at all; `code` is the system's error number
};

/// What came of a program.
struct ProcessOutcome {
    ProcessEnd end = ProcessEnd::notStarted;
    int code = 0;        ///< as `end` says; else 0
    std::string output;  ///< standard output
    std::string error;   ///< standard error
};

/// Runs a program with nothing on its standard input and with no descriptor of this process, in a process
/// group of its own, so that Ctrl-C on the terminal is not for it. What is left of the group is killed at its
/// end. Any thread; waits until the program is gone.
/// @param program  its path; PATH is not searched
/// @param arguments  without the program's name
[[nodiscard]] ProcessOutcome runBounded(const std::string& program, const std::vector<std::string>& arguments,
                                        const ProcessBounds& bounds);

}  // namespace host
