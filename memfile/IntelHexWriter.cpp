#include "memfile/IntelHexWriter.h"

#include "memfile/HexLineWriter.h"
#include "memfile/IntelHexFormat.h"

#include <algorithm>

namespace memfile {

namespace {

constexpr std::size_t kLineSize = 32;

/// Writes one record. Its checksum makes the sum of all its bytes 0.
void writeRecord(HexLineWriter& writer, std::uint32_t offset, std::uint8_t type,
                 std::span<const std::uint8_t> data) {
    writer.begin({&intel_hex::kMark, 1});
    writer.number(static_cast<std::uint32_t>(data.size()), 1);
    writer.number(offset, 2);
    writer.number(type, 1);
    writer.bytes(data);
    writer.end(static_cast<std::uint8_t>(-writer.sum()));
}

void writeUpperAddress(HexLineWriter& writer, std::uint32_t address) {
    const std::array<std::uint8_t, 2> upper{static_cast<std::uint8_t>(address >> 24),
                                            static_cast<std::uint8_t>(address >> 16)};
    writeRecord(writer, 0, intel_hex::kTypeLinearAddress, upper);
}

}  // namespace

void writeIntelHex(std::ostream& stream, const std::vector<PageRun>& runs) {
    HexLineWriter writer(stream);
    for (const PageRun& run : runs) {
        writeUpperAddress(writer, run.address);
        for (std::size_t at = 0; at < run.bytes.size(); at += kLineSize) {
            const auto line = run.bytes.subspan(at, std::min(kLineSize, run.bytes.size() - at));
            writeRecord(writer, run.address + static_cast<std::uint32_t>(at), intel_hex::kTypeData, line);
        }
    }
    writeRecord(writer, 0, intel_hex::kTypeEnd, {});
}

}  // namespace memfile
