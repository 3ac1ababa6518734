#include "host/PlanCommand.h"

#include "host/Config.h"
#include "host/HostError.h"
#include "host/MeasurePlan.h"
#include "host/PlanPrint.h"
#include "host/VariableName.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <numeric>

namespace host {
namespace {

constexpr std::size_t kMostSuggestions = 3;

std::size_t findEcu(const Config& config, const std::string& name) {
    std::vector<std::string> names;
    std::transform(config.ecus.begin(), config.ecus.end(), std::back_inserter(names),
                   [](const EcuRecord& ecu) { return ecu.name; });
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) {
        const std::vector<std::string> near = nearestNames(name, names, kMostSuggestions);
        throw HostError(fmt::format("{}: there is no ECU \"{}\"; give one of \"{}\"", config.file, name,
                                    fmt::join(near.empty() ? names : near, "\", \"")),
                        ExitCode::usage);
    }
    return static_cast<std::size_t>(std::distance(names.begin(), found));
}

/// The ECUs that were asked for, each once, or all.
std::vector<std::size_t> chosenEcus(const Config& config, const PlanOptions& options) {
    std::vector<std::size_t> ecus(config.ecus.size());
    std::iota(ecus.begin(), ecus.end(), std::size_t{0});
    if (options.ecus.empty()) {
        return ecus;
    }
    ecus.clear();
    for (const std::string& name : options.ecus) {
        ecus.push_back(findEcu(config, name));
    }
    std::sort(ecus.begin(), ecus.end());
    ecus.erase(std::unique(ecus.begin(), ecus.end()), ecus.end());
    return ecus;
}

/// The variables of each ECU that has any.
std::map<std::size_t, std::vector<VariableRecord>> chosenVariables(const Config& config,
                                                                   const PlanOptions& options) {
    const std::vector<std::size_t> ecus = chosenEcus(config, options);
    std::map<std::size_t, std::vector<VariableRecord>> chosen;
    if (options.variables.empty()) {
        for (const std::size_t ecu : ecus) {
            chosen[ecu] = config.ecus[ecu].variables;
        }
        return chosen;
    }
    for (const NamedVariable& variable : findVariables(config, ecus, options.variables)) {
        chosen[variable.ecu].push_back(variable.record);
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
    const Config config = loadConfig(options.config);
    const std::vector<EcuPlan> plans = planAll(config, options);
    const bool whole = options.json ? printPlanJson(config, plans) : printPlanText(config, plans);
    return whole ? ExitCode::done : ExitCode::failed;
}

/// Ends JSON with its result, whatever @p code says.
ExitCode end(const PlanOptions& options, ExitCode code, const std::string& error) {
    if (options.json) {
        printPlanResult(code, error);
    }
    if (!error.empty()) {
        printPlanMessage(error);
    }
    return code;
}

}  // namespace

ExitCode runPlan(const PlanOptions& options) {
    try {
        return end(options, printPlan(options), "");
    } catch (const ConfigError& error) {
        return end(options, ExitCode::configuration, error.what());
    } catch (const HostError& error) {
        return end(options, error.code(), error.what());
    }
}

}  // namespace host
