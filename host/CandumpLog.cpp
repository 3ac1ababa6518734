#include "host/CandumpLog.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <system_error>

namespace host {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::size_t kClassicBytes = 8;
constexpr std::uint32_t kMostStandardId = 0x7FF;
constexpr std::uint32_t kMostExtendedId = 0x1FFFFFFF;
constexpr std::uint32_t kErrorFlag = 0x20000000;  ///< marks the identifier of an error frame
constexpr std::size_t kMostSecondsDigits = 12;    ///< so that microseconds fit into 64 bits
constexpr std::size_t kMicroDigits = 6;
constexpr unsigned kRateSwitch = 1;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

int hexDigit(char character) {
    if (isDigit(character)) {
        return character - '0';
    }
    const char lower = static_cast<char>(character | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// The words of a line, one after the other.
class Words {
public:
    explicit Words(std::string_view text) : m_rest(text) { skipBlanks(); }

    [[nodiscard]] std::string_view peek() const { return m_rest.substr(0, m_rest.find_first_of(kBlanks)); }

    /// The next word; empty at the end.
    std::string_view take() {
        const std::string_view word = peek();
        m_rest.remove_prefix(word.size());
        skipBlanks();
        return word;
    }

    /// Takes the next word if it is @p word.
    bool takeIf(std::string_view word) {
        const bool found = peek() == word;
        if (found) {
            take();
        }
        return found;
    }

    /// Takes up to and with @p end; empty if it is not there.
    std::string_view takeThrough(char end) {
        const std::size_t at = m_rest.find(end);
        if (at == std::string_view::npos) {
            return {};
        }
        const std::string_view text = m_rest.substr(0, at + 1);
        m_rest.remove_prefix(text.size());
        skipBlanks();
        return text;
    }

    [[nodiscard]] std::string_view rest() const { return m_rest; }

private:
    void skipBlanks() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size())); }

    std::string_view m_rest;
};

/// At most 40 characters of @p text in quotes, control characters as "?".
std::string quoted(std::string_view text) {
    constexpr std::size_t kMost = 40;
    std::string shown(text.substr(0, kMost));
    std::replace_if(
        shown.begin(), shown.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
    return '"' + shown + (text.size() > kMost ? "...\"" : "\"");
}

std::optional<std::int64_t> decimal(std::string_view digits, std::size_t most) {
    std::int64_t value = 0;
    if (digits.empty() || digits.size() > most || !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return std::nullopt;
    }
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

/// The number of @p digits hexadecimal digits, at most 8; nothing if one of them is none.
std::optional<std::uint32_t> hexadecimal(std::string_view digits) {
    std::uint32_t value = 0;
    for (const char digit : digits) {
        if (hexDigit(digit) < 0) {
            return std::nullopt;
        }
        value = value << 4U | static_cast<std::uint32_t>(hexDigit(digit));
    }
    return value;
}

/// Seconds since 1970 of "YYYY-MM-DD hh:mm:ss", taken as UTC: only differences matter to a reader.
std::optional<std::int64_t> secondsOfDate(std::string_view text) {
    constexpr std::string_view kForm = "dddd-dd-dd dd:dd:dd";
    const bool formed = std::equal(text.begin(), text.end(), kForm.begin(), kForm.end(),
                                   [](char c, char form) { return form == 'd' ? isDigit(c) : c == form; });
    if (!formed) {
        return std::nullopt;
    }
    const auto number = [&](std::size_t at, std::size_t count) {
        return static_cast<int>(decimal(text.substr(at, count), count).value_or(0));
    };
    const std::chrono::year_month_day day{std::chrono::year(number(0, 4)),
                                          std::chrono::month(static_cast<unsigned>(number(5, 2))),
                                          std::chrono::day(static_cast<unsigned>(number(8, 2)))};
    if (!day.ok()) {
        return std::nullopt;
    }
    const std::chrono::seconds time = std::chrono::sys_days(day).time_since_epoch();
    return time.count() + number(11, 2) * 3600 + number(14, 2) * 60 + number(17, 2);
}

/// Microseconds of a fraction of a second with 1 to 9 digits; what is finer is cut.
std::optional<std::int64_t> microseconds(std::string_view digits) {
    const std::optional<std::int64_t> value = decimal(digits, 9);
    if (!value) {
        return std::nullopt;
    }
    std::string padded(digits);
    padded.resize(kMicroDigits, '0');
    return decimal(padded, kMicroDigits);
}

/// @param text  with its parentheses
std::int64_t readTime(std::string_view text) {
    const std::string_view inside = text.size() < 2 ? text : text.substr(1, text.size() - 2);
    const std::size_t point = inside.find('.');
    if (point != std::string_view::npos) {
        const std::string_view whole = inside.substr(0, point);
        const std::optional<std::int64_t> date = secondsOfDate(whole);
        const std::optional<std::int64_t> seconds = date ? date : decimal(whole, kMostSecondsDigits);
        const std::optional<std::int64_t> fraction = microseconds(inside.substr(point + 1));
        if (seconds && fraction) {
            return *seconds * 1'000'000 + *fraction;
        }
    }
    throw CandumpError("the time", text, "(seconds.fraction) and (YYYY-MM-DD hh:mm:ss.fraction)");
}

void readId(std::string_view text, LoggedFrame& frame) {
    const std::optional<std::uint32_t> id = hexadecimal(text.substr(0, 8));
    frame.extended = text.size() == 8;
    frame.error = frame.extended && id && (*id & kErrorFlag) != 0;
    const std::uint32_t most =
        frame.extended ? (frame.error ? kMostExtendedId | kErrorFlag : kMostExtendedId) : kMostStandardId;
    if (!id || (text.size() != 3 && text.size() != 8) || *id > most) {
        throw CandumpError("the identifier", text,
                           "3 hexadecimal digits up to 7FF and 8 of them up to 1FFFFFFF");
    }
    frame.id = *id & kMostExtendedId;
}

void addByte(LoggedFrame& frame, std::string_view digits, std::string_view found) {
    const std::size_t most = frame.fd ? kMostFrameBytes : kClassicBytes;
    const std::optional<std::uint32_t> byte = hexadecimal(digits);
    if (digits.size() != 2 || !byte || frame.length == most) {
        throw CandumpError("the data", found,
                           fmt::format("up to {} bytes of two hexadecimal digits each", most));
    }
    frame.data[frame.length++] = static_cast<std::uint8_t>(*byte);
}

/// The flags of a CAN FD frame: one digit ahead of its data.
void readFdFlags(std::string_view& data, LoggedFrame& frame) {
    const int flags = data.empty() ? -1 : hexDigit(data.front());
    if (flags < 0) {
        throw CandumpError("the flags", data, "one hexadecimal digit behind ##");
    }
    frame.fd = true;
    frame.rateSwitch = (static_cast<unsigned>(flags) & kRateSwitch) != 0;
    data.remove_prefix(1);
}

/// "R" and, if the request names one, a length.
void readRemote(std::string_view data, LoggedFrame& frame) {
    frame.remote = true;
    if (data.size() > 2 || (data.size() == 2 && (data[1] < '0' || data[1] > '8'))) {
        throw CandumpError("the remote request", data, "R and R0 to R8");
    }
}

/// Bytes behind each other, with or without points between them, and "_" with the raw length of a classic
/// frame of 8 bytes.
void readPackedData(std::string_view data, LoggedFrame& frame) {
    std::string_view rest = data;
    while (!rest.empty()) {
        if (rest.front() == '_' && rest.size() == 2 && frame.length == kClassicBytes && !frame.fd &&
            hexDigit(rest[1]) > static_cast<int>(kClassicBytes)) {
            return;
        }
        addByte(frame, rest.substr(0, 2), data);
        rest.remove_prefix(2);
        if (rest.size() > 1 && rest.front() == '.') {
            rest.remove_prefix(1);
        }
    }
}

/// "ID#DATA", "ID##<flags>DATA" or "ID#R", then perhaps the direction.
void readCompact(Words& words, LoggedFrame& frame) {
    const std::string_view text = words.take();
    const std::size_t hash = text.find('#');
    readId(text.substr(0, hash), frame);
    std::string_view data = text.substr(hash + 1);
    if (!data.empty() && (data.front() == 'R' || data.front() == 'r')) {
        readRemote(data, frame);
    } else {
        if (!data.empty() && data.front() == '#') {
            data.remove_prefix(1);
            readFdFlags(data, frame);
        }
        readPackedData(data, frame);
    }
    static_cast<void>(words.takeIf("R") || words.takeIf("T"));
    if (!words.rest().empty()) {
        throw CandumpError("behind the data", words.rest(), "R and T for the direction");
    }
}

/// "[8]", with two digits for a CAN FD frame.
std::size_t readLength(std::string_view text, LoggedFrame& frame) {
    const bool bracketed = text.size() >= 3 && text.front() == '[' && text.back() == ']';
    const std::string_view digits = bracketed ? text.substr(1, text.size() - 2) : std::string_view();
    const std::optional<std::int64_t> length = decimal(digits, 2);
    frame.fd = digits.size() == 2;
    if (!length || *length > static_cast<std::int64_t>(frame.fd ? kMostFrameBytes : kClassicBytes)) {
        throw CandumpError("the length", text, "[0] to [8], and [00] to [64] for CAN FD");
    }
    return static_cast<std::size_t>(*length);
}

/// What may stand behind the data: characters in quotes, or the mark of an error frame.
void checkTail(std::string_view tail, const LoggedFrame& frame) {
    const bool characters = !tail.empty() && tail.front() == '\'';
    if (!tail.empty() && !characters && !(frame.error && tail == "ERRORFRAME")) {
        throw CandumpError("behind the data", tail, "as many bytes as the length says, and 'characters'");
    }
}

/// Direction and flags, if they are there, then "ID [length] DATA".
void readSpaced(Words& words, LoggedFrame& frame) {
    if (words.takeIf("RX") || words.takeIf("TX")) {
        frame.rateSwitch = words.take() == "B";
        words.take();
    }
    readId(words.take(), frame);
    const std::size_t length = readLength(words.take(), frame);
    frame.rateSwitch = frame.rateSwitch && frame.fd;
    if (words.rest() == "remote request") {
        frame.remote = true;
        return;
    }
    for (std::size_t i = 0; i < length; ++i) {
        const std::string_view byte = words.take();
        addByte(frame, byte, byte);
    }
    checkTail(words.rest(), frame);
}

bool isName(std::string_view text) {
    return !text.empty() && text.front() != '[' &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
}

[[noreturn]] void throwNoFrame(std::string_view line) {
    throw CandumpError("", line, "\"(seconds) interface ID#DATA\" and \"interface ID [length] DATA\"");
}

}  // namespace

CandumpError::CandumpError(const std::string& what, std::string_view found, const std::string& allowed)
    : std::runtime_error(fmt::format("found {}{}{}; allowed are {}", what, what.empty() ? "" : " ",
                                     quoted(found), allowed)) {}

std::optional<LoggedFrame> readCandumpLine(std::string_view line) {
    line = line.substr(0, line.find_last_not_of(" \t\r") + 1);
    if (line.empty() || line.front() == '\t') {
        return std::nullopt;
    }
    Words words(line);
    LoggedFrame frame;
    if (words.rest().front() == '(') {
        const std::string_view time = words.takeThrough(')');
        frame.timeUs = readTime(time.empty() ? words.rest() : time);
    }
    const std::string_view name = words.take();
    if (!isName(name) || words.rest().empty()) {
        throwNoFrame(line);
    }
    frame.interface = name;
    if (words.peek().find('#') != std::string_view::npos) {
        readCompact(words, frame);
    } else {
        readSpaced(words, frame);
    }
    return frame;
}

std::string candumpLine(const LoggedFrame& frame) {
    constexpr std::int64_t kPerSecond = 1'000'000;
    const std::int64_t time = frame.timeUs.value_or(0);
    const std::uint32_t id = frame.error ? frame.id | kErrorFlag : frame.id;
    std::string line = fmt::format("({:010}.{:06}) {} {:0{}X}#", time / kPerSecond, time % kPerSecond,
                                   frame.interface, id, frame.extended || frame.error ? 8 : 3);
    if (frame.remote) {
        return line + 'R';
    }
    if (frame.fd) {
        line += frame.rateSwitch ? "#1" : "#0";
    }
    for (std::size_t i = 0; i < frame.length; ++i) {
        line += fmt::format("{:02X}", frame.data[i]);
    }
    return line;
}

CandumpWriter::CandumpWriter(const std::string& file, bool append)
    : m_file(std::fopen(file.c_str(), append ? "a" : "w")) {
    if (!m_file) {
        throw std::system_error(errno, std::generic_category(), file + " cannot be written");
    }
}

void CandumpWriter::write(const LoggedFrame& frame) {
    const std::string line = candumpLine(frame) + '\n';
    const std::lock_guard lock(m_mutex);
    if (m_file) {
        m_whole = std::fwrite(line.data(), 1, line.size(), m_file.get()) == line.size() && m_whole;
    }
}

bool CandumpWriter::close() {
    const std::lock_guard lock(m_mutex);
    if (m_file) {
        m_whole = std::fclose(m_file.release()) == 0 && m_whole;
    }
    return m_whole;
}

}  // namespace host
