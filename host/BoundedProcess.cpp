#include "host/BoundedProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <iterator>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" char** environ;  // NOLINT(readability-redundant-declaration): not every system declares it

namespace host {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How long one wait takes at most, because the end of a process wakes nobody by itself.
constexpr milliseconds kSlice{20};
/// The same when both streams have ended and the process is about to.
constexpr milliseconds kShortSlice{1};

/// A descriptor that is closed in the end.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }

    [[nodiscard]] int number() const { return m_number; }
    [[nodiscard]] bool isOpen() const { return m_number >= 0; }
    void close() {
        if (isOpen()) {
            ::close(std::exchange(m_number, -1));
        }
    }

private:
    int m_number = -1;
};

/// A pipe from the program to this process.
struct Pipe {
    Descriptor read;
    Descriptor write;
};

/// Above the standard streams, which may be closed in this process: the program's are put there.
Descriptor aboveStreams(Descriptor descriptor) {
    if (!descriptor.isOpen() || descriptor.number() > STDERR_FILENO) {
        return descriptor;
    }
    return Descriptor(fcntl(descriptor.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

/// @return with closed ends, and the reason in errno, if there is none to be had
Pipe makePipe() {
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    Pipe made{aboveStreams(Descriptor(ends[0])), aboveStreams(Descriptor(ends[1]))};
    if (made.read.isOpen()) {
        fcntl(made.read.number(), F_SETFL, O_NONBLOCK);
    }
    return made;
}

/// What posix_spawn is told.
class SpawnSetup {
public:
    SpawnSetup(int output, int error) {
        posix_spawn_file_actions_init(&m_files);
        posix_spawn_file_actions_adddup2(&m_files, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_files, error, STDERR_FILENO);
        posix_spawn_file_actions_addopen(&m_files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addclosefrom_np(&m_files, STDERR_FILENO + 1);
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        setSignals();
    }
    ~SpawnSetup() {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_files);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    /// @return 0, or the system's error number
    [[nodiscard]] int start(pid_t& process, const std::string& program, std::vector<char*> arguments) const {
        return posix_spawn(&process, program.c_str(), &m_files, &m_attributes, arguments.data(), environ);
    }

private:
    /// Signals that this process blocks or ignores are none of the program's business.
    void setSignals() {
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(&m_attributes,
                                 POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }

    posix_spawn_file_actions_t m_files{};
    posix_spawnattr_t m_attributes{};
};

/// One of the program's streams.
struct Stream {
    Descriptor pipe;
    std::string text;

    /// Takes what is there. @return false if there is more than @p limit
    bool take(std::size_t limit) {
        std::array<char, 4096> part{};
        while (pipe.isOpen() && text.size() <= limit) {
            const ssize_t count = read(pipe.number(), part.data(), part.size());
            if (count > 0) {
                text.append(part.data(), static_cast<std::size_t>(count));
            } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
                pipe.close();
            } else if (errno == EAGAIN) {
                break;
            }
        }
        return text.size() <= limit;
    }
};

/// A started program.
class RunningProcess {
public:
    RunningProcess(pid_t process, Descriptor output, Descriptor error)
        : m_process(process), m_output{std::move(output), {}}, m_error{std::move(error), {}} {}

    [[nodiscard]] ProcessOutcome await(const ProcessBounds& bounds) {
        ProcessOutcome outcome;
        outcome.end = follow(bounds);
        if (outcome.end != ProcessEnd::unknown) {
            // It has not been waited for yet, so its number, which is that of the group too, still is its
            // own.
            kill(-m_process, SIGKILL);
            reap(outcome);
        }
        outcome.output = std::move(m_output.text);
        outcome.error = std::move(m_error.text);
        return outcome;
    }

private:
    enum class State { runs, over, lost };

    [[nodiscard]] ProcessEnd follow(const ProcessBounds& bounds) {
        const Clock::time_point deadline = Clock::now() + bounds.time;
        for (;;) {
            const State state = look();  // ahead of the last look at what it printed
            const bool outputFits = m_output.take(bounds.output);
            if (state == State::lost) {
                return ProcessEnd::unknown;
            }
            if (!m_error.take(bounds.output) || !outputFits) {
                return ProcessEnd::tooMuch;
            }
            if (state == State::over) {
                return ProcessEnd::exited;
            }
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
            if (left <= milliseconds::zero()) {
                return ProcessEnd::timeOut;
            }
            if (bounds.stop && bounds.stop()) {
                return ProcessEnd::stopped;
            }
            wait(left);
        }
    }

    void wait(milliseconds left) const {
        const bool silent = !m_output.pipe.isOpen() && !m_error.pipe.isOpen();
        std::array<pollfd, 2> streams{
            {{m_output.pipe.number(), POLLIN, 0}, {m_error.pipe.number(), POLLIN, 0}}};
        poll(streams.data(), streams.size(),
             static_cast<int>(std::min(left, silent ? kShortSlice : kSlice).count()));
    }

    /// Whether it has ended; it stays to be waited for, unless the system does not keep it for that.
    [[nodiscard]] State look() const {
        siginfo_t facts{};
        if (waitid(P_PID, static_cast<id_t>(m_process), &facts, WEXITED | WNOHANG | WNOWAIT) != 0) {
            return errno == ECHILD ? State::lost : State::runs;
        }
        return facts.si_pid == m_process ? State::over : State::runs;
    }

    void reap(ProcessOutcome& outcome) const {
        int status = 0;
        pid_t reaped = 0;
        do {
            reaped = waitpid(m_process, &status, 0);
        } while (reaped < 0 && errno == EINTR);
        if (outcome.end == ProcessEnd::exited && WIFSIGNALED(status)) {
            outcome.end = ProcessEnd::signalled;
            outcome.code = WTERMSIG(status);
        } else if (outcome.end == ProcessEnd::exited) {
            outcome.code = WEXITSTATUS(status);
        }
    }

    const pid_t m_process;
    Stream m_output;
    Stream m_error;
};

ProcessOutcome notStarted(int error) {
    ProcessOutcome outcome;
    outcome.code = error;
    return outcome;
}

std::vector<char*> pointers(std::vector<std::string>& arguments) {
    std::vector<char*> made;
    std::transform(arguments.begin(), arguments.end(), std::back_inserter(made),
                   [](std::string& argument) { return argument.data(); });
    made.push_back(nullptr);
    return made;
}

}  // namespace

ProcessOutcome runBounded(const std::string& program, const std::vector<std::string>& arguments,
                          const ProcessBounds& bounds) {
    Pipe output = makePipe();
    Pipe error = makePipe();
    if (!output.write.isOpen() || !error.write.isOpen()) {
        return notStarted(errno);
    }
    std::vector<std::string> all{program};
    all.insert(all.end(), arguments.begin(), arguments.end());
    pid_t process = -1;
    const SpawnSetup setup(output.write.number(), error.write.number());
    const int failure = setup.start(process, program, pointers(all));
    if (failure != 0) {
        return notStarted(failure);
    }
    output.write.close();
    error.write.close();
    return RunningProcess(process, std::move(output.read), std::move(error.read)).await(bounds);
}

}  // namespace host
