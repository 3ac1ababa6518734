/// @file
/// What ends a sub-command early.
#pragma once

#include "host/ExitCode.h"

#include <stdexcept>
#include <string>

namespace host {

/// Carries the message for the user and the exit code that goes with it.
class HostError : public std::runtime_error {
public:
    explicit HostError(const std::string& text, ExitCode code = ExitCode::failed)
        : std::runtime_error(text), m_code(code) {}

    [[nodiscard]] ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

}  // namespace host
