#include "engine/BaseThread.h"

void BaseThread::start() {
    const std::lock_guard lock(m_threadMutex);
    if (m_run || m_ended) {
        return;
    }
    onStart();
    m_thread.start([this] { body(); });
    m_run = true;
}

void BaseThread::end() {
    {
        const std::lock_guard lock(m_threadMutex);
        m_run = false;
        m_ended = true;
    }
    m_thread.join();
}

bool BaseThread::isRunning() {
    const std::lock_guard lock(m_threadMutex);
    return m_run;
}

void BaseThread::body() {
    while (isRunning()) {
        run();
    }
}
