// Any file through ParseMemFileNewBuff, with any ranges.
#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/ScratchFile.h"

#include <TalvexPlain.h>

#include <stdexcept>

namespace {

constexpr std::size_t kMostRanges = 4;
constexpr std::uint32_t kUntouched = 0xA5A5A5A5;

fuzz::ScratchFile& fileFor(std::uint8_t choice) {
    static fuzz::ScratchFile hex(".hex");
    static fuzz::ScratchFile s19(".s19");
    static fuzz::ScratchFile mot(".mot");
    static fuzz::ScratchFile other(".HEX");
    fuzz::ScratchFile* const files[] = {&hex, &s19, &mot, &other};
    return *files[choice];
}

void readAndCheck(const std::string& path, std::vector<mcMemRange>& ranges, std::size_t fileSize) {
    std::vector<std::uint8_t*> buffers(ranges.size(), nullptr);
    std::vector<std::uint32_t> sizes(ranges.size(), kUntouched);
    const auto count = static_cast<std::int32_t>(ranges.size());
    ParseMemFileNewBuff(path.c_str(), ranges.data(), count, buffers.data(), sizes.data());
    unsigned sum = 0;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        if (buffers[i] == nullptr) {
            fuzz::require(sizes[i] == kUntouched, "a range without a block leaves its size");
            continue;
        }
        fuzz::require(sizes[i] <= fileSize / 2, "two characters make a byte");
        // A range of no bytes and one that runs over the end of the addresses are cut to the block only.
        const std::uint64_t length = ranges[i].length;
        const bool isPlain = length > 0 && ranges[i].address + length <= 0x100000000;
        fuzz::require(!isPlain || sizes[i] <= length, "a buffer is cut to its range");
        for (std::uint32_t at = 0; at < sizes[i]; ++at) {
            sum += buffers[i][at];
        }
    }
    volatile unsigned read = sum;  // so that every byte is looked at
    static_cast<void>(read);
    DeleteMemBuff(buffers.data(), count);
    DeleteMemBuff(buffers.data(), count);
}

}  // namespace

void fuzz::run(FuzzInput& input) {
    ScratchFile& file = fileFor(input.below(4));
    std::vector<mcMemRange> ranges(input.below(kMostRanges + 1));
    for (mcMemRange& range : ranges) {
        range.reserved0 = input.u8();
        range.length = input.u32();
        range.reserved1 = input.u8();
        range.address = input.u32();
    }
    const std::string text = input.rest();
    const std::string path = file.holding(text);
    try {
        readAndCheck(path, ranges, text.size());
    } catch (const std::out_of_range&) {
        return;  // a line that is cut in its head
    }
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    // The file's ending, one range of 0x10 bytes at 0x1000, and then of all there is.
    const Bytes hex{0, 1, 0, 0x10, 0, 0, 0, 0, 0x00, 0x10, 0, 0};
    const Bytes srec{1, 1, 0, 0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0, 0};
    std::vector<Bytes> made{hex, srec};
    for (const std::uint8_t byte :
         bytesOf(":02100000AABB89\r\n:020000021000EC\n:01100200CC21\n:00000001FF\n")) {
        made[0].push_back(byte);
    }
    for (const std::uint8_t byte : bytesOf("S1051000AABB85\nS206012345AABB2B\r\nS30780001000AABB03\n")) {
        made[1].push_back(byte);
    }
    return made;
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {bytesOf("\n:"),  bytesOf("\nS1"),          bytesOf("\nS3"), bytesOf(":020000048000FA\n"),
            bytesOf("FFFF"), {0xFF, 0xFF, 0xFF, 0xFF}, {0, 0, 0, 0}};
}
