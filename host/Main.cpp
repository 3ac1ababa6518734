// talvex: the command line.
#include "host/DecodeCommandLine.h"
#include "host/DemoCommandLine.h"
#include "host/ExitCode.h"
#include "host/HexCommandLine.h"
#include "host/InfoCommandLine.h"
#include "host/JsonLines.h"
#include "host/MeasureCommandLine.h"
#include "host/MemoryCommandLine.h"
#include "host/Output.h"
#include "host/PageCommandLine.h"
#include "host/PlanCommandLine.h"
#include "host/ReadWriteCommandLine.h"
#include "host/SimCommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>

namespace {

using host::ExitCode;

/// The options of all sub-commands.
struct Options {
    host::DemoOptions demo;
    host::InfoOptions info;
    host::MeasureOptions measure;
    host::ReadOptions read;
    host::WriteOptions write;
    host::PageOptions page;
    host::MemoryOptions upload;
    host::MemoryOptions flash;
    host::MemoryOptions erase;
    host::MemoryOptions check;
    host::PlanOptions plan;
    host::DecodeOptions decode;
    host::HexOptions hex;
    host::SimOptions sim;
};

/// In the order of the help.
void addAll(CLI::App& app, Options& options, std::function<ExitCode()>& chosen) {
    host::addDemo(app, options.demo, chosen);
    host::addInfo(app, options.info, chosen);
    host::addMeasure(app, options.measure, chosen);
    host::addRead(app, options.read, chosen);
    host::addWrite(app, options.write, chosen);
    host::addPage(app, options.page, chosen);
    host::addUpload(app, options.upload, chosen);
    host::addFlash(app, options.flash, chosen);
    host::addErase(app, options.erase, chosen);
    host::addCheck(app, options.check, chosen);
    host::addPlan(app, options.plan, chosen);
    host::addDecode(app, options.decode, chosen);
    host::addHex(app, options.hex, chosen);
    host::addSim(app, options.sim, chosen);
}

/// The sub-command as far as it was understood: "hex info"; empty if there is none.
std::string chosenName(const CLI::App& app) {
    std::string name;
    for (const CLI::App* part : app.get_subcommands()) {
        const std::string rest = chosenName(*part);
        name = part->get_name() + (rest.empty() ? "" : " " + rest);
    }
    return name;
}

/// Help that was asked for is no mistake. Options may not be understood at all, so the arguments themselves
/// say whether a program reads the output.
ExitCode endParsing(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
        static_cast<void>(app.exit(error));
        return ExitCode::done;
    }
    const std::string name = chosenName(app);
    const std::string text = error.what();
    host::tell(text + "; more with: talvex " + (name.empty() ? "" : name + " ") + "--help");
    if (std::any_of(argv, argv + argc,
                    [](const char* argument) { return argument == std::string("--json"); })) {
        host::JsonLines(stdout).writeResult(name, ExitCode::usage, text);
    }
    return ExitCode::usage;
}

ExitCode run(int argc, char** argv) {
    CLI::App app("talvex: measures and calibrates ECUs over CCP and XCP on CAN");
    app.set_version_flag("--version", "talvex " TALVEX_VERSION);
    app.require_subcommand(0, 1);
    app.fallthrough(false);
    Options options;
    std::function<ExitCode()> chosen;
    addAll(app, options, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return endParsing(app, error, argc, argv);
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
        host::tell(error.what());
        return static_cast<int>(ExitCode::failed);
    }
}
