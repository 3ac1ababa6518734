// Seed and key of the simulated CCP ECU.
#include "tests/sim/CcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

using Key = std::vector<std::uint8_t>;

/// A lock whose key is its seed with every bit turned, and the resource behind it.
CcpLock turning(std::uint8_t resource, std::uint8_t seedLength = 4) {
    CcpLock lock;
    lock.resource = resource;
    lock.seedLength = seedLength;
    lock.key = [](std::uint8_t closed, std::span<const std::uint8_t> seed) {
        Key key;
        for (const std::uint8_t byte : seed) {
            key.push_back(static_cast<std::uint8_t>(~byte));
        }
        key.push_back(closed);
        return key;
    };
    return lock;
}

struct Locked : CcpSession {
    explicit Locked(std::vector<CcpLock> locks) : CcpSession(configOf(std::move(locks))) {}

    static CcpEcuConfig configOf(std::vector<CcpLock> locks) {
        CcpEcuConfig config = smallCcpEcu();
        config.locks = std::move(locks);
        return config;
    }

    /// The seed bytes of an answer to GET_SEED.
    std::vector<std::uint8_t> seed(const std::string& resource, std::size_t length = 4) {
        std::vector<std::uint8_t> answer = bytesOf(ask("12 00 " + resource));
        EXPECT_EQ(textOf(std::span(answer).first(4)), "ff 00 00 01");
        return {answer.begin() + 4, answer.begin() + 4 + static_cast<std::ptrdiff_t>(length)};
    }

    std::string unlock(std::uint8_t resource, const std::vector<std::uint8_t>& seedBytes) {
        return ask("13 01 " + textOf(ecu.config().locks[0].key(resource, seedBytes)));
    }
};

TEST(CcpEcuSeed, OfAnOpenResourceIsNotNeeded) {
    Locked bench({turning(ccp::kDaq)});
    EXPECT_EQ(bench.ask("12 01 01"), "ff 00 01 00 00 00 00 00");
}

TEST(CcpEcuSeed, IsForOneResourceOfTheEcu) {
    Locked bench({turning(ccp::kDaq)});
    EXPECT_EQ(bench.ask("12 01 03"), "ff 32 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("12 02 00"), "ff 32 02 00 00 00 00 00");
    EXPECT_EQ(bench.ask("12 03 04"), "ff 36 03 00 00 00 00 00");
}

TEST(CcpEcuSeed, IsAnotherOneEachTime) {
    Locked bench({turning(ccp::kDaq)});
    EXPECT_NE(bench.seed("02"), bench.seed("02"));
}

TEST(CcpEcuSeed, ThatIsShorterIsPadded) {
    Locked bench({turning(ccp::kDaq, 2)});
    const std::string answer = bench.ask("12 00 02");
    EXPECT_EQ(answer.substr(0, 11), "ff 00 00 01");
    EXPECT_EQ(answer.substr(answer.size() - 5), "00 00");
}

TEST(CcpEcuUnlock, OpensItsResourceAndTellsThePrivileges) {
    Locked bench({turning(ccp::kDaq), turning(ccp::kPgm)});
    EXPECT_EQ(bench.ecu.protection(), 0x42);
    EXPECT_EQ(bench.unlock(ccp::kDaq, bench.seed("02")), "ff 00 01 03 00 00 00 00");
    EXPECT_EQ(bench.ecu.protection(), 0x40);
    EXPECT_EQ(bench.ask("12 02 02"), "ff 00 02 00 00 00 00 00") << "open, so there is no seed any more";
    EXPECT_EQ(bench.unlock(ccp::kPgm, bench.seed("40")), "ff 00 01 43 00 00 00 00");
    EXPECT_EQ(bench.ecu.counters().unlocks, 2U);
}

TEST(CcpEcuUnlock, WithAWrongKeyUsesTheSeedUp) {
    Locked bench({turning(ccp::kDaq)});
    const std::vector<std::uint8_t> seed = bench.seed("02");
    EXPECT_EQ(bench.ask("13 01 00 00 00 00 00 00"), "ff 35 01 41 00 00 00 00");
    EXPECT_EQ(bench.unlock(ccp::kDaq, seed), "ff 35 01 41 00 00 00 00");
    EXPECT_EQ(bench.ecu.protection(), 0x02);
    EXPECT_EQ(bench.unlock(ccp::kDaq, bench.seed("02")), "ff 00 01 43 00 00 00 00");
}

TEST(CcpEcuUnlock, WithoutASeedIsRefused) {
    Locked bench({turning(ccp::kDaq)});
    EXPECT_EQ(bench.ask("13 01 00 00 00 00 00 00"), "ff 35 01 41 00 00 00 00");
}

TEST(CcpEcuUnlock, WithAKeyThatIsCutIsRefused) {
    Locked bench({turning(ccp::kDaq)});
    const Key key = bench.ecu.config().locks[0].key(ccp::kDaq, bench.seed("02"));
    EXPECT_EQ(bench.ask("13 01 " + textOf(std::span(key).first(4))), "ff 35 01 41 00 00 00 00");
}

TEST(CcpEcuUnlock, TakesTheKeyOfTheLatestSeedOnly) {
    Locked bench({turning(ccp::kDaq), turning(ccp::kPgm)});
    const std::vector<std::uint8_t> daqSeed = bench.seed("02");
    bench.seed("40");
    EXPECT_EQ(bench.unlock(ccp::kDaq, daqSeed), "ff 35 01 01 00 00 00 00");
}

TEST(CcpEcuUnlock, LastsOverATemporaryDisconnectButNotOverTheEndOfTheSession) {
    Locked bench({turning(ccp::kDaq)});
    bench.unlock(ccp::kDaq, bench.seed("02"));
    ASSERT_EQ(bench.setUp({"07 00 00 00 01 00", "01 01 01 00"}), "");
    EXPECT_EQ(bench.ecu.protection(), 0x00);
    ASSERT_EQ(bench.setUp({"07 00 01 00 01 00", "01 01 01 00"}), "");
    EXPECT_EQ(bench.ecu.protection(), 0x02);
}

TEST(CcpEcuUnlock, WorksWithTheSharedKeyFunction) {
    CcpLock lock;
    lock.resource = ccp::kCal;
    Locked bench({lock});
    const std::vector<std::uint8_t> seed = bench.seed("01");
    EXPECT_EQ(bench.ask("13 01 " + textOf(computeKey(0x01, seed))), "ff 00 01 43 00 00 00 00");
}

TEST(CcpEcuProtection, ClosesTheCommandsOfItsResource) {
    struct Row {
        std::uint8_t resource;
        std::vector<const char*> commands;
    };
    const std::vector<Row> rows{
        {ccp::kCal, {"03 00 01 00", "23 00 00 00 00 00 00 00", "11 00", "09 00", "19 00 00 00 00 00"}},
        {ccp::kDaq,
         {"14 00 00 00 00 00 00 00", "15 00 00 00 00", "16 00 01 00 00 10 00 00", "06 00 00 00 00 00 01 00",
          "08 00 00"}},
        {ccp::kPgm, {"10 00 01 00 00 00", "18 00 01 00", "22 00 00 00 00 00 00 00"}},
    };
    for (const Row& row : rows) {
        Locked closed({turning(row.resource)});
        Locked other({turning(row.resource == ccp::kCal ? ccp::kDaq : ccp::kCal)});
        for (const char* command : row.commands) {
            EXPECT_EQ(closed.ask(command), "ff 35 00 00 00 00 00 00") << command;
            EXPECT_NE(other.ask(command).substr(0, 5), "ff 35") << command;
        }
    }
}

TEST(CcpEcuProtection, LeavesReadingOpen) {
    Locked bench({turning(ccp::kCal), turning(ccp::kDaq), turning(ccp::kPgm)});
    EXPECT_EQ(bench.ask("0f 01 02 00 05 10 00 00"), "ff 00 01 05 06 00 00 00");
    EXPECT_EQ(bench.setUp({"02 02 00 00 00 10 00 00", "04 03 01", "0e 04 04 00 00 00", "0d 05"}), "");
}

}  // namespace
}  // namespace sim::test
