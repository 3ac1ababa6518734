/// @file
/// Images in tests: how they are compared, and what a call says on the standard error stream.
#pragma once

#include "TalvexRecords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// Matches a block by its address and its bytes.
inline auto block(std::uint32_t address, const Bytes& bytes) {
    return testing::AllOf(testing::Field("address", &mem_buf::address, address),
                          testing::Field("data", &mem_buf::data, bytes));
}

/// @return @p count bytes that count up from @p first
inline Bytes countingBytes(std::size_t count, std::uint8_t first = 0) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

/// @return what @p call wrote to the standard error stream
template <typename Call>
std::string stderrOf(Call call) {
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}
