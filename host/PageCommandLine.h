/// @file
/// The command line of `talvex page`. In a header because only the program itself links CLI11.
#pragma once

#include "host/LinkCommandLine.h"
#include "host/PageCommand.h"

#include <CLI/CLI.hpp>

#include <functional>

namespace host {

/// Adds one sub-command of `page`.
inline void addPageAction(CLI::App& page, const char* name, const char* text, PageAction action,
                          PageOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* part = page.add_subcommand(name, text);
    addLinkOptions(*part, options.link);
    part->callback([&options, &chosen, action] {
        options.action = action;
        chosen = [&options] { return runPage(options); };
    });
}

/// Adds `page` to @p app; it leaves what it is to run in @p chosen. @p options and @p chosen outlive @p app.
inline void addPage(CLI::App& app, PageOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* page = app.add_subcommand("page", "Selects and copies calibration pages");
    page->require_subcommand(1);
    addPageAction(*page, "working", "Selects the page that can be written", PageAction::working, options,
                  chosen);
    addPageAction(*page, "reference", "Selects the page that cannot be written", PageAction::reference,
                  options, chosen);
    addPageAction(*page, "copy", "Copies the reference page to the working page", PageAction::copy, options,
                  chosen);
}

}  // namespace host
