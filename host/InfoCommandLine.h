/// @file
/// The command line of `talvex info`. In a header because only the program itself links CLI11.
#pragma once

#include "host/InfoCommand.h"
#include "host/LinkCommandLine.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace host {

/// Adds `info` to @p app; it leaves what it is to run in @p chosen. @p options and @p chosen outlive @p app.
inline void addInfo(CLI::App& app, InfoOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* part = app.add_subcommand(
        "info", "Shows what ECUs say of themselves beside the configuration; exit code 9 if they differ");
    addLinkOptions(*part, options.link);
    part->callback([&options, &chosen] { chosen = [&options] { return runInfo(options); }; });
}

}  // namespace host
