#include "sim/BitTiming.h"

#include "tests/sim/BusTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <random>
#include <string>
#include <utility>

namespace sim {
namespace {

constexpr BitRates k125k{125'000, 125'000};
constexpr BitRates k500k{500'000, 500'000};
constexpr BitRates k1M{1'000'000, 1'000'000};
constexpr BitRates k500k2M{500'000, 2'000'000};
constexpr BitRates k1M8M{1'000'000, 8'000'000};

struct FullBusRow {
    const char* name;
    BitRates rates;
    Frame frame;
    Time plainNs;
    Time worstNs;
    long plainPerSecond;
    long worstPerSecond;
};

long perSecond(Time ns) {
    return std::lround(1e9 / static_cast<double>(ns));
}

TEST(BitTimingOfAFullBus, HasTheTimesAndFramesPerSecondOfTheTable) {
    const FullBusRow rows[] = {
        {"125k", k125k, classic(1, bytes(8)), 888'000, 1'080'000, 1126, 926},
        {"500k", k500k, classic(1, bytes(8)), 222'000, 270'000, 4505, 3704},
        {"1M", k1M, classic(1, bytes(8)), 111'000, 135'000, 9009, 7407},
        {"FD 500k/2M, 64", k500k2M, fd(1, bytes(64)), 333'000, 403'000, 3003, 2481},
        {"FD 1M/8M, 8", k1M8M, fd(1, bytes(8)), 41'125, 46'125, 24316, 21680},
        {"FD 1M/8M, 64", k1M8M, fd(1, bytes(64)), 97'750, 116'750, 10230, 8565},
    };
    for (const FullBusRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.plainNs, duration(row.frame, row.rates, Stuffing::None));
        EXPECT_EQ(row.worstNs, duration(row.frame, row.rates, Stuffing::Worst));
        EXPECT_EQ(row.plainPerSecond, perSecond(duration(row.frame, row.rates, Stuffing::None)));
        EXPECT_EQ(row.worstPerSecond, perSecond(duration(row.frame, row.rates, Stuffing::Worst)));
    }
}

struct BitsRow {
    const char* name;
    Frame frame;
    FrameBits plain;
    FrameBits worst;
};

TEST(BitTimingBits, CountEveryFieldOfEachFormat) {
    const BitsRow rows[] = {
        {"classic, no data", classic(1), {47, 0}, {47 + 8, 0}},
        {"classic, 1 byte", classic(1, bytes(1)), {55, 0}, {55 + 10, 0}},
        {"classic, 8 bytes", classic(1, bytes(8)), {111, 0}, {111 + 24, 0}},
        {"extended, no data", extended(1), {67, 0}, {67 + 13, 0}},
        {"extended, 8 bytes", extended(1, bytes(8)), {131, 0}, {131 + 29, 0}},
        {"FD, no data", fd(1), {29, 33}, {32, 33}},
        {"FD, 8 bytes", fd(1, bytes(8)), {29, 97}, {32, 97 + 16}},
        {"FD, 16 bytes: short CRC", fd(1, bytes(16)), {29, 161}, {32, 161 + 32}},
        {"FD, 20 bytes: long CRC", fd(1, bytes(20)), {29, 198}, {32, 198 + 40}},
        {"FD, 64 bytes", fd(1, bytes(64)), {29, 550}, {32, 550 + 128}},
        {"FD extended, 8 bytes", fdExtended(1, bytes(8)), {48, 97}, {56, 97 + 16}},
        {"FD without BRS, 8 bytes", fd(1, bytes(8), false), {126, 0}, {126 + 19, 0}},
        {"FD without BRS, 3 bytes", fd(1, bytes(3), false), {86, 0}, {86 + 10, 0}},
    };
    for (const BitsRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.plain, frameBits(row.frame, Stuffing::None));
        EXPECT_EQ(row.worst, frameBits(row.frame, Stuffing::Worst));
    }
}

TEST(BitTimingBits, AnFdFrameWithoutBrsGoesAtTheNominalRate) {
    EXPECT_EQ(126'000U, duration(fd(1, bytes(8), false), k1M8M, Stuffing::None));
}

TEST(BitTimingWireTime, KeepsPicosecondsOfRatesThatDivideNoNanosecond) {
    const BitRates rates{83'333, 3'000'000};
    EXPECT_EQ(12'000'048'000U, wireTimePs({1000, 0}, rates) / 1000 * 1000);
    EXPECT_EQ(333'333U, wireTimePs({0, 1}, rates));
    EXPECT_EQ(1'000'000U, wireTimePs({0, 3}, rates));
}

TEST(BitTimingLength, RoundsUpToTheNextLengthOfFd) {
    const std::pair<std::size_t, int> rows[] = {{0, 0},   {8, 8},   {9, 12},  {12, 12}, {13, 16},
                                                {17, 20}, {21, 24}, {25, 32}, {32, 32}, {33, 48},
                                                {48, 48}, {49, 64}, {64, 64}};
    for (const auto& [length, padded] : rows) {
        EXPECT_EQ(padded, wireLength(fd(1, bytes(length)))) << length;
    }
    EXPECT_EQ(frameBits(fd(1, bytes(12)), Stuffing::None), frameBits(fd(1, bytes(9)), Stuffing::None));
}

TEST(BitTimingSendable, RefusesWhatNoControllerCouldSend) {
    Frame brsAlone = classic(1);
    brsAlone.brs = true;
    EXPECT_FALSE(isSendable(brsAlone));
    EXPECT_FALSE(isSendable(classic(1, bytes(9))));
    EXPECT_FALSE(isSendable(classic(0x800)));
    EXPECT_FALSE(isSendable(extended(0x2000'0000)));
    EXPECT_FALSE(isSendable(fd(1, bytes(65))));
    EXPECT_TRUE(isSendable(classic(0x7FF, bytes(8))));
    EXPECT_TRUE(isSendable(extended(0x1FFF'FFFF, bytes(8))));
    EXPECT_TRUE(isSendable(fd(1, bytes(64))));
    EXPECT_TRUE(isSendable(fd(1, bytes(9), false)));
}

TEST(BitTimingCrc15, HasTheCheckValueOfItsPolynomial) {
    Crc15 crc;
    for (const char c : std::string("123456789")) {
        crc.put(static_cast<std::uint8_t>(c), 8);
    }
    EXPECT_EQ(0x059E, crc.value());
}

// Worked by long division of the written-out bits by 1100010110011001.
TEST(BitTimingCrc15, OfFramesIsTheRemainderOfTheirBits) {
    EXPECT_EQ(0x0000, frameCrc15(classic(0)));
    EXPECT_EQ(0x145B, frameCrc15(classic(0, bytes(8))));
    EXPECT_EQ(0x7802, frameCrc15(classic(0x555, {0xAA})));
    EXPECT_EQ(0x64EF, frameCrc15(classic(0x123, {1, 2, 3, 4, 5, 6, 7, 8})));
    EXPECT_EQ(0x1BFE, frameCrc15(extended(0x18DA'F110, {0x02, 0x10, 0x03})));
}

struct WrittenOutRow {
    const char* bits;  ///< on the wire with stuff bits, from start of frame to the last CRC bit
    Frame frame;
    std::size_t bare;  ///< how many bits that is without stuff bits
};

TEST(BitTimingStuffing, OfClassicFramesCountsTheRealSequence) {
    const WrittenOutRow rows[] = {
        {"0000010000010000010000010000010000010000", classic(0), 34},
        {"01010101010100000101101010101111000001000010", classic(0x555, {0xAA}), 42},
        {"000100100011000100000100000110000010100000100110000011000001001010000011100000101110000"
         "1000110010011101111",
         classic(0x123, {1, 2, 3, 4, 5, 6, 7, 8}), 98},
        {"01100011011011101111000100010000010000110000010100001000001000001110011011111011110",
         extended(0x18DA'F110, {0x02, 0x10, 0x03}), 78},
    };
    for (const WrittenOutRow& row : rows) {
        EXPECT_EQ(std::string(row.bits).size() - row.bare, stuffBits(row.frame, Stuffing::Actual).nominal)
            << row.bits;
    }
}

struct StuffRow {
    const char* name;
    Frame frame;
    FrameBits stuff;
};

TEST(BitTimingStuffing, OfLongRunsTakesABitOfEveryFive) {
    const StuffRow rows[] = {
        {"zeros", classic(0, bytes(8)), {16, 0}},
        {"ones", classic(0x7FF, bytes(8, 0xFF)), {15, 0}},
        {"extended zeros", extended(0, bytes(8)), {19, 0}},
        {"extended ones", extended(0x1FFF'FFFF, bytes(8, 0xFF)), {18, 0}},
    };
    for (const StuffRow& row : rows) {
        EXPECT_EQ(row.stuff, stuffBits(row.frame, Stuffing::Actual)) << row.name;
    }
}

TEST(BitTimingStuffing, OfFdFramesCountsEachPhaseApart) {
    const StuffRow rows[] = {
        {"14 zeros ahead of FDF; 100000 ahead of 64 zeros", fd(0, bytes(8)), {2, 13}},
        {"64 bytes of zeros", fd(0, bytes(64)), {2, 102}},
        {"without BRS all at one rate", fd(0, bytes(64), false), {104, 0}},
        {"11 ones; 8 bytes of ones", fd(0x7FF, bytes(8, 0xFF)), {2, 12}},
        {"alternating", fd(0x55, bytes(8, 0x55)), {1, 0}},
        {"res, BRS, ESI and the length code are a run", fd(0, {}, false), {3, 0}},
        {"extended zeros", fdExtended(0, bytes(1)), {5, 1}},
        {"extended ones", fdExtended(0x1FFF'FFFF, bytes(12, 0xFF)), {6, 19}},
    };
    for (const StuffRow& row : rows) {
        EXPECT_EQ(row.stuff, stuffBits(row.frame, Stuffing::Actual)) << row.name;
    }
}

TEST(BitTimingStuffing, OfFdLeavesARunAtTheEndOfTheDataToTheFixedStuffBit) {
    // 0 0010 0000 S 1111 S 0000 S 0111, and 0 0010 0000 S 1111 S 000 11111 with the fixed bit behind
    EXPECT_EQ((FrameBits{2, 3}), stuffBits(fd(0x7F0, {0x0F, 0x07}), Stuffing::Actual));
    EXPECT_EQ((FrameBits{2, 2}), stuffBits(fd(0x7F0, {0x0F, 0x1F}), Stuffing::Actual));
}

TEST(BitTimingStuffing, CountsThePaddingOfFdAsZeros) {
    Frame dirty = fd(0x123, bytes(9, 0x55));
    dirty.data[10] = 0xFF;
    Frame padded = fd(0x123, bytes(12, 0x55));
    std::fill(padded.data.begin() + 9, padded.data.end(), std::uint8_t{0});
    EXPECT_EQ(stuffBits(padded, Stuffing::Actual), stuffBits(dirty, Stuffing::Actual));
}

Frame randomFrame(std::mt19937_64& random) {
    Frame frame;
    frame.extended = random() % 2 != 0;
    frame.fd = random() % 2 != 0;
    frame.brs = frame.fd && random() % 2 != 0;
    frame.id = static_cast<std::uint32_t>(random() % (frame.extended ? 0x2000'0000 : 0x800));
    frame.length = static_cast<std::uint8_t>(random() % (frame.fd ? 65 : 9));
    const std::uint8_t patterns[] = {
        0x00, 0xFF, 0x0F, 0xF0, 0x87, 0x78, 0xC3, 0x3C, 0xE1, 0x1E, static_cast<std::uint8_t>(random())};
    if (random() % 3 == 0) {
        frame.id &= 0xF;
    }
    const std::uint8_t pattern = patterns[random() % std::size(patterns)];
    std::fill_n(frame.data.begin(), frame.length, pattern);
    return frame;
}

TEST(BitTimingStuffing, NeverExceedsTheWorstCase) {
    constexpr std::uint64_t kSeed = 20;
    std::mt19937_64 random(kSeed);
    for (int i = 0; i < 20'000; ++i) {
        const Frame frame = randomFrame(random);
        const FrameBits actual = stuffBits(frame, Stuffing::Actual);
        const FrameBits worst = stuffBits(frame, Stuffing::Worst);
        ASSERT_LE(actual.nominal, worst.nominal) << "seed " << kSeed << ", frame " << i;
        ASSERT_LE(actual.data, worst.data) << "seed " << kSeed << ", frame " << i;
    }
}

TEST(BitTimingStuffing, OfTheWorstFrameReachesTheWorstCase) {
    // after 0 1000 000 the first stuff bit follows two data bits, then every four bits turn
    const Frame frame = fd(0x0F, {0x3C, 0x3C, 0x3C, 0x3C, 0x3C, 0x3C, 0x3C, 0x3C});
    EXPECT_EQ(16U, stuffBits(frame, Stuffing::Actual).data);
    EXPECT_EQ(16U, stuffBits(frame, Stuffing::Worst).data);
}

}  // namespace
}  // namespace sim
