#include "TalvexMemory.h"
#include "TalvexPlain.h"
#include "memfile/MemRange.h"

#include <algorithm>

using namespace memfile;

namespace {

/// Hands out the part of the first block that lies in @p range, and of no other, unlike MergeMemByAddr: hosts
/// take one buffer per range.
void handOut(const std::list<mem_buf>& blocks, const mcMemRange& range, std::uint8_t*& outBuffer,
             std::uint32_t& outSize) {
    for (const mem_buf& block : blocks) {
        const auto overlap = overlapWithRange(block, range.address, range.length);
        if (overlap) {
            outBuffer = new std::uint8_t[overlap->bytes.size()];
            std::copy(overlap->bytes.begin(), overlap->bytes.end(), outBuffer);
            outSize = static_cast<std::uint32_t>(overlap->bytes.size());
            return;
        }
    }
}

}  // namespace

extern "C" void ParseMemFileNewBuff(const char* path, const mcMemRange* ranges, std::int32_t rangeCount,
                                    std::uint8_t** outBuffers, std::uint32_t* outSizes) {
    const std::list<mem_buf> blocks = ParseMemFile(path != nullptr ? path : "");
    if (ranges == nullptr || outBuffers == nullptr || outSizes == nullptr) {
        return;
    }
    for (std::int32_t i = 0; i < rangeCount; ++i) {
        outBuffers[i] = nullptr;
        handOut(blocks, ranges[i], outBuffers[i], outSizes[i]);
    }
}

extern "C" void DeleteMemBuff(std::uint8_t** buffers, std::int32_t count) {
    if (buffers == nullptr) {
        return;
    }
    for (std::int32_t i = 0; i < count; ++i) {
        delete[] buffers[i];
        buffers[i] = nullptr;
    }
}
