/// @file
/// What the program tells its caller.
#pragma once

namespace host {

/// Exit codes of all sub-commands.
enum class ExitCode : int {
    done = 0,           ///< all went well
    failed = 1,         ///< the operation failed; the output says why
    usage = 2,          ///< the command line is wrong
    configuration = 3,  ///< the configuration is wrong; the output names file, line and what is allowed
    different = 9,      ///< two things that were compared differ
    interrupted = 130,  ///< Ctrl-C or a request to terminate; what was open has been closed
};

}  // namespace host
