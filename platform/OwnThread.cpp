#include "platform/OwnThread.h"

#include <utility>

#if defined(_WIN32)

#include <system_error>

#include <windows.h>

namespace platform {

// A library is unloaded, and its static objects are destroyed, under the loader's lock. A thread needs that
// lock to begin and to end, so whoever joins one there waits for ever. The threads of the system's pool
// neither begin nor end with the work they do, and the pool says when the last of the library's code has
// returned to it.
struct OwnThread::Work {
    std::function<void()> body;
    PTP_WORK handle = nullptr;

    static void CALLBACK run(PTP_CALLBACK_INSTANCE /*instance*/, void* work, PTP_WORK /*handle*/) noexcept {
        static_cast<Work*>(work)->body();
    }
};

OwnThread::OwnThread() = default;

OwnThread::~OwnThread() = default;

void OwnThread::start(std::function<void()> body) {
    auto work = std::make_unique<Work>();
    work->body = std::move(body);
    TP_CALLBACK_ENVIRON environment;
    InitializeThreadpoolEnvironment(&environment);
    SetThreadpoolCallbackRunsLong(&environment);
    work->handle = CreateThreadpoolWork(&Work::run, work.get(), &environment);
    if (work->handle == nullptr) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    }
    m_work = std::move(work);
    SubmitThreadpoolWork(m_work->handle);
}

void OwnThread::join() {
    if (m_work != nullptr) {
        WaitForThreadpoolWorkCallbacks(m_work->handle, TRUE);
        CloseThreadpoolWork(m_work->handle);
        m_work.reset();
    }
}

}  // namespace platform

#else

namespace platform {

OwnThread::OwnThread() = default;

OwnThread::~OwnThread() = default;

void OwnThread::start(std::function<void()> body) {
    m_thread = std::thread(std::move(body));
}

void OwnThread::join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

}  // namespace platform

#endif
