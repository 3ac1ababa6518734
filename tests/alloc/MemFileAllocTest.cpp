// Memory files, cutting to ranges and checksums while memory runs out.
#include "memfile/IntelHexReader.h"
#include "memfile/MemRange.h"
#include "memfile/SrecReader.h"
#include "tests/alloc/EveryNew.h"
#include "tests/support/TempFolder.h"

#include <TalvexMemory.h>
#include <TalvexPlain.h>

#include <gtest/gtest.h>

#include <array>
#include <iostream>
#include <numeric>
#include <sstream>

namespace alloc {
namespace {

std::string showBytes(const std::vector<std::uint8_t>& bytes) {
    return testing::PrintToString(std::vector<int>(bytes.begin(), bytes.end()));
}

std::string showBlocks(const std::list<mem_buf>& blocks) {
    std::string text;
    for (const mem_buf& block : blocks) {
        text += std::to_string(block.address) + ":" + showBytes(block.data) + "\n";
    }
    return text;
}

mem_buf block(std::uint32_t address, std::size_t size) {
    mem_buf made{address, std::vector<std::uint8_t>(size)};
    std::iota(made.data.begin(), made.data.end(), static_cast<std::uint8_t>(address));
    return made;
}

/// Blocks in two pages of 64 KiB, one across their border, and one far away.
std::list<mem_buf> image() {
    return {block(0x1000, 100), block(0xFFF0, 64), block(0x80000000, 33)};
}

mcMemoryInfo segment(std::uint32_t address, std::uint32_t length) {
    mcMemoryInfo made;
    made.address = address;
    made.length = length;
    return made;
}

class MemFileWithoutMemory : public testing::TestWithParam<const char*> {
protected:
    MemFileWithoutMemory() { EXPECT_TRUE(SaveToHexFile(image(), m_path)); }

    const support::TempFolder m_folder;
    const std::string m_path = m_folder.path(std::string("image") + GetParam());
};

INSTANTIATE_TEST_SUITE_P(Formats, MemFileWithoutMemory, testing::Values(".hex", ".s19"),
                         [](const testing::TestParamInfo<const char*>& tested) {
                             return std::string(tested.param + 1);
                         });

TEST_P(MemFileWithoutMemory, IsReadOrThrows) {
    EXPECT_GT(expectCleanAtEveryNew([this] { return ParseMemFile(m_path); }, showBlocks), 10U);
}

TEST_P(MemFileWithoutMemory, IsReadFromAStreamOrThrows) {
    const std::string content = support::contentOf(m_path);
    const bool isHex = m_path.ends_with(".hex");
    const auto parse = [&] {
        std::istringstream stream(content);
        return isHex ? ParseHexStream(stream) : ParseSrecStream(stream);
    };
    EXPECT_GT(expectCleanAtEveryNew(parse, showBlocks), 10U);
}

/// What stands in the file counts only if the writer says that it wrote.
TEST_P(MemFileWithoutMemory, IsWrittenOrThrows) {
    const std::list<mem_buf> blocks = image();
    const auto save = [&] { return SaveToHexFile(blocks, m_path); };
    const auto show = [this](bool saved) { return std::to_string(saved) + support::contentOf(m_path); };
    EXPECT_GT(expectCleanAtEveryNew(save, show), 2U);
}

/// The buffers that were handed out ahead of the failure are the caller's, as ever.
TEST_P(MemFileWithoutMemory, IsHandedOutByRangesOrThrows) {
    using Buffers = std::array<std::uint8_t*, 3>;
    const std::array<mcMemRange, 3> ranges{{{0, 50, 0, 0x1000}, {0, 4, 0, 0x5000}, {0, 33, 0, 0x80000000}}};
    const auto handOut = [&] {
        Buffers buffers{};
        std::array<std::uint32_t, 3> sizes{};
        std::string text;
        try {
            ParseMemFileNewBuff(m_path.c_str(), ranges.data(), 3, buffers.data(), sizes.data());
            for (std::size_t i = 0; i < buffers.size(); ++i) {
                text.append(reinterpret_cast<const char*>(buffers[i]), sizes[i]).append("|");
            }
        } catch (...) {
            DeleteMemBuff(buffers.data(), 3);
            throw;
        }
        DeleteMemBuff(buffers.data(), 3);
        return text;
    };
    EXPECT_GT(expectCleanAtEveryNew(handOut, [](const std::string& text) { return text; }), 10U);
}

TEST(MemMergeWithoutMemory, CutsOrThrows) {
    const std::list<mem_buf> blocks = image();
    const std::vector<mcMemoryInfo> segments = {segment(0x1010, 0x20), segment(0xFFF8, 0x1000),
                                                segment(0x80000000, 33)};
    const auto merge = [&] { return MergeMemByAddr(blocks, segments); };
    EXPECT_EQ(expectCleanAtEveryNew(merge, showBlocks), 6U) << "a node and its bytes for each part";
}

/// A segment without content is reported, in a message that takes memory too.
TEST(MemMergeWithoutMemory, ReportsASegmentWithoutContentOrThrows) {
    const std::list<mem_buf> blocks = image();
    const std::vector<mcMemoryInfo> segments = {segment(0x1010, 0x20), segment(0x5000, 0x10)};
    const auto merge = [&] { return MergeMemByAddr(blocks, segments); };
    EXPECT_GT(expectCleanAtEveryNew(merge, showBlocks), 2U);
}

TEST(MemRangeWithoutMemory, CutsOrThrows) {
    const mem_buf whole = block(0x1000, 100);
    const auto cut = [&] { return cutToRange(whole, 0x1010, 16); };
    const auto show = [](const std::optional<mem_buf>& part) {
        return part ? std::to_string(part->address) + showBytes(part->data) : std::string();
    };
    EXPECT_EQ(expectCleanAtEveryNew(cut, show), 1U);
}

TEST(ChecksumWithoutMemory, NeedsNone) {
    const std::vector<std::uint8_t> bytes = block(0, 1000).data;
    for (std::int32_t kind = 0; kind <= 10; ++kind) {
        const auto sum = [&] { return CheckMemory(bytes.data(), 1000, kind); };
        EXPECT_EQ(expectCleanAtEveryNew(sum, [](std::uint32_t value) { return std::to_string(value); }), 0U);
    }
}

}  // namespace
}  // namespace alloc
