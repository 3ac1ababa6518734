#include "host/VariableName.h"

#include "host/HostError.h"
#include "host/PhysicalValue.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace host {
namespace {

constexpr std::size_t kMostSuggestions = 3;
constexpr std::uint32_t kMostBytes = 0xFFFF;

using Indices = std::vector<std::size_t>;

std::optional<std::uint32_t> number(std::string_view text) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole ? std::optional(value) : std::nullopt;
}

/// "ADDRESS:" with a number: what cannot be the name of a variable of a sane configuration.
bool isAddress(std::string_view text) {
    const std::size_t colon = text.find(':');
    return colon != std::string_view::npos && number(text.substr(0, colon)).has_value();
}

HostError badAddress(const std::string& text, const std::string& found) {
    return HostError(fmt::format("{}: found \"{}\" behind the address; give a number of bytes, 1 to {}, or "
                                 "one of {}",
                                 text, found, kMostBytes, fmt::join(valueTypeNames(), ", ")),
                     ExitCode::usage);
}

VariableRecord addressed(const std::string& text) {
    const std::size_t colon = text.find(':');
    const std::string what = text.substr(colon + 1);
    VariableRecord record;
    record.name = text;
    record.address = number(std::string_view(text).substr(0, colon)).value_or(0);
    if (const std::optional<ValueType> type = findValueType(what)) {
        record.type = *type;
        record.size = valueSize(record.type);
        return record;
    }
    record.size = number(what).value_or(0);
    if (record.size == 0 || record.size > kMostBytes) {
        throw badAddress(text, what);
    }
    return record;
}

std::vector<std::string> namesIn(const EcuRecord& ecu) {
    std::vector<std::string> names;
    const auto nameOf = [](const VariableRecord& variable) { return variable.name; };
    std::transform(ecu.variables.begin(), ecu.variables.end(), std::back_inserter(names), nameOf);
    std::transform(ecu.parameters.begin(), ecu.parameters.end(), std::back_inserter(names), nameOf);
    return names;
}

HostError unknown(const Config& config, const Indices& ecus, const std::string& name) {
    std::set<std::string> known;
    std::vector<std::string> places;
    for (const std::size_t ecu : ecus) {
        const std::vector<std::string> names = namesIn(config.ecus[ecu]);
        known.insert(names.begin(), names.end());
        places.push_back(config.ecus[ecu].name);
    }
    const std::vector<std::string> near = nearestNames(name, {known.begin(), known.end()}, kMostSuggestions);
    const std::string hint = near.empty() ? std::string("give a name of the configuration, or ADDRESS:SIZE")
                                          : fmt::format("did you mean {}?", fmt::join(near, ", "));
    return HostError(
        fmt::format("{}: {} has no variable \"{}\"; {}", config.file, fmt::join(places, ", "), name, hint),
        ExitCode::usage);
}

HostError ambiguous(const Config& config, const Indices& ecus, const std::string& name) {
    std::vector<std::string> choices;
    std::transform(ecus.begin(), ecus.end(), std::back_inserter(choices),
                   [&](std::size_t ecu) { return config.ecus[ecu].name + "." + name; });
    return HostError(fmt::format("\"{}\" can be that of several ECUs; give one of {}, or choose with --ecu",
                                 name, fmt::join(choices, ", ")),
                     ExitCode::usage);
}

/// The one of @p ecus that has @p name.
NamedVariable findAmong(const Config& config, const Indices& ecus, const std::string& name) {
    Indices owners;
    std::copy_if(ecus.begin(), ecus.end(), std::back_inserter(owners),
                 [&](std::size_t ecu) { return config.ecus[ecu].find(name) != nullptr; });
    const bool atAddress = owners.empty() && isAddress(name);
    if (atAddress) {
        owners = ecus;
    }
    if (owners.empty()) {
        throw unknown(config, ecus, name);
    }
    if (owners.size() > 1) {
        throw ambiguous(config, owners, name);
    }
    const std::size_t owner = owners.front();
    return {owner, atAddress ? addressed(name) : *config.ecus[owner].find(name)};
}

/// Splits "ECU.NAME" where the ECU is one of the configuration.
std::optional<std::pair<std::size_t, std::string>> splitEcu(const Config& config, const std::string& text) {
    for (std::size_t i = 0; i < config.ecus.size(); ++i) {
        const std::string prefix = config.ecus[i].name + ".";
        if (text.starts_with(prefix)) {
            return std::pair(i, text.substr(prefix.size()));
        }
    }
    return std::nullopt;
}

bool anyHas(const Config& config, const Indices& ecus, const std::string& name) {
    return std::any_of(ecus.begin(), ecus.end(),
                       [&](std::size_t ecu) { return config.ecus[ecu].find(name) != nullptr; });
}

/// Changes of one character that turn @p from into @p to.
std::size_t editDistance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t swapped = diagonal + (from[i - 1] == to[j - 1] ? 0U : 1U);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, swapped}));
        }
    }
    return row.back();
}

/// As `editDistance`; what holds the other one whole counts as near.
std::size_t distance(const std::string& wanted, const std::string& known) {
    const bool part = wanted.size() > 2 && known.find(wanted) != std::string::npos;
    return part ? 1 : editDistance(wanted, known);
}

}  // namespace

NamedVariable findVariable(const Config& config, const std::vector<std::size_t>& ecus,
                           const std::string& text) {
    const auto split = splitEcu(config, text);
    if (!split || anyHas(config, ecus, text)) {
        return findAmong(config, ecus, text);
    }
    if (std::find(ecus.begin(), ecus.end(), split->first) == ecus.end()) {
        throw HostError(fmt::format("{}: --ecu does not choose {}", text, config.ecus[split->first].name),
                        ExitCode::usage);
    }
    return findAmong(config, {split->first}, split->second);
}

std::vector<NamedVariable> findVariables(const Config& config, const std::vector<std::size_t>& ecus,
                                         const std::vector<std::string>& texts) {
    std::vector<NamedVariable> variables;
    std::transform(texts.begin(), texts.end(), std::back_inserter(variables),
                   [&](const std::string& text) { return findVariable(config, ecus, text); });
    return variables;
}

std::vector<std::string> nearestNames(const std::string& wanted, const std::vector<std::string>& known,
                                      std::size_t most) {
    const std::size_t farthest = std::max<std::size_t>(2, wanted.size() / 3);
    std::vector<std::pair<std::size_t, std::string>> rows;
    for (const std::string& name : known) {
        if (const std::size_t steps = distance(wanted, name); steps <= farthest) {
            rows.emplace_back(steps, name);
        }
    }
    std::sort(rows.begin(), rows.end());
    rows.resize(std::min(rows.size(), most));
    std::vector<std::string> names;
    std::transform(rows.begin(), rows.end(), std::back_inserter(names),
                   [](const auto& row) { return row.second; });
    return names;
}

std::vector<std::size_t> ecusOf(const std::vector<NamedVariable>& variables) {
    std::set<std::size_t> ecus;
    std::transform(variables.begin(), variables.end(), std::inserter(ecus, ecus.end()),
                   [](const NamedVariable& variable) { return variable.ecu; });
    return {ecus.begin(), ecus.end()};
}

}  // namespace host
