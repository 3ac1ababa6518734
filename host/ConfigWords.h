/// @file
/// Reading words of a configuration file that stand for numbers.
#pragma once

#include "host/ConfigTable.h"
#include "host/WireWords.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>
#include <string>

namespace host {

/// The words of @p rows.
[[nodiscard]] inline Words wordsOf(std::span<const WireWord> rows) {
    Words words;
    std::transform(rows.begin(), rows.end(), std::back_inserter(words),
                   [](const WireWord& row) { return row.word; });
    return words;
}

/// Reads a word of @p rows and gives its number. @throws ConfigError
[[nodiscard]] inline std::uint8_t readWire(ConfigTable& table, const std::string& key,
                                           std::span<const WireWord> rows) {
    return rows[table.word(key, wordsOf(rows))].code;
}

/// As above; @p fallback where the file has no such key.
[[nodiscard]] inline std::uint8_t readWire(ConfigTable& table, const std::string& key,
                                           std::span<const WireWord> rows, std::uint8_t fallback) {
    return table.has(key) ? readWire(table, key, rows) : fallback;
}

/// Reads an array of words and joins the bits that they stand for. @throws ConfigError
[[nodiscard]] inline std::uint32_t readBits(ConfigTable& table, const std::string& key,
                                            std::span<const WireWord> rows) {
    std::uint32_t bits = 0;
    for (const std::size_t index : table.chosen(key, wordsOf(rows))) {
        bits |= rows[index].code;
    }
    return bits;
}

}  // namespace host
