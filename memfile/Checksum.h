#pragma once

#include <cstddef>
#include <cstdint>

/// @return the number of bytes of a checksum of @p kind (as in CheckMemory) that are compared with an ECU's:
/// 1
///         for kind 1; 2 for kinds 2, 4, 7 and 8; 4 for all others, unknown kinds included
std::size_t checksumWidth(std::int32_t kind);
