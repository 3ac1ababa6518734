#include "tests/engine/EngineTest.h"

#include <gmock/gmock.h>

namespace {

using engine_test::EngineTest;
using engine_test::Journal;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const char* const kNoSeed = "log 3 seedkey_path or XCP_GET_SEED_CMD not found";

class EcuConnectCommand : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        m_cfgC = m_cfgB;
        m_cfgC.ecuName = "c";
        m_cfgC.canIdMaster = 0x300;
        m_cfgC.canIdSlave = 0x301;
    }

    /// Lets the connect of an ECU fail with 3.
    static void refuses(support::ScriptedEcu& ecu) { ecu.answers("ff 00", {"fe 31"}); }

    /// Lets the connect of "a" fail with 54.
    void refusesCommModeOfA() {
        m_cfgA.supportedCmds = {0xFB};
        configure();
        m_a.answers("fb", {"fe 20"});
    }

    EcuProtoCfg m_cfgC;
};

TEST_F(EcuConnectCommand, SaysWhatItDoesAndReportsSuccess) {
    EXPECT_THAT(journalOf(1, [] { EcuConnect({"a"}); }),
                ElementsAre("log 2 Connecting ecu(a)", "snd ff 00", kNoSeed, "log 2 Connect ecu(a) success",
                            "log 1 Task cmd result:(0) Connect success;;", "task 1 0 [Connect success, ]"));
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isEcuConnect("a"));
}

TEST_F(EcuConnectCommand, ConnectsInTheOrderOfTheNames) {
    EXPECT_THAT(journalOf(1,
                          [] {
                              EcuConnect({"b", "a"});
                          }),
                ElementsAre("log 2 Connecting ecu(b)", "snd ff 00", kNoSeed, "log 2 Connect ecu(b) success",
                            "log 2 Connecting ecu(a)", "snd ff 00", kNoSeed, "log 2 Connect ecu(a) success",
                            "log 1 Task cmd result:(0) Connect success;;", "task 1 0 [Connect success, ]"));
}

TEST_F(EcuConnectCommand, WithAnEmptyVectorGivesZeroAndCountsAsConnected) {
    EXPECT_THAT(journalOf(1, [] { EcuConnect({}); }),
                ElementsAre("log 1 Task cmd result:(0) Connect success;;", "task 1 0 [Connect success, ]"));
    EXPECT_TRUE(isConnectEcu());
    EXPECT_FALSE(isEcuConnect("a"));
}

TEST_F(EcuConnectCommand, OfANameWithoutARecordMakesNothingAndSaysNothingMore) {
    EXPECT_THAT(journalOf(1, [] { EcuConnect({"ghost"}); }),
                ElementsAre("log 2 Connecting ecu(ghost)", "log 1 Task cmd result:(0) Connect success;;",
                            "task 1 0 [Connect success, ]"));
    EXPECT_TRUE(isConnectEcu());
    EXPECT_FALSE(isEcuConnect("ghost"));
}

TEST_F(EcuConnectCommand, PassesOverNamesWithoutARecord) {
    EXPECT_THAT(journalOf(1,
                          [] {
                              EcuConnect({"ghost", "b", "ghost"});
                          }),
                ElementsAre("log 2 Connecting ecu(ghost)", "log 2 Connecting ecu(b)", "snd ff 00", kNoSeed,
                            "log 2 Connect ecu(b) success", "log 2 Connecting ecu(ghost)",
                            "log 1 Task cmd result:(0) Connect success;;", "task 1 0 [Connect success, ]"));
}

TEST_F(EcuConnectCommand, EndsAtTheFirstFailureAndLeavesTheEarlierOnesConnected) {
    setProtoCfgs({m_cfgA, m_cfgB, m_cfgC});
    refuses(m_b);
    EXPECT_THAT(
        journalOf(1,
                  [] {
                      EcuConnect({"a", "b", "c"});
                  }),
        ElementsAre("log 2 Connecting ecu(a)", "snd ff 00", kNoSeed, "log 2 Connect ecu(a) success",
                    "log 2 Connecting ecu(b)", "snd ff 00", "log 3 Generic error.", "log 4 Connect error: 3",
                    "log 4 Task cmd result:(3) Connect failed;;", "task 1 3 [Connect failed, ]"));
    EXPECT_EQ(m_a.count("fe"), 0U);
}

TEST_F(EcuConnectCommand, KeepsTheFailureOfTheEcuBehindItsNamesThatWereNotFound) {
    refuses(m_a);
    EXPECT_EQ(resultOf(1, [] { EcuConnect({"ghost", "a", "b"}); }).result, 3);
    EXPECT_EQ(m_b.count("ff 00"), 0U);
}

TEST_F(EcuConnectCommand, Code3KeepsTheEngineFromCountingAsConnected) {
    refuses(m_a);
    EXPECT_EQ(resultOf(1, [] { EcuConnect({"a"}); }).result, 3);
    EXPECT_FALSE(isConnectEcu());
    EXPECT_FALSE(isEcuConnect("a"));
}

TEST_F(EcuConnectCommand, Code3LeavesAConnectedEngineConnected) {
    connected({"b"});
    refuses(m_a);
    EXPECT_EQ(resultOf(1, [] { EcuConnect({"a"}); }).result, 3);
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isEcuConnect("b"));
}

TEST_F(EcuConnectCommand, AnEcuWhoseConnectFailedStaysInTheMap) {
    refuses(m_a);
    EXPECT_EQ(resultOf(1, [] { EcuConnect({"a"}); }).result, 3);
    EXPECT_FALSE(isEcuConnect("a"));
    connected({"b"});
    EXPECT_TRUE(isEcuConnect("a"));
}

TEST_F(EcuConnectCommand, EveryOtherFailureCountsAsConnected) {
    refusesCommModeOfA();
    EXPECT_THAT(
        journalOf(1, [] { EcuConnect({"a"}); }),
        ElementsAre("log 2 Connecting ecu(a)", "snd ff 00", "snd fb",
                    "log 3 Unknown command or not implemented optional command.", "log 4 Connect error: 54",
                    "log 4 Task cmd result:(54) Connect failed;;", "task 1 54 [Connect failed, ]"));
    EXPECT_TRUE(isConnectEcu());
    EXPECT_TRUE(isEcuConnect("a"));
}

TEST_F(EcuConnectCommand, OfASilentEcuFailsWithCode3) {
    m_cfgA.xcp.t1 = 5;
    configure();
    m_a.isSilent();
    EXPECT_THAT(journalOf(1, [] { EcuConnect({"a"}); }),
                ElementsAre("log 2 Connecting ecu(a)", "snd ff 00", "log 4 Connect error: 3",
                            "log 4 Task cmd result:(3) Connect failed;;", "task 1 3 [Connect failed, ]"));
}

TEST_F(EcuConnectCommand, TwiceForAnEcuDestroysTheFirstObjectWithoutADisconnectOnTheBus) {
    connected();
    EcuProtoCfg other = m_cfgA;
    other.canIdMaster = 0x200;
    other.canIdSlave = 0x201;
    setProtoCfg("a", other);
    connected();
    EXPECT_THAT(m_a.sentFrames(), ElementsAre("ff 00"));
    EXPECT_THAT(m_b.sentFrames(), ElementsAre("ff 00"));
    resultOf(2, [] { EcuDisconnect(); });
    EXPECT_THAT(m_a.sentFrames(), ElementsAre("ff 00"));
    EXPECT_THAT(m_b.sentFrames(), ElementsAre("ff 00", "fe"));
}

TEST_F(EcuConnectCommand, LeavesARunningMeasurementAndItsPollingAsTheyAre) {
    measuring();
    connected({"b"});
    EXPECT_TRUE(isMeasureing());
    EXPECT_TRUE(shows("measure a 1"));
}

TEST_F(EcuConnectCommand, TwiceOnTheSameIdentifiersStillHearsTheEcu) {
    connected();
    connected();
    EXPECT_EQ(m_a.count("ff 00"), 2U);
    EXPECT_TRUE(isEcuConnect("a"));
}

TEST_F(EcuConnectCommand, OfANameWhoseRecordIsGoneUsesTheObjectThatStands) {
    connected();
    setProtoCfgs({});
    EXPECT_THAT(journalOf(1, [] { EcuConnect({"a"}); }), Contains("log 2 Connect ecu(a) success"));
    EXPECT_EQ(m_a.count("ff 00"), 2U);
}

TEST_F(EcuConnectCommand, OfTwoRecordsWithOneNameTheLastWins) {
    EcuProtoCfg second = m_cfgB;
    second.ecuName = "a";
    setProtoCfgs({m_cfgA, second});
    connected();
    EXPECT_EQ(m_a.count("ff 00"), 0U);
    EXPECT_EQ(m_b.count("ff 00"), 1U);
}

TEST_F(EcuConnectCommand, TheSameNameTwiceConnectsTwice) {
    connected({"a", "a"});
    EXPECT_EQ(m_a.count("ff 00"), 2U);
}

TEST_F(EcuConnectCommand, AnEmptyNameIsANameLikeAnyOther) {
    m_cfgA.ecuName = "";
    configure();
    EXPECT_THAT(journalOf(1, [] { EcuConnect({""}); }), Contains("log 2 Connect ecu() success"));
    EXPECT_TRUE(isEcuConnect(""));
}

using EcuDisconnectCommand = EngineTest;

TEST_F(EcuDisconnectCommand, DisconnectsAllInTheOrderOfTheirNames) {
    connected({"b", "a"});
    EXPECT_THAT(
        journalOf(2, [] { EcuDisconnect(); }),
        ElementsAre("log 2 Disconnect ecu(a)", "snd fe", "log 2 Disconnect ecu(b)", "snd fe",
                    "log 1 Task cmd result:(0) Disconnect success;;", "task 2 0 [Disconnect success, ]"));
}

TEST_F(EcuDisconnectCommand, ReportsItsTextAndAnEmptyString) {
    const support::TaskResult result = resultOf(2, [] { EcuDisconnect(); });
    EXPECT_EQ(result.result, 0);
    EXPECT_THAT(result.details, ElementsAre("Disconnect success", ""));
    EXPECT_THAT(m_host.logTexts(1), ElementsAre("Task cmd result:(0) Disconnect success;;"));
}

TEST_F(EcuDisconnectCommand, WithoutAnEcuOnlyReports) {
    EXPECT_THAT(
        journalOf(2, [] { EcuDisconnect(); }),
        ElementsAre("log 1 Task cmd result:(0) Disconnect success;;", "task 2 0 [Disconnect success, ]"));
}

TEST_F(EcuDisconnectCommand, SucceedsThoughTheEcuRefuses) {
    connected();
    m_a.answers("fe", {"fe 10", "fe 20"});
    EXPECT_THAT(journalOf(2, [] { EcuDisconnect(); }), Contains("task 2 0 [Disconnect success, ]"));
    EXPECT_FALSE(isConnectEcu());
}

TEST_F(EcuDisconnectCommand, EndsTheMeasurement) {
    measuring();
    ASSERT_TRUE(isMeasureing());
    const Journal journal = journalOf(2, [] { EcuDisconnect(); });
    EXPECT_FALSE(isMeasureing());
    EXPECT_FALSE(isConnectEcu());
    EXPECT_THAT(journal, Not(Contains("log 2 PollingThread stopped")));
}

TEST_F(EcuDisconnectCommand, EndsThePolling) {
    measuring();
    ASSERT_TRUE(shows("measure a 1"));
    resultOf(2, [] { EcuDisconnect(); });
    const std::size_t polled = m_a.count("f4 ..");
    settles();
    EXPECT_EQ(m_a.count("f4 .."), polled);
}

}  // namespace
