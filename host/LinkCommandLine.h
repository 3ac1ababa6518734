/// @file
/// The command line that all sub-commands share that talk to ECUs. In a header because only the program
/// itself links CLI11.
#pragma once

#include "host/LinkOptions.h"

#include <CLI/CLI.hpp>

#include <cstdint>

namespace host {

/// Adds the options that choose configuration and ECU. @p options outlive @p part.
inline void addEcuOptions(CLI::App& part, LinkOptions& options) {
    part.add_option("-c,--config", options.config, "Configuration of buses, ECUs and variables")
        ->capture_default_str();
    part.add_option("-e,--ecu", options.ecus, "ECU of the configuration; several times for several")
        ->allow_extra_args(false);
}

/// Adds the option of output for programs. @p options outlive @p part.
inline void addJsonOption(CLI::App& part, LinkOptions& options) {
    part.add_flag("--json", options.json, "JSON, one object a line");
}

/// Adds the options that choose configuration, ECU and bus, and those of output and logs. @p options outlive
/// @p part.
inline void addLinkOptions(CLI::App& part, LinkOptions& options) {
    constexpr std::uint32_t kHighestLevel = 4;
    addEcuOptions(part, options);
    part.add_option("--bus", options.buses,
                    "NAME=URL in place of what the configuration says; sim:, socketcan:can0 or "
                    "socketcand://host:29536/can0")
        ->allow_extra_args(false);
    part.add_option("--trace", options.trace, "Writes every frame to this file, as candump -L does");
    part.add_option("--log", options.log, "Writes the library's log to this file");
    part.add_option("--log-level", options.logLevel,
                    "Least level of that log: 0 frames, 1 results, 2 progress, 3 warnings, 4 errors")
        ->check(CLI::Range(std::uint32_t{0}, kHighestLevel))
        ->capture_default_str();
    addJsonOption(part, options);
    part.add_flag("--no-color,--no-colour", options.noColour, "No colours on a terminal");
}

}  // namespace host
