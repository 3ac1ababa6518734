#include "memfile/ImageBuilder.h"

#include "tests/memfile/Blocks.h"

using memfile::ImageBuilder;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const Bytes kTwo{1, 2};

/// Adds @p records records of 32 bytes, of 76 characters each, with or without telling what is left.
/// @return the room that the block takes at the end, bytes
std::size_t roomOf(std::size_t records, bool tellsLength) {
    const Bytes bytes(32);
    ImageBuilder image;
    for (std::size_t i = 0; i < records; ++i) {
        image.addRecord(static_cast<std::uint32_t>(32 * i), bytes, tellsLength ? (records - 1 - i) * 76 : 0);
    }
    return image.finish().front().data.capacity();
}

}  // namespace

TEST(ImageBuilder, ARecordThatContinuesTheLastBlockJoinsIt) {
    ImageBuilder image;
    image.addRecord(0x1000, kTwo, 0);
    image.addRecord(0x1002, kTwo, 0);
    EXPECT_THAT(image.finish(), ElementsAre(block(0x1000, {1, 2, 1, 2})));
    EXPECT_THAT(image.finish(), IsEmpty());
}

TEST(ImageBuilder, AGapAnOverlapAndAnEarlierBlockGiveNewBlocks) {
    ImageBuilder image;
    image.addRecord(0x1000, kTwo, 0);
    image.addRecord(0x1003, kTwo, 0);
    image.addRecord(0x1004, kTwo, 0);
    image.addRecord(0x1002, kTwo, 0);
    EXPECT_THAT(image.finish(), ElementsAre(block(0x1000, kTwo), block(0x1003, kTwo), block(0x1004, kTwo),
                                            block(0x1002, kTwo)));
}

TEST(ImageBuilder, ABlockThatEndsAtTheLastAddressContinuesAtZero) {
    ImageBuilder image;
    image.addRecord(0xFFFFFFFE, kTwo, 0);
    image.addRecord(0, kTwo, 0);
    EXPECT_THAT(image.finish(), ElementsAre(block(0xFFFFFFFE, {1, 2, 1, 2})));
}

TEST(ImageBuilder, ARecordWithoutBytesAddsABlockOnlyIfItContinuesNone) {
    ImageBuilder image;
    image.addRecord(0x1000, {}, 0);
    image.addRecord(0x1000, kTwo, 0);
    image.addRecord(0x1002, {}, 0);
    image.addRecord(0x2000, {}, 0);
    EXPECT_THAT(image.finish(), ElementsAre(block(0x1000, kTwo), block(0x2000, {})));
}

TEST(ImageBuilder, KeepsNoMoreThanHalfTooMuchRoom) {
    EXPECT_LE(roomOf(10000, true), 480064U);
    EXPECT_LE(roomOf(10000, false), 480064U);
}

TEST(ImageBuilder, TrimsABlockThatTheTextDidNotFill) {
    ImageBuilder image;
    const Bytes bytes(32);
    for (std::uint32_t i = 0; i < 100; ++i) {
        image.addRecord(32 * i, bytes, 100000000);
    }
    image.addRecord(0x80000000, bytes, 100000000);
    const auto blocks = image.finish();
    ASSERT_EQ(blocks.size(), 2U);
    EXPECT_LE(blocks.front().data.capacity(), 4864U);
    EXPECT_LE(blocks.back().data.capacity(), 48U);
}
