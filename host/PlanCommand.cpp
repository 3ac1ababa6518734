#include "host/PlanCommand.h"

#include "host/HostError.h"
#include "host/Link.h"
#include "host/MeasurePlan.h"
#include "host/MeasureSelection.h"
#include "host/PlanPrint.h"
#include "host/RunCommand.h"

#include <algorithm>
#include <map>

namespace host {
namespace {

using VariablesByEcu = std::map<std::size_t, std::vector<VariableRecord>>;

/// As a measurement chooses them, and those that the library would refuse, so that the plan can say so.
VariablesByEcu chosenVariables(const Config& config, const PlanOptions& options) {
    const std::vector<std::size_t> ecus = chosenEcus(config, options.link);
    const MeasureSelection selection = selectVariables(config, ecus, options.names, options.periodMs);
    VariablesByEcu chosen;
    for (const EcuSelection& ecu : selection.ecus) {
        chosen[ecu.ecu] = ecu.variables;
    }
    const std::vector<std::string>& rejected = selection.rejected;
    for (const std::size_t index : ecus) {
        const EcuRecord& ecu = config.ecus[index];
        for (const VariableRecord& variable : ecu.variables) {
            const std::string fullName = ecu.name + "." + variable.name;
            if (std::find(rejected.begin(), rejected.end(), fullName) != rejected.end()) {
                chosen[index].push_back(variable);
            }
        }
    }
    return chosen;
}

std::vector<EcuPlan> planAll(const Config& config, const PlanOptions& options) {
    std::vector<EcuPlan> plans;
    for (const auto& [ecu, variables] : chosenVariables(config, options)) {
        plans.push_back(planMeasurement(config, ecu, variables, options.unlimited));
    }
    return plans;
}

ExitCode printPlan(const PlanOptions& options) {
    Config config = loadConfigFor(options.link);
    if (options.periodMs > 0) {
        // The period of each variable stands in the place of the one that the configuration has for all.
        for (EcuRecord& ecu : config.ecus) {
            ecu.daq.pollPeriodMs = 0;
        }
    }
    const std::vector<EcuPlan> plans = planAll(config, options);
    const bool whole = options.link.json ? printPlanJson(config, plans) : printPlanText(config, plans);
    if (!whole) {
        throw HostError("standard output: cannot be written");
    }
    return ExitCode::done;
}

}  // namespace

ExitCode runPlan(const PlanOptions& options) {
    return runCommand("plan", options.link.json, [&options] { return printPlan(options); });
}

}  // namespace host
