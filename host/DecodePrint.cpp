#include "host/DecodePrint.h"

#include "host/JsonLines.h"

#include <fmt/format.h>

namespace host {
namespace {

std::string hexBytes(const LoggedFrame& frame) {
    return hexDigits(frame.data.data(), frame.length);
}

/// Seconds as "12.000345"; a log of differences may hold times below zero.
std::string secondsText(std::int64_t timeUs) {
    constexpr std::int64_t kPerSecond = 1'000'000;
    const std::int64_t size = timeUs < 0 ? -timeUs : timeUs;
    return fmt::format("{}{}.{:06}", timeUs < 0 ? "-" : "", size / kPerSecond, size % kPerSecond);
}

/// Quotes what a reader could not tell from its neighbours.
std::string fieldText(const mcDecodeField& field) {
    const bool plain = !field.text.empty() && field.text.find(' ') == std::string::npos;
    const char* const quote = plain ? "" : "\"";
    return fmt::format("{}={}{}{}", field.label, quote, field.text, quote);
}

Colour titleColour(const DecodedFrame& decoded) {
    if (decoded.kind == FrameKind::error || decoded.unexpected()) {
        return Colour::bad;
    }
    const bool answersOrAsks = decoded.kind == FrameKind::command || decoded.kind == FrameKind::response;
    return answersOrAsks ? Colour::bold : Colour::none;
}

Json fieldsJson(const std::vector<mcDecodeField>& fields) {
    Json array = Json::array();
    for (const mcDecodeField& field : fields) {
        array.push_back(
            {{"label", field.label}, {"text", field.text}, {"value", field.value}, {"mark", field.mark}});
    }
    return array;
}

/// @return @p line with what names a station
Json stationJson(const char* type, const StationTally& station) {
    const IdPair& pair = station.pair;
    Json line = jsonObject(type);
    line["interface"] = station.interface;
    line["protocol"] = protocolText(pair.protocol);
    line["command_id"] = idText(pair.commandId, pair.extended);
    line["response_id"] = idText(pair.responseId, pair.extended);
    return line;
}

void addTimes(Json& line, const CommandTally& command) {
    const std::optional<ResponseTimes> times = command.times();
    line["min_ms"] = times ? Json(times->least) : Json();
    line["median_ms"] = times ? Json(times->median) : Json();
    line["max_ms"] = times ? Json(times->most) : Json();
}

void addStation(std::vector<std::string>& lines, const StationTally& station) {
    for (const CommandTally& command : station.commands) {
        Json line = stationJson("command", station);
        line["command"] = command.name;
        line["sent"] = command.sent;
        line["answers"] = command.answers;
        line["errors"] = command.errors;
        line["unanswered"] = command.unanswered();
        line["in_blocks"] = command.inBlocks;
        addTimes(line, command);
        lines.push_back(line.dump());
    }
    for (const CommandTally& command : station.commands) {
        for (const auto& [code, text] : command.codes) {
            Json line = stationJson("error_code", station);
            line["command"] = command.name;
            line["code"] = code;
            line["text"] = text.first;
            line["count"] = text.second;
            lines.push_back(line.dump());
        }
    }
    for (const auto& [title, count] : station.others) {
        Json line = stationJson("other", station);
        line["title"] = title;
        line["count"] = count;
        lines.push_back(line.dump());
    }
}

}  // namespace

std::string frameText(const Output& output, const LoggedFrame& frame, const DecodedFrame& decoded) {
    std::string line =
        fmt::format("{:>17} {} {} {} {}", frame.timeUs ? secondsText(*frame.timeUs) : "-", frame.interface,
                    idText(frame.id, frame.extended), decoded.toEcu() ? "->" : "<-",
                    output.paint(titleColour(decoded), decoded.title));
    if (decoded.responseUs) {
        const std::string after =
            fmt::format(" ({:.3f} ms)", static_cast<double>(*decoded.responseUs) / 1000.0);
        line += output.paint(Colour::dim, after);
    }
    for (const mcDecodeField& field : decoded.fields) {
        line += ' ' + fieldText(field);
    }
    if (decoded.fields.empty() && frame.length > 1) {
        line += " data=0x" + hexBytes(frame);
    }
    return line;
}

std::string frameJson(const LoggedFrame& frame, const DecodedFrame& decoded, const IdPair& pair) {
    Json line = jsonObject("frame");
    line["time_us"] = frame.timeUs ? Json(*frame.timeUs) : Json();
    line["interface"] = frame.interface;
    line["direction"] = decoded.toEcu() ? "to_ecu" : "from_ecu";
    line["id"] = idText(frame.id, frame.extended);
    line["protocol"] = protocolText(pair.protocol);
    line["kind"] = kindText(decoded.kind);
    line["title"] = decoded.title;
    line["command"] = decoded.command.empty() ? Json() : Json(decoded.command);
    line["response_us"] = decoded.responseUs ? Json(*decoded.responseUs) : Json();
    line["error"] = decoded.kind == FrameKind::error ? Json(decoded.statusText) : Json();
    line["data"] = hexBytes(frame);
    line["fields"] = fieldsJson(decoded.fields);
    return line.dump();
}

std::vector<std::string> statsJson(const DecodeStats& stats) {
    std::vector<std::string> lines;
    for (const StationTally& station : stats.stations()) {
        addStation(lines, station);
    }
    return lines;
}

std::string summaryJson(const DecodeSummary& summary) {
    Json line = jsonObject("log");
    line["lines"] = summary.lines;
    line["frames"] = summary.frames;
    line["ours"] = summary.ours;
    line["others"] = summary.frames - summary.ours;
    line["malformed"] = summary.malformed;
    return line.dump();
}

}  // namespace host
