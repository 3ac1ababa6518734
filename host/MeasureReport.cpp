#include "host/MeasureReport.h"

#include "host/ValueTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace host {
namespace {

/// What there is to count, with its name for one and for several.
void addCount(std::vector<std::string>& parts, std::uint64_t count, const char* one, const char* several) {
    if (count > 0) {
        parts.push_back(fmt::format("{} {}", count, count == 1 ? one : several));
    }
}

std::vector<std::string> ecuParts(const EcuLosses& losses) {
    const ListLosses sum = losses.sum();
    std::vector<std::string> parts;
    addCount(parts, sum.gaps, "gap in ODT order", "gaps in ODT order");
    addCount(parts, sum.incompleteCycles, "incomplete cycle", "incomplete cycles");
    addCount(parts, sum.undelivered, "cycle without values", "cycles without values");
    addCount(parts, losses.overloads, "overload of the ECU", "overloads of the ECU");
    return parts;
}

std::vector<std::string> commonParts(const MeasureLosses& losses) {
    std::vector<std::string> parts;
    addCount(parts, losses.overflows, "frame lost below the host", "frames lost below the host");
    addCount(parts, losses.discards, "frame or more beyond the library's store",
             "frames or more beyond the library's store");
    addCount(parts, losses.notWritten, "delivery not written", "deliveries not written");
    addCount(parts, losses.shortValues, "value without all its bytes", "values without all their bytes");
    if (!losses.silent.empty()) {
        parts.push_back(fmt::format("no value came of {}", fmt::join(losses.silent, ", ")));
    }
    return parts;
}

std::string limitText(const std::optional<double>& number) {
    return number ? shortNumber(*number, kLiveLimitWidth) : "-";
}

std::string ageText(std::chrono::steady_clock::duration age) {
    const double seconds = std::max(std::chrono::duration<double>(age).count(), 0.0);
    return seconds < 100.0 ? fmt::format("{:.1f} s", seconds) : fmt::format("{:.0f} s", seconds);
}

}  // namespace

LiveRow liveRow(const std::string& name, const VariableRecord& variable, const MeasureTally& tally,
                std::chrono::steady_clock::time_point now) {
    if (tally.count == 0) {
        return {name, "-", variable.unit, "-", "-", "-", "-"};
    }
    return {name,
            tally.last.missing() ? "-" : shownText(tally.last, kLiveValueWidth),
            variable.unit,
            fmt::format("{:.1f}", tally.rate()),
            limitText(tally.minimum),
            limitText(tally.maximum),
            ageText(now - tally.lastArrival)};
}

std::string lossText(const Config& config, const MeasureSelection& selection, const MeasureLosses& losses) {
    std::vector<std::string> parts;
    for (std::size_t i = 0; i < selection.ecus.size(); ++i) {
        if (const std::vector<std::string> own = ecuParts(losses.ecus[i]); !own.empty()) {
            parts.push_back(
                fmt::format("{}: {}", config.ecus[selection.ecus[i].ecu].name, fmt::join(own, ", ")));
        }
    }
    if (const std::vector<std::string> common = commonParts(losses); !common.empty()) {
        parts.push_back(fmt::format("{}", fmt::join(common, ", ")));
    }
    return parts.empty() ? "nothing lost" : fmt::format("lost: {}", fmt::join(parts, "; "));
}

std::vector<std::string> listLines(const EcuRecord& ecu, const EcuLosses& losses) {
    std::vector<std::string> lines;
    for (const ListLosses& list : losses.lists) {
        const std::string event =
            list.event < ecu.events.size() ? ecu.events[list.event].name : std::to_string(list.event);
        lines.push_back(fmt::format("{}: list {} ({}): {} cycles of {} packets", ecu.name, list.list, event,
                                    list.cycles, list.odts));
    }
    return lines;
}

}  // namespace host
