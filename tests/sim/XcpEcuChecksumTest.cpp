#include "sim/XcpEcuChecksum.h"

#include <gtest/gtest.h>

#include <vector>

namespace sim {
namespace {

struct Row {
    XcpChecksum kind;
    std::uint32_t intel;
    std::uint32_t motorola;
};

/// Of "123456789" the CRCs are the check values that catalogues of CRCs print for these polynomials.
TEST(XcpEcuCrc, GivesTheCheckValuesOfItsPolynomials) {
    const std::vector<std::uint8_t> text{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(computeChecksum(XcpChecksum::crc16, text, ByteOrder::intel), 0xBB3DU);
    EXPECT_EQ(computeChecksum(XcpChecksum::crc16Ccitt, text, ByteOrder::intel), 0x29B1U);
    EXPECT_EQ(computeChecksum(XcpChecksum::crc32, text, ByteOrder::intel), 0xCBF43926U);
    EXPECT_EQ(computeChecksum(XcpChecksum::crc32, text, ByteOrder::motorola), 0xCBF43926U);
}

TEST(XcpEcuSums, AddWordsOfTheByteOrderAndCutTheSum) {
    const std::vector<std::uint8_t> bytes{0xFF, 0xFE, 0x80, 0x01, 0xFF, 0xFF, 0xFF, 0xFF};
    constexpr Row kRows[] = {
        {XcpChecksum::add11, 0x7A, 0x7A},
        {XcpChecksum::add12, 0x067A, 0x067A},
        {XcpChecksum::add14, 0x067A, 0x067A},
        // 0xFEFF + 0x0180 + 2 * 0xFFFF, and 0xFFFE + 0x8001 + 2 * 0xFFFF
        {XcpChecksum::add22, 0x007D, 0x7FFD},
        {XcpChecksum::add24, 0x3007D, 0x37FFD},
        // 0x0180FEFF + 0xFFFFFFFF, and 0xFFFE8001 + 0xFFFFFFFF
        {XcpChecksum::add44, 0x0180FEFE, 0xFFFE8000},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(computeChecksum(row.kind, bytes, ByteOrder::intel), row.intel) << int(row.kind);
        EXPECT_EQ(computeChecksum(row.kind, bytes, ByteOrder::motorola), row.motorola) << int(row.kind);
    }
}

TEST(XcpEcuSums, NeedWholeWords) {
    EXPECT_EQ(checksumWord(XcpChecksum::add14), 1U);
    EXPECT_EQ(checksumWord(XcpChecksum::add24), 2U);
    EXPECT_EQ(checksumWord(XcpChecksum::add44), 4U);
    EXPECT_EQ(checksumWord(XcpChecksum::crc32), 1U);
}

}  // namespace
}  // namespace sim
