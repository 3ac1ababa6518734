// The simulated CCP ECU told to misbehave.
#include "tests/sim/CcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

using Kind = EcuFaultKind;

struct CcpFaulty : CcpSession {
    explicit CcpFaulty(const CcpEcuConfig& config = smallCcpEcu()) : CcpSession(config) {}

    void startDaq() {
        EXPECT_EQ(setUp({"15 00 00 00 00", "16 00 01 00 40 10 00 00", "06 00 01 00 00 00 01 00"}), "");
    }
};

TEST(CcpFaultSilence, KeepsAnswersAndDaqBackUntilTold) {
    CcpFaulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::silence, .count = EcuFault::kForever});
    EXPECT_EQ(bench.ask("0d 01"), "");
    EXPECT_EQ(bench.pass(20 * kMs), "");
    bench.ecu.clearFaults();
    EXPECT_EQ(bench.ask("0d 02"), "ff 00 02 00 00 00 00 00");
    EXPECT_EQ(bench.pass(10 * kMs), "00 40 00 00 00 00 00 00");
    EXPECT_EQ(bench.ecu.counters().commands[0x0D], 2U);
    EXPECT_EQ(bench.ecu.counters().lostDtos, 2U);
}

TEST(CcpFaultSilence, LastsForSomeCommands) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::silence, .after = 1, .count = 2});
    EXPECT_EQ(bench.ask("0d 01"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0d 02"), "");
    EXPECT_EQ(bench.ask("0d 03"), "");
    EXPECT_EQ(bench.ask("0d 04"), "ff 00 04 00 00 00 00 00");
}

TEST(CcpFaultSilence, LastsForSomeTime) {
    CcpFaulty bench;
    bench.startDaq();
    bench.pass(5 * kMs);
    bench.ecu.inject({.kind = Kind::silence, .lasts = 20 * kMs});
    EXPECT_EQ(bench.ask("0d 01"), "");
    EXPECT_EQ(bench.pass(20 * kMs - 1), "");
    EXPECT_EQ(bench.ask("0d 02"), "");
    bench.pass(1);
    EXPECT_EQ(bench.ask("0d 03"), "ff 00 03 00 00 00 00 00");
    EXPECT_EQ(bench.pass(5 * kMs), "00 40 00 00 00 00 00 00");
    EXPECT_EQ(bench.ecu.counters().lostDtos, 2U);
}

TEST(CcpFaultSilence, MayConcernOneCommandOnlyAndDoesNotRunIt) {
    CcpFaulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::silence, .command = 0x0C});
    EXPECT_EQ(bench.ask("0d 01"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.pass(10 * kMs), "00 40 00 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0c 02 83"), "");
    EXPECT_EQ(bench.ecu.sessionStatus(), 0);
    EXPECT_EQ(bench.ask("0c 03 83"), "ff 00 03 00 00 00 00 00");
}

TEST(CcpFaultError, AnswersAnyCodeToTheNthCommandOfAKind) {
    for (const std::uint8_t code : bytesOf("10 11 12 18 19 20 21 22 23 30 31 32 33 34 35 36 77")) {
        CcpFaulty bench;
        bench.ecu.inject({.kind = Kind::error, .command = 0x0C, .after = 1, .code = code});
        EXPECT_EQ(bench.ask("0c 01 01"), "ff 00 01 00 00 00 00 00");
        EXPECT_EQ(bench.ask("0d 02"), "ff 00 02 01 00 00 00 00");
        EXPECT_EQ(bench.ask("0c 03 83"), "ff " + textOf(std::span(&code, 1)) + " 03 00 00 00 00 00");
        EXPECT_EQ(bench.ecu.sessionStatus(), 0x01) << "the command was not run";
        EXPECT_EQ(bench.ask("0c 04 83"), "ff 00 04 00 00 00 00 00");
    }
}

TEST(CcpFaultError, AnswersBusyAsOftenAsTold) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::error, .count = 2, .code = 0x10});
    EXPECT_EQ(bench.ask("0d 01"), "ff 10 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0d 01"), "ff 10 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0d 01"), "ff 00 01 00 00 00 00 00");
}

TEST(CcpFaultError, MayRefuseAConnect) {
    CcpBench bench(smallCcpEcu());
    bench.ecu.inject({.kind = Kind::error, .code = 0x33});
    EXPECT_EQ(bench.ask("0d 01"), "") << "what is not for the station uses no fault up";
    EXPECT_EQ(bench.ask("01 02 01 00"), "ff 33 02 00 00 00 00 00");
    EXPECT_FALSE(bench.ecu.connected());
}

TEST(CcpFaultWarning, RunsTheCommandAndSaysSomethingElse) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::warning, .code = 0x01});
    EXPECT_EQ(bench.ask("0f 01 02 00 10 10 00 00"), "ff 01 01 10 11 00 00 00");
    EXPECT_EQ(bench.ask("0d 02"), "ff 00 02 00 00 00 00 00");
}

TEST(CcpFaultDelay, HoldsTheAnswerAndThoseBehindIt) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::delay, .delay = 5 * kMs});
    EXPECT_EQ(bench.ask("0d 01"), "");
    EXPECT_EQ(bench.ask("0d 02"), "");
    EXPECT_EQ(bench.pass(5 * kMs - 1), "");
    EXPECT_EQ(bench.pass(1), "ff 00 01 00 00 00 00 00 | ff 00 02 00 00 00 00 00");
}

TEST(CcpFaultCounter, IsTheNextOne) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::wrongCounter, .count = 2});
    EXPECT_EQ(bench.ask("0d 27"), "ff 00 28 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0d ff"), "ff 00 00 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0d 29"), "ff 00 29 00 00 00 00 00");
}

TEST(CcpFaultTruncate, CutsTheAnswer) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::truncate, .length = 3});
    EXPECT_EQ(bench.ask("0f 01 02 00 10 10 00 00"), "ff 00 01");
    EXPECT_EQ(bench.port.sent[0].data[3], 0) << "bytes behind the length are zero";
    bench.ecu.inject({.kind = Kind::truncate, .length = 0});
    bench.ask("0d 02");
    ASSERT_EQ(bench.port.sent.size(), 1U);
    EXPECT_EQ(bench.port.sent[0].length, 0);
}

TEST(CcpFaultExtend, MakesTheAnswerAFrameOfCanFd) {
    CcpEcuConfig config = smallCcpEcu();
    config.padByte = 0x5A;
    CcpFaulty bench(config);
    bench.ecu.inject({.kind = Kind::extend, .length = 1});
    EXPECT_EQ(bench.ask("0d 01"), "ff 00 01 00 00 5a 5a 5a 5a 5a 5a 5a");
    EXPECT_TRUE(bench.port.sent[0].fd);
    bench.ecu.inject({.kind = Kind::extend, .length = 200});
    bench.ask("0d 02");
    EXPECT_EQ(bench.port.sent[0].length, 64);
    EXPECT_EQ(bench.port.sent[0].data[63], 0x5A);
}

TEST(CcpFaultRepeat, SendsTheAnswerTwice) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::repeat});
    EXPECT_EQ(bench.ask("0d 01"), "ff 00 01 00 00 00 00 00 | ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0d 02"), "ff 00 02 00 00 00 00 00");
}

TEST(CcpFaultDrop, RunsTheCommandButLosesTheAnswer) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::drop});
    EXPECT_EQ(bench.ask("0c 01 83"), "");
    EXPECT_EQ(bench.ecu.sessionStatus(), 0x83);
}

TEST(CcpFaultReset, ForgetsTheSessionInTheMiddleButNotTheMemory) {
    CcpFaulty bench;
    bench.startDaq();
    ASSERT_EQ(bench.setUp({"0c 00 83", "02 00 00 00 10 10 00 00", "03 00 01 aa"}), "");
    bench.ecu.inject({.kind = Kind::reset, .command = 0x03});
    EXPECT_EQ(bench.ask("03 01 01 bb"), "");
    EXPECT_FALSE(bench.ecu.connected());
    EXPECT_EQ(bench.ask("0d 02"), "");
    EXPECT_EQ(bench.pass(50 * kMs), "");
    EXPECT_EQ(bench.ecu.sessionStatus(), 0);
    EXPECT_EQ(bench.memory(0x1010, 2), "aa 11");
    EXPECT_EQ(bench.ask("01 03 01 00"), "ff 00 03 00 00 00 00 00");
}

TEST(CcpFaultEvent, LeavesAtOnce) {
    CcpFaulty bench;
    bench.port.sent.clear();
    bench.ecu.inject({.kind = Kind::event, .code = 0x22, .data = {0x07}});
    EXPECT_EQ(bench.heard(), "fe 22 07 00 00 00 00 00");
}

TEST(CcpFaultEvent, MayComeAheadOfTheAnswerToACommand) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::event, .command = 0x0C, .code = 0x01, .data = {}});
    EXPECT_EQ(bench.ask("0d 01"), "ff 00 01 00 00 00 00 00");
    EXPECT_EQ(bench.ask("0c 02 00"), "fe 01 00 00 00 00 00 00 | ff 00 02 00 00 00 00 00");
}

TEST(CcpFaultOverload, LosesASampleAndSaysSo) {
    CcpFaulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::overload, .after = 1});
    EXPECT_EQ(bench.pass(10 * kMs), "00 40 00 00 00 00 00 00");
    EXPECT_EQ(bench.pass(10 * kMs), "fe 01 00 00 00 00 00 00");
    EXPECT_EQ(bench.pass(10 * kMs), "00 40 00 00 00 00 00 00");
    EXPECT_EQ(bench.ecu.counters().lostDtos, 1U);
}

TEST(CcpFaultOverload, IsNotToldInSilence) {
    CcpFaulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::silence, .lasts = 15 * kMs});
    bench.ecu.inject({.kind = Kind::overload});
    EXPECT_EQ(bench.pass(10 * kMs), "");
}

TEST(CcpFaultDto, LosesAndRepeatsPackets) {
    CcpFaulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::dropDto, .after = 1});
    bench.ecu.inject({.kind = Kind::repeatDto, .after = 2});
    EXPECT_EQ(bench.pass(10 * kMs), "00 40 00 00 00 00 00 00");
    EXPECT_EQ(bench.pass(10 * kMs), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 40 00 00 00 00 00 00 | 00 40 00 00 00 00 00 00");
    EXPECT_EQ(bench.ecu.counters().dtos, 3U);
}

TEST(CcpFaults, WorkTogether) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::error, .code = 0x12});
    bench.ecu.inject({.kind = Kind::delay, .delay = kMs});
    bench.ecu.inject({.kind = Kind::repeat});
    bench.ecu.inject({.kind = Kind::wrongCounter});
    EXPECT_EQ(bench.ask("0d 01"), "");
    EXPECT_EQ(bench.pass(kMs), "ff 12 02 00 00 00 00 00 | ff 12 02 00 00 00 00 00");
}

/// Which of 1000 commands are lost at a chance of one in ten.
std::vector<int> lostOf(std::uint32_t seed) {
    CcpEcuConfig config = smallCcpEcu();
    config.faultSeed = seed;
    CcpFaulty bench(config);
    bench.ecu.inject({.kind = Kind::drop, .count = EcuFault::kForever, .chance = 0.1});
    std::vector<int> lost;
    for (int i = 0; i < 1000; ++i) {
        if (bench.ask("0d 00").empty()) {
            lost.push_back(i);
        }
    }
    return lost;
}

TEST(CcpFaults, ThatAreDrawnAreTheSameWithTheSameSeed) {
    const std::vector<int> lost = lostOf(7);
    EXPECT_EQ(lost, lostOf(7));
    EXPECT_NE(lost, lostOf(8));
    EXPECT_GT(lost.size(), 50U);
    EXPECT_LT(lost.size(), 150U);
}

TEST(CcpFaults, OfNoChanceNeverHit) {
    CcpFaulty bench;
    bench.ecu.inject({.kind = Kind::drop, .count = EcuFault::kForever, .chance = 0.0});
    for (int i = 0; i < 100; ++i) {
        EXPECT_NE(bench.ask("0d 00"), "");
    }
}

}  // namespace
}  // namespace sim::test
