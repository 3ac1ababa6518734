/// @file
/// Finds what is missing in the values of a counter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace host {

/// Takes the values of a counter that goes up by one and starts again at 0 behind its last number.
class GapDetector {
public:
    /// @param size  bytes of the counter, 1 to 8
    explicit GapDetector(std::size_t size)
        : m_mask(size < 8 ? (std::uint64_t{1} << (8 * size)) - 1 : ~std::uint64_t{0}) {}

    /// @return whether @p value follows the one before; true for the first
    bool add(std::uint64_t value) {
        const bool follows = !m_last || ((*m_last + 1) & m_mask) == value;
        if (!follows) {
            ++m_gaps;
            m_missing += (value - *m_last - 1) & m_mask;
        }
        m_last = value;
        return follows;
    }

    /// Values that did not follow the one before.
    [[nodiscard]] std::uint64_t gaps() const { return m_gaps; }

    /// Values left out, as far as the counter's size can tell; a repeated value counts as a whole turn.
    [[nodiscard]] std::uint64_t missing() const { return m_missing; }

private:
    std::uint64_t m_mask;
    std::optional<std::uint64_t> m_last;
    std::uint64_t m_gaps = 0;
    std::uint64_t m_missing = 0;
};

}  // namespace host
