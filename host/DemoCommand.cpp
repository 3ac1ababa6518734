#include "host/DemoCommand.h"

#include "host/CandumpLog.h"
#include "host/Config.h"
#include "host/DemoRun.h"
#include "host/Interrupt.h"
#include "host/Output.h"

#include <cstdio>

namespace host {

ExitCode runDemo(const DemoOptions& options) {
    watchInterrupts();
    try {
        Config config = loadConfig(options.config);
        if (!config.hasDemo) {
            throw ConfigError({config.file, 0}, "demo", "is missing; give a [demo] for a demo");
        }
        config.demo.seconds = options.seconds.value_or(config.demo.seconds);
        Output output(stdout, !options.noColour);
        std::optional<CandumpWriter> trace;
        if (options.trace) {
            trace.emplace(*options.trace);
        }
        ExitCode code = DemoRun(config, output, trace ? &*trace : nullptr).run();
        if (trace && !trace->close()) {
            Output(stderr, false).line("talvex: " + *options.trace + " could not be written whole");
            code = ExitCode::failed;
        }
        return code;
    } catch (const ConfigError& error) {
        Output(stderr, false).line(std::string("talvex: ") + error.what());
        return ExitCode::configuration;
    }
}

}  // namespace host
