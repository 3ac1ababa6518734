/// @file
/// The helper `talvex-seedkey` seen from the host.
#pragma once

#include "host/SeedKeyWire.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace host {

/// What came of a call of the helper.
struct SeedKeyAnswer {
    std::vector<std::uint8_t> key;  ///< 1 to `room` bytes; empty if there is a problem, and for a check
    std::string problem;            ///< names the library, the reason and what to do; empty if all went well
};

/// Where the helper is: beside this program, else on PATH. @return empty if it is nowhere. Any thread
[[nodiscard]] std::string findSeedKeyHelper();

/// Runs the helper. Any thread; takes no longer than @p timeMs and what the system needs.
/// @param helper  path of the program; PATH is not searched
/// @param timeMs  milliseconds until the helper is killed
/// @param stop    asked now and then on this thread; true kills the helper. May be empty
[[nodiscard]] SeedKeyAnswer runSeedKeyHelper(const std::string& helper, const SeedKeyRequest& request,
                                             std::uint32_t timeMs, const std::function<bool()>& stop);

}  // namespace host
