/// @file
/// The command line of `talvex measure`. In a header because only the program itself links CLI11.
#pragma once

#include "host/FiniteNumber.h"
#include "host/LinkCommandLine.h"
#include "host/MeasureCommand.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>

namespace host {

/// Adds `measure` to @p app; it leaves what it is to run in @p chosen. @p options and @p chosen outlive
/// @p app.
inline void addMeasure(CLI::App& app, MeasureOptions& options, std::function<ExitCode()>& chosen) {
    constexpr double kLongest = 1e9;
    constexpr std::uint16_t kLongestPeriodMs = 65535;
    CLI::App* measure = app.add_subcommand(
        "measure", "Measures variables by DAQ and polling, into a table on the terminal, CSV or JSON");
    measure->add_option("variables", options.names,
                        "NAME, ECU.NAME or a pattern with * and ?; none: all of the ECUs");
    measure->add_option("--seconds", options.seconds, "How long; without it until Ctrl-C")
        ->check(CLI::Range(0.0, kLongest))
        ->check(finiteNumber());
    measure
        ->add_option("--period", options.periodMs,
                     "Polls all variables in this period, milliseconds, "
                     "instead of DAQ and the periods of the configuration")
        ->check(CLI::Range(std::uint16_t{1}, kLongestPeriodMs));
    measure->add_option("--csv", options.csv,
                        "File for the values: a line for each delivery, a column for each variable; - is "
                        "standard output");
    measure->add_flag("--fail-on-loss", options.failOnLoss, "Exit code 6 if anything was lost on the way");
    addLinkOptions(*measure, options.link);
    measure->callback([&] { chosen = [&options] { return runMeasure(options); }; });
}

}  // namespace host
