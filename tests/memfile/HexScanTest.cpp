#include "memfile/HexScan.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

using memfile::scanHex;
using memfile::takeDigitPairs;

namespace {

struct Row {
    std::string text;
    std::size_t maxDigits;
    std::optional<std::uint32_t> value;
};

const Row kRows[] = {
    {"1F", 2, 0x1F},
    {"aB", 2, 0xAB},
    {"1G", 2, 0x1},
    {"G1", 2, std::nullopt},
    {"", 2, std::nullopt},
    {"  ", 2, std::nullopt},
    {"7", 2, 0x7},
    {" 1", 2, 0x1},
    {" 12", 2, 0x12},
    {"\t\n\v\f\r 123", 2, 0x12},
    {"1 2", 2, 0x1},
    {"-1", 2, std::nullopt},
    {"+1", 2, std::nullopt},
    {"0x12", 4, 0},
    {"0X12", 4, 0},
    {"x1", 2, std::nullopt},
    {"12345678", 8, 0x12345678},
    {"FFFFFFFFF", 8, 0xFFFFFFFF},
    {"1234", 2, 0x12},
    {std::string("\0"
                 "1",
                 2),
     2, std::nullopt},
    {std::string("1\0"
                 "2",
                 3),
     3, 0x1},
    {"\xC3\xA4", 2, std::nullopt},
    {"/9", 2, std::nullopt},
    {":9", 2, std::nullopt},
    {"@A", 2, std::nullopt},
    {"`a", 2, std::nullopt},
    {"gf", 2, std::nullopt},
};

}  // namespace

TEST(HexScan, SkipsWhiteSpaceTakesDigitsAndSucceedsWithTheFirst) {
    for (const Row& row : kRows) {
        EXPECT_EQ(scanHex(row.text, row.maxDigits), row.value) << '"' << row.text << '"';
    }
}

TEST(HexScan, WithoutAWidthTakesUpToEightDigits) {
    EXPECT_EQ(scanHex("123456789"), 0x12345678U);
}

TEST(HexDigitPairs, EveryPairOfCharactersIsTakenExactlyIfBothAreDigitsAndAsTheScanReadsIt) {
    int taken = 0;
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string text{static_cast<char>(first), static_cast<char>(second)};
            const std::string digits = "0123456789abcdefABCDEF";
            const bool bothDigits =
                digits.find(text[0]) != std::string::npos && digits.find(text[1]) != std::string::npos;
            std::uint8_t byte = 0;
            ASSERT_EQ(takeDigitPairs(text, 1, &byte), bothDigits ? 1U : 0U) << first << ' ' << second;
            if (bothDigits) {
                ASSERT_EQ(byte, scanHex(text, 2)) << text;
                ++taken;
            }
        }
    }
    EXPECT_EQ(taken, 22 * 22);
}

TEST(HexDigitPairs, EndAtTheCountAtAHalfPairAndAtTheFirstOther) {
    std::array<std::uint8_t, 4> bytes{};
    EXPECT_EQ(takeDigitPairs("01020304", 3, bytes.data()), 3U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{1, 2, 3, 0}));
    EXPECT_EQ(takeDigitPairs("A1A2A", 4, bytes.data()), 2U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{0xA1, 0xA2, 3, 0}));
    EXPECT_EQ(takeDigitPairs("B1 2B3", 4, bytes.data()), 1U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{0xB1, 0xA2, 3, 0}));
    EXPECT_EQ(takeDigitPairs("", 4, bytes.data()), 0U);
}
