/// @file
/// Commands and answers that go over the bus while something is measured.
#pragma once

#include "host/BusLoad.h"
#include "host/ConfigRecords.h"

#include <cstdint>

namespace host {

/// What it takes of the bus to read @p size bytes so many times a second, as the library reads them.
[[nodiscard]] BusShare readShare(const EcuRecord& ecu, const BusRecord& bus, std::uint32_t size,
                                 double perSecond);

/// What the keep-alive takes.
[[nodiscard]] BusShare keepAliveShare(const EcuRecord& ecu, const BusRecord& bus);

}  // namespace host
