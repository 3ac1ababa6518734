/// @file
/// Measured values as a table of comma-separated values.
#pragma once

#include "host/CsvFile.h"
#include "host/MeasureRecords.h"
#include "host/MeasureSelection.h"

#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// A line for each delivery: seconds since the start with 6 decimals, then a column for each variable, empty
/// where the delivery has no value of it. Columns are called NAME, or ECU.NAME if there are several ECUs.
/// One thread. All functions throw HostError as CsvFile does.
class MeasureCsv {
public:
    /// Opens the file, and leaves what it holds.
    /// @param giveUp  as CsvFile takes it
    MeasureCsv(const std::string& path, const Config& config, const MeasureSelection& selection,
               GiveUp giveUp);

    /// Replaces what the file holds with the head.
    void begin();

    /// @param values  by variable of the selection's ECU; none where the delivery has no value
    void add(const MeasureDelivery& delivery, const std::vector<std::optional<MeasureValue>>& values);

    /// Writes the lines that wait if the last time was a second ago.
    void flushSometimes() { m_file.flushSometimes(); }
    /// Writes the lines that wait.
    void flush() { m_file.flush(); }

private:
    CsvFile m_file;
    std::vector<std::size_t> m_firstColumn;  ///< by ECU of the selection
    std::vector<std::string> m_head{"time"};
};

}  // namespace host
