#include "memfile/SrecWriter.h"

#include "memfile/HexLineWriter.h"
#include "memfile/SrecFormat.h"

#include <algorithm>

namespace memfile {

namespace {

constexpr std::size_t kLineSize = 32;
constexpr std::size_t kAddressSize = 4;

void writeRecord(HexLineWriter& writer, char type, std::uint32_t address,
                 std::span<const std::uint8_t> data) {
    const std::array<char, 2> mark{srec::kMark, type};
    writer.begin({mark.data(), mark.size()});
    writer.number(static_cast<std::uint32_t>(kAddressSize + data.size() + srec::kChecksumSize), 1);
    writer.number(address, kAddressSize);
    writer.bytes(data);
    writer.end(srec::checksumOf(writer.sum()));
}

}  // namespace

void writeSrec(std::ostream& stream, const std::vector<PageRun>& runs) {
    HexLineWriter writer(stream);
    for (const PageRun& run : runs) {
        for (std::size_t at = 0; at < run.bytes.size(); at += kLineSize) {
            const auto line = run.bytes.subspan(at, std::min(kLineSize, run.bytes.size() - at));
            writeRecord(writer, srec::kTypeData32, run.address + static_cast<std::uint32_t>(at), line);
        }
    }
    writeRecord(writer, srec::kTypeEnd32, 0, {});
}

}  // namespace memfile
