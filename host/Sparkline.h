/// @file
/// A curve in one line of text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// Keeps the course of a value in little room, however long it gets: means of ever more values each.
class Series {
public:
    void add(double value);

    /// The course as @p count points at equal distances, oldest first; fewer if there are fewer values.
    [[nodiscard]] std::vector<double> points(std::size_t count) const;

private:
    struct Bucket {
        double sum = 0.0;
        std::uint64_t values = 0;
    };

    void halve();

    std::vector<Bucket> m_buckets;  ///< all but the last hold m_perBucket values
    std::uint64_t m_perBucket = 1;
};

/// Draws @p points as bars of eight heights, the lowest point as the lowest bar, one character each, and
/// fills up with blanks to @p width characters. Equal points are drawn in the middle.
[[nodiscard]] std::string sparkline(const std::vector<double>& points, std::size_t width);

}  // namespace host
