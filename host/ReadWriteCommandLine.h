/// @file
/// The command lines of `talvex read` and `talvex write`. In a header because only the program itself links
/// CLI11.
#pragma once

#include "host/LinkCommandLine.h"
#include "host/ReadCommand.h"
#include "host/VariableName.h"
#include "host/WriteCommand.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace host {

/// Adds `read` to @p app; it leaves what it is to run in @p chosen. @p options and @p chosen outlive @p app.
inline void addRead(CLI::App& app, ReadOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* part = app.add_subcommand("read", "Reads variables, in their units");
    part->add_option("names", options.names, kVariableForms)->required();
    part->add_flag("--raw", options.raw, "The bytes too, in hexadecimal and in the order of their addresses");
    addLinkOptions(*part, options.link);
    part->callback([&options, &chosen] { chosen = [&options] { return runRead(options); }; });
}

/// Adds `write` to @p app, as `addRead` does.
inline void addWrite(CLI::App& app, WriteOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* part = app.add_subcommand(
        "write", "Writes variables and reads them back; exit code 9 if they read differently");
    part->add_option("assignments", options.assignments,
                     "NAME=VALUE with a number in the unit of the variable (several with commas if it has "
                     "several), or NAME=0xBYTES in the order of their addresses. NAME also as ADDRESS:TYPE")
        ->required();
    addLinkOptions(*part, options.link);
    part->callback([&options, &chosen] { chosen = [&options] { return runWrite(options); }; });
}

}  // namespace host
