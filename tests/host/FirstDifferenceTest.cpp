// The search for the first byte that differs.

#include "host/FirstDifference.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace {

using host::findFirstDifference;
using host::FirstDifference;
using ::testing::ElementsAre;
using ::testing::Pair;

using Bytes = std::vector<std::uint8_t>;

// An ECU whose memory begins at 0x1000 and notes what is read.
struct Ecu {
    Bytes memory;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> reads{};

    Bytes read(std::uint32_t address, std::uint32_t size) {
        reads.emplace_back(address, size);
        const auto begin = memory.begin() + (address - 0x1000);
        return {begin, begin + size};
    }

    std::optional<FirstDifference> search(const Bytes& wanted, std::uint32_t piece) {
        return findFirstDifference(
            {0x1000, wanted}, piece,
            [this](std::uint32_t address, std::uint32_t size) { return read(address, size); });
    }
};

TEST(FirstDifference, IsTheLowestOfSeveralAndNothingBehindItIsRead) {
    Ecu ecu{{1, 2, 3, 4, 9, 8, 7, 0}};
    const auto found = ecu.search({1, 2, 3, 4, 5, 6, 7, 8}, 3);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->address, 0x1004U);
    EXPECT_EQ(found->wanted, 5);
    EXPECT_EQ(found->found, 9);
    EXPECT_THAT(ecu.reads, ElementsAre(Pair(0x1000, 3), Pair(0x1003, 3)));
}

TEST(FirstDifference, IsNoneInEqualBytesAndTheLastPieceIsWhatIsLeft) {
    Ecu ecu{{1, 2, 3, 4}};
    EXPECT_FALSE(ecu.search({1, 2, 3, 4}, 3).has_value());
    EXPECT_THAT(ecu.reads, ElementsAre(Pair(0x1000, 3), Pair(0x1003, 1)));
}

TEST(FirstDifference, CanBeTheLastByte) {
    Ecu ecu{{1, 2}};
    const auto found = ecu.search({1, 3}, 2);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->address, 0x1001U);
}

TEST(FirstDifference, OfNothingIsNone) {
    Ecu ecu{};
    EXPECT_FALSE(ecu.search({}, 4).has_value());
    EXPECT_TRUE(ecu.reads.empty());
}

}  // namespace
