#include "transport/FrameFields.h"

#include "tests/transport/TransportTestSupport.h"

#include <gtest/gtest.h>

using namespace transport_test;

TEST(FrameFields, NumbersAreReadInBothByteOrders) {
    const msgBuf read = frame(0, "11 22 33 44 55");
    EXPECT_EQ(fieldU16(read, 1), 0x3322U);
    EXPECT_EQ(fieldU16(read, 1, true), 0x2233U);
    EXPECT_EQ(fieldU32(read, 1), 0x55443322U);
    EXPECT_EQ(fieldU32(read, 1, true), 0x22334455U);
}

TEST(FrameFields, BytesBehindThePayloadReadZero) {
    msgBuf read;
    read.data.fill(0xAB);
    EXPECT_EQ(fieldU16(read, 63), 0x00ABU);
    EXPECT_EQ(fieldU16(read, 63, true), 0xAB00U);
    EXPECT_EQ(fieldU32(read, 62), 0x0000ABABU);
    EXPECT_EQ(fieldU32(read, 64), 0U);
    EXPECT_EQ(fieldU32(read, 1000), 0U);
}

TEST(FrameFields, SwappedWordHasItsBytesExchanged) {
    EXPECT_EQ(swapped16(0x0001), 0x0100);
    EXPECT_EQ(swapped16(0xABCD), 0xCDAB);
}

TEST(CommandFrame, IsZeroButForWhatIsPut) {
    CommandFrame command(0xE0, 8);
    command.put8(1, 0x11).put16(2, 0x2233).put32(4, 0x44556677);
    EXPECT_EQ(text(std::vector{command.frame()}), "0:e0 11 33 22 77 66 55 44");
    EXPECT_EQ(command.frame().hostTag, 0U);
    EXPECT_EQ(command.frame().data[8], 0U);
}

TEST(CommandFrame, SwapsOnRequest) {
    CommandFrame command(0xE0, 8);
    command.put16(2, 0x2233, true).put32(4, 0x44556677, true);
    EXPECT_EQ(text(std::vector{command.frame()}), "0:e0 00 22 33 44 55 66 77");
}

TEST(CommandFrame, BytesBehindThePayloadAreNotWritten) {
    CommandFrame command(0xE0, 64);
    command.put8(64, 1).put16(63, 0x2233).put32(1000, 5);
    EXPECT_EQ(command.frame().data[63], 0x33);
}
