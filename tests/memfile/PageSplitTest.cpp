#include "memfile/PageSplit.h"

#include "tests/memfile/Blocks.h"

using memfile::PageRun;
using memfile::splitIntoPages;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Matches a run by its address and the bytes of it.
auto run(std::uint32_t address, const Bytes& bytes) {
    return testing::Truly([=](const PageRun& given) {
        return given.address == address && Bytes(given.bytes.begin(), given.bytes.end()) == bytes;
    });
}

/// Matches a run by its address and the number of its bytes.
auto run(std::uint32_t address, std::size_t size) {
    return testing::Truly(
        [=](const PageRun& given) { return given.address == address && given.bytes.size() == size; });
}

}  // namespace

TEST(PageSplit, ABlockInOnePageStaysWhole) {
    const std::list<mem_buf> blocks{{0x12345678, {1, 2, 3}}};
    EXPECT_THAT(splitIntoPages(blocks), ElementsAre(run(0x12345678, Bytes{1, 2, 3})));
}

TEST(PageSplit, ABlockThatEndsAtThePageEndStaysWhole) {
    const std::list<mem_buf> blocks{{0x1FFFE, {1, 2}}};
    EXPECT_THAT(splitIntoPages(blocks), ElementsAre(run(0x1FFFE, Bytes{1, 2})));
}

TEST(PageSplit, CutsAtEveryPageBoundary) {
    const std::list<mem_buf> blocks{{0x0000FFF0, Bytes(70000)}};
    EXPECT_THAT(splitIntoPages(blocks),
                ElementsAre(run(0xFFF0, 16), run(0x10000, 65536), run(0x20000, 4448)));
}

TEST(PageSplit, KeepsBytesAndOrder) {
    const std::list<mem_buf> blocks{{0x2FFFF, {7, 8}}, {0x1FFFF, {5, 6}}};
    EXPECT_THAT(splitIntoPages(blocks), ElementsAre(run(0x2FFFF, Bytes{7}), run(0x30000, Bytes{8}),
                                                    run(0x1FFFF, Bytes{5}), run(0x20000, Bytes{6})));
}

TEST(PageSplit, ABlockThatPassesTheLastAddressGoesOnAtZero) {
    const std::list<mem_buf> blocks{{0xFFFFFFFF, {1, 2, 3}}};
    EXPECT_THAT(splitIntoPages(blocks), ElementsAre(run(0xFFFFFFFF, Bytes{1}), run(0, Bytes{2, 3})));
}

TEST(PageSplit, ABlockWithoutBytesYieldsNothing) {
    EXPECT_THAT(splitIntoPages({}), IsEmpty());
    const std::list<mem_buf> blocks{{0x1000, {}}};
    EXPECT_THAT(splitIntoPages(blocks), IsEmpty());
}
