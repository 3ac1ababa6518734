#include "host/MeasureSelection.h"

#include "host/HostError.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <fnmatch.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <numeric>
#include <utility>

namespace host {
namespace {

constexpr std::size_t kMostHints = 5;

/// One variable that could be meant.
struct Candidate {
    std::size_t ecu;
    const VariableRecord* variable;
    std::string fullName;  ///< "ECU.NAME"
    bool rejected;         ///< the library would refuse it
};

std::vector<Candidate> candidatesOf(const Config& config, const std::vector<std::size_t>& ecus) {
    std::vector<Candidate> candidates;
    for (const std::size_t index : ecus) {
        const EcuRecord& ecu = config.ecus[index];
        for (const VariableRecord& variable : ecu.variables) {
            candidates.push_back({index, &variable, ecu.name + "." + variable.name, ecu.rejects(variable)});
        }
    }
    return candidates;
}

bool isPattern(const std::string& name) {
    return name.find_first_of("*?[") != std::string::npos;
}

bool matches(const Candidate& candidate, const std::string& name) {
    if (isPattern(name)) {
        return fnmatch(name.c_str(), candidate.variable->name.c_str(), 0) == 0 ||
               fnmatch(name.c_str(), candidate.fullName.c_str(), 0) == 0;
    }
    return candidate.variable->name == name || candidate.fullName == name;
}

std::vector<const Candidate*> found(const std::vector<Candidate>& candidates, const std::string& name) {
    std::vector<const Candidate*> all;
    for (const Candidate& candidate : candidates) {
        if (matches(candidate, name)) {
            all.push_back(&candidate);
        }
    }
    return all;
}

/// Changes that make @p to of @p from, letter by letter.
std::size_t distance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t corner = row[0]++;
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t changed = corner + (from[i] == to[j] ? 0U : 1U);
            corner = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, corner + 1});
        }
    }
    return row.back();
}

std::vector<std::string> fullNames(const std::vector<const Candidate*>& candidates) {
    std::vector<std::string> names;
    std::transform(candidates.begin(), candidates.end(), std::back_inserter(names),
                   [](const Candidate* candidate) { return candidate->fullName; });
    return names;
}

HostError unknown(const std::vector<Candidate>& candidates, const std::string& name) {
    std::vector<std::pair<std::size_t, std::string>> near;
    near.reserve(candidates.size());
    for (const Candidate& candidate : candidates) {
        near.emplace_back(
            std::min(distance(name, candidate.variable->name), distance(name, candidate.fullName)),
            candidate.fullName);
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (const auto& [changes, full] : near) {
        if (names.size() < kMostHints) {
            names.push_back(full);
        }
    }
    return HostError(fmt::format("there is no variable \"{}\"; the nearest are {}", name,
                                 names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "))),
                     ExitCode::usage);
}

std::vector<const Candidate*> chosen(const std::vector<Candidate>& candidates, const std::string& name) {
    std::vector<const Candidate*> all = found(candidates, name);
    if (all.empty()) {
        throw unknown(candidates, name);
    }
    if (all.size() > 1 && !isPattern(name)) {
        throw HostError(fmt::format("\"{}\" is a variable of several ECUs; say which of {}", name,
                                    fmt::join(fullNames(all), ", ")),
                        ExitCode::usage);
    }
    return all;
}

void add(MeasureSelection& selection, const Candidate& candidate, std::uint16_t periodMs) {
    const auto ecu = std::find_if(selection.ecus.begin(), selection.ecus.end(),
                                  [&](const EcuSelection& item) { return item.ecu == candidate.ecu; });
    const auto same = [&](const VariableRecord& item) { return item.name == candidate.variable->name; };
    if (std::any_of(ecu->variables.begin(), ecu->variables.end(), same)) {
        return;
    }
    ecu->variables.push_back(*candidate.variable);
    if (periodMs != 0) {
        ecu->variables.back().periodMs = periodMs;
    }
}

}  // namespace

MeasureSelection selectVariables(const Config& config, const std::vector<std::size_t>& ecus,
                                 const std::vector<std::string>& names, std::uint16_t periodMs) {
    const std::vector<Candidate> candidates = candidatesOf(config, ecus);
    MeasureSelection selection;
    std::transform(ecus.begin(), ecus.end(), std::back_inserter(selection.ecus),
                   [](std::size_t ecu) { return EcuSelection{ecu}; });
    for (const std::string& name : names.empty() ? std::vector<std::string>{"*"} : names) {
        for (const Candidate* candidate : chosen(candidates, name)) {
            if (candidate->rejected) {
                selection.rejected.push_back(candidate->fullName);
            } else {
                add(selection, *candidate, periodMs);
            }
        }
    }
    const auto isEmpty = [](const EcuSelection& ecu) { return ecu.variables.empty(); };
    selection.ecus.erase(std::remove_if(selection.ecus.begin(), selection.ecus.end(), isEmpty),
                         selection.ecus.end());
    if (selection.ecus.empty()) {
        throw HostError(
            config.file + ": nothing to measure: all variables that were named stand at address 0",
            ExitCode::configuration);
    }
    return selection;
}

}  // namespace host
