#include "bench/Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace bench {

namespace {

/// A number with four significant digits, without an exponent for what rows usually measure.
std::string number(double value) {
    char text[48];
    std::snprintf(text, sizeof text, std::fabs(value) >= 10000.0 ? "%.0f" : "%.4g", value);
    return text;
}

std::string left(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, text.size()), ' ');
}

std::string right(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string withUnit(double value, const std::string& unit) {
    return unit.empty() ? number(value) : number(value) + ' ' + unit;
}

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
            out += code;
        } else {
            out += c;
        }
    }
    return out + '"';
}

std::string jsonNumber(double value) {
    return std::isfinite(value) ? number(value) : "null";
}

std::string jsonObject(const Line& line) {
    const Figure& figure = line.result.figure;
    const bool hasFigure = figure.failure.empty();
    return "{\"row\": " + quoted(line.row.id) + ", \"subject\": " + quoted(line.row.subject) +
           ", \"baseline\": " + quoted(line.row.baseline) + ", \"unit\": " + quoted(line.row.unit) +
           ", \"subjectFigure\": " + (hasFigure ? jsonNumber(figure.subject) : "null") +
           ", \"baselineFigure\": " + (figure.baseline ? jsonNumber(*figure.baseline) : "null") +
           ", \"value\": " + (hasFigure ? jsonNumber(figure.value) : "null") +
           ", \"goal\": " + quoted(goalText(line.row.goal)) +
           ", \"met\": " + (line.result.met ? "true" : "false") + ", \"failure\": " + quoted(figure.failure) +
           "}";
}

std::size_t widest(const std::vector<Row>& rows, const std::string& head, std::string Row::*column) {
    std::size_t width = head.size();
    for (const Row& row : rows) {
        width = std::max(width, (row.*column).size());
    }
    return width;
}

}  // namespace

Table::Table(const std::vector<Row>& rows)
    : m_subjectWidth(widest(rows, "subject", &Row::subject)),
      m_baselineWidth(widest(rows, "baseline", &Row::baseline)) {}

std::string Table::head() const {
    return left("row", 5) + left("subject", m_subjectWidth + 2) + left("baseline", m_baselineWidth) +
           right("subject", 13) + right("baseline", 13) + right("ratio", 8) + right("goal", 9) + "  met\n";
}

std::string Table::line(const Line& line) const {
    const Figure& figure = line.result.figure;
    const bool hasFigure = figure.failure.empty();
    std::string text = left(line.row.id, 5) + left(line.row.subject, m_subjectWidth + 2) +
                       left(line.row.baseline, m_baselineWidth);
    text += right(hasFigure ? withUnit(figure.subject, line.row.unit) : "-", 13);
    text += right(figure.baseline ? withUnit(*figure.baseline, line.row.unit) : "-", 13);
    text += right(figure.baseline ? number(figure.value) : "-", 8);
    text += right(goalText(line.row.goal), 9);
    text += line.result.met ? "  yes\n" : "  NO\n";
    if (!hasFigure) {
        text += left("", 5) + figure.failure + '\n';
    }
    return text;
}

std::string goalText(const Goal& goal) {
    return (goal.kind == Goal::Kind::AtMost ? "<= " : ">= ") + number(goal.limit);
}

std::string json(const std::vector<Line>& lines) {
    std::string text = "[";
    for (const Line& line : lines) {
        text += (text.size() == 1 ? "\n  " : ",\n  ") + jsonObject(line);
    }
    return text + "\n]\n";
}

}  // namespace bench
