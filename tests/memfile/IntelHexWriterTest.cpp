#include "memfile/IntelHexWriter.h"

#include "tests/memfile/Blocks.h"

#include <algorithm>
#include <sstream>

namespace {

std::string written(const std::list<mem_buf>& blocks) {
    std::ostringstream stream;
    memfile::writeIntelHex(stream, memfile::splitIntoPages(blocks));
    return stream.str();
}

}  // namespace

TEST(IntelHexWriter, AnEmptyListIsTheEndLineAlone) {
    EXPECT_EQ(written({}), ":00000001FF\n");
    EXPECT_EQ(written({{0x1000, {}}}), ":00000001FF\n");
}

TEST(IntelHexWriter, ABlockIsItsUpperAddressAndItsData) {
    EXPECT_EQ(written({{0x00001000, {0xAA, 0xBB}}}), ":020000040000FA\n:02100000AABB89\n:00000001FF\n");
    EXPECT_EQ(written({{0x80001234, {0x01}}}), ":0200000480007A\n:0112340001B8\n:00000001FF\n");
    EXPECT_EQ(written({{0xFFFFFFFF, {0xFF}}}), ":02000004FFFFFC\n:01FFFF00FF02\n:00000001FF\n");
}

TEST(IntelHexWriter, AChecksumOfZeroIsWritten) {
    // 01 + 00 + 00 + 00 + FF = 100.
    EXPECT_EQ(written({{0, {0xFF}}}), ":020000040000FA\n:01000000FF00\n:00000001FF\n");
}

TEST(IntelHexWriter, LinesHold32BytesCountedFromTheStartOfTheBlock) {
    // 20 + 10 + 07 + (0 + .. + 1F = 1F0) = 227, and 01 + 10 + 27 + 20 = 58.
    EXPECT_EQ(written({{0x1007, countingBytes(33)}}),
              ":020000040000FA\n"
              ":20100700000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1FD9\n"
              ":0110270020A8\n"
              ":00000001FF\n");
}

TEST(IntelHexWriter, EveryBlockGetsItsUpperAddressEvenTheSameAgain) {
    EXPECT_EQ(written({{0x20, {1}}, {0x10, {2}}}),
              ":020000040000FA\n:0100200001DE\n:020000040000FA\n:0100100002ED\n:00000001FF\n");
}

TEST(IntelHexWriter, ABlockOver64KiBoundariesGetsAnUpperAddressPerPage) {
    const std::string text = written({{0x0000FFF0, Bytes(70000)}});
    EXPECT_EQ(text.substr(0, 60),
              ":020000040000FA\n"
              ":10FFF0000000000000000000000000000000000001\n");
    EXPECT_NE(text.find("\n:020000040001F9\n:20000000"), std::string::npos);
    EXPECT_NE(text.find("\n:020000040002F8\n:20000000"), std::string::npos);
    // 3 upper addresses, lines of 16, 2048 x 32 and 139 x 32 bytes, the end.
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3 + 1 + 2048 + 139 + 1);
}

TEST(IntelHexWriter, KeepsOrderAndOverlaps) {
    EXPECT_EQ(written({{0x20000, {1}}, {0, {2}}, {0x20000, {3}}}),
              ":020000040002F8\n:0100000001FE\n:020000040000FA\n:0100000002FD\n"
              ":020000040002F8\n:0100000003FC\n:00000001FF\n");
}
