#include "memfile/SrecWriter.h"

#include "tests/memfile/Blocks.h"

#include <algorithm>
#include <sstream>

namespace {

std::string written(const std::list<mem_buf>& blocks) {
    std::ostringstream stream;
    memfile::writeSrec(stream, memfile::splitIntoPages(blocks));
    return stream.str();
}

}  // namespace

TEST(SrecWriter, AnEmptyListIsTheEndLineAlone) {
    EXPECT_EQ(written({}), "S70500000000FA\n");
    EXPECT_EQ(written({{0x1000, {}}}), "S70500000000FA\n");
}

TEST(SrecWriter, AddressesAlwaysHaveFourBytes) {
    EXPECT_EQ(written({{0x00000010, {0xAA}}}), "S30600000010AA3F\nS70500000000FA\n");
    EXPECT_EQ(written({{0x80001234, {0x01}}}), "S306800012340132\nS70500000000FA\n");
}

TEST(SrecWriter, LinesHold32BytesCountedFromTheStartOfTheBlock) {
    // 25 + 10 + 07 + 1F0 = 22C, and 06 + 10 + 27 + 20 = 5D.
    EXPECT_EQ(written({{0x1007, countingBytes(33)}}),
              "S32500001007000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1FD3\n"
              "S3060000102720A2\n"
              "S70500000000FA\n");
}

TEST(SrecWriter, LinesAreCutAtPagesAsWell) {
    EXPECT_EQ(written({{0x1FFFF, {1, 2}}}), "S3060001FFFF01F9\nS3060002000002F5\nS70500000000FA\n");
}

TEST(SrecWriter, KeepsOrderAndOverlaps) {
    EXPECT_EQ(written({{0x20, {1}}, {0x10, {2}}, {0x20, {3}}}),
              "S3060000002001D8\nS3060000001002E7\nS3060000002003D6\nS70500000000FA\n");
}

TEST(SrecWriter, WritesALargeBlockWhole) {
    const std::string text = written({{0x0000FFF0, Bytes(70000)}});
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + 2048 + 139 + 1);
    EXPECT_EQ(text.size(), 2188U * 15 + 70000U * 2 + 15);  // 15 characters a line beside the data
}
