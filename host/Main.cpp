// talvex: the command line.
#include "host/ConfigRecords.h"
#include "host/DecodeCommand.h"
#include "host/DemoCommand.h"
#include "host/ExitCode.h"
#include "host/HexCommandLine.h"
#include "host/InfoCommandLine.h"
#include "host/MeasureCommandLine.h"
#include "host/MemoryCommandLine.h"
#include "host/PageCommandLine.h"
#include "host/PlanCommandLine.h"
#include "host/ReadWriteCommandLine.h"
#include "host/SimCommandLine.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <functional>

namespace {

using host::ExitCode;

/// Adds `demo` to @p app; it leaves what it is to run in @p chosen.
void addDemo(CLI::App& app, host::DemoOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* demo =
        app.add_subcommand("demo", "Connects, calibrates, programs, measures and loses simulated ECUs");
    demo->add_option("config,-c,--config", options.config, "Configuration of buses, ECUs and variables")
        ->capture_default_str();
    demo->add_option("--seconds", options.seconds, "Measuring time in seconds of bus time")
        ->check(CLI::Range(host::kLeastSeconds, host::kMostSeconds));
    demo->add_option("--trace", options.trace, "Writes every frame to this file, as candump -L does");
    demo->add_flag("--no-color,--no-colour", options.noColour, "No colours on a terminal");
    demo->callback([&] { chosen = [&options] { return host::runDemo(options); }; });
}

/// Adds `decode` to @p app; it leaves what it is to run in @p chosen.
void addDecode(CLI::App& app, host::DecodeOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* decode = app.add_subcommand("decode", "Shows the CCP and XCP frames of a candump log by name");
    decode->add_option("log", options.log, "Log of candump, with or without -L; - is standard input")
        ->required();
    decode
        ->add_option("--xcp", options.xcpPairs,
                     "Identifiers to and from an XCP ECU and its byte order: 600:601 or 18DA10F1:18DAF110,be")
        ->allow_extra_args(false);
    decode->add_option("--ccp", options.ccpPairs, "The same for a CCP ECU")->allow_extra_args(false);
    decode->add_option(
        "-c,--config", options.config,
        "Configuration whose ECUs are looked for [examples/demo.toml if no identifiers are given]");
    decode->add_flag("--json", options.json, "JSON, one object a line");
    decode->add_flag("--stats", options.stats,
                     "Instead of frames a table: commands, answers, errors, response times");
    decode->add_flag("--delta", options.timeDeltas,
                     "The log holds times since the line before (candump -td)");
    decode->add_flag("--no-color,--no-colour", options.noColour, "No colours on a terminal");
    decode->callback([&] { chosen = [&options] { return host::runDecode(options); }; });
}

ExitCode run(int argc, char** argv) {
    CLI::App app("talvex: measures and calibrates ECUs over CCP and XCP on CAN");
    app.require_subcommand(0, 1);
    app.fallthrough(false);
    host::DemoOptions demoOptions;
    std::function<ExitCode()> chosen;
    host::DecodeOptions decodeOptions;
    host::HexOptions hexOptions;
    host::PlanOptions planOptions;
    host::MemoryOptions uploadOptions;
    host::MemoryOptions flashOptions;
    host::MemoryOptions eraseOptions;
    host::MemoryOptions checkOptions;
    host::SimOptions simOptions;
    host::MeasureOptions measureOptions;
    host::InfoOptions infoOptions;
    host::ReadOptions readOptions;
    host::WriteOptions writeOptions;
    host::PageOptions pageOptions;
    addDemo(app, demoOptions, chosen);
    host::addInfo(app, infoOptions, chosen);
    host::addMeasure(app, measureOptions, chosen);
    host::addRead(app, readOptions, chosen);
    host::addWrite(app, writeOptions, chosen);
    host::addPage(app, pageOptions, chosen);
    host::addUpload(app, uploadOptions, chosen);
    host::addFlash(app, flashOptions, chosen);
    host::addErase(app, eraseOptions, chosen);
    host::addCheck(app, checkOptions, chosen);
    addDecode(app, decodeOptions, chosen);
    host::addHex(app, hexOptions, chosen);
    host::addPlan(app, planOptions, chosen);
    host::addSim(app, simOptions, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitCode::done : ExitCode::usage;
    }
    if (!chosen) {
        static_cast<void>(std::fputs(app.help().c_str(), stdout));
        return ExitCode::done;
    }
    return chosen();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return static_cast<int>(run(argc, argv));
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "talvex: %s\n", error.what()));
        return static_cast<int>(ExitCode::failed);
    }
}
