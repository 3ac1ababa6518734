/// @file
/// How the planners cut variables.
#pragma once

#include <cstdint>

/// Values of `m_packMode`. Only these are valid; with any other a planner places nothing.
enum PackMode : std::uint32_t {
    kPackWhole = 0,   ///< whole variables only; one that does not fit the rest of an ODT closes it
    kPackBytes = 1,   ///< one ODT entry for each byte
    kPackPieces = 2,  ///< as many bytes as fit; a variable may run on into the next ODT and the next list
};

/// @return true if @p mode is one of the three
constexpr bool isPackMode(std::uint32_t mode) {
    return mode <= kPackPieces;
}

/// The largest variable that kPackPieces begins. Pieces are cut by the low byte of a variable's size, which
/// would be 0 again and again for a size of 256.
inline constexpr std::uint32_t kMostBytesInPieces = 255;
