/// @file
/// A time-out in real time.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

/// The end of a wait on the steady clock. A wait is counted by the time that really passed and not by its
/// nominal slices: on a bus full of DAQ frames a waiter is woken early again and again, and would otherwise
/// give up after a fraction of the time the host configured.
class Deadline {
public:
    explicit Deadline(std::int32_t timeoutMs) { restart(timeoutMs); }

    /// Starts afresh with @p timeoutMs from now.
    void restart(std::int32_t timeoutMs) {
        m_end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    }

    /// @return the time left, never below zero
    [[nodiscard]] std::chrono::nanoseconds left() const {
        return std::max(std::chrono::nanoseconds(0),
                        std::chrono::nanoseconds(m_end - std::chrono::steady_clock::now()));
    }

    /// @return true once less than 1 ms is left, which counts as a time-out
    [[nodiscard]] bool isOver() const { return left() < std::chrono::milliseconds(1); }

private:
    std::chrono::steady_clock::time_point m_end;
};
