#include "memfile/IntelHexReader.h"

#include "memfile/HexScan.h"
#include "memfile/ImageBuilder.h"
#include "memfile/IntelHexFormat.h"
#include "memfile/LineReader.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

using namespace memfile;

namespace {

struct RecordHead {
    std::uint32_t count;   ///< data bytes announced, at most 255
    std::uint32_t offset;  ///< at most 0xFFFF
    std::uint32_t type;    ///< at most 255
};

using DataBytes = std::array<std::uint8_t, intel_hex::kMaxData>;

/// @throws std::out_of_range  the field starts behind the end of the line. Callers of ParseMemFile tell a
/// file
///         that was cut off from a short one by this, so it isn't softened to a failed conversion.
std::optional<std::uint32_t> scanField(std::string_view line, intel_hex::Field field) {
    return scanHex(line.substr(field.index, field.width));
}

/// Converts the fields in their order and ends at the first that fails; fields behind it aren't touched.
std::optional<RecordHead> scanHead(std::string_view line) {
    const auto count = scanField(line, intel_hex::kCountField);
    const auto offset = count ? scanField(line, intel_hex::kOffsetField) : std::nullopt;
    const auto type = offset ? scanField(line, intel_hex::kTypeField) : std::nullopt;
    return type ? std::optional(RecordHead{*count, *offset, *type}) : std::nullopt;
}

/// The same for a head of nothing but digits, which nearly every line has, in one go.
std::optional<RecordHead> takeHead(std::string_view line) {
    std::array<std::uint8_t, 4> head;
    if (takeDigitPairs(line.substr(intel_hex::kCountField.index), head.size(), head.data()) < head.size()) {
        return scanHead(line);
    }
    return RecordHead{head[0], static_cast<std::uint32_t>(head[1] << 8 | head[2]), head[3]};
}

/// Collects the bytes of a data record up to the first that can't be converted. A record that announces more
/// than it holds takes its own checksum digits as data: the length of the line is never compared.
std::span<const std::uint8_t> scanData(std::string_view line, std::uint32_t count, DataBytes& bytes) {
    const std::string_view text = line.substr(std::min(intel_hex::kDataIndex, line.size()));
    std::size_t taken = takeDigitPairs(text, count, bytes.data());
    for (; taken < count; ++taken) {
        const auto value = scanField(line, {intel_hex::kDataIndex + 2 * taken, 2});
        if (!value) {
            break;
        }
        bytes[taken] = static_cast<std::uint8_t>(*value);
    }
    return {bytes.data(), taken};
}

}  // namespace

std::list<mem_buf> ParseHexStream(std::istream& stream) {
    ImageBuilder image;
    std::uint32_t base = 0;
    DataBytes bytes;
    LineReader lines(stream);
    for (std::string_view line; lines.next(line);) {
        if (!line.starts_with(intel_hex::kMark)) {
            continue;
        }
        const auto head = takeHead(line);
        if (!head) {
            continue;
        }
        if (head->type == intel_hex::kTypeData) {
            image.addRecord(base + head->offset, scanData(line, head->count, bytes), lines.left());
        } else if (head->type == intel_hex::kTypeSegmentAddress) {
            const auto value = scanField(line, intel_hex::kAddressField);
            base = value ? *value * 16 : base;
        } else if (head->type == intel_hex::kTypeLinearAddress) {
            const auto value = scanField(line, intel_hex::kAddressField);
            base = value ? *value << 16 : base;
        }
    }
    return image.finish();
}
