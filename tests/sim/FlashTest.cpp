#include "sim/Flash.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// 16 bytes of code at 0x1000 in sectors of 8 and 4, a page of calibration data at 0x2000 behind a page of
/// RAM, and 4 bytes of NVRAM in extension 1.
std::vector<MemorySegment> makeLayout() {
    MemorySegment code = plainSegment(0x1000, 16, MemoryAccess::readOnly);
    MemorySegment data = plainSegment(0x2000, 4);
    data.pages.push_back(MemoryPage{.bytes = {1, 2, 3, 4}, .toolWritable = false});
    return {code, data, plainSegment(0x2000, 4, MemoryAccess::readOnly, 1)};
}

FlashConfig makeConfig() {
    return {.sectors = {{.base = 0x1000, .size = 8},
                        {.base = 0x1008, .size = 4},
                        {.base = 0x2000, .size = 4, .area = FlashArea::calibration, .page = 1},
                        {.base = 0x2000, .extension = 1, .size = 4, .area = FlashArea::nonVolatileRam}},
            .clearTime = 100,
            .programTime = 10};
}

class FlashTest : public testing::Test {
protected:
    FlashResult clear(std::uint32_t address, std::uint64_t size) {
        return m_flash.clear(0, address, 0, size);
    }
    FlashResult program(std::uint32_t address, const Bytes& bytes) {
        return m_flash.program(0, address, 0, bytes);
    }

    std::vector<MemorySegment> m_layout = makeLayout();
    Memory m_memory{m_layout, 1};
    Flash m_flash{makeConfig(), m_layout, m_memory};
};

TEST_F(FlashTest, ClearingRaisesAllBitsOfEachSectorThatIsTouched) {
    EXPECT_EQ(clear(0x1007, 1), FlashResult::ok);
    EXPECT_EQ(m_flash.read(0x1000, 0, 12), (Bytes{255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0}));
    EXPECT_EQ(clear(0x1007, 2), FlashResult::ok);
    EXPECT_EQ(m_flash.read(0x1000, 0, 12), Bytes(12, 0xFF));
    EXPECT_EQ(m_memory.peek(MemoryView::tool, 0x100C, 0, 4), Bytes(4, 0)) << "no flash";
}

TEST_F(FlashTest, ClearingOutsideChangesNothing) {
    EXPECT_EQ(clear(0x0FFF, 2), FlashResult::unmapped);
    EXPECT_EQ(clear(0x100B, 2), FlashResult::unmapped);
    EXPECT_EQ(clear(0x1000, 0xFFFFFFFF), FlashResult::unmapped);
    EXPECT_EQ(clear(0x1000, 0), FlashResult::unmapped);
    EXPECT_EQ(m_flash.read(0x1000, 0, 12), Bytes(12, 0));
    EXPECT_FALSE(m_flash.busy(0));
}

TEST_F(FlashTest, ProgramsWhatWasClearedOverSectorsToo) {
    ASSERT_EQ(clear(0x1000, 12), FlashResult::ok);
    EXPECT_EQ(program(0x1006, {1, 2, 3, 4}), FlashResult::ok);
    EXPECT_EQ(m_flash.read(0x1005, 0, 6), (Bytes{255, 1, 2, 3, 4, 255}));
}

TEST_F(FlashTest, BitsFallAndNeverRise) {
    ASSERT_EQ(clear(0x1000, 1), FlashResult::ok);
    EXPECT_EQ(program(0x1000, {0xF0, 0x0F}), FlashResult::ok);
    EXPECT_EQ(program(0x1000, {0x70, 0x0E}), FlashResult::ok);
    EXPECT_EQ(program(0x1000, {0x70, 0x0E}), FlashResult::ok) << "the same again";
    EXPECT_EQ(program(0x1000, {0x30, 0x1E}), FlashResult::notCleared);
    EXPECT_EQ(m_flash.read(0x1000, 0, 2), (Bytes{0x70, 0x0E})) << "not even the first byte changed";
}

TEST_F(FlashTest, ProgrammingOutsideChangesNothing) {
    ASSERT_EQ(clear(0x1000, 12), FlashResult::ok);
    EXPECT_EQ(program(0x100A, {1, 2, 3}), FlashResult::unmapped);
    EXPECT_EQ(program(0x1000, {}), FlashResult::unmapped);
    EXPECT_EQ(m_flash.program(0, 0x1000, 7, Bytes{1}), FlashResult::unmapped);
    EXPECT_EQ(m_flash.read(0x1000, 0, 12), Bytes(12, 0xFF));
}

TEST_F(FlashTest, IsThePageItNamesWhicheverIsSwitchedTo) {
    EXPECT_EQ(clear(0x2000, 4), FlashResult::ok);
    EXPECT_EQ(program(0x2001, {9}), FlashResult::ok);
    EXPECT_EQ(m_flash.read(0x2000, 0, 4), (Bytes{255, 9, 255, 255}));
    EXPECT_EQ(m_memory.peek(MemoryView::tool, 0x2000, 0, 4), Bytes(4, 0)) << "the page of RAM";
    EXPECT_EQ(m_memory.segment(1).pages[1].bytes, (Bytes{255, 9, 255, 255}));
}

TEST_F(FlashTest, ClearsAnAreaWithoutAnAddress) {
    m_flash.clear(0, FlashArea::code);
    EXPECT_EQ(m_flash.read(0x1000, 0, 12), Bytes(12, 0xFF));
    EXPECT_EQ(m_flash.read(0x2000, 0, 4), (Bytes{1, 2, 3, 4}));
    EXPECT_FALSE(m_flash.blank(3));
    m_flash.clear(0, FlashArea::nonVolatileRam);
    EXPECT_TRUE(m_flash.blank(3));
    EXPECT_EQ(m_flash.read(0x2000, 1, 4), Bytes(4, 0xFF));
}

TEST_F(FlashTest, ProgramsSectorsOneBehindTheOther) {
    m_flash.clear(0, FlashArea::code);
    m_flash.clear(0, FlashArea::calibration);
    EXPECT_EQ(m_flash.programAt(0, 7, Bytes{1, 2, 3, 4, 5, 6}), FlashResult::ok);
    EXPECT_EQ(m_flash.read(0x1007, 0, 5), (Bytes{1, 2, 3, 4, 5}));
    EXPECT_EQ(m_flash.read(0x2000, 0, 2), (Bytes{6, 255}));
    EXPECT_EQ(m_flash.programAt(0, 15, Bytes{1, 2}), FlashResult::notCleared) << "the last one is not blank";
    EXPECT_EQ(m_flash.programAt(0, 19, Bytes{0, 0}), FlashResult::unmapped);
    EXPECT_EQ(m_flash.programAt(0, 19, Bytes{0}), FlashResult::ok);
    EXPECT_EQ(m_flash.programAt(0, 20, Bytes{0}), FlashResult::unmapped);
}

TEST_F(FlashTest, IsBusyForEachSectorAndEachCall) {
    EXPECT_EQ(m_flash.clear(1'000, 0x1000, 0, 12), FlashResult::ok);
    EXPECT_TRUE(m_flash.busy(1'199));
    EXPECT_FALSE(m_flash.busy(1'200));
    EXPECT_EQ(m_flash.program(2'000, 0x1000, 0, Bytes{1, 2, 3}), FlashResult::ok);
    EXPECT_EQ(m_flash.busyUntil(), 2'010U);
    EXPECT_EQ(m_flash.program(2'005, 0x1000, 0, Bytes{0}), FlashResult::ok);
    EXPECT_EQ(m_flash.busyUntil(), 2'020U) << "behind what is under way";
    EXPECT_EQ(m_flash.program(3'000, 0x1000, 0, Bytes{1}), FlashResult::notCleared);
    EXPECT_FALSE(m_flash.busy(3'000));
}

TEST_F(FlashTest, OfWordsCountsAddressesInWords) {
    const std::vector<MemorySegment> layout = {plainSegment(0x1000, 16)};
    Memory memory(layout, 2);
    Flash flash({.sectors = {{.base = 0x1002, .size = 8}}}, layout, memory);
    EXPECT_EQ(flash.clear(0, 0x1005, 0, 2), FlashResult::ok);
    EXPECT_EQ(flash.program(0, 0x1003, 0, Bytes{1, 2}), FlashResult::ok);
    EXPECT_EQ(memory.peek(MemoryView::tool, 0x1000, 0, 16),
              (Bytes{0, 0, 0, 0, 255, 255, 1, 2, 255, 255, 255, 255, 0, 0, 0, 0}));
}

TEST(FlashConfigTest, SectorsThatCannotBeAreRefused) {
    const std::vector<MemorySegment> layout = makeLayout();
    Memory memory(layout, 1);
    const auto make = [&](std::vector<FlashSector> sectors) {
        return Flash({.sectors = std::move(sectors)}, layout, memory);
    };
    EXPECT_THROW(make({{.base = 0x1000, .size = 0}}), std::invalid_argument);
    EXPECT_THROW(make({{.base = 0x0FFF, .size = 4}}), std::invalid_argument);
    EXPECT_THROW(make({{.base = 0x100D, .size = 4}}), std::invalid_argument);
    EXPECT_THROW(make({{.base = 0x1000, .size = 4, .page = 1}}), std::invalid_argument);
    EXPECT_THROW(make({{.base = 0x1000, .extension = 1, .size = 4}}), std::invalid_argument);
    EXPECT_THROW(make({{.base = 0x1000, .size = 8}, {.base = 0x1004, .size = 8}}), std::invalid_argument);
    EXPECT_NO_THROW(make({{.base = 0x1000, .size = 8}, {.base = 0x1008, .size = 8}}));
}

}  // namespace
}  // namespace sim
