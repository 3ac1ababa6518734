/// @file
/// Where seed and key functions come from.
#pragma once

#include <TalvexSDK.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace host {

/// The seed and key function of a simulated ECU.
inline constexpr const char* kSimulatedSeedKey = "sim:";

/// How long a seed and key library may take for a key if nothing else is set, milliseconds.
inline constexpr std::uint32_t kSeedKeyTimeMs = 2'000;

/// A seed and key library as the configuration names it.
struct SeedKeySource {
    std::string path;                   ///< of the shared library, or `kSimulatedSeedKey`
    std::string entry;                  ///< function to call; empty: the usual one of the protocol
    bool ccp = false;                   ///< the ECU speaks CCP, else XCP
    std::optional<bool> zeroIsSuccess;  ///< whether 0 is the result for success; not set: as usual, 0 for XCP
                                        ///< and anything but 0 for CCP
    std::uint32_t timeMs = kSeedKeyTimeMs;  ///< for loading, and for each key; milliseconds
    std::string helper;  ///< path of `talvex-seedkey`; empty: beside this program or on PATH
    std::function<bool()>
        stop{};  ///< asked now and then while it runs, on its thread: true ends it. Empty: never
};

/// Takes what is wrong with a library: its path, the reason and what to do.
using SeedKeyComplaint = std::function<void(const std::string& text)>;

/// The library's function in the form that the SDK calls, each call in a process of its own: a library that
/// crashes or hangs fails, and takes nobody along. Loads the library once to see whether that works.
/// @param complain  called from inside this function and from inside the one returned, on their threads
/// @return an empty function if the library cannot be used; what it returns is 1 for a key and 0 for none.
///         Any thread, both
[[nodiscard]] SeedKeyFun loadSeedKey(const SeedKeySource& source, SeedKeyComplaint complain);

/// @return the function of the simulated ECUs for `kSimulatedSeedKey`, an empty one for any other @p path
[[nodiscard]] SeedKeyFun loadSeedKey(const std::string& path);

}  // namespace host
