#include "daq/PollScheduler.h"

#include "daq/CycleUnit.h"

#include <chrono>
#include <utility>

namespace {

constexpr std::int64_t kNsPerMs = 1'000'000;

bool isDue(const PollGroup& group, std::uint16_t periodMs, std::int64_t nowNs) {
    const bool isNew = !group.hasRun && group.lastRun == 0;
    return isNew || (nowNs - group.lastRun) / kNsPerMs >= periodMs;
}

}  // namespace

PollScheduler::PollScheduler(Reader reader, Clock clock)
    : m_reader(std::move(reader)), m_clock(std::move(clock)) {}

void PollScheduler::assign(const std::vector<mcMeasureVariable>& variables) {
    const std::lock_guard lock(m_groupsMutex);
    m_groups.clear();
    for (const mcMeasureVariable& variable : variables) {
        insert(variable);
    }
}

void PollScheduler::add(const std::string& name, const AddressBlock& block, std::uint32_t period) {
    mcMeasureVariable variable;
    variable.name = name;
    variable.type = block.type;
    variable.size = block.size;
    variable.addressExtension = block.addressExtension;
    variable.address = block.address;
    variable.period = static_cast<std::uint16_t>(period);
    const std::lock_guard lock(m_groupsMutex);
    insert(variable);
}

bool PollScheduler::tick() {
    bool hasRead = false;
    for (const mcMeasureVariable& variable : takeDue()) {
        mcMeasureVariableValue value;
        if (m_reader(variable, value) == 0) {
            m_results.push_back(std::move(value));
            hasRead = true;
        }
    }
    return hasRead;
}

void PollScheduler::clear() {
    const std::lock_guard lock(m_groupsMutex);
    m_groups.clear();
}

std::int64_t PollScheduler::steadyNowNs() {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count();
}

/// Files a copy under its period. The caller holds m_groupsMutex.
void PollScheduler::insert(const mcMeasureVariable& variable) {
    std::uint16_t periodMs = variable.period;
    if (periodMs == 0) {
        periodMs = kDefaultPollPeriodMs;
    }
    std::list<mcMeasureVariable>& group = m_groups[periodMs].variables;
    group.push_back(variable);
    group.back().period = periodMs;
}

/// Marks every group that is due as run. @return copies of its variables, in the order in which they are read
std::vector<mcMeasureVariable> PollScheduler::takeDue() {
    const std::lock_guard lock(m_groupsMutex);
    std::vector<mcMeasureVariable> due;
    if (m_groups.empty()) {
        return due;
    }
    const std::int64_t nowNs = m_clock();
    for (auto& [periodMs, group] : m_groups) {
        if (isDue(group, periodMs, nowNs)) {
            group.lastRun = nowNs;
            group.hasRun = true;
            due.insert(due.end(), group.variables.begin(), group.variables.end());
        }
    }
    return due;
}
