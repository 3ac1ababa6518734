#include "transport/StopFlag.h"

void StopFlag::setStopTransmit(bool stop) {
    const std::lock_guard lock(m_stopMutex);
    m_stopTransmit = stop;
}

bool StopFlag::isStopped() {
    const std::lock_guard lock(m_stopMutex);
    return isStoppedUnlocked();
}

StopFlag& stopFlag() {
    static StopFlag flag;
    return flag;
}
