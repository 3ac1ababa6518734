/// @file
/// The table of measured values, as it is shown on a terminal while they come.
#pragma once

#include "host/Output.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace host {

/// Columns of the table: name, value, unit, rate, minimum, maximum, age. A narrow terminal shows the first.
inline constexpr std::size_t kLiveColumns = 7;

/// The texts of one variable, by column.
using LiveRow = std::array<std::string, kLiveColumns>;

/// Widths of texts that are made for the table.
inline constexpr std::size_t kLiveValueWidth = 12;
inline constexpr std::size_t kLiveLimitWidth = 10;

/// Head and rows, each line of at most @p width characters: columns go from the right until names have room;
/// name and value stay.
[[nodiscard]] std::vector<std::string> liveLines(const std::vector<LiveRow>& rows, std::size_t width);

/// A block of lines at the end of a terminal that is drawn anew in its place. One thread.
class LiveTable {
public:
    explicit LiveTable(std::FILE* stream) : m_stream(stream) {}

    /// Draws @p status, which is cut to the width, and @p rows. Rows for which the terminal has no room are
    /// counted in the last line.
    void draw(const std::string& status, const std::vector<LiveRow>& rows);

    /// A line could not be written: there is nobody left to see it.
    [[nodiscard]] bool broken() const { return m_broken; }

private:
    void show(const std::vector<std::string>& lines);

    std::FILE* m_stream;
    std::size_t m_shown = 0;  ///< lines on the terminal
    bool m_broken = false;
};

}  // namespace host
