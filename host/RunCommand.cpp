#include "host/RunCommand.h"

#include "host/ConfigError.h"
#include "host/HostError.h"
#include "host/Interrupt.h"
#include "host/JsonLines.h"
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

}  // namespace

ExitCode runCommand(const std::string& name, bool json, const std::function<ExitCode()>& body) {
    watchInterrupts();
    const Ending ending = run(body);
    if (!ending.error.empty()) {
        Output(stderr, false).line("talvex: " + ending.error);
    }
    if (json) {
        JsonLines(stdout).writeResult(name, ending.code, ending.error);
    }
    return ending.code;
}

}  // namespace host
