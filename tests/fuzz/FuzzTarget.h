/// @file
/// What a fuzz target is made of. Each <Name>Fuzz.cpp defines the first three; LibFuzzerMain.cpp and
/// PlainMain.cpp run them.
#pragma once

#include "tests/fuzz/FuzzInput.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fuzz {

using Bytes = std::vector<std::uint8_t>;

/// Runs one input. Repeatable: the same input does the same, but for times.
void run(FuzzInput& input);

/// Inputs to begin with, beside the files in corpus/<Name>/.
std::vector<Bytes> seeds();

/// Words that are worth putting into an input: codes, marks, limits.
std::vector<Bytes> words();

/// Ends the process, as a sanitizer would, if @p holds is false.
void require(bool holds, const char* what);

/// The bytes of @p text.
Bytes bytesOf(const std::string& text);

/// Runs @p bytes as one input.
inline void runBytes(std::span<const std::uint8_t> bytes) {
    FuzzInput input(bytes);
    run(input);
}

}  // namespace fuzz
