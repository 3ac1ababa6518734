#include "host/SimCommand.h"

#include "host/Config.h"
#include "host/HostError.h"
#include "host/Interrupt.h"
#include "host/RunCommand.h"
#include "host/SimPrint.h"
#include "host/SimRun.h"

#include <fmt/format.h>

#include <chrono>
#include <optional>
#include <system_error>
#include <thread>

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

/// How often an interrupt and a bus that went down are looked for.
constexpr std::chrono::milliseconds kLook{20};

void openTrace(std::optional<CandumpWriter>& trace, const SimOptions& options) {
    if (!options.trace) {
        return;
    }
    try {
        trace.emplace(*options.trace);
    } catch (const std::system_error& error) {
        throw HostError(fmt::format("{}: cannot be written: {}", *options.trace, error.code().message()));
    }
}

/// Waits for the end. @throws HostError if a bus is down
ExitCode await(const SimRun& run, std::optional<double> seconds) {
    const auto start = Clock::now();
    while (!interrupted()) {
        if (const std::string failure = run.failure(); !failure.empty()) {
            throw HostError(failure, ExitCode::bus);
        }
        if (seconds && Clock::now() - start >= std::chrono::duration<double>(*seconds)) {
            return ExitCode::done;
        }
        std::this_thread::sleep_for(kLook);
    }
    return ExitCode::interrupted;
}

/// Prints what was counted, however the run ended.
ExitCode runPlan(const SimOptions& options, const Config& config, const SimPlan& plan, CandumpWriter* trace) {
    SimPrint print(config, plan, options.json);
    const SimRun run(config, plan, trace);
    print.ready(run);
    try {
        const ExitCode code = await(run, options.seconds);
        print.counters(run);
        return code;
    } catch (const HostError&) {
        print.counters(run);
        throw;
    }
}

ExitCode simulate(const SimOptions& options) {
    const Config config = loadConfig(options.config);
    const SimPlan plan = planSim(options, config);
    std::optional<CandumpWriter> trace;
    openTrace(trace, options);
    const ExitCode code = runPlan(options, config, plan, trace ? &*trace : nullptr);
    if (trace && !trace->close()) {
        throw HostError(fmt::format("{}: could not be written whole", *options.trace));
    }
    return code;
}

}  // namespace

ExitCode runSim(const SimOptions& options) {
    return runCommand("sim", options.json, [&options] { return simulate(options); });
}

}  // namespace host
