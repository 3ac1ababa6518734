/// @file
/// The command line of `talvex plan`. In a header because only the program itself links CLI11.
#pragma once

#include "host/PlanCommand.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace host {

/// Adds `plan` to @p app; it leaves what it is to run in @p chosen. @p options and @p chosen outlive @p app.
inline void addPlan(CLI::App& app, PlanOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* plan = app.add_subcommand(
        "plan",
        "Shows what a measurement will be: DAQ lists, what is polled and why, bus load; without an ECU");
    plan->add_option("config,-c,--config", options.config, "Configuration of buses, ECUs and variables")
        ->capture_default_str();
    plan->add_option("-e,--ecu", options.ecus, "ECU of the configuration; several times for several")
        ->allow_extra_args(false);
    plan->add_option("--variables", options.variables,
                     "Variables, separated by commas, instead of all of the configuration")
        ->delimiter(',')
        ->allow_extra_args(false);
    plan->add_flag("--unlimited", options.unlimited, "DAQ lists of XCP take ODTs without limit");
    plan->add_flag("--json", options.json, "JSON, one object a line");
    plan->callback([&options, &chosen] { chosen = [&options] { return runPlan(options); }; });
}

}  // namespace host
