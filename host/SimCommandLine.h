/// @file
/// The command line of `talvex sim`. In a header because only the program itself links CLI11.
#pragma once

#include "host/FiniteNumber.h"
#include "host/SimCommand.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace host {

/// Adds `sim` to @p app; it leaves what it is to run in @p chosen. @p options and @p chosen outlive @p app.
inline void addSim(CLI::App& app, SimOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* sim = app.add_subcommand("sim", "Runs simulated ECUs for other programs to talk to");
    sim->add_option("config,-c,--config", options.config, "Configuration of buses and ECUs")
        ->capture_default_str();
    sim->add_option("--listen", options.listen,
                    "HOST:PORT where any client of socketcand can open the buses by their names; port 0 is "
                    "any free one, and what it became is told");
    sim->add_option("--bus", options.bridges,
                    "NAME=URL carries the frames of a bus to and from socketcan:INTERFACE or "
                    "socketcand://HOST:PORT/BUS; several times")
        ->allow_extra_args(false);
    sim->add_option("--bus-name", options.busNames,
                    "Simulates only this bus of the configuration; several times")
        ->allow_extra_args(false);
    sim->add_option("--trace", options.trace, "Writes every frame to this file, as candump -L does");
    sim->add_option("--seconds", options.seconds, "Ends by itself after this time")
        ->check(CLI::Range(kLeastSimSeconds, kMostSimSeconds))
        ->check(finiteNumber());
    sim->add_flag("--json", options.json, "JSON, one object a line");
    sim->callback([&options, &chosen] { chosen = [&options] { return runSim(options); }; });
}

}  // namespace host
