#include "host/DemoChecks.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace host {
namespace {

/// Events by which the first value may be late, and those that are still on their way at the end: frames of
/// a burst that waits for the bus, and the cycle that only the next one completes.
constexpr std::uint64_t kLateStart = 1;
constexpr std::uint64_t kUnderWay = 5;

void checkVariable(Verdict& verdict, const std::string& name, const VariableReport& report) {
    verdict.require(report.wrong == 0,
                    fmt::format("{}: {} of {} values are not what the ECU had; {}", name, report.wrong,
                                report.statistics.count(), report.firstWrong));
    if (report.gaps) {
        verdict.require(report.gaps->gaps() == 0, fmt::format("{}: {} gaps, {} values missing", name,
                                                              report.gaps->gaps(), report.gaps->missing()));
    }
}

bool reaches(const VariableReport& report, std::uint64_t end) {
    return report.lastEvent + kUnderWay >= end;
}

/// Whether a variable is measured by DAQ and its values show what is missing.
bool showsCoverage(const EcuRecord& ecu, const VariableRecord& variable) {
    return !ecu.rejects(variable) && variable.periodMs == 0 && variable.signal &&
           ecu.signals[*variable.signal].first.kind == sim::SignalKind::counter;
}

/// A channel that began late or fell silent early leaves no gap between its values.
void checkCoverage(Verdict& verdict, const std::string& name, const VariableReport& report,
                   std::uint64_t begin, std::uint64_t end) {
    verdict.require(report.firstEvent <= begin + kLateStart,
                    fmt::format("{}: the first value is of event {}, but events are measured from {} on",
                                name, report.firstEvent, begin));
    verdict.require(reaches(report, end),
                    fmt::format("{}: the last value is of event {}, but events are measured up to {}", name,
                                report.lastEvent, end));
}

void checkDeliveries(Verdict& verdict, const EcuRecord& ecu, const EcuReport& report) {
    const auto wanted = [&ecu](bool polled) {
        return std::any_of(ecu.variables.begin(), ecu.variables.end(), [&](const VariableRecord& variable) {
            return !ecu.rejects(variable) && (variable.periodMs > 0) == polled;
        });
    };
    verdict.require(report.deliveries[1] > 0 || !wanted(true),
                    fmt::format("{}: measureFun never came with polled values", ecu.name));
    verdict.require(report.deliveries[2] > 0 || !wanted(false),
                    fmt::format("{}: measureFun never came with DAQ values", ecu.name));
}

}  // namespace

void checkMeasured(Verdict& verdict, const EcuRecord& ecu, const EcuReport& report,
                   const MeasuredEvents& events) {
    checkDeliveries(verdict, ecu, report);
    verdict.require(report.strangers.empty(), fmt::format("{}: values nobody asked for: {}", ecu.name,
                                                          fmt::join(report.strangers, ", ")));
    for (std::size_t i = 0; i < ecu.variables.size(); ++i) {
        const VariableRecord& variable = ecu.variables[i];
        if (ecu.rejects(variable)) {
            continue;
        }
        const std::string name = ecu.name + "." + variable.name;
        const VariableReport& found = report.variables[i];
        if (!verdict.require(found.statistics.count() > 0, fmt::format("{}: no value came", name))) {
            continue;
        }
        checkVariable(verdict, name, found);
        if (showsCoverage(ecu, variable)) {
            checkCoverage(verdict, name, found, events.begin.at(variable.event),
                          events.end.at(variable.event));
        }
    }
}

bool cameToTheEnd(const EcuRecord& ecu, const EcuReport& report, const MeasuredEvents& events) {
    for (std::size_t i = 0; i < ecu.variables.size(); ++i) {
        const VariableRecord& variable = ecu.variables[i];
        if (showsCoverage(ecu, variable) && !reaches(report.variables[i], events.end.at(variable.event))) {
            return false;
        }
    }
    return true;
}

void checkReadOnce(Verdict& verdict, const EcuRecord& ecu, const EcuReport& report, std::uint64_t expected) {
    verdict.require(report.readValues == expected, fmt::format("{}: {} values read once, {} were asked for",
                                                               ecu.name, report.readValues, expected));
    verdict.require(report.wrongReads == 0,
                    fmt::format("{}: {} of {} values read once are not what memory holds", ecu.name,
                                report.wrongReads, report.readValues));
    std::vector<std::string> refused;
    for (const VariableRecord& variable : ecu.variables) {
        if (ecu.rejects(variable)) {
            refused.push_back(variable.name);
        }
    }
    verdict.require(report.rejected == refused,
                    fmt::format("{}: the library refused [{}], expected was [{}]", ecu.name,
                                fmt::join(report.rejected, ", "), fmt::join(refused, ", ")));
}

std::vector<VariableRecord> readOnceVariables(const EcuRecord& ecu) {
    std::vector<VariableRecord> chosen;
    std::copy_if(ecu.variables.begin(), ecu.variables.end(), std::back_inserter(chosen),
                 [&ecu](const VariableRecord& variable) {
                     const bool still = !variable.signal ||
                                        ecu.signals[*variable.signal].first.kind == sim::SignalKind::constant;
                     return still || ecu.rejects(variable);
                 });
    return chosen;
}

}  // namespace host
