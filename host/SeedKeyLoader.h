/// @file
/// Where seed and key functions come from.
#pragma once

#include <TalvexSDK.h>

#include <string>

namespace host {

/// The seed and key function of a simulated ECU.
inline constexpr const char* kSimulatedSeedKey = "sim:";

/// @param path  as in the configuration
/// @return the function, or an empty one if there is none behind @p path. Any thread
[[nodiscard]] SeedKeyFun loadSeedKey(const std::string& path);

}  // namespace host
