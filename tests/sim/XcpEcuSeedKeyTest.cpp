#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

/// A key function that can be worked out by hand: every byte of the seed inverted.
std::vector<std::uint8_t> inverted(std::uint8_t, std::span<const std::uint8_t> seed) {
    std::vector<std::uint8_t> key(seed.begin(), seed.end());
    for (std::uint8_t& byte : key) {
        byte = static_cast<std::uint8_t>(~byte);
    }
    return key;
}

XcpEcuConfig lockedEcu(std::uint8_t seedLength = 4) {
    XcpEcuConfig config = smallEcu();
    config.locks = {XcpLock{.resource = xcp::kDaq, .seedLength = seedLength, .key = inverted},
                    XcpLock{.resource = xcp::kCalPag, .seedLength = 4, .key = inverted}};
    return config;
}

/// Reads a whole seed in as many parts as it takes.
std::vector<std::uint8_t> fetchSeed(Bench& bench, const std::string& resource) {
    std::vector<std::uint8_t> part = bytesOf(bench.ask("f8 00 " + resource));
    std::vector<std::uint8_t> seed(part.begin() + 2, part.end());
    const std::size_t total = part[1];
    while (seed.size() < total) {
        part = bytesOf(bench.ask("f8 01 00"));
        EXPECT_EQ(part[1], total - seed.size());
        seed.insert(seed.end(), part.begin() + 2, part.end());
    }
    return seed;
}

TEST(XcpEcuGetSeed, GivesAShortSeedWhole) {
    Session bench(lockedEcu());
    const std::string answer = bench.ask("f8 00 04");
    EXPECT_EQ(answer.substr(0, 5), "ff 04");
    EXPECT_EQ(bytesOf(answer).size(), 6U);
}

TEST(XcpEcuGetSeed, GivesALongSeedInParts) {
    Session bench(lockedEcu(14));
    EXPECT_EQ(bench.ask("f8 00 04").substr(0, 5), "ff 0e");
    EXPECT_EQ(bytesOf(bench.ask("f8 01 00"))[1], 8);
    const std::vector<std::uint8_t> last = bytesOf(bench.ask("f8 01 00"));
    EXPECT_EQ(last[1], 2);
    EXPECT_EQ(last.size(), 4U);
    EXPECT_EQ(bench.ask("f8 01 00"), "fe 29");
}

TEST(XcpEcuGetSeed, GivesAnotherSeedEachTime) {
    Session bench(lockedEcu());
    EXPECT_NE(bench.ask("f8 00 04"), bench.ask("f8 00 04"));
}

TEST(XcpEcuGetSeed, OfAnOpenResourceHasLengthZero) {
    XcpEcuConfig config = lockedEcu();
    config.locks.pop_back();
    EXPECT_EQ(Session(config).ask("f8 00 01"), "ff 00");
}

TEST(XcpEcuGetSeed, RefusesWrongModesResourcesAndOrder) {
    Session bench(lockedEcu());
    EXPECT_EQ(bench.ask("f8 01 00"), "fe 29");
    EXPECT_EQ(bench.ask("f8 02 04"), "fe 22");
    EXPECT_EQ(bench.ask("f8 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("f8 00 05"), "fe 22");
    EXPECT_EQ(bench.ask("f8 00 10"), "fe 22");
    EXPECT_EQ(bench.ask("f8 00"), "fe 21");
}

TEST(XcpEcuUnlock, OpensItsResourceAndLeavesTheOther) {
    Session bench(lockedEcu());
    EXPECT_EQ(bench.ask("da"), "fe 25");
    const std::vector<std::uint8_t> key = inverted(0, fetchSeed(bench, "04"));
    EXPECT_EQ(bench.ask("f7 04 " + textOf(key)), "ff 01");
    EXPECT_EQ(bench.ask("da"), "ff 13 00 00 02 00 00 00");
    EXPECT_EQ(bench.ask("f0 01 00"), "fe 25");
    EXPECT_EQ(bench.ecu.counters().unlocks, 1U);
    EXPECT_EQ(bench.ecu.protection(), xcp::kCalPag);
}

TEST(XcpEcuUnlock, TakesALongKeyInPartsAndReportsTheLockUntilTheLast) {
    Session bench(lockedEcu(14));
    const std::vector<std::uint8_t> key = inverted(0, fetchSeed(bench, "04"));
    const std::span<const std::uint8_t> bytes = key;
    EXPECT_EQ(bench.ask("f7 0e " + textOf(bytes.first(6))), "ff 05");
    EXPECT_EQ(bench.ask("f7 08 " + textOf(bytes.subspan(6, 6))), "ff 05");
    EXPECT_EQ(bench.ask("f7 02 " + textOf(bytes.last(2))), "ff 01");
}

TEST(XcpEcuUnlock, TakesTheLongestSeedThereIs) {
    Session bench(lockedEcu(255));
    const std::vector<std::uint8_t> key = inverted(0, fetchSeed(bench, "04"));
    ASSERT_EQ(key.size(), 255U);
    std::string answer;
    for (std::size_t at = 0; at < key.size(); at += 6) {
        const auto rest = static_cast<std::uint8_t>(key.size() - at);
        const std::span<const std::uint8_t> part = std::span(key).subspan(at, std::min<std::size_t>(6, rest));
        answer = bench.ask("f7 " + textOf(std::span(&rest, 1)) + " " + textOf(part));
    }
    EXPECT_EQ(answer, "ff 01");
}

TEST(XcpEcuUnlock, IgnoresPaddingBehindTheKey) {
    Session bench(lockedEcu());
    const std::vector<std::uint8_t> key = inverted(0, fetchSeed(bench, "04"));
    EXPECT_EQ(bench.ask("f7 04 " + textOf(key) + " 55 55"), "ff 01");
}

TEST(XcpEcuUnlock, WithAWrongKeyIsLockedAndEndsTheSession) {
    Session bench(lockedEcu());
    std::vector<std::uint8_t> key = inverted(0, fetchSeed(bench, "04"));
    key[3] ^= 0x01;
    EXPECT_EQ(bench.ask("f7 04 " + textOf(key)), "fe 25");
    EXPECT_FALSE(bench.ecu.connected());
    EXPECT_EQ(bench.ask("fd"), "");
    EXPECT_EQ(bench.ecu.counters().unlocks, 0U);
}

TEST(XcpEcuUnlock, WithAKeyOfWrongLengthIsLocked) {
    Session bench(lockedEcu());
    const std::vector<std::uint8_t> key = inverted(0, fetchSeed(bench, "04"));
    EXPECT_EQ(bench.ask("f7 03 " + textOf(std::span(key).first(3))), "fe 25");
    EXPECT_FALSE(bench.ecu.connected());
}

TEST(XcpEcuUnlock, WithoutAKeyIsLocked) {
    Session bench(lockedEcu());
    fetchSeed(bench, "04");
    EXPECT_EQ(bench.ask("f7 00"), "fe 25");
}

TEST(XcpEcuUnlock, OutOfSequenceIsRefusedWithoutEndingTheSession) {
    Session bench(lockedEcu(14));
    EXPECT_EQ(bench.ask("f7 04 01 02 03 04"), "fe 29");
    bench.ask("f8 00 04");
    EXPECT_EQ(bench.ask("f7 0e 01 02 03 04 05 06"), "fe 29") << "the seed is not read to its end";
    const std::vector<std::uint8_t> key = inverted(0, fetchSeed(bench, "04"));
    EXPECT_EQ(bench.ask("f7 0e " + textOf(std::span(key).first(6))), "ff 05");
    EXPECT_EQ(bench.ask("f7 07 " + textOf(std::span(key).subspan(6, 6))), "fe 29") << "8 are missing";
    EXPECT_EQ(bench.ask("f7 08 " + textOf(std::span(key).subspan(6, 6))), "fe 29") << "forgotten";
    EXPECT_TRUE(bench.ecu.connected());
}

TEST(XcpEcuUnlock, WithFewerBytesThanItTellsIsASyntaxErrorThatCanBeMended) {
    Session bench(lockedEcu());
    const std::vector<std::uint8_t> key = inverted(0, fetchSeed(bench, "04"));
    EXPECT_EQ(bench.ask("f7 04 " + textOf(std::span(key).first(3))), "fe 21");
    EXPECT_EQ(bench.ask("f7 04 " + textOf(key)), "ff 01");
}

TEST(XcpEcuProtection, ComesBackWithEverySession) {
    Session bench(lockedEcu());
    bench.ask("f7 04 " + textOf(inverted(0, fetchSeed(bench, "04"))));
    bench.ask("fe");
    EXPECT_EQ(bench.ecu.protection(), 0x05);
    bench.ask("ff 00");
    EXPECT_EQ(bench.ask("da"), "fe 25");
}

TEST(XcpEcuProtection, CoversEveryCommandOfItsGroupAndNoStandardOne) {
    Session bench(lockedEcu());
    for (const char* command :
         {"e3", "e2", "e1", "e0", "df", "de", "dd", "dc", "db", "da", "d9", "d8", "d7", "d6", "d5", "d4",
          "d3", "c7", "f0", "ef", "ee", "ed", "ec", "eb", "ea", "e9", "e8", "e7", "e6", "e5", "e4"}) {
        EXPECT_EQ(bench.ask(std::string(command) + " 01 00 00 00 00 00 00"), "fe 25") << command;
    }
    EXPECT_EQ(bench.ask("f4 01 00 00 00 10 00 00"), "ff 00");
}

TEST(XcpEcuProtection, OfARowIsAskedAfterItsLength) {
    EXPECT_EQ(Session(lockedEcu()).ask("e3"), "fe 21");
}

// The secret of the simulated ECUs

TEST(SeedKey, IsAsLongAsTheSeedAndDependsOnAllOfItAndTheResource) {
    const std::vector<std::uint8_t> seed{1, 2, 3, 4, 5};
    const std::vector<std::uint8_t> other{1, 2, 3, 4, 6};
    EXPECT_EQ(computeKey(4, seed).size(), 5U);
    EXPECT_EQ(computeKey(4, seed), computeKey(4, seed));
    EXPECT_NE(computeKey(4, seed), computeKey(1, seed));
    EXPECT_NE(computeKey(4, seed)[0], computeKey(4, other)[0]);
    EXPECT_NE(computeKey(4, seed), seed);
}

TEST(SeedKey, OpensAnEcuThatIsNotToldAnotherFunction) {
    XcpEcuConfig config = smallEcu();
    config.locks = {XcpLock{.resource = xcp::kCalPag, .seedLength = 6}};
    Session bench(config);
    const std::vector<std::uint8_t> seed = fetchSeed(bench, "01");
    EXPECT_EQ(bench.ask("f7 06 " + textOf(computeKey(xcp::kCalPag, seed))), "ff 00");
}

TEST(SeedKey, SeedsComeAgainWithTheirNumber) {
    EXPECT_EQ(makeSeed(4, 8, 3), makeSeed(4, 8, 3));
    EXPECT_NE(makeSeed(4, 8, 3), makeSeed(4, 8, 4));
}

}  // namespace
}  // namespace sim::test
