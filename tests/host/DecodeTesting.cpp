#include "tests/host/DecodeTesting.h"
#include "tests/host/Places.h"
#include "tests/host/Program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace host_test {
namespace {

std::string contentOf(const std::string& path) {
    std::ifstream stream(path);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

void redirect(const std::string& path, int flags, int descriptor) {
    const int file = open(path.c_str(), flags);
    dup2(file, descriptor);
    close(file);
}

}  // namespace

Outcome runProgram(const std::vector<std::string>& arguments, const std::string& input,
                   const std::string& folder) {
    const TempFile in(input);
    const TempFile out("");
    const TempFile err("");
    std::vector<char*> pointers{const_cast<char*>(host_test::kProgram)};
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    const pid_t process = fork();
    if (process < 0) {
        throw std::runtime_error("no process");
    }
    if (process == 0) {
        redirect(in.path(), O_RDONLY, STDIN_FILENO);
        redirect(out.path(), O_WRONLY, STDOUT_FILENO);
        redirect(err.path(), O_WRONLY, STDERR_FILENO);
        if (chdir(folder.c_str()) == 0) {
            execv(host_test::kProgram, pointers.data());
        }
        _exit(127);
    }
    int status = 0;
    waitpid(process, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), contentOf(out.path()),
            contentOf(err.path())};
}

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> found;
    for (std::string line; std::getline(stream, line);) {
        found.push_back(line);
    }
    return found;
}

host::FrameDecoder decoderOf(const std::vector<std::string>& pairs) {
    std::vector<host::IdPair> parsed;
    for (const std::string& pair : pairs) {
        const host::Protocol protocol =
            pair.substr(0, 4) == "ccp " ? host::Protocol::ccp : host::Protocol::xcp;
        parsed.push_back(host::parseIdPair(protocol, pair.substr(4)));
    }
    return host::FrameDecoder(parsed);
}

host::LoggedFrame frameAt(std::int64_t timeUs, const std::string& frame) {
    host::LoggedFrame logged = host::readCandumpLine("(0.0) can0 " + frame).value();
    logged.timeUs = timeUs;
    return logged;
}

}  // namespace host_test
