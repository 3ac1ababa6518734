#include "host/LiveTable.h"

#include "host/ValueTable.h"

#include <fmt/format.h>

#include <algorithm>

namespace host {
namespace {

constexpr std::size_t kLeastWidth = 20;      ///< for name and value; lines of less are cut
constexpr std::size_t kLeastNameWidth = 16;  ///< names give way that far before a column goes
constexpr std::size_t kLeastRows = 1;

/// One column: its head and its width; that of names is what the others leave.
struct Column {
    const char* head;
    std::size_t width;
    bool right;  ///< numbers stand at the right
};

constexpr std::array<Column, kLiveColumns> kColumns{{{"variable", 0, false},
                                                     {"value", kLiveValueWidth, true},
                                                     {"unit", 6, false},
                                                     {"per s", 7, true},
                                                     {"minimum", kLiveLimitWidth, true},
                                                     {"maximum", kLiveLimitWidth, true},
                                                     {"age", 7, true}}};

/// @p text, cut to @p width characters.
std::string cut(const std::string& text, std::size_t width) {
    return text.size() > width ? fitted(text, width) : text;
}

/// Characters of the first @p columns columns but the name, each with the blank ahead of it.
std::size_t widthBesideName(std::size_t columns) {
    std::size_t width = 0;
    for (std::size_t i = 1; i < columns; ++i) {
        width += 1 + kColumns[i].width;
    }
    return width;
}

std::size_t longestName(const std::vector<LiveRow>& rows) {
    std::size_t longest = std::string(kColumns[0].head).size();
    for (const LiveRow& row : rows) {
        longest = std::max(longest, row[0].size());
    }
    return longest;
}

std::string cell(const std::string& text, const Column& column, std::size_t width) {
    return column.right && text.size() < width ? fmt::format("{:>{}}", text, width) : fitted(text, width);
}

std::string line(const LiveRow& row, std::size_t columns, std::size_t nameWidth) {
    std::string text = cell(row[0], kColumns[0], nameWidth);
    for (std::size_t i = 1; i < columns; ++i) {
        text += ' ' + cell(row[i], kColumns[i], kColumns[i].width);
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

LiveRow headRow() {
    LiveRow head;
    for (std::size_t i = 0; i < kLiveColumns; ++i) {
        head[i] = kColumns[i].head;
    }
    return head;
}

}  // namespace

std::vector<std::string> liveLines(const std::vector<LiveRow>& rows, std::size_t width) {
    const std::size_t room = std::max(width, kLeastWidth);
    const std::size_t longest = longestName(rows);
    const std::size_t wanted = std::min(longest, kLeastNameWidth);
    std::size_t columns = kLiveColumns;
    while (columns > 2 && widthBesideName(columns) + wanted > room) {
        --columns;
    }
    const std::size_t nameWidth = std::min(longest, room - widthBesideName(columns));
    std::vector<std::string> lines{line(headRow(), columns, nameWidth)};
    for (const LiveRow& row : rows) {
        lines.push_back(line(row, columns, nameWidth));
    }
    if (width < room) {
        std::transform(lines.begin(), lines.end(), lines.begin(),
                       [width](const std::string& text) { return cut(text, width); });
    }
    return lines;
}

void LiveTable::draw(const std::string& status, const std::vector<LiveRow>& rows) {
    const TerminalSize size = terminalSize(m_stream);
    std::vector<std::string> lines = liveLines(rows, size.width);
    // The status, the head and the line that the cursor rests on take room as well.
    const std::size_t room = size.height > 3 + kLeastRows ? size.height - 3 : kLeastRows;
    if (rows.size() > room) {
        const std::size_t shown = std::max<std::size_t>(room, 2) - 1;
        lines.resize(1 + shown);
        lines.push_back(cut(fmt::format("and {} more", rows.size() - shown), size.width));
    }
    lines.insert(lines.begin(), cut(status, size.width));
    show(lines);
}

void LiveTable::show(const std::vector<std::string>& lines) {
    std::string whole = m_shown > 0 ? fmt::format("\033[{}A\r", m_shown) : "";
    for (const std::string& text : lines) {
        whole += text + "\033[K\n";
    }
    whole += "\033[J";
    m_shown = lines.size();
    const bool written = std::fwrite(whole.data(), 1, whole.size(), m_stream) == whole.size();
    m_broken = std::fflush(m_stream) != 0 || !written || m_broken;
}

}  // namespace host
