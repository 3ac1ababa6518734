/// @file
/// Words that stand for numbers on the wire and in the library's records.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace host {

/// A word of a configuration or of a message, and its number.
struct WireWord {
    const char* word;
    std::uint8_t code;
};

inline constexpr WireWord kXcpResources[] = {
    {"calibration", 0x01}, {"daq", 0x04}, {"stim", 0x08}, {"programming", 0x10}};
inline constexpr WireWord kCcpResources[] = {{"calibration", 0x01}, {"daq", 0x02}, {"programming", 0x40}};
/// Code n stands for 10^n nanoseconds.
inline constexpr WireWord kCycleUnits[] = {{"us", 3},   {"10us", 4},  {"100us", 5}, {"ms", 6},
                                           {"10ms", 7}, {"100ms", 8}, {"s", 9}};
/// As above; behind the second, codes go on with the decades below the nanosecond.
inline constexpr WireWord kTimestampUnits[] = {
    {"ps", 10},  {"10ps", 11}, {"100ps", 12}, {"ns", 0},   {"10ns", 1},  {"100ns", 2}, {"us", 3},
    {"10us", 4}, {"100us", 5}, {"ms", 6},     {"10ms", 7}, {"100ms", 8}, {"s", 9}};
inline constexpr WireWord kIdFields[] = {
    {"absolute", 0}, {"relative byte", 1}, {"relative word", 2}, {"relative word aligned", 3}};
inline constexpr WireWord kPackModes[] = {{"whole", 0}, {"bytes", 1}, {"fill", 2}};
inline constexpr WireWord kChecksums[] = {{"add11", 1}, {"add12", 2},       {"add14", 3},
                                          {"add22", 4}, {"add24", 5},       {"add44", 6},
                                          {"crc16", 7}, {"crc16 ccitt", 8}, {"crc32", 9}};
/// Of a segment, which need not be checked.
inline constexpr auto kSegmentChecksums = [] {
    std::array<WireWord, std::size(kChecksums) + 1> rows{};
    std::copy(std::begin(kChecksums), std::end(kChecksums), rows.begin());
    rows.back() = {"none", 0};
    return rows;
}();

}  // namespace host
