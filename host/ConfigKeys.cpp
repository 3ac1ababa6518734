#include "host/ConfigKeys.h"

#include <fmt/format.h>

#include <algorithm>

namespace host {
namespace {

/// Where the string that begins at @p from ends, "..." or '...'. One that has no end ends with its line.
std::size_t endOfString(std::string_view toml, std::size_t from) {
    const char quote = toml[from];
    std::size_t at = from + 1;
    while (at < toml.size() && toml[at] != quote && toml[at] != '\n') {
        at += toml[at] == '\\' && quote == '"' ? 2 : 1;
    }
    const bool closed = at < toml.size() && toml[at] == quote;
    return std::min(closed ? at + 1 : at, toml.size());
}

/// As above for a string of several lines, whose last two characters may be quotes as well.
std::size_t endOfLongString(std::string_view toml, std::size_t from) {
    constexpr std::size_t kMarks = 3;
    const char quote = toml[from];
    const std::string marks(kMarks, quote);
    std::size_t at = from + kMarks;
    while (at < toml.size() && toml.substr(at, kMarks) != marks) {
        at += toml[at] == '\\' && quote == '"' ? 2 : 1;
    }
    at = std::min(at + kMarks, toml.size());
    for (int more = 0; more < 2 && at < toml.size() && toml[at] == quote; ++more) {
        ++at;
    }
    return at;
}

/// Where that ends which begins at @p from: a comment, a string, or else one character.
std::size_t endOfPiece(std::string_view toml, std::size_t from) {
    const char first = toml[from];
    if (first == '#') {
        return std::min(toml.find('\n', from), toml.size());
    }
    if (first != '"' && first != '\'') {
        return from + 1;
    }
    const bool isLong = toml.substr(from, 3) == std::string(3, first);
    return isLong ? endOfLongString(toml, from) : endOfString(toml, from);
}

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return static_cast<unsigned char>(character) <= 0x7F; });
}

/// Whether a value is being read that stands without quotation marks, or has its own already. The parser
/// looks for the end of such a value through everything that follows, quotation marks too.
class ValueReader {
public:
    [[nodiscard]] bool isInValue() const { return m_inValue; }

    /// @param piece  what comes next in the text, as endOfPiece() cuts it
    void takes(std::string_view piece) {
        switch (piece.front()) {
            case '\n':
                m_afterEquals = m_afterEquals && !m_brackets.empty();
                [[fallthrough]];
            case '#':
                m_inValue = false;
                break;
            case ',':
                m_inValue = m_afterEquals = false;
                break;
            case ']':
            case '}':
                closes();
                break;
            case '[':
            case '{':
                opens(piece.front());
                break;
            case '=':
                m_inValue = expectsValue();
                m_afterEquals = true;
                break;
            case ' ':
            case '\t':
            case '\r':
                break;
            default:
                m_inValue = expectsValue();
        }
    }

private:
    [[nodiscard]] bool expectsValue() const {
        return m_afterEquals || (!m_brackets.empty() && m_brackets.back() == '[');
    }

    void opens(char bracket) {
        if (!m_inValue && expectsValue()) {
            m_brackets.push_back(bracket);
            m_afterEquals = false;
        }
    }

    void closes() {
        m_inValue = false;
        if (!m_brackets.empty()) {
            m_brackets.pop_back();
        }
    }

    std::string m_brackets;  ///< those of values that are open
    bool m_afterEquals = false;
    bool m_inValue = false;
};

bool endsKey(char character) {
    return std::string_view("=,[]{}\n").find(character) != std::string_view::npos;
}

/// What many editors begin a text with.
std::size_t endOfMark(std::string_view toml) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    return toml.substr(0, kByteOrderMark.size()) == kByteOrderMark ? kByteOrderMark.size() : 0;
}

}  // namespace

std::optional<KeyMistake> findKeyMistake(std::string_view toml) {
    std::uint32_t line = 1;
    std::size_t parts = 1;
    ValueReader reader;
    for (std::size_t at = endOfMark(toml); at < toml.size();) {
        const std::size_t end = endOfPiece(toml, at);
        parts = endsKey(toml[at]) ? 1 : parts + (toml[at] == '.' ? 1 : 0);
        if (parts > kMostKeyParts) {
            return KeyMistake{
                line, fmt::format("found a key of more than {} parts; give a shorter one", kMostKeyParts)};
        }
        const std::string_view piece = toml.substr(at, end - at);
        const bool isQuoted = toml[at] == '"' || toml[at] == '\'';
        if (toml[at] != '#' && (!isQuoted || reader.isInValue()) && !isAscii(piece)) {
            return KeyMistake{line, "found a character outside ASCII; give it in quotation marks"};
        }
        reader.takes(piece);
        line += static_cast<std::uint32_t>(std::count(piece.begin(), piece.end(), '\n'));
        at = end;
    }
    return std::nullopt;
}

}  // namespace host
