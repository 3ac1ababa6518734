/// @file
/// Words of a configuration file that stand for numbers.
#pragma once

#include "host/ConfigTable.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

namespace host {

/// A word of the file and the number that it stands for on the wire or in the library's records.
struct WireWord {
    const char* word;
    std::uint8_t code;
};

inline constexpr WireWord kXcpResources[] = {
    {"calibration", 0x01}, {"daq", 0x04}, {"stim", 0x08}, {"programming", 0x10}};
inline constexpr WireWord kCcpResources[] = {{"calibration", 0x01}, {"daq", 0x02}, {"programming", 0x40}};
inline constexpr WireWord kCycleUnits[] = {{"us", 3},   {"10us", 4},  {"100us", 5}, {"ms", 6},
                                           {"10ms", 7}, {"100ms", 8}, {"s", 9}};
inline constexpr WireWord kIdFields[] = {
    {"absolute", 0}, {"relative byte", 1}, {"relative word", 2}, {"relative word aligned", 3}};
inline constexpr WireWord kPackModes[] = {{"whole", 0}, {"bytes", 1}, {"fill", 2}};
inline constexpr WireWord kChecksums[] = {{"add11", 1}, {"add12", 2},       {"add14", 3},
                                          {"add22", 4}, {"add24", 5},       {"add44", 6},
                                          {"crc16", 7}, {"crc16 ccitt", 8}, {"crc32", 9}};
/// Of a segment, which need not be checked.
inline constexpr WireWord kSegmentChecksums[] = {{"add11", 1}, {"add12", 2}, {"add14", 3}, {"add22", 4},
                                                 {"add24", 5}, {"add44", 6}, {"crc16", 7}, {"crc16 ccitt", 8},
                                                 {"crc32", 9}, {"none", 0}};

/// The words of @p rows.
template <std::size_t N>
[[nodiscard]] Words wordsOf(const WireWord (&rows)[N]) {
    Words words;
    std::transform(std::begin(rows), std::end(rows), std::back_inserter(words),
                   [](const WireWord& row) { return row.word; });
    return words;
}

/// Reads a word of @p rows and gives its number. @throws ConfigError
template <std::size_t N>
[[nodiscard]] std::uint8_t readWire(ConfigTable& table, const std::string& key, const WireWord (&rows)[N]) {
    return rows[table.word(key, wordsOf(rows))].code;
}

template <std::size_t N>
[[nodiscard]] std::uint8_t readWire(ConfigTable& table, const std::string& key, const WireWord (&rows)[N],
                                    std::uint8_t fallback) {
    return table.has(key) ? readWire(table, key, rows) : fallback;
}

/// Reads an array of words and joins the bits that they stand for. @throws ConfigError
template <std::size_t N>
[[nodiscard]] std::uint32_t readBits(ConfigTable& table, const std::string& key, const WireWord (&rows)[N]) {
    std::uint32_t bits = 0;
    for (const std::size_t index : table.chosen(key, wordsOf(rows))) {
        bits |= rows[index].code;
    }
    return bits;
}

}  // namespace host
