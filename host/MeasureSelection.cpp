#include "host/MeasureSelection.h"

#include "host/HostError.h"
#include "host/VariableName.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <fnmatch.h>

#include <algorithm>
#include <iterator>
#include <set>

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
    return name.find_first_of("*?") != std::string::npos;
}

/// Only * and ? are peculiar in a pattern; what fnmatch takes for more stands for itself.
std::string escaped(const std::string& pattern) {
    std::string text;
    for (const char letter : pattern) {
        if (letter == '[' || letter == '\\') {
            text += '\\';
        }
        text += letter;
    }
    return text;
}

template <class Matches>
std::vector<const Candidate*> allThat(const std::vector<Candidate>& candidates, const Matches& matches) {
    std::vector<const Candidate*> all;
    for (const Candidate& candidate : candidates) {
        if (matches(candidate.variable->name) || matches(candidate.fullName)) {
            all.push_back(&candidate);
        }
    }
    return all;
}

std::vector<const Candidate*> named(const std::vector<Candidate>& candidates, const std::string& name) {
    return allThat(candidates, [&name](const std::string& known) { return known == name; });
}

std::vector<const Candidate*> matching(const std::vector<Candidate>& candidates, const std::string& name) {
    const std::string pattern = escaped(name);
    return allThat(candidates, [&pattern](const std::string& known) {
        return fnmatch(pattern.c_str(), known.c_str(), 0) == 0;
    });
}

std::vector<std::string> fullNames(const std::vector<const Candidate*>& candidates) {
    std::vector<std::string> names;
    std::transform(candidates.begin(), candidates.end(), std::back_inserter(names),
                   [](const Candidate* candidate) { return candidate->fullName; });
    return names;
}

/// The full names of variables that are called like @p name, the best first.
std::vector<std::string> hints(const std::vector<Candidate>& candidates, const std::string& name) {
    std::set<std::string> known;
    for (const Candidate& candidate : candidates) {
        known.insert({candidate.variable->name, candidate.fullName});
    }
    std::vector<std::string> names;
    for (const std::string& near : nearestNames(name, {known.begin(), known.end()}, kMostHints)) {
        for (const std::string& full : fullNames(named(candidates, near))) {
            if (std::find(names.begin(), names.end(), full) == names.end()) {
                names.push_back(full);
            }
        }
    }
    names.resize(std::min(names.size(), kMostHints));
    return names;
}

HostError unknown(const std::vector<Candidate>& candidates, const std::string& name) {
    const std::vector<std::string> near = hints(candidates, name);
    return HostError(fmt::format("there is no variable \"{}\"; {}", name,
                                 near.empty() ? std::string("give a name of the configuration")
                                              : fmt::format("did you mean {}?", fmt::join(near, ", "))),
                     ExitCode::usage);
}

std::vector<const Candidate*> chosen(const std::vector<Candidate>& candidates, const std::string& name) {
    std::vector<const Candidate*> all = named(candidates, name);
    if (all.size() > 1) {
        throw HostError(fmt::format("\"{}\" is a variable of several ECUs; say which of {}", name,
                                    fmt::join(fullNames(all), ", ")),
                        ExitCode::usage);
    }
    if (all.empty() && isPattern(name)) {
        all = matching(candidates, name);
    }
    if (all.empty()) {
        throw unknown(candidates, name);
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

void pollAll(Config& config, const std::vector<std::size_t>& ecus, std::uint16_t periodMs) {
    for (const std::size_t ecu : ecus) {
        config.ecus[ecu].daq.pollPeriodMs = periodMs;
    }
}

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
                const std::uint16_t ofEcu = config.ecus[candidate->ecu].daq.pollPeriodMs;
                add(selection, *candidate, periodMs != 0 ? periodMs : ofEcu);
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
