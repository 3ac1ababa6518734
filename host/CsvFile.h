/// @file
/// A table of comma-separated values that grows as it is made.
#pragma once

#include "host/Interrupt.h"
#include "host/PatientWrite.h"

#include <sys/types.h>
#include <chrono>
#include <string>
#include <vector>

namespace host {

/// Writes whole lines only, as RFC 4180 quotes them, but with line feeds alone. What was written is in the
/// file a second later at most, whatever becomes of the process. One thread.
class CsvFile {
public:
    /// Opens the file. What it holds stays until the first line is written.
    /// @param path    "-" is standard output
    /// @param giveUp  asked while the reader of a pipe stands still
    /// @throws HostError ExitCode::failed
    explicit CsvFile(std::string path, GiveUp giveUp = interrupted);

    /// Writes what is left; what fails then is not told. Call `flush` to know.
    ~CsvFile();

    CsvFile(const CsvFile&) = delete;
    CsvFile& operator=(const CsvFile&) = delete;

    /// Adds a line. @throws HostError as `flush`
    void row(const std::vector<std::string>& cells);

    /// Writes the lines that wait if the last time was a second ago. @throws HostError as `flush`
    void flushSometimes();

    /// Writes the lines that wait.
    /// @throws HostError naming the file and the reason; the file then ends with its last whole line, and
    ///         nothing more goes into it. ExitCode::interrupted if nobody read behind a Ctrl-C
    void flush();

private:
    void emptyOnce();
    void cutBack();

    const std::string m_path;
    const GiveUp m_giveUp;
    int m_file = -1;
    off_t m_size = 0;       ///< bytes of whole lines in the file
    std::string m_waiting;  ///< whole lines
    bool m_emptied = false;
    bool m_failed = false;
    std::chrono::steady_clock::time_point m_lastFlush = std::chrono::steady_clock::now();
};

/// @p cell as it stands between commas.
[[nodiscard]] std::string csvQuoted(const std::string& cell);

}  // namespace host
