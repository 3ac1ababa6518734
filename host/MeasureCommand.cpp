#include "host/MeasureCommand.h"

#include "host/HostError.h"
#include "host/Link.h"
#include "host/MeasureRun.h"
#include "host/MeasureSelection.h"
#include "host/RunCommand.h"

namespace host {

ExitCode runMeasure(const MeasureOptions& options) {
    return runCommand("measure", options.link.json, [&options] {
        if (options.link.json && options.csv == "-") {
            throw HostError("--json and --csv - both want standard output; give --csv a file",
                            ExitCode::usage);
        }
        Config config = loadConfigFor(options.link);
        const std::vector<std::size_t> ecus = chosenEcus(config, options.link);
        if (options.periodMs != 0) {
            pollAll(config, ecus, options.periodMs);
        }
        MeasureRun run(config, selectVariables(config, ecus, options.names, options.periodMs), options);
        return run.run();
    });
}

}  // namespace host
