#include "bench/RowProcess.h"

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <exception>
#include <string>
#include <thread>

namespace bench {

namespace {

/// What a child writes ahead of the text of a failure.
struct Message {
    double subject;
    double baseline;
    double value;
    bool hasBaseline;
    bool met;
};

/// Keeps the calling thread, and threads that it will start, on the first processor that it may use.
void pinToOneProcessor() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    sched_getaffinity(0, sizeof allowed, &allowed);
    int first = 0;
    while (first < CPU_SETSIZE - 1 && !CPU_ISSET(first, &allowed)) {
        ++first;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    sched_setaffinity(0, sizeof one, &one);
}

/// In a process with one thread the C library's mutex takes a short cut that no host program sees.
void startIdleThread() {
    std::thread([] {
        while (true) {
            pause();
        }
    }).detach();
}

Result measureHere(const Row& row) {
    try {
        return measureRow(row);
    } catch (const std::exception& error) {
        return {failed(std::string("ended by an exception: ") + error.what()), false};
    }
}

void writeAll(int file, const void* data, std::size_t size) {
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = write(file, at, size);
        if (written <= 0) {
            return;
        }
        at += written;
        size -= static_cast<std::size_t>(written);
    }
}

std::string readAll(int file) {
    std::string bytes;
    std::array<char, 4096> part{};
    for (ssize_t got = 0; (got = read(file, part.data(), part.size())) > 0;) {
        bytes.append(part.data(), static_cast<std::size_t>(got));
    }
    return bytes;
}

/// The child: never returns.
[[noreturn]] void runChild(const Row& row, int file) {
    alarm(kRowLimitSeconds);
    if (row.processors == Processors::One) {
        pinToOneProcessor();
    }
    startIdleThread();
    const Result result = measureHere(row);
    const Figure& figure = result.figure;
    const Message message{figure.subject, figure.baseline.value_or(0.0), figure.value,
                          figure.baseline.has_value(), result.met};
    writeAll(file, &message, sizeof message);
    writeAll(file, figure.failure.data(), figure.failure.size());
    // The engine's threads may still run: no destructors.
    _exit(0);
}

Result resultOf(const std::string& bytes, int status) {
    Message message{};
    if (WIFSIGNALED(status)) {
        return {failed("ended by signal " + std::to_string(WTERMSIG(status))), false};
    }
    if (bytes.size() < sizeof message) {
        return {failed("ended without a figure"), false};
    }
    std::memcpy(&message, bytes.data(), sizeof message);
    Figure figure{message.subject, std::nullopt, message.value, bytes.substr(sizeof message)};
    if (message.hasBaseline) {
        figure.baseline = message.baseline;
    }
    return {figure, message.met};
}

}  // namespace

Result measureInOwnProcess(const Row& row) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        return {failed("no pipe"), false};
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        runChild(row, ends[1]);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return {failed("no process"), false};
    }
    const std::string bytes = readAll(ends[0]);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return resultOf(bytes, status);
}

}  // namespace bench
