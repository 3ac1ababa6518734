#include "host/SocketcandText.h"

#include "host/IdPair.h"
#include "sim/BitTiming.h"

#include <fmt/format.h>

#include <charconv>
#include <iterator>

namespace host {
namespace {

using Words = std::vector<std::string_view>;

constexpr std::size_t kStandardDigits = 3;
constexpr std::size_t kExtendedDigits = 8;
constexpr std::uint32_t kFlagRateSwitch = 0x01;
constexpr std::uint32_t kMostFlags = 0xF;
constexpr std::size_t kClassicBytes = 8;
constexpr std::uint64_t kUsPerSecond = 1'000'000;
constexpr std::size_t kUsDigits = 6;

/// Seconds above it would not fit into 64 bits of microseconds.
constexpr std::uint64_t kMostSecondsSinceEpoch = 1'000'000'000'000;

template <class Number>
std::optional<Number> readNumber(std::string_view text, int base) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

/// The count of digits tells the width. Clients that leave leading zeros away send all identifiers above
/// 0xFFFFFFF with 8 digits; of the shorter ones those with up to 3 are taken for 11 bits.
bool readId(std::string_view word, sim::Frame& frame) {
    const std::optional<std::uint32_t> id = readNumber<std::uint32_t>(word, 16);
    if (!id || word.size() > kExtendedDigits) {
        return false;
    }
    frame.id = *id;
    frame.extended = word.size() > kStandardDigits;
    return true;
}

bool readFlags(std::string_view word, sim::Frame& frame) {
    const std::optional<std::uint32_t> flags = readNumber<std::uint32_t>(word, 16);
    if (!flags || *flags > kMostFlags) {
        return false;
    }
    frame.fd = true;
    frame.brs = (*flags & kFlagRateSwitch) != 0;
    return true;
}

/// Reads a length and as many bytes, beginning with word @p first.
bool readBytes(const Words& words, std::size_t first, sim::Frame& frame) {
    const std::optional<std::uint8_t> length = readNumber<std::uint8_t>(words[first], 10);
    const std::size_t most = frame.fd ? sim::kMaxPayload : kClassicBytes;
    if (!length || *length > most || words.size() != first + 1 + *length) {
        return false;
    }
    frame.length = *length;
    for (std::size_t i = 0; i < frame.length; ++i) {
        const std::string_view word = words[first + 1 + i];
        const std::optional<std::uint8_t> byte = readNumber<std::uint8_t>(word, 16);
        if (!byte || word.size() > 2) {
            return false;
        }
        frame.data[i] = *byte;
    }
    return true;
}

/// Reads contiguous digits, two for each byte; @p word may be empty.
bool readData(std::string_view word, sim::Frame& frame) {
    const std::size_t most = frame.fd ? sim::kMaxPayload : kClassicBytes;
    if (word.size() % 2 != 0 || word.size() / 2 > most) {
        return false;
    }
    frame.length = static_cast<std::uint8_t>(word.size() / 2);
    for (std::size_t i = 0; i < frame.length; ++i) {
        const std::optional<std::uint8_t> byte = readNumber<std::uint8_t>(word.substr(2 * i, 2), 16);
        if (!byte) {
            return false;
        }
        frame.data[i] = *byte;
    }
    return true;
}

/// Reads "seconds.fraction" with up to 6 digits behind the point.
std::optional<std::uint64_t> readTimeUs(std::string_view word) {
    const std::size_t point = word.find('.');
    if (point == std::string_view::npos || word.size() - point - 1 > kUsDigits) {
        return std::nullopt;
    }
    const std::optional<std::uint64_t> seconds = readNumber<std::uint64_t>(word.substr(0, point), 10);
    std::string fraction(word.substr(point + 1));
    fraction.resize(kUsDigits, '0');
    const std::optional<std::uint64_t> us = readNumber<std::uint64_t>(fraction, 10);
    if (!seconds || !us || *seconds > kMostSecondsSinceEpoch) {
        return std::nullopt;
    }
    return *seconds * kUsPerSecond + *us;
}

unsigned flagsOf(const sim::Frame& frame) {
    return frame.brs ? kFlagRateSwitch : 0;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace

void SocketcandReader::read(std::string_view bytes, const Taker& taker) {
    for (const char byte : bytes) {
        readByte(byte, taker);
    }
}

void SocketcandReader::readByte(char byte, const Taker& taker) {
    if (byte == '<') {
        m_content.clear();
        m_inside = true;
        m_tooLong = false;
    } else if (byte == '>' && m_inside) {
        m_inside = false;
        taker(m_tooLong ? std::string_view() : trimmed(m_content));
    } else if (m_inside && m_content.size() < kMostElement) {
        m_content.push_back(byte);
    } else {
        m_tooLong = m_inside;
    }
}

std::vector<std::string_view> socketcandWords(std::string_view content) {
    Words words;
    while (!(content = trimmed(content)).empty()) {
        const std::string_view word = content.substr(0, content.find(' '));
        words.push_back(word);
        content.remove_prefix(word.size());
    }
    return words;
}

std::optional<sim::Frame> readSendElement(std::string_view content) {
    const Words words = socketcandWords(content);
    const bool fd = !words.empty() && words[0] == "fdsend";
    const std::size_t length = fd ? 3 : 2;  // the word with the length
    if (words.size() <= length || (!fd && words[0] != "send")) {
        return std::nullopt;
    }
    sim::Frame frame;
    const bool read = readId(words[1], frame) && (!fd || readFlags(words[2], frame)) &&
                      readBytes(words, length, frame) && sim::isSendable(frame);
    return read ? std::optional<sim::Frame>(frame) : std::nullopt;
}

std::optional<BusFrame> readFrameElement(std::string_view content) {
    const Words words = socketcandWords(content);
    const bool fd = !words.empty() && words[0] == "fdframe";
    const std::size_t time = fd ? 3 : 2;  // the word with the time; the one behind it is missing without data
    if (words.size() <= time || words.size() > time + 2 || (!fd && words[0] != "frame")) {
        return std::nullopt;
    }
    BusFrame frame;
    const std::optional<std::uint64_t> timeUs = readTimeUs(words[time]);
    const std::string_view data = words.size() > time + 1 ? words[time + 1] : std::string_view();
    const bool read = timeUs && readId(words[1], frame.frame) && (!fd || readFlags(words[2], frame.frame)) &&
                      readData(data, frame.frame) && sim::isSendable(frame.frame);
    if (!read) {
        return std::nullopt;
    }
    frame.timeUs = *timeUs;
    return frame;
}

std::string sendElement(const sim::Frame& frame) {
    const std::string id = idText(frame.id, frame.extended);
    std::string text = frame.fd ? fmt::format("< fdsend {} {:X} {}", id, flagsOf(frame), frame.length)
                                : fmt::format("< send {} {}", id, frame.length);
    for (std::size_t i = 0; i < frame.length; ++i) {
        fmt::format_to(std::back_inserter(text), " {:02X}", frame.data[i]);
    }
    return text + " >";
}

std::string frameElement(const BusFrame& frame) {
    const sim::Frame& content = frame.frame;
    const std::string id = idText(content.id, content.extended);
    std::string text =
        content.fd ? fmt::format("< fdframe {} {:X} ", id, flagsOf(content)) : fmt::format("< frame {} ", id);
    fmt::format_to(std::back_inserter(text), "{}.{:06} ", frame.timeUs / kUsPerSecond,
                   frame.timeUs % kUsPerSecond);
    for (std::size_t i = 0; i < content.length; ++i) {
        fmt::format_to(std::back_inserter(text), "{:02X}", content.data[i]);
    }
    return text + " >\n";
}

}  // namespace host
