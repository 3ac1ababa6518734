/// @file
/// `ProtoThread`: the polling thread, which reads polled variables and watches the links during a
/// measurement.
#include "engine/ProtoThread.h"
#include "transport/ResultCode.h"
#include "transport/StopFlag.h"

#include <chrono>
#include <thread>

namespace {

constexpr std::int64_t kNanosecondsPerMs = 1'000'000;

std::int64_t steadyNowNs() {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count();
}

}  // namespace

void ProtoThread::startPolling() {
    const std::lock_guard lock(m_pollMutex);
    if (m_closing) {
        return;
    }
    m_pollRun = true;
    m_pollThread.start([this] { pollLoop(); });
}

void ProtoThread::stopPolling() {
    const std::lock_guard lock(m_pollMutex);
    if (m_pollRun.exchange(false)) {
        m_pollThread.join();
    }
}

void ProtoThread::pollLoop() {
    using namespace std::chrono_literals;
    while (m_pollRun) {
        if (!stopFlag().isStopped() && !pollTurn()) {
            return;
        }
        std::this_thread::sleep_for(1ms);
    }
}

/// @return false once a lost link was reported: the thread ends without waiting for the disconnect it queued
bool ProtoThread::pollTurn() {
    bool clear = true;
    std::vector<std::string> lost;
    for (const auto& [name, task] : snapshot()) {
        if (!m_pollRun) {
            break;
        }
        task->pollTick();
        if (!task->isLinkLost()) {
            continue;
        }
        if (hasOutlastedBudget(*task)) {
            lost.push_back("ecu:" + name + "-" + task->lastErrorText());
        }
        clear = false;
    }
    if (clear) {
        m_lostSince = 0;
    }
    if (lost.empty()) {
        return true;
    }
    reportLostLinks(lost);
    return false;
}

/// The clock of a loss is one for all ECUs: whichever looks lost first starts it, and only a turn without any
/// lost link sets it back.
bool ProtoThread::hasOutlastedBudget(ITask_Transmit& task) {
    const std::int64_t now = steadyNowNs();
    if (m_lostSince == 0) {
        m_lostSince = now;
    }
    return (now - m_lostSince) / kNanosecondsPerMs >= task.responseBudget();
}

void ProtoThread::reportLostLinks(const std::vector<std::string>& lost) {
    if (m_pollLost.exchange(true)) {
        return;
    }
    deliverResult(kTaskLinkLost, kResultOk, lost);
    TaskCmd disconnect;
    disconnect.cmd = kTaskDisconnect;
    enqueue(std::move(disconnect));
}
