/// @file
/// What became of one variable in a measurement.
#pragma once

#include "host/Sparkline.h"

#include <cstdint>
#include <string>

namespace host {

/// A value as it is shown.
struct ShownValue {
    double number = 0.0;
    std::string text;  ///< shown instead of the number if it is not empty
};

/// Collects the values of a variable. One thread at a time.
class VariableStatistics {
public:
    /// @param timeUs  time of the value in microseconds, of the same clock for all values
    void add(std::uint64_t timeUs, const ShownValue& value);

    [[nodiscard]] std::uint64_t count() const { return m_count; }

    /// Values per second from the first to the last; 0 with less than two, or if no time passed.
    [[nodiscard]] double rate() const;

    // Meaningful only with a count above 0.
    [[nodiscard]] const ShownValue& first() const { return m_first; }
    [[nodiscard]] const ShownValue& last() const { return m_last; }
    [[nodiscard]] double least() const { return m_least; }
    [[nodiscard]] double most() const { return m_most; }

    [[nodiscard]] const Series& series() const { return m_series; }

private:
    std::uint64_t m_count = 0;
    std::uint64_t m_firstTimeUs = 0;
    std::uint64_t m_lastTimeUs = 0;
    ShownValue m_first;
    ShownValue m_last;
    double m_least = 0.0;
    double m_most = 0.0;
    Series m_series;
};

}  // namespace host
