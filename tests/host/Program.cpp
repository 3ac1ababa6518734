#include "tests/host/Program.h"
#include "tests/host/Places.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace host_test {
namespace {

[[noreturn]] void become(const std::vector<std::string>& arguments) {
    std::vector<char*> pointers{const_cast<char*>(host_test::kProgram)};
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    execv(host_test::kProgram, pointers.data());
    _exit(127);
}

}  // namespace

Program::Program(const std::vector<std::string>& arguments, Streams streams) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    m_errorFile = streams == Streams::apart ? std::tmpfile() : nullptr;
    m_process = fork();
    if (m_process < 0) {
        throw std::runtime_error("no process");
    }
    if (m_process == 0) {
        dup2(ends[1], STDOUT_FILENO);
        dup2(m_errorFile != nullptr ? fileno(m_errorFile) : ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        become(arguments);
    }
    close(ends[1]);
    m_pipe = ends[0];
}

Program::~Program() {
    closeOutput();
    if (m_errorFile != nullptr) {
        std::fclose(m_errorFile);
    }
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
}

bool Program::readMore() {
    std::array<char, 4096> part{};
    ssize_t count = 0;
    do {
        count = read(m_pipe, part.data(), part.size());
    } while (count < 0 && errno == EINTR);
    if (count > 0) {
        m_output.append(part.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

bool Program::readUntil(const std::string& text) {
    while (m_output.find(text) == std::string::npos) {
        if (!readMore()) {
            return false;
        }
    }
    return true;
}

void Program::closeOutput() {
    if (m_pipe >= 0) {
        close(m_pipe);
        m_pipe = -1;
    }
}

void Program::signal(int number) const {
    if (m_process <= 0) {
        throw std::logic_error("the process has ended");
    }
    kill(m_process, number);
}

int Program::wait() {
    while (m_pipe >= 0 && readMore()) {
    }
    int status = 0;
    waitpid(m_process, &status, 0);
    m_process = -1;
    readErrors();
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void Program::readErrors() {
    if (m_errorFile == nullptr) {
        return;
    }
    std::rewind(m_errorFile);
    std::array<char, 4096> part{};
    for (std::size_t count = 1; count > 0;) {
        count = std::fread(part.data(), 1, part.size(), m_errorFile);
        m_errors.append(part.data(), count);
    }
}

std::string inTerminal(unsigned short columns, unsigned short rows, const std::vector<std::string>& arguments,
                       int& code) {
    constexpr int kPatienceMs = 60'000;
    winsize size{};
    size.ws_col = columns;
    size.ws_row = rows;
    int terminal = -1;
    const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
    if (process < 0) {
        throw std::runtime_error("no terminal");
    }
    if (process == 0) {
        become(arguments);
    }
    std::string shown;
    std::array<char, 4096> part{};
    pollfd waiting{terminal, POLLIN, 0};
    ssize_t count = 1;
    while (count > 0 && poll(&waiting, 1, kPatienceMs) > 0) {
        count = read(terminal, part.data(), part.size());
        shown.append(part.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    if (count > 0) {
        ADD_FAILURE() << "the terminal has been still for too long";
        kill(process, SIGKILL);
    }
    int status = 0;
    waitpid(process, &status, 0);
    close(terminal);
    code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return shown;
}

TempFile::TempFile(const std::string& content) {
    std::string pattern = "/tmp/talvex-config-XXXXXX";
    const int file = mkstemp(pattern.data());
    if (file < 0) {
        throw std::runtime_error("no temporary file");
    }
    close(file);
    m_path = pattern;
    std::ofstream(m_path) << content;
}

TempFile::~TempFile() {
    std::remove(m_path.c_str());
}

std::string projectFile(const std::string& path) {
    std::ifstream stream(std::string(host_test::kProjectFolder) + "/" + path);
    if (!stream) {
        throw std::runtime_error("cannot read " + path);
    }
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    const std::size_t place = text.find(what);
    if (place == std::string::npos) {
        throw std::runtime_error("nothing to replace: " + what);
    }
    return text.replace(place, what.size(), with);
}

}  // namespace host_test
