#include "memfile/Checksum.h"

#include "TalvexPlain.h"
#include "tests/memfile/Blocks.h"

#include <cstring>
#include <random>

namespace {

std::uint32_t check(const Bytes& bytes, std::int32_t kind) {
    return CheckMemory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), kind);
}

const Bytes kNine{'1', '2', '3', '4', '5', '6', '7', '8', '9'};

/// Divides the message, as one long polynomial, bit by bit with a plain list of bits: nothing is shared with
/// the way the library computes. Bits of each byte and of the result are reversed if @p reflected.
std::uint32_t crcByDivision(const Bytes& bytes, std::size_t width, std::uint32_t polynomial, bool start1,
                            bool reflected, bool invert) {
    std::vector<int> bits;
    for (const std::uint8_t byte : bytes) {
        for (int i = 0; i < 8; ++i) {
            bits.push_back(byte >> (reflected ? i : 7 - i) & 1);
        }
    }
    bits.resize(bits.size() + width, 0);
    for (std::size_t i = 0; start1 && i < width; ++i) {
        bits[i] ^= 1;
    }
    for (std::size_t i = 0; i + width < bits.size(); ++i) {
        for (std::size_t k = 0; bits[i] != 0 && k < width; ++k) {
            bits[i + 1 + k] ^= static_cast<int>(polynomial >> (width - 1 - k) & 1);
        }
    }
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        const auto bit = static_cast<std::uint32_t>(bits[bits.size() - width + i] ^ (invert ? 1 : 0));
        value |= bit << (reflected ? i : width - 1 - i);
    }
    return value;
}

}  // namespace

TEST(Checksum, PublishedCheckValuesHold) {
    EXPECT_EQ(check(kNine, 7), 0xBB3DU);
    EXPECT_EQ(check(kNine, 8), 0x29B1U);
    EXPECT_EQ(check(kNine, 9), 0xCBF43926U);
}

TEST(Checksum, SumsOfBytesAreCutToTheirWidth) {
    const Bytes bytes(1000, 0xFF);  // 1000 x 255 = 255000 = 3E418
    EXPECT_EQ(check(bytes, 1), 0x18U);
    EXPECT_EQ(check(bytes, 2), 0xE418U);
    EXPECT_EQ(check(bytes, 3), 0x3E418U);
}

TEST(Checksum, SumsOfWordsReadLittleEndianAndAreCutToTheirWidth) {
    const Bytes bytes{0x01, 0x80, 0x02, 0x80, 0xFF, 0xFF, 0x00, 0x01};
    EXPECT_EQ(check(bytes, 4), 0x0102U);  // 8001 + 8002 + FFFF + 0100 = 20102
    EXPECT_EQ(check(bytes, 5), 0x20102U);
    EXPECT_EQ(check(bytes, 6), 0x81038000U);  // 80028001 + 0100FFFF
}

TEST(Checksum, SumsOf32BitWordsWrap) {
    const Bytes bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x02, 0x00, 0x00, 0x00};
    EXPECT_EQ(check(bytes, 6), 1U);
}

TEST(Checksum, BytesThatFillNoWordAreLeftOut) {
    EXPECT_EQ(check({0x11}, 4), 0U);
    EXPECT_EQ(check({0x11}, 5), 0U);
    EXPECT_EQ(check({0x11, 0x22, 0x33}, 6), 0U);
    EXPECT_EQ(check({0x01, 0x02, 0x03, 0x04, 0x99}, 4), 0x0604U);
    EXPECT_EQ(check({0x01, 0x02, 0x03, 0x04, 0x99}, 5), 0x0604U);
    EXPECT_EQ(check({0x01, 0x02, 0x03, 0x04, 0x99, 0x99, 0x99}, 6), 0x04030201U);
}

TEST(Checksum, OfNothingIsZeroButForKind8) {
    for (std::int32_t kind = 1; kind <= 9; ++kind) {
        EXPECT_EQ(CheckMemory(kNine.data(), 0, kind), kind == 8 ? 0xFFFFU : 0U) << kind;
        EXPECT_EQ(CheckMemory(nullptr, 0, kind), kind == 8 ? 0xFFFFU : 0U) << kind;
    }
}

TEST(Checksum, NullDataCountsAsNoData) {
    EXPECT_EQ(CheckMemory(nullptr, 100, 3), 0U);
    EXPECT_EQ(CheckMemory(nullptr, 100, 8), 0xFFFFU);
}

TEST(Checksum, UnknownKindsGiveZero) {
    for (const std::int32_t kind : {0, 10, 255, 256, -1, -9, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(check(kNine, kind), 0U) << kind;
    }
}

TEST(Checksum, DataNeedNoAlignment) {
    const Bytes bytes{0x55, 0x01, 0x02, 0x03, 0x04};
    EXPECT_EQ(CheckMemory(bytes.data() + 1, 4, 4), 0x0604U);
    EXPECT_EQ(CheckMemory(bytes.data() + 1, 4, 6), 0x04030201U);
}

TEST(Checksum, CrcsEqualThePolynomialDivisionOfTheMessage) {
    std::mt19937 random(20240501);
    for (std::size_t length = 0; length < 70; ++length) {
        Bytes bytes(length);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        SCOPED_TRACE(length);
        EXPECT_EQ(check(bytes, 7), crcByDivision(bytes, 16, 0x8005, false, true, false));
        EXPECT_EQ(check(bytes, 8), crcByDivision(bytes, 16, 0x1021, true, false, false));
        EXPECT_EQ(check(bytes, 9), crcByDivision(bytes, 32, 0x04C11DB7, true, true, true));
    }
}

TEST(Checksum, WidthsAreThoseThatAreCompared) {
    const std::size_t widths[] = {1, 2, 4, 2, 4, 4, 2, 2, 4};
    for (std::int32_t kind = 1; kind <= 9; ++kind) {
        EXPECT_EQ(checksumWidth(kind), widths[kind - 1]) << kind;
    }
    for (const std::int32_t kind : {0, 10, 255, -1}) {
        EXPECT_EQ(checksumWidth(kind), 4U) << kind;
    }
}
