/// @file
/// Keeps a simulated bus from running away from the library.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

namespace host {

/// Counts the frames of a bus that the library has got and not yet made values of, and has the bus wait while
/// there are too many. On a real bus the library drops frames when 2000 wait, and should; a simulated bus can
/// wait for a busy machine, so that a run tells of the library and not of the machine. It goes on while a
/// command is unanswered, because the library takes no values of an ECU whose answer it waits for. Any
/// thread.
class DeliveryPace {
public:
    using Clock = std::chrono::steady_clock;

    /// Frames for which the bus does not wait yet.
    static constexpr std::size_t kMostWaiting = 400;

    /// Without a delivery for so long nothing waits for one: lists are stopped, or not running yet. A command
    /// that is that old is not answered any more.
    static constexpr std::chrono::seconds kPatience{2};

    /// The host sent a command.
    void sent(Clock::time_point now = Clock::now());

    /// The library got a frame.
    /// @param timeUs    bus time in microseconds, never less than the one before
    /// @param isAnswer  it is the answer to a command, and no data
    void handedOver(std::uint64_t timeUs, bool isAnswer);

    /// The library delivered values of a DAQ list whose frame has the time @p timeUs.
    void delivered(std::uint64_t timeUs, Clock::time_point now = Clock::now());

    /// Whether the bus has to wait. To be asked again until it has not.
    [[nodiscard]] bool holds(Clock::time_point now = Clock::now());

private:
    std::mutex m_mutex;                         ///< guards all below; nothing else is locked while it is held
    std::deque<std::uint64_t> m_waiting;        ///< times of the frames, oldest first
    std::optional<Clock::time_point> m_latest;  ///< delivery
    std::size_t m_unanswered = 0;               ///< commands
    Clock::time_point m_lastSent{};
};

}  // namespace host
