#include "sim/Memory.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

MemorySegment segmentOf(std::uint32_t base, const Bytes& bytes,
                        MemoryAccess access = MemoryAccess::readWrite) {
    MemorySegment segment = plainSegment(base, bytes.size(), access);
    segment.pages[0].bytes = bytes;
    return segment;
}

/// What a tool reads, or nothing if it is refused.
Bytes readAs(const Memory& memory, MemoryView view, std::uint32_t address, std::size_t size) {
    Bytes out(size);
    return memory.read(view, address, 0, out) == MemoryResult::ok ? out : Bytes{};
}

TEST(MemoryRead, GivesTheBytesOfASegmentUpToItsLast) {
    const Memory memory({segmentOf(0x100, {1, 2, 3, 4})}, 1);
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0x100, 4), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0x103, 1), (Bytes{4}));
}

TEST(MemoryRead, RefusesWhatLiesOutsideOnEitherSide) {
    const Memory memory({segmentOf(0x100, {1, 2, 3, 4})}, 1);
    Bytes out(2, 0xEE);
    EXPECT_EQ(memory.read(MemoryView::tool, 0xFF, 0, out), MemoryResult::unmapped);
    EXPECT_EQ(memory.read(MemoryView::tool, 0x103, 0, out), MemoryResult::unmapped);
    EXPECT_EQ(memory.read(MemoryView::tool, 0x100, 1, out), MemoryResult::unmapped);
    EXPECT_EQ(out, (Bytes{0xEE, 0xEE}));
}

TEST(MemoryRead, RunsOverAdjoiningSegments) {
    const Memory memory({segmentOf(0x104, {5, 6}), segmentOf(0x100, {1, 2, 3, 4})}, 1);
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0x102, 4), (Bytes{3, 4, 5, 6}));
}

TEST(MemoryRead, DoesNotWrapAtTheEndOfTheAddressSpace) {
    const Memory memory({segmentOf(0xFFFFFFFE, {1, 2}), segmentOf(0, {3})}, 1);
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0xFFFFFFFE, 2), (Bytes{1, 2}));
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0xFFFFFFFE, 3), Bytes{});
}

TEST(MemoryRead, OfAHiddenSegmentIsRefusedButPeekShowsIt) {
    const Memory memory({segmentOf(0x100, {1, 2}, MemoryAccess::none)}, 1);
    Bytes out(1);
    EXPECT_EQ(memory.read(MemoryView::tool, 0x100, 0, out), MemoryResult::readProtected);
    EXPECT_EQ(memory.peek(MemoryView::tool, 0x100, 0, 2), (Bytes{1, 2}));
    EXPECT_EQ(memory.peek(MemoryView::tool, 0x101, 0, 2), Bytes{});
}

TEST(MemoryWrite, StoresBytesAndLeavesItsNeighbours) {
    Memory memory({segmentOf(0x100, {1, 2, 3, 4})}, 1);
    EXPECT_EQ(memory.write(MemoryView::tool, 0x101, 0, Bytes{8, 9}), MemoryResult::ok);
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0x100, 4), (Bytes{1, 8, 9, 4}));
}

TEST(MemoryWrite, ChangesNothingIfItsEndIsOutside) {
    Memory memory({segmentOf(0x100, {1, 2})}, 1);
    EXPECT_EQ(memory.write(MemoryView::tool, 0x101, 0, Bytes{8, 9}), MemoryResult::unmapped);
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0x100, 2), (Bytes{1, 2}));
}

TEST(MemoryWrite, ToAReadOnlySegmentIsRefusedButPokeStores) {
    Memory memory({segmentOf(0x100, {1}, MemoryAccess::readOnly)}, 1);
    EXPECT_EQ(memory.write(MemoryView::tool, 0x100, 0, Bytes{8}), MemoryResult::writeProtected);
    EXPECT_EQ(memory.poke(MemoryView::tool, 0x100, 0, Bytes{9}), MemoryResult::ok);
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0x100, 1), (Bytes{9}));
}

TEST(MemoryGranularity, OfTwoNamesAWordPerAddress) {
    const Memory memory({segmentOf(0x1000, {1, 2, 3, 4, 5, 6})}, 2);
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0x1001, 2), (Bytes{3, 4}));
    EXPECT_EQ(memory.checkRead(0x1002, 0, 2), MemoryResult::ok);
    EXPECT_EQ(memory.checkRead(0x1003, 0, 2), MemoryResult::unmapped);
}

TEST(MemoryGranularity, OfFourReachesBehindThirtyTwoBitsOfBytes) {
    const Memory memory({segmentOf(0xFFFFFFFF, {1, 2, 3, 4})}, 4);
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0xFFFFFFFF, 4), (Bytes{1, 2, 3, 4}));
}

Memory pagedMemory() {
    MemorySegment segment = segmentOf(0x100, {1, 1});
    segment.pages.push_back(MemoryPage{.bytes = {2, 2}, .toolWritable = false});
    segment.calibration = true;
    return Memory({plainSegment(0, 1), segment}, 1);
}

TEST(MemoryPages, AreSeenByToolAndEcuApart) {
    Memory memory = pagedMemory();
    memory.segment(1).ecuPage = 1;
    EXPECT_EQ(readAs(memory, MemoryView::tool, 0x100, 2), (Bytes{1, 1}));
    EXPECT_EQ(readAs(memory, MemoryView::ecu, 0x100, 2), (Bytes{2, 2}));
}

TEST(MemoryPages, RefuseWritesToAReferencePage) {
    Memory memory = pagedMemory();
    EXPECT_EQ(memory.write(MemoryView::tool, 0x100, 0, Bytes{7}), MemoryResult::ok);
    memory.segment(1).toolPage = 1;
    EXPECT_EQ(memory.write(MemoryView::tool, 0x100, 0, Bytes{7}), MemoryResult::writeProtected);
}

TEST(MemoryPages, AreCountedInSegmentsOfCalibrationOnly) {
    EXPECT_EQ(pagedMemory().calibrationSegments(), (std::vector<std::size_t>{1}));
}

TEST(MemoryMake, RefusesWhatCannotBe) {
    EXPECT_THROW(Memory({}, 3), std::invalid_argument);
    EXPECT_THROW(Memory({MemorySegment{}}, 1), std::invalid_argument);
    EXPECT_THROW(Memory({plainSegment(0, 3)}, 2), std::invalid_argument);
    EXPECT_THROW(Memory({plainSegment(0, 4), plainSegment(3, 4)}, 1), std::invalid_argument);
    EXPECT_THROW(Memory({plainSegment(3, 4), plainSegment(0, 4)}, 1), std::invalid_argument);
    MemorySegment unequal = plainSegment(0, 4);
    unequal.pages.push_back(MemoryPage{.bytes = Bytes(5)});
    EXPECT_THROW(Memory({unequal}, 1), std::invalid_argument);
    MemorySegment noSuchPage = plainSegment(0, 4);
    noSuchPage.ecuPage = 1;
    EXPECT_THROW(Memory({noSuchPage}, 1), std::invalid_argument);
}

TEST(MemoryMake, TakesOneAddressInTwoExtensions) {
    EXPECT_NO_THROW(
        Memory({plainSegment(0, 4), plainSegment(0, 4, MemoryAccess::readWrite, 1), plainSegment(4, 4)}, 1));
}

}  // namespace
}  // namespace sim
