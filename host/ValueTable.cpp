#include "host/ValueTable.h"

#include <fmt/format.h>

#include <cmath>

namespace host {
namespace {

constexpr std::size_t kNumberWidth = 10;
constexpr std::size_t kTrendWidth = 14;

bool startsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

std::size_t characters(const std::string& text) {
    std::size_t count = 0;
    for (const char byte : text) {
        count += startsCharacter(byte) ? 1U : 0U;
    }
    return count;
}

std::string row(const std::string& name, const std::string& source, const std::string& count,
                const std::string& rate, const std::string& first, const std::string& last,
                const std::string& least, const std::string& most, const std::string& unit,
                const std::string& trend) {
    return fmt::format("{} {} {:>6} {:>8} {:>10} {:>10} {:>10} {:>10} {} {}", fitted(name, 18),
                       fitted(source, 9), count, rate, first, last, least, most, fitted(unit, 6), trend);
}

std::string sourceOf(const EcuRecord& ecu, const VariableRecord& variable) {
    return variable.periodMs > 0 ? fmt::format("poll {}", variable.periodMs)
                                 : ecu.events[variable.event].name;
}

std::string shownText(const ShownValue& value) {
    const std::string text = value.text.empty() ? shortNumber(value.number, kNumberWidth) : value.text;
    return characters(text) > kNumberWidth ? fitted(text, kNumberWidth) : text;
}

std::string variableLine(const EcuRecord& ecu, const VariableRecord& variable, const VariableReport& report) {
    const VariableStatistics& values = report.statistics;
    if (ecu.rejects(variable)) {
        return row(variable.name, "rejected", "-", "-", "-", "-", "-", "-", variable.unit, "");
    }
    const std::string source = sourceOf(ecu, variable);
    if (values.count() == 0) {
        return row(variable.name, source, "0", "-", "-", "-", "-", "-", variable.unit, "");
    }
    return row(variable.name, source, fmt::to_string(values.count()), fmt::format("{:.1f}", values.rate()),
               shownText(values.first()), shownText(values.last()), shortNumber(values.least(), kNumberWidth),
               shortNumber(values.most(), kNumberWidth), variable.unit,
               sparkline(values.series().points(kTrendWidth), kTrendWidth));
}

std::string trimmed(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

}  // namespace

std::string tableHead() {
    return row("variable", "event", "count", "per s", "first", "last", "minimum", "maximum", "unit",
               "course");
}

std::vector<std::string> tableLines(const EcuRecord& ecu, const EcuReport& report) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < ecu.variables.size(); ++i) {
        lines.push_back(trimmed(variableLine(ecu, ecu.variables[i], report.variables[i])));
    }
    return lines;
}

std::string shortNumber(double number, std::size_t width) {
    if (number == std::floor(number) && std::abs(number) < 1e15) {
        std::string whole = fmt::format("{:.0f}", number + 0.0);  // no "-0"
        if (whole.size() <= width) {
            return whole;
        }
    }
    std::string text;
    for (int digits = 7; digits > 0; --digits) {
        text = fmt::format("{:.{}g}", number, digits);
        if (text.size() <= width) {
            break;
        }
    }
    return text;
}

std::string fitted(const std::string& text, std::size_t width) {
    const std::size_t count = characters(text);
    if (count <= width) {
        return text + std::string(width - count, ' ');
    }
    std::string cut;
    std::size_t kept = 0;
    for (const char byte : text) {
        kept += startsCharacter(byte) ? 1U : 0U;
        if (kept >= width) {
            break;
        }
        cut += byte;
    }
    return cut + "…";
}

}  // namespace host
