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
    bus = 4,            ///< a bus cannot be opened, failed or was closed
    noAnswer = 5,       ///< an ECU does not answer
    dataLost = 6,       ///< a measurement has gaps, and was told to fail for that
    locked = 7,         ///< the ECU wants a key for what was asked of it, or does not take the one it got
    refused = 8,        ///< the ECU says no
    different = 9,      ///< two things that were compared differ
    interrupted = 130,  ///< Ctrl-C or a request to terminate; what was open has been closed
};

}  // namespace host
