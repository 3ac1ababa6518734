#include "platform/TimerResolution.h"

#if defined(_WIN32)

#include <windows.h>

#include <timeapi.h>

namespace platform {

namespace {

constexpr UINT kMilliseconds = 1;

}  // namespace

TimerResolution::TimerResolution() {
    timeBeginPeriod(kMilliseconds);
}

TimerResolution::~TimerResolution() {
    timeEndPeriod(kMilliseconds);
}

}  // namespace platform

#endif
