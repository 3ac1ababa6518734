#include "host/MeasurePlan.h"

#include "host/EcuSetup.h"
#include "host/PollTraffic.h"

#include <fmt/format.h>

#include <algorithm>
#include <list>
#include <set>
#include <utility>

namespace host {
namespace {

using Names = std::set<std::string>;

/// The variables whose last byte is in a list, which is where the library delivers them.
Names deliveredNames(const DaqInfo& info) {
    Names delivered;
    for (const auto& [number, list] : info.daqLists) {
        const auto lists = info.finishedNames.find(list.event);
        if (lists != info.finishedNames.end() && lists->second.count(number) > 0) {
            const std::list<std::string>& names = lists->second.at(number);
            delivered.insert(names.begin(), names.end());
        }
    }
    return delivered;
}

/// The measurement of one ECU as it is planned.
class Planner {
public:
    Planner(const Config& config, std::size_t ecu, bool unlimited)
        : m_ecu(config.ecus[ecu]),
          m_bus(config.buses[m_ecu.bus]),
          m_cfg(protoCfg(m_ecu, m_bus)),
          m_unlimited(unlimited) {
        m_plan.ecu = ecu;
    }

    [[nodiscard]] EcuPlan run(const std::vector<VariableRecord>& variables) {
        const std::vector<mcMeasureVariable> admitted = admit(variables);
        for (const VariableRecord& variable : variables) {
            if (!variable.hasEvent) {
                m_eventless.insert(variable.name);
            }
        }
        if (m_ecu.daq.pollPeriodMs > 0) {
            for (const mcMeasureVariable& variable : admitted) {
                addPolled(variable, m_ecu.daq.pollPeriodMs, "the configuration polls everything");
            }
        } else {
            planLists(admitted);
        }
        m_plan.keepAlive = keepAliveShare(m_ecu, m_bus);
        return std::move(m_plan);
    }

private:
    std::vector<mcMeasureVariable> admit(const std::vector<VariableRecord>& variables);
    void planLists(const std::vector<mcMeasureVariable>& variables);
    void addList(std::uint16_t number, const DaqListPlan& plan);
    void markUndelivered(const DaqInfo& info);
    void addPolled(const mcMeasureVariable& variable, std::uint16_t periodMs, std::string reason);
    [[nodiscard]] std::string reasonFor(const mcMeasureVariable& variable) const;
    [[nodiscard]] bool hasListFor(std::uint16_t event) const;
    [[nodiscard]] std::size_t header(bool isFirst) const;
    [[nodiscard]] sim::Frame packet(std::uint32_t id, const DaqOdtPlan& odt, bool isFirst) const;
    [[nodiscard]] std::uint32_t listId(std::uint16_t number) const;

    const EcuRecord& m_ecu;
    const BusRecord& m_bus;
    EcuProtoCfg m_cfg;
    bool m_unlimited;
    Names m_eventless;  ///< variables without an event channel
    EcuPlan m_plan;
};

/// Leaves out what the library rejects before it plans.
std::vector<mcMeasureVariable> Planner::admit(const std::vector<VariableRecord>& variables) {
    std::vector<mcMeasureVariable> admitted;
    for (const VariableRecord& variable : variables) {
        if (m_ecu.rejects(variable)) {
            m_plan.rejected.push_back({variable.name, "it is at address 0, and reject_zero_address is set"});
        } else {
            admitted.push_back(measureVariable(variable));
        }
    }
    return admitted;
}

void Planner::planLists(const std::vector<mcMeasureVariable>& variables) {
    const DaqInfo info = getDaqInfo(m_cfg, variables, m_unlimited);
    for (const auto& [number, list] : info.daqLists) {
        addList(number, list);
    }
    markUndelivered(info);
    for (const mcMeasureVariable& variable : info.pollVars) {
        const std::string name = variable.name;
        const auto wanted = std::find_if(variables.begin(), variables.end(),
                                         [&name](const mcMeasureVariable& one) { return one.name == name; });
        const std::uint16_t periodMs = variable.period;
        addPolled(variable, periodMs > 0 ? periodMs : kDefaultPeriodMs, reasonFor(*wanted));
    }
}

/// Lists that are predefined for an event channel can carry variables that the library never delivers.
void Planner::markUndelivered(const DaqInfo& info) {
    const Names delivered = deliveredNames(info);
    for (const PlannedList& list : m_plan.lists) {
        for (const std::string& name : list.names) {
            const auto same = [&name](const UndeliveredVariable& one) { return one.name == name; };
            const auto& marked = m_plan.undelivered;
            if (delivered.count(name) == 0 && std::none_of(marked.begin(), marked.end(), same)) {
                m_plan.undelivered.push_back(
                    {name, fmt::format("the library delivers nothing of the predefined list {}; leave its "
                                       "fixed_event out",
                                       list.number)});
            }
        }
    }
}

std::size_t Planner::header(bool isFirst) const {
    constexpr std::uint8_t kAligned = 3;  // this identification field has a byte to spare for the counter
    if (m_ecu.ccp) {
        return 1;
    }
    const DaqRecord& daq = m_ecu.daq;
    const std::size_t later = daq.idField + std::size_t{1};
    const std::size_t counter = daq.counter && daq.idField != kAligned ? 1 : 0;
    const std::size_t timestamp = daq.timestamps ? daq.timestampSize : 0;
    return isFirst ? later + counter + timestamp : later;
}

/// Packets of CCP always have 8 bytes.
sim::Frame Planner::packet(std::uint32_t id, const DaqOdtPlan& odt, bool isFirst) const {
    return frameShape(m_ecu, id, m_ecu.ccp ? 8 : header(isFirst) + odt.size);
}

std::uint32_t Planner::listId(std::uint16_t number) const {
    const std::vector<DaqListRecord>& lists = m_ecu.daq.lists;
    return number < lists.size() ? lists[number].id.value_or(m_ecu.responseId) : m_ecu.responseId;
}

void Planner::addList(std::uint16_t number, const DaqListPlan& plan) {
    PlannedList list;
    list.number = number;
    list.event = plan.event;
    list.id = listId(number);
    list.odts = plan.odts.size();
    if (plan.event < m_ecu.events.size()) {
        list.eventName = m_ecu.events[plan.event].name;
        list.periodNs = m_ecu.events[plan.event].periodNs * m_ecu.daq.prescaler;
    }
    const double perSecond = list.periodNs > 0 ? 1e9 / static_cast<double>(list.periodNs) : 0.0;
    for (std::size_t odt = 0; odt < plan.odts.size(); ++odt) {
        list.bytes += plan.odts[odt].size;
        list.share += shareOf(packet(list.id, plan.odts[odt], odt == 0), perSecond, m_bus);
        for (const DaqOdtEntry& entry : plan.odts[odt].entries) {
            if (std::find(list.names.begin(), list.names.end(), entry.name) == list.names.end()) {
                list.names.push_back(entry.name);
            }
        }
    }
    m_plan.lists.push_back(std::move(list));
}

void Planner::addPolled(const mcMeasureVariable& variable, std::uint16_t periodMs, std::string reason) {
    const double perSecond = 1000.0 / periodMs;
    m_plan.polled.push_back(
        {variable.name, periodMs, std::move(reason), readShare(m_ecu, m_bus, variable.size, perSecond)});
}

bool Planner::hasListFor(std::uint16_t event) const {
    if (!m_ecu.ccp) {
        return event >= m_ecu.events.size() || m_ecu.events[event].maxLists > 0;
    }
    const auto& lists = m_ecu.daq.lists;
    return std::any_of(lists.begin() + m_ecu.daq.firstList, lists.end(), [event](const DaqListRecord& list) {
        return list.events.empty() ||
               std::find(list.events.begin(), list.events.end(), event) != list.events.end();
    });
}

/// A variable that finds no place even alone is the reason itself; else it is the others.
std::string Planner::reasonFor(const mcMeasureVariable& variable) const {
    const std::uint32_t size = variable.size;
    if (m_eventless.count(variable.name) > 0) {
        return "no event channel is given";
    }
    if (variable.period != 0) {
        return "a period is given";
    }
    if (!hasListFor(variable.event)) {
        return "its event channel drives no DAQ list";
    }
    if (!getDaqInfo(m_cfg, {variable}, m_unlimited).pollVars.empty()) {
        return fmt::format("its {} bytes do not fit into a DAQ list, even alone", size);
    }
    return "the DAQ lists are full";
}

template <class Parts>
BusShare sumOf(const Parts& parts) {
    BusShare sum;
    for (const auto& part : parts) {
        sum += part.share;
    }
    return sum;
}

}  // namespace

BusShare EcuPlan::daqShare() const {
    return sumOf(lists);
}

BusShare EcuPlan::pollShare() const {
    return sumOf(polled);
}

EcuPlan planMeasurement(const Config& config, std::size_t ecu, const std::vector<VariableRecord>& variables,
                        bool unlimited) {
    return Planner(config, ecu, unlimited).run(variables);
}

}  // namespace host
