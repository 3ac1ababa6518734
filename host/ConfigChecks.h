/// @file
/// How the parts of a configuration have to fit together.
#pragma once

#include "host/ConfigRecords.h"
#include "host/ConfigTable.h"

#include <vector>

namespace host {

/// Checks @p ecu, whose values are each within their own range, as a whole and against the ECUs ahead of
/// it in the file.
/// @param table  what it was read from, for the place of a mistake
/// @throws ConfigError
void checkEcu(const ConfigTable& table, const EcuRecord& ecu, const std::vector<EcuRecord>& before);

}  // namespace host
