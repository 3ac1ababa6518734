/// @file
/// The table of the rows as text and as JSON.
#pragma once

#include "bench/Harness.h"

#include <string>
#include <vector>

namespace bench {

/// A row with its result.
struct Line {
    Row row;
    Result result;
};

/// The widths of the table's text columns for a set of rows.
class Table {
public:
    explicit Table(const std::vector<Row>& rows);

    /// The head of the table, with a line end.
    std::string head() const;

    /// One line of the table, and below it the failure if there is one; with line ends.
    std::string line(const Line& line) const;

private:
    std::size_t m_subjectWidth;
    std::size_t m_baselineWidth;
};

/// "<= 2" or ">= 4".
std::string goalText(const Goal& goal);

/// An array of one object for each line, with a line end. Figures that are no numbers are null.
std::string json(const std::vector<Line>& lines);

}  // namespace bench
