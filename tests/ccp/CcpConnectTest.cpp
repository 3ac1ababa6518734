// Opening, watching and closing a session.
#include "tests/ccp/CcpTestSupport.h"

#include <algorithm>
#include <set>

using namespace ccp_test;

namespace {

class CcpConnect : public CcpTest {
protected:
    CcpConnect() { ecu.answers("17 ..", {"ff 00 @1 00 00 00 00 00"}); }

    /// The frames of a connect; the number of the master identification is random.
    Texts connectFrames() {
        Texts frames = sent();
        for (std::string& frame : frames) {
            if (frame.starts_with("17")) {
                frame.resize(17);
            }
        }
        return frames;
    }

    /// Lets the host offer a key function that gives two bytes.
    void offersKeys() {
        cfg.seedkey_path = "lib/key.so";
        host.setSeedFun([this](std::uint8_t privilege, std::uint8_t seedLength, std::uint8_t* seed,
                               std::uint8_t* keyLength, std::uint8_t* key) {
            asked.push_back(std::to_string(privilege) + ":" + support::hexText(seed, seedLength) + ":" +
                            std::to_string(*keyLength));
            key[0] = 0x5A;
            key[1] = 0x5B;
            *keyLength = 2;
            return keyResult;
        });
        ecu.answers("12 ..", {"ff 00 @1 01 aa bb cc dd"});
    }

    void protects(std::uint8_t available, std::uint8_t guarded) {
        ecu.answers("17 ..", {"ff 00 @1 00 00 " + support::hexText({available, guarded})});
    }

    Texts asked;
    std::int32_t keyResult = 1;
};

const Texts kPlain = {"01 ## 01 00", "1b ## 02 01", "17 ## 6d 61 73 74"};

}  // namespace

TEST_F(CcpConnect, WithoutOptionalCommandsIsThreeFrames) {
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(connectFrames(), kPlain);
    EXPECT_TRUE(host.logTexts(2).empty());
    EXPECT_TRUE(host.seedLoads().empty());
}

TEST_F(CcpConnect, MasterIdentificationIsMastAndFifteenRandomBits) {
    task().connect();
    EXPECT_TRUE(std::equal(task().m_masterId.begin(), task().m_masterId.begin() + 4, "mast"));
    EXPECT_EQ(task().m_masterId[5] & 0x80, 0);
}

TEST_F(CcpConnect, MasterIdentificationIsAnotherWithEachConnect) {
    std::set<int> numbers;
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(task().connect(), 0U);
        numbers.insert(task().m_masterId[4] + 256 * task().m_masterId[5]);
    }
    EXPECT_GT(numbers.size(), 2U);
}

TEST_F(CcpConnect, SessionStatusIsReadSetWithItsBitsAndReadAgain) {
    supports("09 0d 0c");
    ecu.answers("0d ..", {"ff 00 @1 40"});
    EXPECT_EQ(task().connect(), 0U);
    Texts expected = kPlain;
    expected.insert(expected.end(), {"09 ##", "0d ##", "0c ## c3", "0d ##"});
    EXPECT_EQ(connectFrames(), expected);
}

TEST_F(CcpConnect, EachStepFailingEndsItWithItsCode) {
    struct Row {
        const char* refused;
        std::uint32_t code;
        std::size_t frames;
    };
    const std::vector<Row> rows = {{"01 ..", 3, 1}, {"1b ..", 57, 2}, {"17 ..", 6, 3}, {"0c ..", 3, 6}};
    for (const Row& row : rows) {
        support::ScriptedEcu one(host, {0, 0x31, 0x32}, false);
        one.answers("1b ..", {"ff 00 @1 02"});
        one.answers(row.refused, {"ff 33 @1"});
        EcuProtoCfg own = one.config();
        own.protoType = 0;
        own.ccp.timeoutMs = 20;
        own.supportedCmds = {0x09, 0x0C, 0x0D};
        CcpTaskTransmit connecting(own, callBacks);
        EXPECT_EQ(connecting.connect(), row.code) << row.refused;
        EXPECT_EQ(one.sentFrames().size(), row.frames) << row.refused;
        EXPECT_EQ(one.count("07 .."), 0U);
    }
}

TEST_F(CcpConnect, MajorVersionThreeIsAMismatchAndLeavesTheSessionOpen) {
    ecu.answers("1b ..", {"ff 00 @1 03 00"});
    EXPECT_EQ(task().connect(), 5U);
    EXPECT_EQ(ecu.count("07 .."), 0U);
}

TEST_F(CcpConnect, RefusedSetStatusIsLoggedWithTheWordsOfTheOtherCommand) {
    supports("0c");
    refuses("0c ..");
    EXPECT_EQ(task().connect(), 3U);
    EXPECT_EQ(host.logTexts(4), Texts{"Send GetStatus failed."});
}

TEST_F(CcpConnect, RefusedPageAndFirstStatusAreWarningsOnly) {
    supports("09 0d 0c");
    ecu.answersInTurn("09 ..", {{"ff 22 @1"}, {"ff 22 @1"}});
    ecu.answersInTurn("0d ..", {{"ff 22 @1"}, {"ff 22 @1"}, {"ff 00 @1"}});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_TRUE(ecu.showed("0c ?? 83"));
    const Texts warnings = host.logTexts(3);
    EXPECT_EQ(std::count(warnings.begin(), warnings.end(), "Send GetActiveCalPage failed."), 1);
    EXPECT_EQ(std::count(warnings.begin(), warnings.end(), "Send GetStatus failed."), 1);
}

TEST_F(CcpConnect, SlaveIdentificationIsReadFromWhereTheMtaStandsAndLoggedWhole) {
    ecu.answers("17 ..", {"ff 00 @1 07 00 00 00 00"});
    ecu.answersInTurn("04 ..", {{"ff 00 @1 45 43 55 2d 30"}, {"ff 00 @1 37 00"}});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(host.logTexts(2), Texts{"Get slave id :ECU-07" + std::string(1, '\0')});
    EXPECT_EQ(ecu.count("02 .."), 0U);
}

TEST_F(CcpConnect, ResourcesAreUnlockedInOrderIfProtectedAndMasked) {
    offersKeys();
    protects(0x43, 0x43);
    cfg.ccp.unlockMask = 0x41;
    EXPECT_EQ(task().connect(), 0U);
    const Texts frames = connectFrames();
    EXPECT_EQ(Texts(frames.begin() + 3, frames.end()),
              (Texts{"12 ## 01", "13 ## 5a 5b", "12 ## 40", "13 ## 5a 5b"}));
    EXPECT_EQ(asked, (Texts{"1:aa bb cc dd:124", "64:aa bb cc dd:124"}));
    EXPECT_EQ(host.seedLoads().front().entry, "ASAP1A_CCP_ComputeKeyFromSeed");
    EXPECT_FALSE(task().m_lib);
}

TEST_F(CcpConnect, LibraryIsLoadedOnceByItsPathWithTheLoaderOfCcp) {
    offersKeys();
    protects(0x43, 0x43);
    EXPECT_EQ(task().connect(), 0U);
    ASSERT_EQ(host.seedLoads().size(), 1U);
    EXPECT_EQ(host.seedLoads().front().path, "lib/key.so");
    EXPECT_FALSE(host.seedLoads().front().xcp);
}

TEST_F(CcpConnect, ResourceMaskOfOtherBitsGetsNoGetSeed) {
    offersKeys();
    protects(0x20, 0x20);
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(ecu.count("12 .."), 0U);
}

TEST_F(CcpConnect, FreeResourceNeedsNoKey) {
    offersKeys();
    protects(1, 1);
    ecu.answers("12 ..", {"ff 00 @1 00 aa bb cc dd"});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(ecu.count("13 .."), 0U);
}

/// Only a status of 1 asks for a key.
TEST_F(CcpConnect, ResourceOfAnotherProtectionStatusIsFreeToo) {
    offersKeys();
    protects(1, 1);
    ecu.answers("12 ..", {"ff 00 @1 02 aa bb cc dd"});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(ecu.count("12 .."), 1U);
    EXPECT_EQ(ecu.count("13 .."), 0U);
    EXPECT_TRUE(asked.empty());
}

TEST_F(CcpConnect, KeyFunctionThatSaysNoIsASeedKeyFailure) {
    offersKeys();
    protects(1, 1);
    keyResult = 0;
    EXPECT_EQ(task().connect(), 8U);
    EXPECT_EQ(host.logTexts(2),
              Texts{"==========>seed Fun ret:0 key - length: [2] and the key is : [0x5a5b"});
}

TEST_F(CcpConnect, LibraryThatDoesNotLoadIsASeedKeyFailure) {
    cfg.seedkey_path = "lib/none.so";
    EXPECT_EQ(task().connect(), 8U);
    EXPECT_EQ(host.logTexts(4), Texts{"SeedKey dll load failed, seedkey_path=lib/none.so"});
}

TEST_F(CcpConnect, EmptyPathSkipsTheUnlockingWithoutAWordAlsoForAProtectedEcu) {
    offersKeys();
    protects(0x43, 0x43);
    cfg.seedkey_path.clear();
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_TRUE(host.seedLoads().empty());
    EXPECT_EQ(ecu.count("12 .."), 0U);
}

TEST_F(CcpConnect, ConnectWonByARepeatFailsAtTheNextStepAndWorksTheSecondTime) {
    cfg.ccp.retryCount = 1;
    ecu.answersInTurn("01 ..", {{}, {"ff 00 @1"}});
    EXPECT_EQ(task().connect(), 57U);
    EXPECT_EQ(task().connect(), 0U);
}

TEST_F(CcpConnect, DisconnectEndsTheSessionAndReturnsWhatTheExchangeSaid) {
    cfg.ccp.stationAddress = 0x0102;
    EXPECT_EQ(task().disconnect(), 1U);
    EXPECT_EQ(sent(), Texts{"07 ## 01 00 02 01"});
    refuses("07 ..");
    EXPECT_EQ(task().disconnect(), 0U);
}

TEST_F(CcpConnect, KeepAliveWithoutTheCommandSendsNothingYetMovesTheTime) {
    task().keepAlive();
    EXPECT_TRUE(sent().empty());
    EXPECT_GT(task().m_lastStatusPoll, 0U);
}

TEST_F(CcpConnect, KeepAliveAsksOnceAPeriod) {
    supports("0d");
    cfg.ccp.statusPeriodMs = 3'600'000;
    task().keepAlive();
    task().keepAlive();
    EXPECT_EQ(sent(), Texts{"0d ##"});
    startsAnew();
    cfg.ccp.statusPeriodMs = 0;
    task().keepAlive();
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(task().m_lastStatusPoll, 0U);
}

TEST_F(CcpConnect, KeepAliveThatFailsIsAWarning) {
    supports("0d");
    refuses("0d ..");
    task().keepAlive();
    EXPECT_EQ(host.logTexts(3).back(), "Send GetStatus failed.");
}

TEST_F(CcpConnect, LinkCountsAsLostByTheLastStatusAndNotByTheLatch) {
    for (const auto& [status, lost] : std::vector<std::pair<std::uint32_t, bool>>{
             {128, true}, {0x35, true}, {0x10, false}, {0, false}, {256, false}}) {
        task().m_lastStatus = status;
        EXPECT_EQ(task().isLinkLost(), lost) << status;
    }
    task().m_lastStatus = 0x135;
    EXPECT_EQ(task().lastErrorText(), "Access locked");
}

TEST_F(CcpConnect, ResponseBudgetCountsRepeatsAndTheDefaultTimeout) {
    cfg.ccp.timeoutMs = 0;
    cfg.ccp.retryCount = 2;
    cfg.ccp.retryDelayMs = 10;
    EXPECT_EQ(task().responseBudget(), 95);
    task().m_cfg.ccp.retryCount = -3;
    EXPECT_EQ(task().responseBudget(), 25);
}

// Each step of the unlocking, and the last status, failing in turn

TEST_F(CcpConnect, EachStepOfTheUnlockingFailingEndsItWithSeedKey) {
    for (const auto& [pattern, frames] : {std::pair<const char*, std::size_t>{"12 ..", 4}, {"13 ..", 5}}) {
        for (const char* const answer : {"ff 33 @1", "ff 10 @1", "ff 20 @1", ""}) {
            SCOPED_TRACE(testing::Message() << pattern << " " << answer);
            startsAnew();
            offersKeys();
            protects(1, 1);
            ecu.answers("13 ..", {"ff 00 @1"});
            ecu.answers(pattern, *answer == 0 ? Texts{} : Texts{answer});
            EXPECT_EQ(task().connect(), 8U);
            EXPECT_GE(ecu.sentFrames().size(), frames);
            EXPECT_EQ(ecu.count("07 .."), 0U);
        }
    }
}

TEST_F(CcpConnect, LibraryOutlivesAnUnlockingThatFailedUntilOneSucceeds) {
    offersKeys();
    protects(1, 1);
    ecu.answersOnce("13 ..", {"ff 33 @1"});
    EXPECT_EQ(task().connect(), 8U);
    EXPECT_TRUE(task().m_lib);
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_FALSE(task().m_lib);
}

TEST_F(CcpConnect, SilenceAtEachStepEndsItWithItsCode) {
    supports("0c 0d");
    for (const auto& [pattern, code] :
         {std::pair<const char*, std::uint32_t>{"01 ..", 3}, {"1b ..", 57}, {"17 ..", 6}, {"0c ..", 3}}) {
        SCOPED_TRACE(pattern);
        support::ScriptedEcu one(host, {0, 0x41, 0x42}, false);
        one.answers("1b ..", {"ff 00 @1 02"});
        one.answers(pattern, {});
        EcuProtoCfg own = cfg;
        own.canIdMaster = 0x41;
        own.canIdSlave = 0x42;
        CcpTaskTransmit connecting(own, callBacks);
        EXPECT_EQ(connecting.connect(), code);
        EXPECT_TRUE(connecting.m_linkLost);
    }
}

TEST_F(CcpConnect, RefusedLastStatusIsAConnectFailureWithoutALine) {
    supports("0d");
    ecu.answersInTurn("0d ..", {{"ff 00 @1 40"}, {"ff 22 @1"}, {"ff 22 @1"}});
    EXPECT_EQ(task().connect(), 3U);
    EXPECT_TRUE(host.logTexts(4).empty());
}

/// Only the first of the two requests may fail, but one that ends the link fails all that follow.
TEST_F(CcpConnect, OptionalStepThatEndsTheLinkFailsTheNextMandatoryOne) {
    supports("09 0d 0c");
    refuses("09 ..");
    EXPECT_EQ(task().connect(), 3U);
    Texts expected = kPlain;
    expected.emplace_back("09 ##");
    EXPECT_EQ(connectFrames(), expected);
    EXPECT_EQ(host.logTexts(4), Texts{"Send GetStatus failed."});
}

TEST_F(CcpConnect, StatusThatCountsAsDoneGoesOnWithZeros) {
    supports("0d 0c");
    ecu.answersInTurn("0d ..", {{"ff 31 @1"}});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_TRUE(ecu.showed("0c ?? 83"));
}

TEST_F(CcpConnect, VersionThatIsRefusedWithACodeThatCountsAsDoneIsAMismatch) {
    ecu.answers("1b ..", {"ff 31 @1"});
    EXPECT_EQ(task().connect(), 5U);
}

TEST_F(CcpConnect, SlaveIdentificationThatCannotBeReadIsLoggedAsFarAsItCame) {
    ecu.answers("17 ..", {"ff 00 @1 07 00 00 00 00"});
    ecu.answersInTurn("04 ..", {{"ff 00 @1 45 43 55 2d 30"}, {"ff 33 @1"}});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(host.logTexts(2), Texts{"Get slave id :ECU-0" + std::string(2, '\0')});
}

TEST_F(CcpConnect, SlaveIdentificationThatBreaksOffEndsWithTheBytesOfTheConnectBefore) {
    ecu.answers("17 ..", {"ff 00 @1 07 00 00 00 00"});
    ecu.answersInTurn(
        "04 ..",
        {{"ff 00 @1 45 43 55 2d 30"}, {"ff 00 @1 37 38"}, {"ff 00 @1 4e 45 57 2d 31"}, {"ff 33 @1"}});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(host.logTexts(2), (Texts{"Get slave id :ECU-078", "Get slave id :NEW-178"}));
}

TEST_F(CcpConnect, LoaderThatIsNotThereSkipsTheUnlockingWithoutAWord) {
    offersKeys();
    protects(0x43, 0x43);
    callBacks.ccpSeedLibFun = nullptr;
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(ecu.count("12 .."), 0U);
    EXPECT_TRUE(host.logTexts(3).empty());
    EXPECT_TRUE(host.logTexts(4).empty());
}

TEST_F(CcpConnect, ResourceThatIsAvailableButNotProtectedGetsNoGetSeed) {
    offersKeys();
    protects(0x43, 0x02);
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(ecu.count("12 .."), 1U);
    EXPECT_TRUE(ecu.showed("12 ?? 02"));
}

TEST_F(CcpConnect, SeedAndKeyAreLogged) {
    offersKeys();
    protects(1, 1);
    EXPECT_EQ(task().connect(), 0U);
    const Texts trace = host.logTexts(0);
    EXPECT_EQ(std::count(trace.begin(), trace.end(), "==========>seed is:> [0xaabbccdd]."), 1);
    EXPECT_EQ(host.logTexts(2),
              Texts{"==========>seed Fun ret:1 key - length: [2] and the key is : [0x5a5b"});
}

TEST_F(CcpConnect, SeedIsAsLongAsItsResponse) {
    offersKeys();
    protects(1, 1);
    for (const auto& [response, seed] :
         {std::pair<const char*, const char*>{"ff 00 @1 01 aa", "1:aa:124"}, {"ff 00 @1 01", "1::124"}}) {
        asked.clear();
        ecu.answers("12 ..", {response});
        EXPECT_EQ(task().connect(), 0U);
        EXPECT_EQ(asked, Texts{seed});
    }
}

/// A response without a protection status means a free resource.
TEST_F(CcpConnect, SeedResponseOfThreeBytesNeedsNoKey) {
    offersKeys();
    protects(1, 1);
    ecu.answers("12 ..", {"ff 00 @1"});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(ecu.count("13 .."), 0U);
}

TEST_F(CcpConnect, KeyOfMoreThanSixBytesGoesOutInOneFrame) {
    offersKeys();
    protects(1, 1);
    host.setSeedFun(
        [](std::uint8_t, std::uint8_t, std::uint8_t*, std::uint8_t* keyLength, std::uint8_t* key) {
            for (std::uint8_t i = 0; i < 7; ++i) {
                key[i] = i;
            }
            *keyLength = 7;
            return 1;
        });
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_TRUE(ecu.showed("13 ?? 00 01 02 03 04 05 06"));
}

TEST_F(CcpConnect, ResourceCannotBeUnlockedWithoutALibrary) {
    ecu.answers("12 ..", {"ff 00 @1 01 aa bb cc dd"});
    EXPECT_EQ(task().unlockResource(1), 1U);
    EXPECT_EQ(host.logTexts(3), Texts{"########ERROR:> m_lib loaded error."});
    EXPECT_EQ(ecu.count("13 .."), 0U);
}

TEST_F(CcpConnect, DisconnectEmptiesTheTimetable) {
    task().prepareMeasurement({variable("slow", 0x20, 2, 0, 10)});
    ASSERT_FALSE(task().m_pollScheduler->m_groups.empty());
    task().disconnect();
    EXPECT_TRUE(task().m_pollScheduler->m_groups.empty());
}
