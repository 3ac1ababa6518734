/// @file
/// The command line of `talvex hex`. In a header because only the program itself links CLI11.
#pragma once

#include "host/HexChecksum.h"
#include "host/HexCommand.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace host {

/// Adds one sub-command of `hex`; @p run becomes what is to be run.
inline CLI::App* addHexPart(CLI::App& hex, const char* name, const char* text, HexOptions& options,
                            std::function<ExitCode()>& chosen, ExitCode (*run)(const HexOptions&)) {
    CLI::App* part = hex.add_subcommand(name, text);
    part->add_flag("--json", options.json, "JSON, one object a line");
    part->callback([&options, &chosen, run] { chosen = [&options, run] { return run(options); }; });
    return part;
}

/// @param least, most  of input files; @p most below 0 is any number
inline void addHexFiles(CLI::App& part, HexOptions& options, int least, int most) {
    part.add_option("files", options.files, "Intel HEX (.hex) or S-record (.s19, .mot)")
        ->required()
        ->expected(least, most < 0 ? CLI::detail::expected_max_vector_size : most);
}

/// Adds the file that a part of `hex` writes.
inline void addHexOut(CLI::App& part, HexOptions& options) {
    part.add_option("-o,--out", options.out,
                    "File to write, its ending tells the format; replaced only when the new one is whole")
        ->required();
}

/// Adds `hex` to @p app; it leaves what it is to run in @p chosen. @p options and @p chosen outlive @p app.
inline void addHex(CLI::App& app, HexOptions& options, std::function<ExitCode()>& chosen) {
    CLI::App* hex = app.add_subcommand("hex", "Looks at, joins, cuts, converts and compares image files");
    hex->require_subcommand(1);

    CLI::App* info = addHexPart(*hex, "info", "Blocks, gaps, overlaps and checksums of each file", options,
                                chosen, runHexInfo);
    addHexFiles(*info, options, 1, -1);
    info->add_option("--checksum", options.checksum, "Checksum of each block")
        ->check(CLI::IsMember(hexChecksumNames()));

    CLI::App* merge =
        addHexPart(*hex, "merge", "Joins files; start addresses are not kept", options, chosen, runHexMerge);
    addHexFiles(*merge, options, 1, -1);
    addHexOut(*merge, options);
    merge
        ->add_option("--overlap", options.overlap,
                     "Which file counts at an address that several hold; error refuses")
        ->check(CLI::IsMember(std::vector<std::string>{"error", "first", "last"}))
        ->capture_default_str();

    CLI::App* crop = addHexPart(*hex, "crop", "Keeps what lies in ranges", options, chosen, runHexCrop);
    addHexFiles(*crop, options, 1, 1);
    addHexOut(*crop, options);
    crop->add_option("--range", options.ranges,
                     "ADDRESS:LENGTH or FIRST-LAST, decimal or hexadecimal behind 0x; several with commas or "
                     "several times")
        ->required()
        ->allow_extra_args(false)
        ->delimiter(',');
    crop->add_option("--fill", options.fill, "Byte for addresses of the ranges that the file does not hold");

    CLI::App* convert = addHexPart(*hex, "convert", "Writes a file in the format of another ending", options,
                                   chosen, runHexConvert);
    addHexFiles(*convert, options, 1, 1);
    addHexOut(*convert, options);

    CLI::App* compare = addHexPart(*hex, "compare", "Tells where two files differ; exit code 9 if they do",
                                   options, chosen, runHexCompare);
    addHexFiles(*compare, options, 2, 2);
}

}  // namespace host
