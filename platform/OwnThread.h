/// @file
/// A thread of the library that can be waited for while the library is being unloaded.
#pragma once

#include <functional>

#if defined(_WIN32)
#include <memory>
#else
#include <thread>
#endif

namespace platform {

/// One thread. Who starts, joins and destroys it does so on one thread at a time; one that was
/// started must be joined ahead of its destruction.
class OwnThread {
public:
    OwnThread();
    OwnThread(const OwnThread&) = delete;
    OwnThread& operator=(const OwnThread&) = delete;
    ~OwnThread();

    /// Runs @p body on the thread, which must not have been started since it was joined.
    /// @throws std::system_error if there is no thread to be had
    void start(std::function<void()> body);

    /// Waits until the body has returned, and no code of the library runs on the thread any more; returns at
    /// once if none was started. On Windows a body that has not begun yet never begins: a new thread cannot
    /// start while a library is being unloaded.
    void join();

private:
#if defined(_WIN32)
    struct Work;
    std::unique_ptr<Work> m_work;
#else
    std::thread m_thread;
#endif
};

}  // namespace platform
