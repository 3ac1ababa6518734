/// @file
/// The process-wide flag that ends every send and every wait.
#pragma once

#include <atomic>
#include <mutex>

/// `isStopTransmit` with its lock, and the closing mark of the engine's end. Both stop sends, waits and
/// retries; the flag is raised for 100 ms by the emergency stop, the mark is raised once and stays.
class StopFlag {
public:
    /// Raises or clears `isStopTransmit`. Locks g_stopMutex.
    void setStopTransmit(bool stop);

    /// Raises the closing mark: the engine is going, and no loop may outlive it.
    void close() { m_closing = true; }

    /// @return true while sends and waits shall end. Locks g_stopMutex for the moment of the look.
    [[nodiscard]] bool isStopped();

    /// The same without the lock, for waits that look every few milliseconds.
    [[nodiscard]] bool isStoppedUnlocked() const { return m_stopTransmit || m_closing; }

private:
    std::mutex m_stopMutex;  ///< g_stopMutex: held only while the flag is read or written
    std::atomic<bool> m_stopTransmit = false;
    std::atomic<bool> m_closing = false;
};

/// The one flag of the process.
StopFlag& stopFlag();
