/// @file
/// `talvex write`: new values of variables.
#pragma once

#include "host/ConfigRecords.h"
#include "host/ExitCode.h"
#include "host/LinkOptions.h"
#include "host/VariableName.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host {

struct WriteOptions {
    LinkOptions link;
    std::vector<std::string> assignments;  ///< "NAME=VALUE"
};

/// One value to write.
struct Assignment {
    NamedVariable variable;
    std::string text;                 ///< of the value, as it was given
    std::vector<std::uint8_t> bytes;  ///< to write
    bool exact = true;                ///< the bytes are what was asked for, else the nearest
};

/// Reads "NAME=VALUE" for the variables of @p ecus.
/// @throws HostError ExitCode::usage for what cannot be written: no such variable, a value that does not fit,
///         memory that the configuration says cannot be written
[[nodiscard]] Assignment parseAssignment(const Config& config, const std::vector<std::size_t>& ecus,
                                         const std::string& text);

/// Writes all values, if all of them can be, and reads them back.
/// @return ExitCode::done, ExitCode::different if one does not read as it was written, or what an ECU had
///         against the first that failed
[[nodiscard]] ExitCode runWrite(const WriteOptions& options);

}  // namespace host
