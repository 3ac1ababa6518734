/// @file
/// Asks an XCP ECU what it says of itself.
#pragma once

#include "host/ConfigRecords.h"
#include "host/InfoFacts.h"
#include "host/LinkOptions.h"

#include <cstddef>

namespace host {

/// Connects that ECU, asks, and disconnects. Resources are unlocked if the configuration has a key; what
/// stays locked is a fact like others. @p facts holds what came until then, if it throws.
/// @throws HostError if the ECU does not answer, or the bus is down
void askXcpEcu(const Config& config, std::size_t ecu, const LinkOptions& options, InfoFacts& facts);

}  // namespace host
