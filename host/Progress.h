/// @file
/// How far a long operation is.
#pragma once

#include "host/Output.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace host {

/// On a terminal a bar with rate and remaining time, as much of it as the width has room for; elsewhere a
/// line for each 10 percent. One thread.
class Progress {
public:
    /// @param bytes  of the whole operation
    Progress(Output& output, std::string what, std::uint64_t bytes);

    /// Takes the bar away.
    ~Progress();

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows @p percent, 0 to 100; what is not ahead of what was shown last changes nothing.
    void show(std::uint32_t percent);

    /// The line of a terminal.
    /// @param rate     text that is left out if there is no room for it and a bar
    /// @param columns  of the terminal; the last one stays free, so that no terminal breaks the line
    [[nodiscard]] static std::string barLine(const std::string& what, std::uint32_t percent,
                                             const std::string& rate, std::size_t columns);

private:
    [[nodiscard]] std::string rateText(std::uint32_t percent) const;

    Output& m_output;
    const std::string m_what;
    const std::uint64_t m_bytes;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::uint32_t m_shown = 0;  ///< percent
};

}  // namespace host
