#include "memfile/SrecReader.h"

#include "memfile/HexScan.h"
#include "memfile/ImageBuilder.h"
#include "memfile/LineReader.h"
#include "memfile/SrecFormat.h"
#include "memfile/StderrMessage.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <optional>
#include <span>
#include <string>
#include <string_view>

using namespace memfile;

namespace {

std::uint8_t sumOf(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

/// A walk over the two-digit fields of one line.
class FieldCursor {
public:
    FieldCursor(std::string_view line, std::size_t index) : m_line(line), m_index(index) {}

    /// Converts one field and steps over it; stays in front of one that can't be converted. Leading white
    /// space isn't counted into the two digits, so a field can reach into the one behind it.
    std::optional<std::uint8_t> next() {
        std::uint8_t byte = 0;
        return next({&byte, 1}).empty() ? std::nullopt : std::optional(byte);
    }

    /// Converts as many fields as @p bytes has room for, up to the first that can't be converted.
    /// @return the part of @p bytes that was filled
    std::span<const std::uint8_t> next(std::span<std::uint8_t> bytes) {
        std::size_t taken = takeDigitPairs(rest(), bytes.size(), bytes.data());
        m_index += 2 * taken;
        for (; taken < bytes.size(); ++taken, m_index += 2) {
            const auto value = scanHex(rest(), 2);
            if (!value) {
                break;
            }
            bytes[taken] = static_cast<std::uint8_t>(*value);
        }
        return bytes.first(taken);
    }

private:
    /// What isn't converted yet. A single digit at the end of a line leaves the index behind it.
    std::string_view rest() const { return m_line.substr(std::min(m_index, m_line.size())); }

    std::string_view m_line;
    std::size_t m_index;
};

/// The state of one parse: the image so far, the line it stands at, and whether to go on.
class SrecParse {
public:
    explicit SrecParse(std::istream& stream) : m_lines(stream) {}

    std::list<mem_buf> run() {
        for (std::string_view line; !m_stop && m_lines.next(line);) {
            ++m_lineNumber;
            const bool isRecord = line.size() >= 2 && line.front() == srec::kMark;
            const std::size_t addressSize = isRecord ? srec::addressSize(line[srec::kTypeIndex]) : 0;
            if (addressSize != 0) {
                takeRecord(line, addressSize);
            }
        }
        return m_image.finish();
    }

private:
    void report(const char* fault) { writeStderr("行" + std::to_string(m_lineNumber) + fault); }

    void reportAndStop(const char* fault) {
        report(fault);
        m_stop = true;
    }

    /// An address or data field that can't be converted doesn't leave the record at once: what comes behind
    /// it is converted at the same place, fails too and is reported too, so that users see which field was
    /// hit first and that the record is lost.
    void takeRecord(std::string_view line, std::size_t addressSize) {
        const std::uint8_t count = FieldCursor(line, srec::kCountIndex).next().value_or(0);
        if (line.size() < 2 * std::size_t{count} + srec::kAddressIndex) {
            reportAndStop(": 数据不足，无法解析\n");
            return;
        }
        FieldCursor fields(line, srec::kAddressIndex);
        const auto address = fields.next(std::span(m_address).first(addressSize));
        if (address.size() < addressSize) {
            reportAndStop(": 地址解析失败\n");
        }
        // A count too small for its address wraps, and ends as a data failure at the end of the line.
        const auto dataSize = static_cast<std::uint8_t>(count - addressSize - srec::kChecksumSize);
        const auto data = fields.next(std::span(m_data).first(dataSize));
        if (data.size() < dataSize) {
            reportAndStop(": 数据解析失败\n");
        }
        const auto sum = static_cast<std::uint8_t>(count + sumOf(address) + sumOf(data));
        const auto checksum = fields.next();
        if (!checksum) {
            report(": 校验和解析失败\n");
        } else if (*checksum != srec::checksumOf(sum)) {
            report(": 校验和错误\n");
        } else {
            m_image.addRecord(joined(address), data, m_lines.left());
        }
    }

    static std::uint32_t joined(std::span<const std::uint8_t> address) {
        std::uint32_t value = 0;
        for (const std::uint8_t byte : address) {
            value = value << 8 | byte;
        }
        return value;
    }

    LineReader m_lines;
    ImageBuilder m_image;
    std::uint64_t m_lineNumber = 0;  ///< counts every line, skipped ones too
    bool m_stop = false;
    std::array<std::uint8_t, 4> m_address{};
    std::array<std::uint8_t, srec::kMaxCount> m_data{};
};

}  // namespace

std::list<mem_buf> ParseSrecStream(std::istream& stream) {
    return SrecParse(stream).run();
}
