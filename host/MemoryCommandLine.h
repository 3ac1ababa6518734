/// @file
/// The command line of the sub-commands that move whole ranges of memory. In a header because only the
/// program itself links CLI11.
#pragma once

#include "host/CheckCommand.h"
#include "host/EraseCommand.h"
#include "host/FlashCommand.h"
#include "host/LinkCommandLine.h"
#include "host/MemoryPlan.h"
#include "host/UploadCommand.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace host {

/// Adds a sub-command of one ECU; @p run becomes what is to be run. @p options and @p chosen outlive @p app.
inline CLI::App* addMemoryPart(CLI::App& app, const char* name, const char* text, MemoryOptions& options,
                               std::function<ExitCode()>& chosen, ExitCode (*run)(const MemoryOptions&)) {
    CLI::App* part = app.add_subcommand(name, text);
    addLinkOptions(*part, options.link);
    part->add_flag("-n,--dry-run", options.dryRun, "Shows the plan, does nothing and opens no bus");
    part->callback([&options, &chosen, run] { chosen = [&options, run] { return run(options); }; });
    return part;
}

/// Adds the image file that a sub-command reads.
inline void addImageFile(CLI::App& part, MemoryOptions& options) {
    part.add_option("file", options.file, "Intel HEX (.hex) or S-record (.s19, .mot)")->required();
    part.add_flag("--ignore-outside", options.ignoreOutside,
                  "Leaves out what of the file lies in no segment of the ECU; else that is an error");
}

/// @param otherwise  what goes without the option
inline void addSegments(CLI::App& part, MemoryOptions& options, const std::string& otherwise) {
    part.add_option("--segment", options.segments,
                    "Memory by meaning, several with commas or several times [" + otherwise + "]")
        ->check(CLI::IsMember(partKindWords()))
        ->delimiter(',')
        ->allow_extra_args(false);
}

/// Adds `upload` to @p app; it leaves what it is to run in @p chosen. @p options and @p chosen outlive @p
/// app.
inline void addUpload(CLI::App& app, MemoryOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* part =
        addMemoryPart(app, "upload", "Reads memory of an ECU into an image file", options, chosen, runUpload);
    part->add_option("file", options.file,
                     "File to write, .hex, .s19 or .mot; replaced only when the new one is whole")
        ->required();
    addSegments(*part, options, "the working page; without pages the flash, without flash the RAM");
}

/// Adds `flash`, as `addUpload` does.
inline void addFlash(CLI::App& app, MemoryOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* part =
        addMemoryPart(app, "flash", "Erases the flash of an ECU, programs an image file and compares both",
                      options, chosen, runFlash);
    addImageFile(*part, options);
    part->add_flag("--no-erase", options.noErase, "Programs flash that is erased already");
}

/// Adds `erase`, as `addUpload` does.
inline void addErase(CLI::App& app, MemoryOptions& options, std::function<ExitCode()>& chosen) {
    addMemoryPart(app, "erase", "Erases all flash of an ECU", options, chosen, runErase);
}

/// Adds `check`, as `addUpload` does.
inline void addCheck(CLI::App& app, MemoryOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* part = addMemoryPart(
        app, "check", "Compares an image file with an ECU by checksums; exit code 9 if they differ", options,
        chosen, runCheck);
    addImageFile(*part, options);
    addSegments(*part, options, "all of it; of the pages of an XCP ECU the working page");
}

}  // namespace host
