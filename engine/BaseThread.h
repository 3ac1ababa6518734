/// @file
/// A thread that runs turns until it is told to end.
#pragma once

#include "platform/OwnThread.h"

#include <mutex>

/// One thread with its run flag. Derived classes call `end` in their destructor, while what `run` uses is
/// alive.
class BaseThread {
public:
    BaseThread() = default;
    BaseThread(const BaseThread&) = delete;
    BaseThread& operator=(const BaseThread&) = delete;
    virtual ~BaseThread() = default;

    /// Called ahead of the thread's start, on the starter's thread.
    virtual void onStart() {}

    /// One turn of the thread.
    virtual void run() = 0;

    /// Not called: the place of an end hook in the order of the operations.
    virtual void onStop() {}

    /// Starts the thread unless it runs or has been ended. Any thread.
    /// @throws std::system_error if the thread cannot be started
    void start();

protected:
    /// Clears the run flag, lets no new start happen, and waits for the thread to end.
    void end();

    /// @return the run flag, read under its lock
    [[nodiscard]] bool isRunning();

private:
    void body();

    std::mutex m_threadMutex;  ///< guards m_run and m_ended; held while the thread is started
    bool m_run = false;
    bool m_ended = false;
    platform::OwnThread m_thread;  ///< started once, under m_threadMutex
};
