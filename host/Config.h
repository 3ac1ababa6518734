/// @file
/// Reading configuration files.
#pragma once

#include "host/ConfigRecords.h"

#include <string>

namespace host {

/// Reads and checks a configuration.
/// @throws ConfigError on the first mistake, with file, line, key, what was found and what is allowed
[[nodiscard]] Config loadConfig(const std::string& file);

}  // namespace host
