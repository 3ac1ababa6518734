#include "decode/ValueText.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace {

using trace_view::byteText;
using trace_view::decText;
using trace_view::hexText;

TEST(ValueText, HexIsUpperCaseWithoutLeadingZeros) {
    EXPECT_EQ(hexText(0), "0x0");
    EXPECT_EQ(hexText(0x1F), "0x1F");
    EXPECT_EQ(hexText(0xFFFF), "0xFFFF");
    EXPECT_EQ(hexText(0x10), "0x10");
    EXPECT_EQ(hexText(0xABCDEF), "0xABCDEF");
    EXPECT_EQ(hexText(0xFFFFFFFF), "0xFFFFFFFF");
}

TEST(ValueText, DecimalHasNoSign) {
    EXPECT_EQ(decText(0), "0");
    EXPECT_EQ(decText(10), "10");
    EXPECT_EQ(decText(0x80000000), "2147483648");
    EXPECT_EQ(decText(0xFFFFFFFF), "4294967295");
}

TEST(ValueText, BytesAreLowerCaseAndFilledWithZeros) {
    const std::array<std::uint8_t, 3> bytes{0x0A, 0x1B, 0xFF};
    EXPECT_EQ(byteText(bytes, 2), "0x0a1b");
    EXPECT_EQ(byteText(bytes, 3), "0x0a1bff");
}

TEST(ValueText, NoBytesRead0x) {
    EXPECT_EQ(byteText({}, 0), "0x");
    const std::array<std::uint8_t, 1> bytes{0x0A};
    EXPECT_EQ(byteText(bytes, 0), "0x");
}

TEST(ValueText, BytesThatAreNotThereReadZero) {
    const std::array<std::uint8_t, 1> bytes{0x0A};
    EXPECT_EQ(byteText(bytes, 3), "0x0a0000");
    EXPECT_EQ(byteText({}, 1), "0x00");
}

}  // namespace
