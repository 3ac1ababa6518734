#include "transport/MeasurementTask.h"

#include "transport/ResultCode.h"
#include "transport/SystemClock.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace {

/// Counts as the time-out of a response budget if none is configured.
constexpr std::int64_t kDefaultTimeoutMs = 25;

void planOn(BasicCfgTransmit& ecu, IDaq& daq, const std::vector<mcMeasureVariable>& variables) {
    daq.configure(ecu.m_cfg);
    daq.assignVariables(variables);
    daq.planLists(false);
    if (ecu.m_callBacks.daqInfoFun != nullptr) {
        ecu.m_callBacks.daqInfoFun(&ecu.m_cfg, &daq.m_finishedNames);
    }
}

}  // namespace

std::uint32_t prepareMeasurementOn(BasicCfgTransmit& ecu, IDaq& daq, PollScheduler& scheduler,
                                   const std::vector<mcMeasureVariable>& variables,
                                   std::uint16_t pollPeriodMs,
                                   const std::function<std::uint32_t()>& prepareFacts) {
    std::vector<mcMeasureVariable> allowed = variables;
    std::vector<std::string> rejected;  // the log has them
    ecu.filterVariables(allowed, rejected);
    daq.reset();
    if (allowed.empty()) {
        return kResultCheckMeasureVar;
    }
    if (pollPeriodMs != 0) {
        for (mcMeasureVariable& variable : allowed) {
            variable.period = pollPeriodMs;
        }
        scheduler.assign(allowed);
        return kResultOk;
    }
    const std::uint32_t result = prepareFacts();
    if (result != kResultOk) {
        return result;
    }
    planOn(ecu, daq, allowed);
    scheduler.assign(daq.m_pollVars);
    return kResultOk;
}

void deliverDaqFrames(BasicCfgTransmit& ecu, IDaq& daq,
                      FrameFate (*fateOf)(const EcuProtoCfg&, const msgBuf&)) {
    std::vector<std::vector<mcMeasureVariableValue>> cycles;
    {
        const std::lock_guard lock(ecu.m_mutex);
        ecu.fetchFrames();
        std::erase_if(ecu.m_frames, [&](const msgBuf& frame) {
            const FrameFate fate = frame.length == 0 ? FrameFate::kDrop : fateOf(ecu.m_cfg, frame);
            if (fate == FrameFate::kEvent) {
                ecu.m_decoder->eventMsgAnalyse(frame);
            } else if (fate == FrameFate::kDecode) {
                std::vector<mcMeasureVariableValue> values = daq.decodeDto(frame);
                if (!values.empty()) {
                    cycles.push_back(std::move(values));
                }
            }
            return fate != FrameFate::kKeep;
        });
    }
    for (const std::vector<mcMeasureVariableValue>& values : cycles) {
        ecu.deliverValues(kMeasureDaq, values);
    }
}

void deliverPolled(const BasicCfgTransmit& ecu, PollScheduler& scheduler) {
    if (scheduler.tick()) {
        ecu.deliverValues(kMeasurePolled, std::exchange(scheduler.m_results, {}));
    }
}

std::vector<mcMeasureVariableValue> readAndDeliver(
    const BasicCfgTransmit& ecu, const std::vector<mcMeasureVariable>& variables,
    const std::function<bool(const mcMeasureVariable&, mcMeasureVariableValue&)>& read) {
    std::vector<mcMeasureVariable> allowed = variables;
    std::vector<std::string> rejected;
    ecu.filterVariables(allowed, rejected);
    std::vector<mcMeasureVariableValue> values;
    for (const mcMeasureVariable& variable : allowed) {
        mcMeasureVariableValue value;
        if (read(variable, value)) {
            values.push_back(std::move(value));
        }
    }
    if (!values.empty() || !rejected.empty()) {
        ecu.deliverValues(kMeasureRead, values, rejected);
    }
    return values;
}

mcMeasureVariableValue valueReadNow(const mcMeasureVariable& variable, std::vector<std::uint8_t> data) {
    return {variable.name, systemMicros(), std::move(data)};
}

std::int32_t responseBudgetMs(std::uint16_t timeoutMs, std::int32_t retryCount, std::uint32_t retryDelayMs) {
    const std::uint64_t timeout = timeoutMs != 0 ? timeoutMs : kDefaultTimeoutMs;
    const auto repeats = static_cast<std::uint64_t>(std::max(retryCount, 0));
    const std::uint64_t budget = retryDelayMs * repeats + timeout * (repeats + 1);
    return static_cast<std::int32_t>(
        std::min<std::uint64_t>(budget, std::numeric_limits<std::int32_t>::max()));
}

bool isPeriodOver(std::uint64_t now, std::uint64_t& last, std::uint32_t periodMs) {
    if (periodMs == 0 || now - last < std::uint64_t{periodMs} * 1000) {
        return false;
    }
    last = now;
    return true;
}
