/// @file
/// The command line of `talvex demo`. In a header because only the program itself links CLI11.
#pragma once

#include "host/ConfigRecords.h"
#include "host/DemoCommand.h"
#include "host/FiniteNumber.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace host {

/// Adds `demo` to @p app; it leaves what it is to run in @p chosen. @p options and
/// @p chosen outlive @p app.
inline void addDemo(CLI::App& app, DemoOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* demo =
        app.add_subcommand("demo", "Connects, calibrates, programs, measures and loses simulated ECUs");
    demo->add_option("config,-c,--config", options.config, "Configuration of buses, ECUs and variables")
        ->capture_default_str();
    demo->add_option("--seconds", options.seconds, "Measuring time in seconds of bus time")
        ->check(CLI::Range(kLeastSeconds, kMostSeconds))
        ->check(finiteNumber());
    demo->add_option("--trace", options.trace, "Writes every frame to this file, as candump -L does");
    demo->add_flag("--no-color,--no-colour", options.noColour, "No colours on a terminal");
    demo->callback([&options, &chosen] { chosen = [&options] { return runDemo(options); }; });
}

}  // namespace host
