/// @file
/// What all sub-commands that talk to ECUs take from the command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// What the command line says of configuration, ECUs, buses and output.
struct LinkOptions {
    std::string config = "examples/demo.toml";  ///< file
    std::vector<std::string> ecus;              ///< names; empty: all of the configuration
    std::vector<std::string> buses;             ///< "NAME=URL" each, in place of what the configuration says
    std::string trace;                          ///< file for every frame; empty: none
    std::string log;                            ///< file for the library's log; empty: none
    std::uint32_t logLevel = 2;                 ///< least level that goes into `log`: 0 frames to 4 errors
    bool append = false;                        ///< `trace` and `log` go on behind what they hold
    bool json = false;                          ///< one object a line on standard output
    bool noColour = false;                      ///< no colours on a terminal either
};

}  // namespace host
