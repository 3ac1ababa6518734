#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

using Kind = EcuFaultKind;

struct Faulty : Session {
    Faulty() : Session(smallEcu()) {}
    explicit Faulty(const XcpEcuConfig& config) : Session(config) {}

    void startDaq() {
        EXPECT_EQ(setUp({"d6", "d5 00 01 00", "d4 00 00 00 01", "d3 00 00 00 00 01", "e2 00 00 00 00 00",
                         "e1 ff 01 00 40 10 00 00", "e0 00 00 00 00 00 01 00", "de 01 00 00"}),
                  "");
    }
};

TEST(XcpFaultSilence, KeepsAnswersAndDaqBackUntilTold) {
    Faulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::silence, .count = EcuFault::kForever});
    EXPECT_EQ(bench.ask("fd"), "");
    EXPECT_EQ(bench.pass(20 * kMs), "");
    bench.ecu.clearFaults();
    EXPECT_EQ(bench.ask("fd"), "ff 40 00 00 00 00");
    EXPECT_EQ(bench.pass(10 * kMs), "00 40");
    EXPECT_EQ(bench.ecu.counters().commands[0xFD], 2U);
    EXPECT_EQ(bench.ecu.counters().lostDtos, 2U);
}

TEST(XcpFaultSilence, BeginsAfterSomeCommandsAndEndsAfterSome) {
    Faulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::silence, .after = 1, .count = 2});
    EXPECT_EQ(bench.pass(10 * kMs), "00 40");
    EXPECT_EQ(bench.ask("fc"), "fe 00");
    EXPECT_EQ(bench.pass(10 * kMs), "");
    EXPECT_EQ(bench.ask("fc"), "");
    EXPECT_EQ(bench.ask("fc"), "");
    EXPECT_EQ(bench.ask("fc"), "fe 00");
}

TEST(XcpFaultSilence, MayConcernOneCommandOnly) {
    Faulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::silence, .command = 0xFD, .count = 1});
    EXPECT_EQ(bench.ask("fc"), "fe 00");
    EXPECT_EQ(bench.pass(10 * kMs), "00 40");
    EXPECT_EQ(bench.ask("fd"), "");
    EXPECT_EQ(bench.ask("fd"), "ff 40 00 00 00 00");
}

TEST(XcpFaultSilence, DoesNotRunTheCommand) {
    Faulty bench;
    bench.ecu.inject({.kind = Kind::silence, .command = 0xFE});
    EXPECT_EQ(bench.ask("fe"), "");
    EXPECT_TRUE(bench.ecu.connected());
}

TEST(XcpFaultError, AnswersBusyAsOftenAsTold) {
    Faulty bench;
    bench.ecu.inject({.kind = Kind::error, .command = 0xFD, .count = 2, .code = 0x10});
    EXPECT_EQ(bench.ask("fc"), "fe 00");
    EXPECT_EQ(bench.ask("fd"), "fe 10");
    EXPECT_EQ(bench.ask("fd"), "fe 10");
    EXPECT_EQ(bench.ask("fd"), "ff 00 00 00 00 00");
}

TEST(XcpFaultError, AnswersAnyCodeToAnyCommandWithoutRunningIt) {
    Faulty bench;
    bench.ecu.inject({.kind = Kind::error, .code = 0x31});
    EXPECT_EQ(bench.ask("fe"), "fe 31");
    EXPECT_TRUE(bench.ecu.connected());
}

TEST(XcpFaultError, MayRefuseAConnectButNothingElseWithoutASession) {
    Bench bench(smallEcu());
    bench.ecu.inject({.kind = Kind::error, .count = 2, .code = 0x10});
    EXPECT_EQ(bench.ask("fd"), "");
    EXPECT_EQ(bench.ask("ff 00"), "fe 10");
    EXPECT_EQ(bench.ask("ff 00"), "ff 05 80 08 08 00 01 01");
}

TEST(XcpFaultDelay, HoldsTheAnswerAndThoseBehindIt) {
    Faulty bench;
    bench.ecu.inject({.kind = Kind::delay, .delay = 5 * kMs});
    EXPECT_EQ(bench.ask("fd"), "");
    EXPECT_EQ(bench.ask("fc"), "");
    EXPECT_EQ(bench.pass(5 * kMs - 1), "");
    EXPECT_EQ(bench.pass(1), "ff 00 00 00 00 00 | fe 00");
}

TEST(XcpFaultTruncate, CutsTheAnswer) {
    Faulty bench;
    bench.ecu.inject({.kind = Kind::truncate, .length = 2});
    EXPECT_EQ(bench.ask("fd"), "ff 00");
    EXPECT_EQ(bench.ask("fd"), "ff 00 00 00 00 00");
    bench.ecu.inject({.kind = Kind::truncate, .length = 0});
    bench.ask("fd");
    ASSERT_EQ(bench.port.sent.size(), 1U);
    EXPECT_EQ(bench.port.sent[0].length, 0);
    EXPECT_EQ(bench.port.sent[0].data[0], 0) << "bytes behind the length are zero";
}

TEST(XcpFaultExtend, LengthensTheAnswerAsFarAsAFrameGoes) {
    XcpEcuConfig config = smallEcu();
    config.padByte = 0x5A;
    Faulty bench(config);
    bench.ecu.inject({.kind = Kind::extend, .count = 2, .length = 1});
    EXPECT_EQ(bench.ask("fd"), "ff 00 00 00 00 00 5a");
    EXPECT_EQ(bench.ask("fc"), "fe 00 5a");
    bench.ecu.inject({.kind = Kind::extend, .length = 200});
    EXPECT_EQ(bench.ask("fc"), "fe 00 5a 5a 5a 5a 5a 5a");
}

TEST(XcpFaultExtend, KeepsToTheLengthsOfCanFd) {
    XcpEcuConfig config = smallEcu();
    config.fd = true;
    Faulty bench(config);
    bench.ecu.inject({.kind = Kind::extend, .length = 8});
    EXPECT_EQ(bench.ask("fc"), "fe 00 00 00 00 00 00 00 00 00 00 00");
}

TEST(XcpFaultRepeat, SendsTheAnswerTwice) {
    Faulty bench;
    bench.ecu.inject({.kind = Kind::repeat});
    EXPECT_EQ(bench.ask("fc"), "fe 00 | fe 00");
    EXPECT_EQ(bench.ask("fc"), "fe 00");
}

TEST(XcpFaultDrop, RunsTheCommandButLosesTheAnswer) {
    Faulty bench;
    bench.ecu.inject({.kind = Kind::drop});
    EXPECT_EQ(bench.ask("fe"), "");
    EXPECT_FALSE(bench.ecu.connected());
}

TEST(XcpFaultReset, ForgetsTheSessionAndStopsDaq) {
    Faulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::reset, .after = 1});
    EXPECT_EQ(bench.ask("fc"), "fe 00");
    EXPECT_EQ(bench.ask("fc"), "");
    EXPECT_FALSE(bench.ecu.connected());
    EXPECT_EQ(bench.pass(50 * kMs), "");
    EXPECT_EQ(bench.ask("ff 00"), "ff 05 80 08 08 00 01 01");
}

TEST(XcpFaultEvent, LeavesAtOnce) {
    Faulty bench;
    bench.port.sent.clear();
    bench.ecu.inject({.kind = Kind::event, .code = 0x07, .data = {}});
    bench.ecu.inject({.kind = Kind::event, .code = 0xFE, .data = {1, 2}});
    bench.ecu.inject({.kind = Kind::service, .code = 0x01, .data = {'H', 'i'}});
    EXPECT_EQ(bench.heard(), "fd 07 | fd fe 01 02 | fc 01 48 69");
}

TEST(XcpFaultEvent, MayComeAheadOfTheAnswerToACommand) {
    Faulty bench;
    bench.ecu.inject({.kind = Kind::event, .command = 0xFD, .code = 0x05, .data = {}});
    EXPECT_EQ(bench.ask("fc"), "fe 00");
    EXPECT_EQ(bench.ask("fd"), "fd 05 | ff 00 00 00 00 00");
}

TEST(XcpFaultDto, LosesAndRepeatsPackets) {
    Faulty bench;
    bench.startDaq();
    bench.ecu.inject({.kind = Kind::dropDto, .after = 1, .count = 1});
    bench.ecu.inject({.kind = Kind::repeatDto, .after = 2, .count = 1});
    EXPECT_EQ(bench.pass(10 * kMs), "00 40");
    EXPECT_EQ(bench.pass(10 * kMs), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 40 | 00 40");
    EXPECT_EQ(bench.pass(10 * kMs), "00 40");
    EXPECT_EQ(bench.ecu.counters().dtos, 4U);
}

TEST(XcpFaults, WorkTogether) {
    Faulty bench;
    bench.ecu.inject({.kind = Kind::error, .code = 0x10});
    bench.ecu.inject({.kind = Kind::delay, .delay = kMs});
    bench.ecu.inject({.kind = Kind::repeat});
    EXPECT_EQ(bench.ask("fc"), "");
    EXPECT_EQ(bench.pass(kMs), "fe 10 | fe 10");
}

}  // namespace
}  // namespace sim::test
