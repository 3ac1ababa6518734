/// @file
/// How every sub-command begins and ends.
#pragma once

#include "host/ExitCode.h"

#include <functional>
#include <string>

namespace host {

/// Runs @p body and tells how it ended: on standard error what went wrong, and with @p json the object of
/// type "result" as the last line of standard output.
/// @param name  of the sub-command
/// @return the exit code of @p body, or the one that goes with what it threw; `failed` in place of `done` if
///         standard output or a file could not be written whole
[[nodiscard]] ExitCode runCommand(const std::string& name, bool json, const std::function<ExitCode()>& body);

}  // namespace host
