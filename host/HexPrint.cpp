#include "host/HexPrint.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace host {
namespace {

/// Bytes that a row shows of each image.
constexpr std::uint64_t kBytesShown = 8;

void addRange(Json& json, const HexRange& range) {
    json["address"] = range.first;
    json["last"] = range.last;
    json["length"] = lengthOf(range);
}

HexRange rangeOf(const mem_buf& block) {
    return {block.address, static_cast<std::uint32_t>(endOf(block) - 1)};
}

/// What lies between the blocks of an image.
std::vector<HexRange> gapsIn(const std::list<mem_buf>& image) {
    std::vector<HexRange> gaps;
    for (auto block = image.begin(); block != image.end() && std::next(block) != image.end(); ++block) {
        gaps.push_back({static_cast<std::uint32_t>(endOf(*block)), std::next(block)->address - 1});
    }
    return gaps;
}

std::uint64_t bytesIn(const std::vector<HexRange>& ranges) {
    std::uint64_t sum = 0;
    for (const HexRange& range : ranges) {
        sum += lengthOf(range);
    }
    return sum;
}

std::string rangeText(const HexRange& range) {
    return fmt::format("{}-{}  {:>10} {}", addressText(range.first), addressText(range.last), lengthOf(range),
                       lengthOf(range) == 1 ? "byte " : "bytes");
}

std::string checksumText(const HexChecksum& kind, const mem_buf& block) {
    return fmt::format("0x{:0{}x}", checksumOf(kind, block), kind.digits);
}

std::string bytesText(const std::uint8_t* bytes, std::uint64_t count) {
    std::string text;
    for (std::uint64_t i = 0; i < std::min(count, kBytesShown); ++i) {
        text += fmt::format("{}{:02x}", i == 0 ? "" : " ", bytes[i]);
    }
    return count > kBytesShown ? text + " .." : text;
}

Json bytesJson(const std::uint8_t* bytes, std::uint64_t count) {
    return bytes == nullptr ? Json() : Json(hexDigits(bytes, count));
}

const char* kindText(HexDifferenceKind kind) {
    switch (kind) {
        case HexDifferenceKind::values:
            return "values";
        case HexDifferenceKind::onlyFirst:
            return "only_first";
        case HexDifferenceKind::onlySecond:
            return "only_second";
    }
    return "";
}

std::string differenceText(const HexDifference& difference, const HexComparison& comparison) {
    const std::uint64_t count = lengthOf(difference.range);
    if (difference.kind == HexDifferenceKind::values) {
        return fmt::format("{} | {}", bytesText(difference.first, count),
                           bytesText(difference.second, count));
    }
    const bool inFirst = difference.kind == HexDifferenceKind::onlyFirst;
    return fmt::format("only in {}", inFirst ? comparison.first : comparison.second);
}

std::uint64_t bytesIn(const std::vector<HexDifference>& differences) {
    std::uint64_t sum = 0;
    for (const HexDifference& difference : differences) {
        sum += lengthOf(difference.range);
    }
    return sum;
}

}  // namespace

std::string addressText(std::uint64_t address) {
    return fmt::format("0x{:08x}", address);
}

std::string countText(std::uint64_t count, const char* what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

void HexPrint::contents(const HexContents& contents) {
    if (m_json) {
        contentsJson(contents);
    } else {
        contentsText(contents);
    }
}

void HexPrint::contentsText(const HexContents& contents) {
    const std::vector<HexRange> gaps = gapsIn(contents.image);
    m_output.line(fmt::format("{}: {}, {}, {}, {} of {}", contents.file.path,
                              hexFormatName(contents.file.format), countText(contents.image.size(), "block"),
                              countText(host::bytesIn(contents.image), "byte"), countText(gaps.size(), "gap"),
                              countText(bytesIn(gaps), "byte")));
    auto gap = gaps.begin();
    for (const mem_buf& block : contents.image) {
        std::string line = "  block    " + rangeText(rangeOf(block));
        if (contents.checksum != nullptr) {
            line += fmt::format("  {} {}", contents.checksum->name, checksumText(*contents.checksum, block));
        }
        m_output.line(line);
        if (gap != gaps.end()) {
            m_output.line("  gap      " + rangeText(*gap));
            ++gap;
        }
    }
    for (const HexOverlap& overlap : contents.overlaps) {
        m_output.line(
            fmt::format("  overlap  {}  the later line of the file counts above", rangeText(overlap.range)));
    }
}

void HexPrint::contentsJson(const HexContents& contents) {
    const std::vector<HexRange> gaps = gapsIn(contents.image);
    const std::string& path = contents.file.path;
    for (const mem_buf& block : contents.image) {
        Json json = jsonObject("hex_block");
        json["file"] = path;
        addRange(json, rangeOf(block));
        if (contents.checksum != nullptr) {
            json["checksum_kind"] = contents.checksum->name;
            json["checksum"] = checksumText(*contents.checksum, block);
        }
        m_lines.write(json);
    }
    for (const HexRange& gap : gaps) {
        Json json = jsonObject("gap");
        json["file"] = path;
        addRange(json, gap);
        m_lines.write(json);
    }
    for (const HexOverlap& overlap : contents.overlaps) {
        Json json = jsonObject("overlap");
        json["file"] = path;
        addRange(json, overlap.range);
        m_lines.write(json);
    }
    Json json = jsonObject("file");
    json["file"] = path;
    json["format"] = contents.file.format == HexFormat::intelHex ? "intel_hex" : "s_record";
    json["blocks"] = contents.image.size();
    json["bytes"] = host::bytesIn(contents.image);
    json["gaps"] = gaps.size();
    json["gap_bytes"] = bytesIn(gaps);
    json["overlaps"] = contents.overlaps.size();
    m_lines.write(json);
}

void HexPrint::comparison(const HexComparison& comparison) {
    if (m_json) {
        comparisonJson(comparison);
    } else {
        comparisonText(comparison);
    }
}

void HexPrint::comparisonText(const HexComparison& comparison) {
    const std::vector<HexDifference>& differences = comparison.differences;
    if (differences.empty()) {
        m_output.line(fmt::format("{} and {} are equal: {}", comparison.first, comparison.second,
                                  countText(comparison.bytes, "byte")));
        return;
    }
    m_output.line(fmt::format("{} and {} differ from {} on: {} in {}", comparison.first, comparison.second,
                              addressText(differences.front().range.first),
                              countText(bytesIn(differences), "byte"),
                              countText(differences.size(), "range")));
    const std::size_t rows = std::min(differences.size(), kMostDifferenceRows);
    for (std::size_t i = 0; i < rows; ++i) {
        m_output.line(fmt::format("  {}  {}", rangeText(differences[i].range),
                                  differenceText(differences[i], comparison)));
    }
    if (rows < differences.size()) {
        m_output.line(fmt::format("  and {} more", countText(differences.size() - rows, "range")));
    }
}

void HexPrint::comparisonJson(const HexComparison& comparison) {
    for (const HexDifference& difference : comparison.differences) {
        const std::uint64_t count = lengthOf(difference.range);
        Json json = jsonObject("hex_difference");
        json["kind"] = kindText(difference.kind);
        addRange(json, difference.range);
        json["first"] = bytesJson(difference.first, count);
        json["second"] = bytesJson(difference.second, count);
        m_lines.write(json);
    }
    Json json = jsonObject("comparison");
    json["first"] = comparison.first;
    json["second"] = comparison.second;
    json["equal"] = comparison.differences.empty();
    json["ranges"] = comparison.differences.size();
    json["bytes"] = bytesIn(comparison.differences);
    json["address"] =
        comparison.differences.empty() ? Json() : Json(comparison.differences.front().range.first);
    m_lines.write(json);
}

void HexPrint::written(const std::string& path, const std::list<mem_buf>& image) {
    message(fmt::format("{}: {}, {}", path, countText(image.size(), "block"),
                        countText(host::bytesIn(image), "byte")));
    if (m_json) {
        Json json = jsonObject("file_written");
        json["file"] = path;
        json["blocks"] = image.size();
        json["bytes"] = host::bytesIn(image);
        m_lines.write(json);
    }
}

}  // namespace host
