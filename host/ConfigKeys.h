/// @file
/// Mistakes in the keys of a configuration, found before anything is made of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// Most parts of a dotted key, "a.b.c" having three. The parser makes a table inside a table for each part,
/// however many there are, and these are taken apart by recursion.
inline constexpr std::size_t kMostKeyParts = 16;

/// A mistake that the parser cannot be given.
struct KeyMistake {
    std::uint32_t line = 0;  ///< counted from 1
    std::string problem;
};

/// The first key in @p toml with more parts, or character outside ASCII that the parser might take for white
/// space, as its table of that has gaps: one that stands in no comment and no string, or in a string where
/// none may begin, as in 1"x". Up to the first mistake in the text it sees keys where the parser sees them.
[[nodiscard]] std::optional<KeyMistake> findKeyMistake(std::string_view toml);

}  // namespace host
