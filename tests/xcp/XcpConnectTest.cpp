// Opening, watching and closing a session.
#include "tests/xcp/XcpTestSupport.h"

using namespace xcp_test;

namespace {

constexpr const char* kNoSeedKey = "seedkey_path or XCP_GET_SEED_CMD not found";

class XcpConnect : public XcpTest {
protected:
    XcpConnect() { ecu.answers("ff 00", {"ff 1d 00 08 08 00 01 01"}); }

    /// Lets the host offer a key function that adds 1 to each seed byte.
    void offersKeys() {
        cfg.seedkey_path = "lib/key.so";
        supports("f8");
        host.setSeedFun([this](std::uint8_t privilege, std::uint8_t seedLength, std::uint8_t* seed,
                               std::uint8_t* keyLength, std::uint8_t* key) {
            asked.push_back(std::to_string(privilege) + ":" + support::hexText(seed, seedLength) + ":" +
                            std::to_string(*keyLength));
            std::transform(seed, seed + 2, key, [](std::uint8_t byte) { return byte + 1; });
            *keyLength = 2;
            return 1;
        });
        ecu.answers("f8 00 ??", {"ff 02 a0 b0"});
    }

    Texts asked;  ///< what the key function was given: privilege, seed, room
};

struct FailureRow {
    const char* silentOn;  ///< the command that fails
    std::uint32_t code;
    Texts frames;
};

const std::vector<FailureRow>& failureRows() {
    static const std::vector<FailureRow> rows = {
        {"ff ..", 3, {"ff 00"}},
        {"fb", 54, {"ff 00", "fb"}},
        {"fd", 55, {"ff 00", "fb", "fd"}},
        {"f8 ..", 11, {"ff 00", "fb", "fd", "f8 00 01"}},
        {"f7 ..", 11, {"ff 00", "fb", "fd", "f8 00 01", "f7 02 a1 b1"}},
    };
    return rows;
}

}  // namespace

TEST_F(XcpConnect, WithoutSeedAndKeyIsOneFrame) {
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(sent(), Texts{"ff 00"});
    EXPECT_EQ(host.logTexts(3), Texts{kNoSeedKey});
    EXPECT_TRUE(host.seedLoads().empty());
    EXPECT_EQ(live().resource, 0x1D);
}

TEST_F(XcpConnect, AsksForCommModeInfoIfSupported) {
    supports("fb");
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(sent(), Texts({"ff 00", "fb"}));
}

TEST_F(XcpConnect, PathWithoutGetSeedDoesNotUnlock) {
    cfg.seedkey_path = "lib/key.so";
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(sent(), Texts{"ff 00"});
    EXPECT_EQ(host.logTexts(3), Texts{kNoSeedKey});
}

TEST_F(XcpConnect, UnlocksEachLockedResourceInOrder) {
    offersKeys();
    supports("fb");
    ecu.answers("fd", {"ff 00 1f 00 00 00"});
    ecu.answersInTurn("f7 ..", {{"ff 1c"}, {"ff 18"}, {"ff 10"}, {"ff 00"}});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(sent(), Texts({"ff 00", "fb", "fd", "f8 00 01", "f7 02 a1 b1", "f8 00 04", "f7 02 a1 b1",
                             "f8 00 08", "f7 02 a1 b1", "f8 00 10", "f7 02 a1 b1"}));
    EXPECT_EQ(asked, Texts({"1:a0 b0:124", "4:a0 b0:124", "8:a0 b0:124", "16:a0 b0:124"}));
    ASSERT_EQ(host.seedLoads().size(), 1U);
    EXPECT_TRUE(host.seedLoads()[0].xcp);
    EXPECT_EQ(host.seedLoads()[0].path, "lib/key.so");
    EXPECT_EQ(host.seedLoads()[0].entry, "XCP_ComputeKeyFromSeed");
    EXPECT_FALSE(task().m_lib);
    EXPECT_EQ(live().protectionStatus, 0);
}

TEST_F(XcpConnect, ResourceBit2IsNeverUnlocked) {
    offersKeys();
    ecu.answers("ff 00", {"ff ff 00 08 08 00"});
    ecu.answers("fd", {"ff 00 e2 00 00 00"});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(sent(), Texts({"ff 00", "fd"}));
}

TEST_F(XcpConnect, ResourceNeedsItsBitInAllThreeMasks) {
    offersKeys();
    struct Row {
        const char* connect;
        const char* status;
        std::uint32_t mask;
        std::size_t seeds;
    };
    const std::vector<Row> rows = {
        {"ff 05 00 08 08 00", "ff 00 04", 0xFFFFFFFF, 1}, {"ff 01 00 08 08 00", "ff 00 04", 0xFFFFFFFF, 0},
        {"ff 05 00 08 08 00", "ff 00 00", 0xFFFFFFFF, 0}, {"ff 05 00 08 08 00", "ff 00 05", 0x01, 1},
        {"ff 05 00 08 08 00", "ff 00 05", 0x1A, 0},       {"ff 05 00 08 08 00", "ff 00 05", 0x100, 0}};
    for (const Row& row : rows) {
        startsAnew();
        cfg.xcp.unlockMask = row.mask;
        ecu.answers("ff 00", {row.connect});
        ecu.answers("fd", {row.status});
        EXPECT_EQ(task().connect(), 0U);
        EXPECT_EQ(ecu.count("f8 .."), row.seeds) << row.connect << row.status;
        EXPECT_EQ(host.seedLoads().size(), 1U);
        EXPECT_FALSE(task().m_lib) << "the function is kept no longer than it is used";
    }
}

TEST_F(XcpConnect, OneUnlockMayDropSeveralProtections) {
    offersKeys();
    ecu.answers("fd", {"ff 00 1d"});
    ecu.answers("f7 ..", {"ff 10"});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_EQ(sent(), Texts({"ff 00", "fd", "f8 00 01", "f7 02 a1 b1", "f8 00 10", "f7 02 a1 b1"}));
}

TEST_F(XcpConnect, EachRefusedStepHasItsCode) {
    offersKeys();
    supports("fb");
    ecu.answers("fd", {"ff 00 1d"});
    for (const FailureRow& row : failureRows()) {
        startsAnew();
        ecu.answersOnce(row.silentOn, {"fe 22"});
        EXPECT_EQ(task().connect(), row.code);
        EXPECT_EQ(sent(), row.frames);
        EXPECT_EQ(host.logTexts(3), Texts{"Command syntax valid but command parameter(s) out of range."});
        EXPECT_TRUE(host.logTexts(4).empty());
        EXPECT_FALSE(task().m_linkLost);
        EXPECT_EQ(static_cast<bool>(task().m_lib), row.code == 11);
    }
}

TEST_F(XcpConnect, EachUnansweredStepHasItsCodeAndLosesTheLink) {
    offersKeys();
    supports("fb");
    ecu.answers("fd", {"ff 00 1d"});
    for (const FailureRow& row : failureRows()) {
        startsAnew();
        ecu.answersOnce(row.silentOn, {});
        EXPECT_EQ(task().connect(), row.code);
        EXPECT_EQ(sent(), row.frames);
        EXPECT_TRUE(task().m_linkLost);
        EXPECT_TRUE(task().isLinkLost());
    }
}

TEST_F(XcpConnect, EmptyKeyFunctionEndsTheConnect) {
    offersKeys();
    host.setSeedFun({});
    EXPECT_EQ(task().connect(), 10U);
    EXPECT_EQ(sent(), Texts({"ff 00", "fd"}));
    EXPECT_EQ(host.logTexts(4), Texts{"SeedKey dll load failed, seedkey_path=lib/key.so"});
}

TEST_F(XcpConnect, WithoutALoaderTheFirstUnlockFails) {
    offersKeys();
    callBacks.xcpSeedLibFun = nullptr;
    ecu.answers("fd", {"ff 00 04"});
    EXPECT_EQ(task().connect(), 11U);
    EXPECT_EQ(host.logTexts(3), Texts{"########ERROR:> m_lib loaded error."});
    EXPECT_EQ(host.logTexts(4), Texts{"=========ERROR:> XcpComputeKeyBySeed failed..."});
    startsAnew();
    task().m_lib = [](auto, auto, auto*, std::uint8_t* keyLength, auto*) { return (*keyLength = 1) != 0; };
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_TRUE(ecu.showed("f7 01 00"));
}

TEST_F(XcpConnect, KeyFunctionThatSaysNoFails) {
    offersKeys();
    host.setSeedFun([](auto, auto, auto*, auto*, auto*) { return 0; });
    ecu.answers("fd", {"ff 00 04"});
    EXPECT_EQ(task().connect(), 11U);
    EXPECT_EQ(host.logTexts(4), Texts{"=========ERROR:> XcpComputeKeyBySeed failed..."});
    EXPECT_EQ(ecu.count("f7 .."), 0U);
}

TEST_F(XcpConnect, SecondConnectClearsTheLostLink) {
    ecu.answersOnce("ff 00", {});
    EXPECT_EQ(task().connect(), 3U);
    EXPECT_EQ(task().cmdGetStatus(), 1U);
    EXPECT_EQ(host.logTexts(4), Texts{"连接已断开"});
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_FALSE(task().isLinkLost());
    EXPECT_EQ(sent(), Texts({"ff 00", "ff 00"}));
}

TEST_F(XcpConnect, LinkCountsAsThereBeforeTheFirstAnswer) {
    task().m_lastStatus = 2304;
    bool lost = true;
    ecu.answersBy("ff 00", [&](const std::string&) {
        lost = task().isLinkLost();
        EXPECT_EQ(task().m_lastStatus, 256U);
        return Texts{"ff 1d 00 08 08 00 01 01"};
    });
    EXPECT_EQ(task().connect(), 0U);
    EXPECT_FALSE(lost);
}

TEST_F(XcpConnect, TimetableIsEmptyBeforeTheEcuHearsOfTheDisconnect) {
    task().m_pollScheduler->assign({variable("a", 1, 1, 0, 50)});
    std::size_t groups = 1;
    ecu.answersBy("fe", [&](const std::string&) {
        groups = task().m_pollScheduler->m_groups.size();
        return Texts{"ff"};
    });
    EXPECT_EQ(task().disconnect(), 0U);
    EXPECT_EQ(groups, 0U);
}

TEST_F(XcpConnect, DisconnectEmptiesTheTimetableAndKeepsThePlan) {
    task().m_pollScheduler->assign({variable("a", 1, 1, 0, 50)});
    task().m_daq.m_daqLists[3] = {};
    EXPECT_EQ(task().disconnect(), 0U);
    EXPECT_EQ(sent(), Texts{"fe"});
    EXPECT_TRUE(task().m_pollScheduler->m_groups.empty());
    EXPECT_EQ(task().m_daq.m_daqLists.size(), 1U);
    ecu.answers("fe", {"fe 20"});
    EXPECT_EQ(task().disconnect(), 1U);
}

TEST_F(XcpConnect, FirstKeepAliveSendsWhateverHasAPeriod) {
    task().keepAlive();
    EXPECT_EQ(sent(), Texts{"fd"});
    cfg.xcp.synchPeriodMs = 3'600'000;
    startsAnew();
    task().keepAlive();
    EXPECT_EQ(sent(), Texts({"fc", "fd"}));
    task().m_lastStatusTime = 0;
    task().keepAlive();
    EXPECT_EQ(sent(), Texts{"fd"});
    task().m_lastSynchTime -= 3'600'000'000;
    task().m_lastStatusTime = task().m_lastSynchTime + 3'600'000'000;
    live().statusPeriodMs = 3'600'000;
    task().keepAlive();
    EXPECT_EQ(sent(), Texts{"fc"});
}

TEST_F(XcpConnect, KeepAliveOfNoPeriodSendsNothing) {
    cfg.xcp.statusPeriodMs = 0;
    task().keepAlive();
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(task().m_lastStatusTime, 0U);
}

TEST_F(XcpConnect, KeepAliveLogsARefusedStatusAndNotARefusedSynch) {
    cfg.xcp.synchPeriodMs = 1000;
    ecu.answersByDefault({"fe 20"});
    task().keepAlive();
    EXPECT_EQ(sent(), Texts({"fc", "fd"}));
    EXPECT_EQ(host.logTexts(3),
              Texts({"Unknown command or not implemented optional command.",
                     "Unknown command or not implemented optional command.", "Send GetStatus failed."}));
}

TEST_F(XcpConnect, RefusedKeepAliveIsNotTriedAgainBeforeItsPeriodIsOver) {
    cfg.xcp.synchPeriodMs = 3'600'000;
    cfg.xcp.statusPeriodMs = 3'600'000;
    ecu.answersByDefault({"fe 20"});
    task().keepAlive();
    task().keepAlive();
    EXPECT_EQ(sent(), Texts({"fc", "fd"}));
}

TEST_F(XcpConnect, ResponseBudgetCountsRetriesAndPauses) {
    struct Row {
        std::uint16_t t1;
        std::int32_t retries;
        std::uint32_t delay;
        std::int32_t budget;
    };
    for (const Row& row : std::vector<Row>{{100, 0, 50, 100},
                                           {100, 2, 50, 400},
                                           {0, 2, 50, 175},
                                           {100, -1, 50, 100},
                                           {0, 0, 0, 25},
                                           {65535, 1, 10, 131080},
                                           {1, 0x7FFFFFFE, 0, 0x7FFFFFFF},
                                           {2, 0x7FFFFFFE, 0, 0x7FFFFFFF},
                                           {0, 0x7FFFFFFF, 0xFFFFFFFF, 0x7FFFFFFF},
                                           {1000, 0x7FFFFFFF, 0xFFFFFFFF, 0x7FFFFFFF}}) {
        startsAnew();
        cfg.xcp.t1 = row.t1;
        cfg.xcp.retryCount = row.retries;
        cfg.xcp.retryDelayMs = row.delay;
        EXPECT_EQ(task().responseBudget(), row.budget);
    }
}

TEST_F(XcpConnect, LastErrorTextIsThatOfTheStatus) {
    EXPECT_FALSE(task().isLinkLost());
    EXPECT_EQ(task().lastErrorText(), "Command processor synchronization.");
    task().connect();
    EXPECT_EQ(task().lastErrorText(), "Success");
    task().m_lastStatus = 2304;
    EXPECT_TRUE(task().isLinkLost());
    EXPECT_EQ(task().lastErrorText(), "Recive msg timeout");
    task().m_lastStatus = 0x29;
    EXPECT_EQ(task().lastErrorText(), "Sequence error");
}
