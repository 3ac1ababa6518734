/// @file
/// The table of measured variables.
#pragma once

#include "host/ConfigRecords.h"
#include "host/EcuMonitor.h"

#include <string>
#include <vector>

namespace host {

/// Columns of a terminal that the table fits into.
inline constexpr std::size_t kTableWidth = 110;

/// Names of the columns.
[[nodiscard]] std::string tableHead();

/// One line per variable of @p ecu, in the order of the configuration.
[[nodiscard]] std::vector<std::string> tableLines(const EcuRecord& ecu, const EcuReport& report);

/// @p number in at most @p width characters, as precisely as these allow, 6 digits at most behind the first
/// for numbers that are not whole.
[[nodiscard]] std::string shortNumber(double number, std::size_t width);

/// @p text with blanks, or cut with "…", to @p width characters of UTF-8.
[[nodiscard]] std::string fitted(const std::string& text, std::size_t width);

}  // namespace host
