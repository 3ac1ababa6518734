#include "host/HexLines.h"

#include "host/HostError.h"
#include "host/Interrupt.h"
#include "host/LineReader.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <numeric>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace host {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Count, two address bytes, type, checksum.
constexpr std::size_t kIntelHexFrame = 5;
constexpr unsigned kIntelHexEnd = 1;

struct IntelHexType {
    const char* name;
    std::optional<unsigned> count;  ///< of data bytes; nothing is any
};

/// By record type.
constexpr std::array<IntelHexType, 6> kIntelHexTypes{{
    {"data", std::nullopt},
    {"end", 0U},
    {"segment address", 2U},
    {"segment start", 4U},
    {"upper address", 2U},
    {"start", 4U},
}};

enum class SrecordRole { header, data, count, end, unused };

struct SrecordType {
    SrecordRole role;
    std::size_t addressBytes;
};

/// By the digit behind the S.
constexpr std::array<SrecordType, 10> kSrecordTypes{{
    {SrecordRole::header, 2},
    {SrecordRole::data, 2},
    {SrecordRole::data, 3},
    {SrecordRole::data, 4},
    {SrecordRole::unused, 4},
    {SrecordRole::count, 2},
    {SrecordRole::count, 3},
    {SrecordRole::end, 4},
    {SrecordRole::end, 3},
    {SrecordRole::end, 2},
}};

std::string_view withoutTrailingBlanks(std::string_view line) {
    const std::size_t last = line.find_last_not_of(" \t\r");
    return line.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

std::optional<unsigned> digitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return static_cast<unsigned>(digit - '0');
    }
    const char lower = static_cast<char>(digit | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<unsigned>(lower - 'a') + 10U;
    }
    return std::nullopt;
}

std::uint8_t sumOf(Bytes::const_iterator from, Bytes::const_iterator to) {
    return static_cast<std::uint8_t>(std::accumulate(from, to, 0U));
}

/// One run over a file.
class LineCheck {
public:
    LineCheck(const std::string& path, HexFormat format) : m_path(path), m_format(format), m_reader(path) {}

    void run() {
        while (const auto line = m_reader.next()) {
            const std::string_view text = withoutTrailingBlanks(*line);
            if (!text.empty()) {
                takeRecord(text);
            }
        }
        finish();
    }

private:
    void takeRecord(std::string_view text) {
        if (m_endLine != 0) {
            fail(
                fmt::format("a record behind the end record of line {}; other programs do not read it: "
                            "remove one of the two",
                            m_endLine));
        }
        ++m_records;
        if (m_format == HexFormat::intelHex) {
            takeIntelHex(text);
        } else {
            takeSrecord(text);
        }
    }

    void takeIntelHex(std::string_view text) {
        if (text.front() == 'S') {
            fail("an S-record, but the ending of the name says Intel HEX: rename the file to .s19");
        }
        if (text.front() != ':') {
            fail("does not begin with ':'");
        }
        const Bytes bytes = bytesFrom(text, 1);
        if (bytes.size() < kIntelHexFrame) {
            fail(fmt::format("has {} bytes; a record has at least {}: the line is cut", bytes.size(),
                             kIntelHexFrame));
        }
        expectCount(bytes[0], bytes.size() - kIntelHexFrame, "data bytes");
        expectIntelHexType(bytes[3], bytes[0]);
        const auto sum = sumOf(bytes.begin(), bytes.end() - 1);
        expectChecksum(bytes.back(), static_cast<std::uint8_t>(0x100U - sum));
        if (bytes[3] == kIntelHexEnd) {
            m_endLine = m_reader.count();
        }
    }

    void expectIntelHexType(unsigned type, unsigned count) const {
        if (type >= kIntelHexTypes.size()) {
            fail(fmt::format("record type {:02X} is not known; allowed are 00 to 05", type));
        }
        const IntelHexType& known = kIntelHexTypes[type];
        if (known.count && *known.count != count) {
            fail(fmt::format("a record of type {:02X} ({}) has {} data bytes and must have {}", type,
                             known.name, count, *known.count));
        }
    }

    void takeSrecord(std::string_view text) {
        if (text.front() == ':') {
            fail("an Intel HEX record, but the ending of the name says S-record: rename the file to .hex");
        }
        if (text.size() < 2 || text[0] != 'S' || text[1] < '0' || text[1] > '9') {
            fail("does not begin with 'S' and a digit");
        }
        const SrecordType& type = kSrecordTypes[static_cast<std::size_t>(text[1] - '0')];
        if (type.role == SrecordRole::unused) {
            fail("S4 is not in use");
        }
        const Bytes bytes = bytesFrom(text, 2);
        const std::size_t least = type.addressBytes + 2;
        if (bytes.size() < least) {
            fail(fmt::format("has {} bytes; an S{} record has at least {}: the line is cut", bytes.size(),
                             text[1], least));
        }
        expectCount(bytes[0], bytes.size() - 1, "bytes");
        const auto sum = sumOf(bytes.begin(), bytes.end() - 1);
        expectChecksum(bytes.back(), static_cast<std::uint8_t>(0xFFU - sum));
        takeRole(type, bytes);
    }

    void takeRole(const SrecordType& type, const Bytes& bytes) {
        if (type.role == SrecordRole::data) {
            ++m_dataRecords;
            m_counted = false;
        } else if (type.role == SrecordRole::end) {
            m_endLine = m_reader.count();
        } else if (type.role == SrecordRole::count) {
            expectDataRecords(type, bytes);
            m_counted = true;
        }
    }

    void expectDataRecords(const SrecordType& type, const Bytes& bytes) const {
        std::uint64_t announced = 0;
        for (std::size_t i = 1; i <= type.addressBytes; ++i) {
            announced = announced * 0x100U + bytes[i];
        }
        if (announced != m_dataRecords) {
            fail(fmt::format("{} data records are announced and {} are there: lines are missing", announced,
                             m_dataRecords));
        }
    }

    [[nodiscard]] Bytes bytesFrom(std::string_view text, std::size_t start) const {
        Bytes bytes;
        for (std::size_t at = start; at < text.size(); at += 2) {
            const unsigned high = digitAt(text, at);
            if (at + 1 == text.size()) {
                fail("an odd number of digits: the line is cut");
            }
            bytes.push_back(static_cast<std::uint8_t>(high * 0x10U + digitAt(text, at + 1)));
        }
        return bytes;
    }

    [[nodiscard]] unsigned digitAt(std::string_view text, std::size_t at) const {
        const std::optional<unsigned> value = digitValue(text[at]);
        if (!value) {
            const unsigned character = static_cast<unsigned char>(text[at]);
            const bool shows = character > 0x20U && character < 0x7FU;
            fail(fmt::format("column {}: {} is no hexadecimal digit", at + 1,
                             shows ? fmt::format("'{}'", text[at]) : fmt::format("byte {:02X}", character)));
        }
        return *value;
    }

    void expectCount(std::size_t announced, std::size_t there, const char* what) const {
        if (announced != there) {
            fail(fmt::format("{} {} are announced and {} are there", announced, what, there));
        }
    }

    void expectChecksum(unsigned there, unsigned right) const {
        if (there != right) {
            fail(fmt::format("the checksum is {:02X} and must be {:02X}", there, right));
        }
    }

    void finish() const {
        if (interrupted()) {
            throw HostError("interrupted", ExitCode::interrupted);
        }
        if (!m_reader.failure().empty()) {
            throw HostError(fmt::format("{}: cannot be read: {}", m_path, m_reader.failure()));
        }
        if (m_records == 0) {
            throw HostError(fmt::format("{}: the file is empty", m_path));
        }
        // Some programs write a count of the S-records in place of an end; it proves the same.
        if (m_endLine == 0 && !m_counted) {
            fail(fmt::format("the end record is missing, the file may be cut; if it is whole, add {}",
                             m_format == HexFormat::intelHex ? ":00000001FF" : "S70500000000FA"));
        }
    }

    [[noreturn]] void fail(const std::string& text) const {
        throw HostError(fmt::format("{}:{}: {}", m_path, m_reader.count(), text));
    }

    const std::string& m_path;
    const HexFormat m_format;
    LineReader m_reader;
    std::uint64_t m_records = 0;
    std::uint64_t m_dataRecords = 0;  ///< S1, S2 and S3
    bool m_counted = false;           ///< the data records so far are as many as announced
    std::uint64_t m_endLine = 0;      ///< 0: not found yet
};

}  // namespace

void checkHexLines(const std::string& path, HexFormat format) {
    try {
        LineCheck(path, format).run();
    } catch (const std::system_error& error) {
        throw HostError(fmt::format("{}: cannot be read: {}", path, error.code().message()));
    }
}

}  // namespace host
