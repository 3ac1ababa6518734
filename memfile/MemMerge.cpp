#include "TalvexMemory.h"
#include "memfile/MemRange.h"
#include "memfile/StderrMessage.h"

#include <array>
#include <charconv>
#include <utility>

namespace {

std::string lowerCaseHex(std::uint32_t value) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
    return {digits.data(), end};
}

void reportWithoutContent(const mcMemoryInfo& segment) {
    const std::uint32_t last = segment.address + segment.length - 1;
    memfile::writeStderr("指定地址区间无hex内容: 0x" + lowerCaseHex(segment.address) + " - 0x" +
                         lowerCaseHex(last) + "\n");
}

}  // namespace

std::list<mem_buf> MergeMemByAddr(const std::list<mem_buf>& blocks,
                                  const std::vector<mcMemoryInfo>& segments) {
    std::list<mem_buf> result;
    for (const mcMemoryInfo& segment : segments) {
        bool found = false;
        for (const mem_buf& block : blocks) {
            if (auto part = cutToRange(block, segment.address, segment.length)) {
                result.push_back(std::move(*part));
                found = true;
            }
        }
        if (!found) {
            reportWithoutContent(segment);
        }
    }
    return result;
}
