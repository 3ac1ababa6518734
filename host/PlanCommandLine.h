/// @file
/// The command line of `talvex plan`. In a header because only the program itself links CLI11.
#pragma once

#include "host/LinkCommandLine.h"
#include "host/PlanCommand.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>

namespace host {

/// Adds `plan` to @p app; it leaves what it is to run in @p chosen. @p options and @p chosen outlive @p app.
inline void addPlan(CLI::App& app, PlanOptions& options, std::function<ExitCode()>& chosen) {
    constexpr std::uint16_t kLongestPeriodMs = 65535;
    CLI::App* plan = app.add_subcommand(
        "plan",
        "Shows what a measurement will be: DAQ lists, what is polled and why, bus load; without an ECU");
    plan->add_option("variables", options.names,
                     "NAME, ECU.NAME or a pattern with * and ?; none: all of the ECUs");
    plan->add_option("--period", options.periodMs, "Plans as if all variables were polled in this period, ms")
        ->check(CLI::Range(std::uint16_t{1}, kLongestPeriodMs));
    plan->add_flag("--unlimited", options.unlimited, "DAQ lists of XCP take ODTs without limit");
    addEcuOptions(*plan, options.link);
    addJsonOption(*plan, options.link);
    plan->callback([&options, &chosen] { chosen = [&options] { return runPlan(options); }; });
}

}  // namespace host
