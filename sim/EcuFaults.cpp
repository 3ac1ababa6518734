#include "sim/EcuFaults.h"

#include <algorithm>

namespace sim {
namespace {

bool concernsCommands(EcuFaultKind kind) {
    return kind != EcuFaultKind::overload && kind != EcuFaultKind::dropDto && kind != EcuFaultKind::repeatDto;
}

}  // namespace

void EcuFaults::add(const EcuFault& fault, Time now) {
    Waiting waiting{fault, std::nullopt};
    if (fault.lasts) {
        waiting.end = now + *fault.lasts;
        waiting.fault.count = EcuFault::kForever;
    }
    m_faults.push_back(waiting);
}

/// Counts one occasion for @p waiting and tells whether it is hit.
bool EcuFaults::strike(Waiting& waiting, Time now) {
    EcuFault& fault = waiting.fault;
    if (waiting.end && now >= *waiting.end) {
        fault.count = 0;
        return false;
    }
    if (fault.after > 0) {
        --fault.after;
        return false;
    }
    if (fault.count == 0) {
        return false;
    }
    if (fault.chance < 1.0 && !std::bernoulli_distribution(std::max(fault.chance, 0.0))(m_random)) {
        return false;
    }
    if (fault.count != EcuFault::kForever) {
        --fault.count;
    }
    return true;
}

void EcuFaults::removeSpent() {
    std::erase_if(m_faults, [](const Waiting& waiting) { return waiting.fault.count == 0; });
}

std::vector<EcuFault> EcuFaults::onCommand(std::uint8_t code, Time now) {
    std::vector<EcuFault> hits;
    for (Waiting& waiting : m_faults) {
        const EcuFault& fault = waiting.fault;
        if (concernsCommands(fault.kind) && fault.command.value_or(code) == code && strike(waiting, now)) {
            hits.push_back(fault);
        }
    }
    removeSpent();
    return hits;
}

bool EcuFaults::onSample(Time now) {
    bool lost = false;
    for (Waiting& waiting : m_faults) {
        lost = (waiting.fault.kind == EcuFaultKind::overload && strike(waiting, now)) || lost;
    }
    removeSpent();
    return lost;
}

int EcuFaults::onDto(Time now) {
    int times = 1;
    for (Waiting& waiting : m_faults) {
        if (waiting.fault.kind == EcuFaultKind::dropDto && strike(waiting, now)) {
            times = 0;
        } else if (waiting.fault.kind == EcuFaultKind::repeatDto && strike(waiting, now)) {
            times = std::min(times * 2, 2);
        }
    }
    removeSpent();
    return times;
}

bool EcuFaults::silent(Time now) const {
    return std::any_of(m_faults.begin(), m_faults.end(), [now](const Waiting& waiting) {
        const EcuFault& fault = waiting.fault;
        return fault.kind == EcuFaultKind::silence && !fault.command && fault.after == 0 && fault.count > 0 &&
               (!waiting.end || now < *waiting.end);
    });
}

}  // namespace sim
