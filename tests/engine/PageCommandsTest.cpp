#include "engine/ProtoThread.h"
#include "tests/engine/EngineTest.h"

#include <gmock/gmock.h>

namespace {

using engine_test::EngineTest;
using engine_test::Journal;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

class PageCommand : public EngineTest {
protected:
    /// Gives both ECUs SET_CAL_PAGE and COPY_CAL_PAGE, working page 5 in segment 4, reference page 7 in 6.
    void SetUp() override {
        EngineTest::SetUp();
        for (EcuProtoCfg* cfg : {&m_cfgA, &m_cfgB}) {
            cfg->supportedCmds = {0xEB, 0xE4};
            cfg->xcp.workingSegment = 4;
            cfg->xcp.workingPage = 5;
            cfg->xcp.referenceSegment = 6;
            cfg->xcp.referencePage = 7;
        }
        configure();
    }

    /// Takes the page commands from "a".
    void hasNoPages() {
        m_cfgA.supportedCmds.clear();
        configure();
    }

    static void setPages(const std::vector<std::string>& names, bool page) {
        TaskCmd cmd;
        cmd.cmd = kTaskSetPage;
        cmd.names = names;
        cmd.page = page;
        protoThread().enqueue(cmd);
    }
};

using SetCalPageCommand = PageCommand;

TEST_F(SetCalPageCommand, TrueSelectsTheWorkingPage) {
    connected();
    EXPECT_THAT(journalOf(9, [] { SetCalPage("a", true); }),
                ElementsAre("log 2 Set calibration page ecu(a)", "snd eb 03 04 05",
                            "log 1 Task cmd result:(0) Set memory page success;;",
                            "task 9 0 [Set memory page success, ]"));
}

TEST_F(SetCalPageCommand, FalseSelectsTheReferencePage) {
    connected();
    EXPECT_THAT(journalOf(9, [] { SetCalPage("a", false); }), Contains("snd eb 03 06 07"));
}

TEST_F(SetCalPageCommand, ARefusalIsAnError) {
    connected();
    m_a.answers("eb ..", {"fe 26"});
    EXPECT_THAT(journalOf(9, [] { SetCalPage("a", true); }),
                ElementsAre("log 2 Set calibration page ecu(a)", "snd eb 03 04 05",
                            "log 3 Selected page not available",
                            "log 4 Set calibration page ecu(a) failed: 指令发收失败 - SetCalPage",
                            "log 4 Task cmd result:(23) Set memory page failed;;",
                            "task 9 23 [Set memory page failed, ]"));
}

TEST_F(SetCalPageCommand, AnEcuWithoutPagesIsAWarning) {
    hasNoPages();
    connected();
    EXPECT_THAT(journalOf(9, [] { SetCalPage("a", true); }),
                ElementsAre("log 2 Set calibration page ecu(a)", "log 3 SET_CAL_PAGE not supported",
                            "log 3 Set calibration page ecu(a) failed: 不支持的协议指令 - NoOptCmd",
                            "log 3 Task cmd result:(72) Set memory page failed;;",
                            "task 9 72 [Set memory page failed, ]"));
}

TEST_F(SetCalPageCommand, AnUnknownEcuGivesTwoAndALineWithoutItsOpeningParenthesis) {
    EXPECT_THAT(journalOf(9, [] { SetCalPage("ghost", true); }),
                ElementsAre("log 2 Set calibration page ecu(ghost)", "log 3 Can't find task ecughost)",
                            "log 4 Task cmd result:(2) Set memory page failed;;",
                            "task 9 2 [Set memory page failed, ]"));
}

TEST_F(SetCalPageCommand, OfSeveralNamesGoesOnBehindAnUnknownOne) {
    connected({"a", "b"});
    EXPECT_THAT(journalOf(9,
                          [] {
                              setPages({"a", "ghost"}, true);
                          }),
                ElementsAre("log 2 Set calibration page ecu(a)", "snd eb 03 04 05",
                            "log 2 Set calibration page ecu(ghost)", "log 3 Can't find task ecughost)",
                            "log 4 Task cmd result:(2) Set memory page failed;;",
                            "task 9 2 [Set memory page failed, ]"));
    EXPECT_THAT(journalOf(9, [] { setPages({"ghost", "b"}, true); }), Contains("snd eb 03 04 05"));
}

TEST_F(SetCalPageCommand, OfSeveralNamesEndsAtTheFirstFailure) {
    connected({"a", "b"});
    m_a.answers("eb ..", {"fe 26"});
    const Journal journal = journalOf(9, [] { setPages({"a", "b"}, true); });
    EXPECT_THAT(journal, Not(Contains("log 2 Set calibration page ecu(b)")));
    EXPECT_EQ(journal.back(), "task 9 23 [Set memory page failed, ]");
    EXPECT_EQ(m_b.count("eb .."), 0U);
}

using EcuCopyRefeToWorkCommand = PageCommand;

TEST_F(EcuCopyRefeToWorkCommand, CopiesTheReferencePageToTheWorkingPage) {
    connected();
    EXPECT_THAT(journalOf(18, [] { EcuCopyRefeToWork("a"); }),
                ElementsAre("log 2 Copy reference cal page to working cal page ecu(a)", "snd e4 06 07 04 05",
                            "log 1 Task cmd result:(0) Copy refe to work success;a;",
                            "task 18 0 [Copy refe to work success, a]"));
}

TEST_F(EcuCopyRefeToWorkCommand, ARefusalIsAnError) {
    connected();
    m_a.answers("e4 ..", {"fe 23"});
    EXPECT_THAT(journalOf(18, [] { EcuCopyRefeToWork("a"); }),
                ElementsAre("log 2 Copy reference cal page to working cal page ecu(a)", "snd e4 06 07 04 05",
                            "log 3 The memory location is write protected.",
                            "log 4 Copy refe to work ecu(a) failed: 其他指令发送失败 - Other",
                            "log 4 Task cmd result:(73) Copy refe to work failed;a;",
                            "task 18 73 [Copy refe to work failed, a]"));
}

TEST_F(EcuCopyRefeToWorkCommand, AnEcuWithoutPagesIsAWarning) {
    hasNoPages();
    connected();
    EXPECT_THAT(journalOf(18, [] { EcuCopyRefeToWork("a"); }),
                ElementsAre("log 2 Copy reference cal page to working cal page ecu(a)",
                            "log 3 COPY_CAL_PAGE not supported",
                            "log 3 Copy refe to work ecu(a) failed: 不支持的协议指令 - NoOptCmd",
                            "log 3 Task cmd result:(72) Copy refe to work failed;a;",
                            "task 18 72 [Copy refe to work failed, a]"));
}

TEST_F(EcuCopyRefeToWorkCommand, AnUnknownEcuGivesTwoAndALineWithoutItsOpeningParenthesis) {
    EXPECT_THAT(journalOf(18, [] { EcuCopyRefeToWork("ghost"); }),
                ElementsAre("log 2 Copy reference cal page to working cal page ecu(ghost)",
                            "log 3 Can't find task ecughost)",
                            "log 4 Task cmd result:(2) Copy refe to work failed;ghost;",
                            "task 18 2 [Copy refe to work failed, ghost]"));
}

TEST_F(EcuCopyRefeToWorkCommand, WithoutANameGivesTwoAndNoLineOfItsOwn) {
    TaskCmd cmd;
    cmd.cmd = kTaskCopyPage;
    EXPECT_THAT(journalOf(18, [&] { protoThread().enqueue(cmd); }),
                ElementsAre("log 4 Task cmd result:(2) Copy refe to work failed;;",
                            "task 18 2 [Copy refe to work failed, ]"));
}

/// What puts the page back behind a memory operation. Erasing memory type 0 is one that does nothing else.
class PageRestore : public PageCommand {
protected:
    Journal restored() {
        Journal journal = journalOf(9, [] { EarseEcu("a", 0); });
        const auto start = std::find(journal.begin(), journal.end(), "log 2 Set calibration page ecu(a)");
        return {start, journal.end()};
    }
};

TEST_F(PageRestore, SelectsTheWorkingPageIfNoneWasAskedFor) {
    connected();
    EXPECT_THAT(restored(), ElementsAre("log 2 Set calibration page ecu(a)", "snd eb 03 04 05",
                                        "log 1 Task cmd result:(0) Set memory page success;a;",
                                        "task 9 0 [Set memory page success, a]"));
}

TEST_F(PageRestore, SelectsTheLastPageAskedFor) {
    connected();
    resultOf(9, [] { SetCalPage("a", false); });
    EXPECT_THAT(restored(), Contains("snd eb 03 06 07"));
    resultOf(9, [] { SetCalPage("a", true); });
    EXPECT_THAT(restored(), Contains("snd eb 03 04 05"));
}

TEST_F(PageRestore, SelectsThePageOfAFailedSetCalPage) {
    connected();
    m_a.answersOnce("eb ..", {"fe 26"});
    ASSERT_EQ(resultOf(9, [] { SetCalPage("a", false); }).result, 23);
    EXPECT_THAT(restored(), Contains("snd eb 03 06 07"));
}

TEST_F(PageRestore, SelectsThePageOfASetCalPageForAnUnknownEcu) {
    connected();
    ASSERT_EQ(resultOf(9, [] { SetCalPage("ghost", false); }).result, 2);
    EXPECT_THAT(restored(), Contains("snd eb 03 06 07"));
}

TEST_F(PageRestore, KeepsThePageOverADisconnect) {
    connected();
    resultOf(9, [] { SetCalPage("a", false); });
    resultOf(2, [] { EcuDisconnect(); });
    connected();
    EXPECT_THAT(restored(), Contains("snd eb 03 06 07"));
}

TEST_F(PageRestore, ReportsItsOwnFailure) {
    connected();
    m_a.answers("eb ..", {"fe 26"});
    EXPECT_THAT(restored(), ElementsAre("log 2 Set calibration page ecu(a)", "snd eb 03 04 05",
                                        "log 3 Selected page not available",
                                        "log 4 Set calibration page ecu(a) failed: 指令发收失败 - SetCalPage",
                                        "log 4 Task cmd result:(23) Set memory page failed;a;",
                                        "task 9 23 [Set memory page failed, a]"));
}

TEST_F(PageRestore, OfAnEcuWithoutPagesIsAWarning) {
    hasNoPages();
    connected();
    EXPECT_THAT(restored(),
                ElementsAre("log 2 Set calibration page ecu(a)", "log 3 SET_CAL_PAGE not supported",
                            "log 3 Set calibration page ecu(a) failed: 不支持的协议指令 - NoOptCmd",
                            "log 3 Task cmd result:(72) Set memory page failed;a;",
                            "task 9 72 [Set memory page failed, a]"));
}

TEST_F(PageRestore, FollowsTheFourMemoryCommandsAndNoOther) {
    connected();
    m_host.clear();
    UploadFromEcuMem("a", 0);
    DownToEcuMem("a", 0, {});
    EarseEcu("a", 0);
    CheckEcuMemory("a", {}, 0);
    MeasureVars("a", {});
    CalibrationVar("a", mcMeasureVariable{}, {});
    ForceDataDownToEcu("a", "missing.hex");
    StartMeasurement({});
    StopMeasurement();
    EcuCopyRefeToWork("a");
    EcuDisconnect();
    ASSERT_TRUE(shows("task 2 0"));
    std::vector<std::uint32_t> order;
    for (const support::TaskResult& result : m_host.taskResults()) {
        order.push_back(result.command);
    }
    EXPECT_THAT(order, ElementsAre(9U, 9U, 9U, 9U, 7U, 8U, 14U, 4U, 5U, 6U, 18U, 2U));
}

TEST_F(PageRestore, OfACommandWithoutANameLooksForTheEmptyName) {
    TaskCmd cmd;
    cmd.cmd = kTaskErase;
    EXPECT_THAT(journalOf(9, [&] { protoThread().enqueue(cmd); }),
                ElementsAre("log 2 Erase ecu()", "log 1 Task cmd syn result: cmd:15 ret:0 segments:0",
                            "mem 15 0", "log 2 Set calibration page ecu()", "log 3 Can't find task ecu)",
                            "log 4 Task cmd result:(2) Set memory page failed;;",
                            "task 9 2 [Set memory page failed, ]"));
}

}  // namespace
