/// @file
/// Numbers out of a seed.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>
#include <vector>

namespace sweep {

/// The same seed always gives the same numbers, on every machine.
class Draw {
public:
    explicit Draw(std::uint64_t seed) : m_random(seed) {}

    /// @return 0 up to @p limit - 1; @p limit is at least 1
    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(m_random() % limit); }
    /// @return @p least up to @p most
    std::uint32_t between(std::uint32_t least, std::uint32_t most) { return least + below(most - least + 1); }
    bool oneIn(std::uint32_t chances) { return below(chances) == 0; }

    template <typename T>
    T oneOf(std::initializer_list<T> choices) {
        return choices.begin()[below(static_cast<std::uint32_t>(choices.size()))];
    }

    std::vector<std::uint8_t> bytes(std::size_t count) {
        std::vector<std::uint8_t> made(count);
        for (std::uint8_t& byte : made) {
            byte = static_cast<std::uint8_t>(m_random());
        }
        return made;
    }

private:
    std::mt19937_64 m_random;
};

}  // namespace sweep
