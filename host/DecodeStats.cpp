#include "host/DecodeStats.h"

#include <fmt/format.h>

#include <algorithm>

namespace host {
namespace {

CommandTally& tally(StationTally& station, const std::string& name) {
    const auto found = std::find_if(station.commands.begin(), station.commands.end(),
                                    [&](const CommandTally& command) { return command.name == name; });
    if (found != station.commands.end()) {
        return *found;
    }
    station.commands.emplace_back();
    station.commands.back().name = name;
    return station.commands.back();
}

void takeAnswer(CommandTally& command, const DecodedFrame& decoded) {
    ++(decoded.kind == FrameKind::error ? command.errors : command.answers);
    if (decoded.responseUs && *decoded.responseUs >= 0) {
        command.timesUs.push_back(*decoded.responseUs);
    }
    if (decoded.kind == FrameKind::error) {
        auto& code = command.codes[decoded.status.value_or(0)];
        code.first = decoded.statusText;
        ++code.second;
    }
}

double milliseconds(std::int64_t timeUs) {
    return static_cast<double>(timeUs) / 1000.0;
}

std::string commandLine(const CommandTally& command) {
    const std::optional<ResponseTimes> times = command.times();
    return fmt::format("  {:<28}{:>8}{:>9}{:>8}{:>12}{:>11}  {}", command.name, command.sent, command.answers,
                       command.errors, command.unanswered(), command.inBlocks,
                       times
                           ? fmt::format("{:>9.3f}{:>9.3f}{:>9.3f}", times->least, times->median, times->most)
                           : fmt::format("{:>9}{:>9}{:>9}", "-", "-", "-"));
}

/// All commands as one.
CommandTally total(const StationTally& station) {
    CommandTally sum;
    sum.name = "all";
    for (const CommandTally& command : station.commands) {
        sum.sent += command.sent;
        sum.answers += command.answers;
        sum.errors += command.errors;
        sum.inBlocks += command.inBlocks;
        sum.timesUs.insert(sum.timesUs.end(), command.timesUs.begin(), command.timesUs.end());
    }
    return sum;
}

void addStation(std::vector<std::string>& lines, const StationTally& station) {
    const IdPair& pair = station.pair;
    lines.push_back(fmt::format("{} {} {}:{} {} endian", station.interface, protocolText(pair.protocol),
                                idText(pair.commandId, pair.extended), idText(pair.responseId, pair.extended),
                                pair.bigEndian ? "big" : "little"));
    lines.push_back(fmt::format("  {:<28}{:>8}{:>9}{:>8}{:>12}{:>11}  {:>9}{:>9}{:>9}", "command", "sent",
                                "answers", "errors", "unanswered", "in blocks", "min ms", "median", "max"));
    for (const CommandTally& command : station.commands) {
        lines.push_back(commandLine(command));
    }
    lines.push_back(commandLine(total(station)));
    for (const CommandTally& command : station.commands) {
        for (const auto& [code, text] : command.codes) {
            lines.push_back(
                fmt::format("  {} x error 0x{:02X} of {}: {}", text.second, code, command.name, text.first));
        }
    }
    for (const auto& [title, count] : station.others) {
        lines.push_back(fmt::format("  {} x {}", count, title));
    }
}

}  // namespace

std::optional<ResponseTimes> CommandTally::times() const {
    if (timesUs.empty()) {
        return std::nullopt;
    }
    std::vector<std::int64_t> sorted = timesUs;
    std::sort(sorted.begin(), sorted.end());
    const std::size_t half = sorted.size() / 2;
    const double median = sorted.size() % 2 == 1
                              ? milliseconds(sorted[half])
                              : (milliseconds(sorted[half - 1]) + milliseconds(sorted[half])) / 2.0;
    return ResponseTimes{milliseconds(sorted.front()), median, milliseconds(sorted.back())};
}

StationTally& DecodeStats::station(const std::string& interface, std::size_t index, const IdPair& pair) {
    const auto [place, isNew] = m_places.try_emplace({interface, index}, m_stations.size());
    if (isNew) {
        m_stations.emplace_back();
        m_stations.back().interface = interface;
        m_stations.back().pair = pair;
    }
    return m_stations[place->second];
}

void DecodeStats::take(const LoggedFrame& frame, const DecodedFrame& decoded, const IdPair& pair) {
    StationTally& of = station(frame.interface, decoded.pair, pair);
    if (decoded.kind == FrameKind::command) {
        ++tally(of, decoded.command).sent;
        if (decoded.continued) {
            ++tally(of, *decoded.continued).inBlocks;
        }
    } else if (decoded.command.empty()) {
        ++of.others[decoded.title];
    } else if (!decoded.furtherPart) {
        takeAnswer(tally(of, decoded.command), decoded);
    }
}

std::vector<std::string> statsLines(const DecodeStats& stats) {
    std::vector<std::string> lines;
    for (const StationTally& station : stats.stations()) {
        addStation(lines, station);
    }
    return lines;
}

}  // namespace host
