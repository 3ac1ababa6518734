/// @file
/// The command line of `talvex decode`. In a header because only the program itself links CLI11.
#pragma once

#include "host/DecodeCommand.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace host {

/// Adds `decode` to @p app; it leaves what it is to run in @p chosen. @p options and
/// @p chosen outlive @p app.
inline void addDecode(CLI::App& app, DecodeOptions& options, std::function<ExitCode()>& chosen) {
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
    decode->callback([&options, &chosen] { chosen = [&options] { return runDecode(options); }; });
}

}  // namespace host
