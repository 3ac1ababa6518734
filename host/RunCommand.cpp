#include "host/RunCommand.h"

#include "host/ConfigError.h"
#include "host/HostError.h"
#include "host/Interrupt.h"
#include "host/JsonLines.h"
#include "host/LostOutput.h"
#include "host/Output.h"

#include <cstdio>
#include <exception>

namespace host {
namespace {

struct Ending {
    ExitCode code = ExitCode::done;
    std::string error;
};

Ending run(const std::function<ExitCode()>& body) {
    try {
        return {body(), ""};
    } catch (const HostError& error) {
        return {error.code(), error.what()};
    } catch (const ConfigError& error) {
        return {ExitCode::configuration, error.what()};
    } catch (const std::exception& error) {
        return {ExitCode::failed, error.what()};
    }
}

/// What was lost on the way makes a failure of what went well otherwise.
void countLostFiles(Ending& ending) {
    for (const std::string& file : lostFiles()) {
        ending.error += (ending.error.empty() ? "" : "; ") + file + ": could not be written whole";
        ending.code = ending.code == ExitCode::done ? ExitCode::failed : ending.code;
    }
}

/// Whether all that was printed got through.
bool isOutputWhole() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

}  // namespace

ExitCode runCommand(const std::string& name, bool json, const std::function<ExitCode()>& body) {
    watchInterrupts();
    Ending ending = run(body);
    countLostFiles(ending);
    if (!ending.error.empty()) {
        tell(ending.error);
    }
    JsonLines lines(stdout);
    if (json) {
        lines.writeResult(name, ending.code, ending.error);
    }
    if (ending.code == ExitCode::done && (lines.broken() || !isOutputWhole())) {
        tell("standard output: could not be written whole");
        return ExitCode::failed;
    }
    return ending.code;
}

}  // namespace host
