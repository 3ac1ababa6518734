/// @file
/// A seed and key library with the calling conventions of its field.
#pragma once

#include "host/SeedKeyWire.h"

#include <cstdint>
#include <string>
#include <vector>

namespace seedkey {

/// A loaded library and its function. It stays loaded until the process ends: what it does when it is
/// unloaded is nobody's business here.
class SeedKeyLibrary {
public:
    /// Loads it, which runs code of the library.
    /// @throws SeedKeyFailure if it cannot be loaded or has no function of that name
    SeedKeyLibrary(const std::string& path, const std::string& entry);

    /// Calls the function as @p request tells; its library and entry are not looked at.
    /// @return the key, 1 to `room` bytes
    /// @throws SeedKeyFailure if the library refuses, or if its key has no bytes or is longer than its room.
    ///         A library that writes behind the room ends the process with the status of a bad key
    [[nodiscard]] std::vector<std::uint8_t> computeKey(const host::SeedKeyRequest& request) const;

private:
    std::string m_path;
    std::string m_entry;
    void* m_function = nullptr;
};

}  // namespace seedkey
