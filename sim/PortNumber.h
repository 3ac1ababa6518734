/// @file
/// The number of a port on its bus.
#pragma once

#include <cstdint>

namespace sim {

/// Ports are numbered 1, 2, 3 ... in the order in which they were attached; numbers are not used twice.
using PortNumber = std::uint32_t;

}  // namespace sim
