#include "host/HexCrop.h"

#include "host/HostError.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <numeric>
#include <optional>
#include <string_view>

namespace host {
namespace {

constexpr std::uint64_t kAddressSpace = 0x1'0000'0000;

[[noreturn]] void refuse(const std::string& text) {
    throw HostError(text, ExitCode::usage);
}

/// A number up to @p most; nothing if @p text is none.
std::optional<std::uint64_t> numberIn(std::string_view text, std::uint64_t most) {
    const bool hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    text.remove_prefix(hexadecimal ? 2 : 0);
    std::uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, hexadecimal ? 16 : 10);
    const bool whole = error == std::errc() && stop == end && value <= most;
    return whole ? std::optional(value) : std::nullopt;
}

/// The library counts the length of a segment in 32 bits, one too few for the whole address space.
std::vector<HexRange> halvedIfWhole(const HexRange& range) {
    if (lengthOf(range) < kAddressSpace) {
        return {range};
    }
    return {{0, 0x7FFFFFFF}, {0x80000000, 0xFFFFFFFF}};
}

std::vector<HexPiece> allOf(const std::list<mem_buf>& blocks) {
    std::vector<HexPiece> pieces;
    for (const mem_buf& block : blocks) {
        pieces.push_back({&block, 0});
    }
    return pieces;
}

}  // namespace

HexRange parseHexRange(const std::string& text) {
    const std::size_t sign = text.find_first_of(":-");
    if (sign == std::string::npos) {
        refuse(fmt::format("--range {}: must be ADDRESS:LENGTH or FIRST-LAST", text));
    }
    const bool isLength = text[sign] == ':';
    const auto first = numberIn(std::string_view(text).substr(0, sign), kAddressSpace - 1);
    const auto second = numberIn(std::string_view(text).substr(sign + 1), kAddressSpace);
    if (!first || !second) {
        refuse(fmt::format("--range {}: {} is no number of 32 bits, decimal or hexadecimal behind 0x", text,
                           first ? text.substr(sign + 1) : text.substr(0, sign)));
    }
    if (isLength && *second == 0) {
        refuse(fmt::format("--range {}: the length must be at least 1", text));
    }
    const std::uint64_t last = isLength ? *first + *second - 1 : *second;
    if (last >= kAddressSpace) {
        refuse(fmt::format("--range {}: ends behind 0xffffffff", text));
    }
    if (last < *first) {
        refuse(fmt::format("--range {}: the last address lies ahead of the first", text));
    }
    return {static_cast<std::uint32_t>(*first), static_cast<std::uint32_t>(last)};
}

std::uint8_t parseFillByte(const std::string& text) {
    const auto value = numberIn(text, 0xFF);
    if (!value) {
        refuse(fmt::format("--fill {}: must be a byte, 0 to 255 or 0x00 to 0xff", text));
    }
    return static_cast<std::uint8_t>(*value);
}

std::vector<HexRange> united(std::vector<HexRange> ranges) {
    std::sort(ranges.begin(), ranges.end(),
              [](const HexRange& left, const HexRange& right) { return left.first < right.first; });
    std::vector<HexRange> apart;
    for (const HexRange& range : ranges) {
        if (!apart.empty() && range.first <= std::uint64_t{apart.back().last} + 1) {
            apart.back().last = std::max(apart.back().last, range.last);
        } else {
            apart.push_back(range);
        }
    }
    return apart;
}

bool holdsAny(const std::list<mem_buf>& image, const HexRange& range) {
    return std::any_of(image.begin(), image.end(), [&](const mem_buf& block) {
        return block.address <= range.last && endOf(block) > range.first;
    });
}

std::list<mem_buf> cropped(const std::list<mem_buf>& image, const std::vector<HexRange>& ranges) {
    std::vector<mcMemoryInfo> segments;
    for (const HexRange& range : ranges) {
        for (const HexRange& part : halvedIfWhole(range)) {
            // The library would write a message of its own about a segment without content.
            if (holdsAny(image, part)) {
                mcMemoryInfo segment;
                segment.address = part.first;
                segment.length = static_cast<std::uint32_t>(lengthOf(part));
                segments.push_back(segment);
            }
        }
    }
    const std::list<mem_buf> cut = MergeMemByAddr(image, segments);
    return joined(allOf(cut));
}

std::list<mem_buf> filled(const std::list<mem_buf>& image, const std::vector<HexRange>& ranges,
                          std::uint8_t fill) {
    const std::uint64_t size =
        std::accumulate(ranges.begin(), ranges.end(), std::uint64_t{0},
                        [](std::uint64_t sum, const HexRange& range) { return sum + lengthOf(range); });
    if (size > kMostFilled) {
        throw HostError(fmt::format("--fill would make {} bytes and makes at most {}: give smaller ranges",
                                    size, kMostFilled));
    }
    std::list<mem_buf> filling;
    for (const HexRange& range : ranges) {
        filling.push_back({range.first, std::vector<std::uint8_t>(lengthOf(range), fill)});
    }
    std::vector<HexPiece> pieces = allOf(image);
    for (const HexPiece& piece : allOf(filling)) {
        pieces.push_back(piece);
    }
    return joined(pieces);
}

}  // namespace host
