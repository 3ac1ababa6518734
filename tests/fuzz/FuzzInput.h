/// @file
/// The bytes of one fuzz input, drawn from front to back.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

namespace fuzz {

/// An input that is used up gives zeros, so that every target ends by itself.
class FuzzInput {
public:
    explicit FuzzInput(std::span<const std::uint8_t> bytes) : m_left(bytes) {}

    [[nodiscard]] bool isEmpty() const { return m_left.empty(); }
    [[nodiscard]] std::size_t left() const { return m_left.size(); }

    std::uint8_t u8() {
        if (m_left.empty()) {
            return 0;
        }
        const std::uint8_t value = m_left.front();
        m_left = m_left.subspan(1);
        return value;
    }

    std::uint16_t u16() {
        const unsigned low = u8();
        return static_cast<std::uint16_t>(low | static_cast<unsigned>(u8()) << 8U);
    }

    std::uint32_t u32() {
        const std::uint32_t low = u16();
        return low | static_cast<std::uint32_t>(u16()) << 16U;
    }

    bool flag() { return (u8() & 1U) != 0; }

    /// @return a number below @p end, which is 1 to 256
    std::uint8_t below(unsigned end) { return static_cast<std::uint8_t>(u8() % end); }

    /// @return true once in @p count, which is 1 to 256, and never for an input that is used up
    bool oneIn(unsigned count) { return u8() % count == count - 1; }

    template <typename Value>
    Value oneOf(std::initializer_list<Value> values) {
        return values.begin()[below(static_cast<unsigned>(values.size()))];
    }

    /// @return @p count bytes, zeros where the input has none
    std::vector<std::uint8_t> bytes(std::size_t count) {
        std::vector<std::uint8_t> taken(count);
        const std::size_t there = std::min(count, m_left.size());
        std::copy_n(m_left.begin(), there, taken.begin());
        m_left = m_left.subspan(there);
        return taken;
    }

    /// @return all that is left
    std::string rest() {
        std::string taken(m_left.begin(), m_left.end());
        m_left = {};
        return taken;
    }

private:
    std::span<const std::uint8_t> m_left;
};

}  // namespace fuzz
