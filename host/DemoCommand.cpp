#include "host/DemoCommand.h"

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
        config.demo.seconds = options.seconds.value_or(config.demo.seconds);
        Output output(stdout, !options.noColour);
        DemoRun run(config, output);
        return run.run();
    } catch (const ConfigError& error) {
        Output(stderr, false).line(std::string("talvex: ") + error.what());
        return ExitCode::usage;
    }
}

}  // namespace host
