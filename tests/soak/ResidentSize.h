/// @file
/// How much memory the process has, and whether that grows.
#pragma once

#include "sim/Frame.h"

#include <cstddef>
#include <optional>
#include <string>

namespace soak {

/// Bytes of this process that are in memory.
/// @throws std::runtime_error if the system does not tell
[[nodiscard]] std::size_t residentSize();

/// Holds the resident size against what it was at the end of the warm-up. One thread.
class ResidentSize {
public:
    /// By how much it may be above that, bytes. In 30 minutes, 24 bytes lost by each calibration write or one
    /// by each DAQ frame are more.
    static constexpr std::size_t kMostGrowth = std::size_t{4} << 20;

    /// @param warmUp  nanoseconds of bus time
    explicit ResidentSize(sim::Time warmUp) : m_warmUp(warmUp) {}

    /// @return what is wrong with the size at bus time @p now, once; empty if nothing is
    [[nodiscard]] std::string look(sim::Time now);

    /// Whether it is judged: what a sanitizer keeps for itself grows.
    [[nodiscard]] static bool isJudged();

    /// Highest and lowest size since the warm-up ended, bytes; 0 before that.
    [[nodiscard]] std::size_t highest() const { return m_highest; }
    [[nodiscard]] std::size_t lowest() const { return m_lowest; }

private:
    const sim::Time m_warmUp;
    std::optional<std::size_t> m_first;  ///< at the end of the warm-up
    std::size_t m_highest = 0;
    std::size_t m_lowest = 0;
    bool m_told = false;
};

}  // namespace soak
