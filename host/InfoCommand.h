/// @file
/// `talvex info`: what ECUs say of themselves, beside what the configuration says.
#pragma once

#include "host/ExitCode.h"
#include "host/LinkOptions.h"

namespace host {

struct InfoOptions {
    LinkOptions link;
};

/// Connects the ECUs one after the other and prints what they say.
/// @return ExitCode::different if something does not go together with the configuration
[[nodiscard]] ExitCode runInfo(const InfoOptions& options);

}  // namespace host
