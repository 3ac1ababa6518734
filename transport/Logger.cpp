#include "transport/Logger.h"

#include "transport/SystemClock.h"

void writeLogLine(const std::vector<logFun>& logFuns, std::uint32_t level, const std::string& text) {
    if (logFuns.empty()) {
        return;
    }
    const std::uint64_t timeMs = systemMillis();
    for (const logFun log : logFuns) {
        if (log != nullptr) {
            log(level, timeMs, text);
        }
    }
}
