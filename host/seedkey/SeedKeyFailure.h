/// @file
/// What ends the helper early.
#pragma once

#include "host/SeedKeyWire.h"

#include <stdexcept>
#include <string>

namespace seedkey {

/// Carries the message for the user, without the library's path, and the status that goes with it.
class SeedKeyFailure : public std::runtime_error {
public:
    SeedKeyFailure(host::SeedKeyStatus status, const std::string& text)
        : std::runtime_error(text), m_status(status) {}

    [[nodiscard]] host::SeedKeyStatus status() const { return m_status; }

private:
    host::SeedKeyStatus m_status;
};

}  // namespace seedkey
