#include "engine/ProtoThread.h"
#include "tests/engine/EngineTest.h"

#include <gmock/gmock.h>

namespace {

using engine_test::EngineTest;
using engine_test::Journal;
using engine_test::offersDaq;
using engine_test::variable;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

/// A command that no export makes.
TaskCmd bare(std::uint32_t code) {
    TaskCmd cmd;
    cmd.cmd = code;
    return cmd;
}

class UnknownCommand : public EngineTest, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(UnknownCommand, GivesOneAndSaysSo) {
    const std::string code = std::to_string(GetParam());
    EXPECT_THAT(journalOf(GetParam(), [] { protoThread().enqueue(bare(GetParam())); }),
                ElementsAre("log 4 Task cmd result:(1) unknow cmd. failed;;",
                            "task " + code + " 1 [unknow cmd. failed, ]"));
    EXPECT_THAT(m_host.taskResults().at(0).details, ElementsAre("unknow cmd. failed", ""));
}

INSTANTIATE_TEST_SUITE_P(Codes, UnknownCommand,
                         testing::Values(0U, 3U, 4U, 12U, 13U, 17U, 19U, 100U, 255U, 257U, 0xFFFFFFFFU));

using WorkerResults = EngineTest;

TEST_F(WorkerResults, AnUnknownCommandDoesNotKeepTheNextFromRunning) {
    protoThread().enqueue(bare(17));
    connected();
}

struct EmptyRow {
    std::uint32_t code;
    std::uint8_t result;
    const char* text;
    std::uint32_t level;
};

void PrintTo(const EmptyRow& row, std::ostream* out) {
    *out << row.code;
}

/// Commands of which nothing but the code is given.
class CommandWithoutArguments : public EngineTest, public testing::WithParamInterface<EmptyRow> {};

TEST_P(CommandWithoutArguments, IsReportedWithItsText) {
    const EmptyRow& row = GetParam();
    const support::TaskResult result = resultOf(row.code, [&] { protoThread().enqueue(bare(row.code)); });
    EXPECT_EQ(result.result, row.result);
    EXPECT_THAT(result.details, ElementsAre(row.text, ""));
    EXPECT_EQ(m_host.logs().back().level, row.level);
    EXPECT_EQ(m_host.logs().back().text,
              "Task cmd result:(" + std::to_string(row.result) + ") " + row.text + ";;");
}

INSTANTIATE_TEST_SUITE_P(Commands, CommandWithoutArguments,
                         testing::Values(EmptyRow{1, 0, "Connect success", 1},
                                         EmptyRow{2, 0, "Disconnect success", 1},
                                         EmptyRow{5, 0, "Start measurement success", 1},
                                         EmptyRow{6, 0, "Stop measurement success", 1},
                                         EmptyRow{7, 0, "Measurement vars success", 1},
                                         EmptyRow{8, 2, "Calibration vars failed", 4},
                                         EmptyRow{9, 0, "Set memory page success", 1},
                                         EmptyRow{14, 0, "Force download success", 1},
                                         EmptyRow{18, 2, "Copy refe to work failed", 4}));

struct NamedRow {
    const char* call;
    std::uint32_t code;
    void (*command)(const std::string& name);
    std::uint8_t result;
    std::vector<std::string> details;
};

void PrintTo(const NamedRow& row, std::ostream* out) {
    *out << row.call;
}

/// Every command for an ECU that is not there.
class CommandForAnUnknownEcu : public EngineTest, public testing::WithParamInterface<NamedRow> {};

TEST_P(CommandForAnUnknownEcu, IsReportedWithItsTextAndItsDetail) {
    const NamedRow& row = GetParam();
    const support::TaskResult result = resultOf(row.code, [&] { row.command("ghost"); });
    EXPECT_EQ(result.result, row.result);
    EXPECT_EQ(result.details, row.details);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, CommandForAnUnknownEcu,
    testing::Values(
        NamedRow{
            "EcuConnect", 1, [](const std::string& ecu) { EcuConnect({ecu}); }, 0, {"Connect success", ""}},
        NamedRow{"StartMeasurement",
                 5,
                 [](const std::string& ecu) {
                     StartMeasurement({{ecu, {variable()}}});
                 },
                 0,
                 {"Start measurement success", ""}},
        NamedRow{"MeasureVars",
                 7,
                 [](const std::string& ecu) { MeasureVars(ecu, {variable()}); },
                 0,
                 {"Measurement vars success", ""}},
        NamedRow{"CalibrationVar",
                 8,
                 [](const std::string& ecu) { CalibrationVar(ecu, variable(), {1}); },
                 2,
                 {"Calibration vars failed", "ghost"}},
        NamedRow{"SetCalPage",
                 9,
                 [](const std::string& ecu) { SetCalPage(ecu, true); },
                 2,
                 {"Set memory page failed", ""}},
        NamedRow{"ForceDataDownToEcu",
                 14,
                 [](const std::string& ecu) { ForceDataDownToEcu(ecu, "x.hex"); },
                 0,
                 {"Force download success", "ghost"}},
        NamedRow{"EcuCopyRefeToWork",
                 18,
                 [](const std::string& ecu) { EcuCopyRefeToWork(ecu); },
                 2,
                 {"Copy refe to work failed", "ghost"}}));

TEST_F(WorkerResults, ALineJoinsTheDetailsEachWithASemicolon) {
    protoThread().deliverResult(3, 0, {"ecu:a-x", "ecu:b-y", "ecu:c-z"});
    EXPECT_THAT(m_host.journal(), ElementsAre("log 1 Task cmd result:(0) ecu:a-x;ecu:b-y;ecu:c-z;",
                                              "task 3 0 [ecu:a-x, ecu:b-y, ecu:c-z]"));
}

TEST_F(WorkerResults, ALineWithoutDetailsEndsInABlank) {
    protoThread().deliverResult(4, 0, {});
    EXPECT_THAT(m_host.journal(), ElementsAre("log 1 Task cmd result:(0) ", "task 4 0"));
}

TEST_F(WorkerResults, Result72LogsAWarningAndTheHostStillGetsCodeAndResult) {
    protoThread().deliverResult(9, 72, {"Set memory page failed", "a"});
    EXPECT_THAT(m_host.journal(), ElementsAre("log 3 Task cmd result:(72) Set memory page failed;a;",
                                              "task 9 72 [Set memory page failed, a]"));
}

TEST_F(WorkerResults, EveryOtherResultLogsAnError) {
    for (const int result : {1, 2, 3, 71, 73, 255}) {
        m_host.clear();
        protoThread().deliverResult(9, static_cast<std::uint8_t>(result), {});
        EXPECT_THAT(m_host.logTexts(4), ElementsAre("Task cmd result:(" + std::to_string(result) + ") "));
    }
}

TEST_F(WorkerResults, AMemoryResultNamesCommandResultAndSegments) {
    protoThread().deliverMemResult(16, 0, {mcMemoryData{}, mcMemoryData{}});
    EXPECT_THAT(m_host.logs().at(0).text, "Task cmd syn result: cmd:16 ret:0 segments:2");
    EXPECT_EQ(m_host.logs().at(0).level, 1U);
    ASSERT_EQ(m_host.memResults().size(), 1U);
    EXPECT_EQ(m_host.memResults().at(0).command, 16U);
    EXPECT_EQ(m_host.memResults().at(0).data.size(), 2U);
    EXPECT_THAT(m_host.taskResults(), IsEmpty());
}

TEST_F(WorkerResults, AFailedMemoryResultLogsAnErrorEvenWith72) {
    protoThread().deliverMemResult(11, 72, {});
    protoThread().deliverMemResult(11, 35, {});
    EXPECT_THAT(m_host.journal(),
                ElementsAre("log 4 Task cmd syn result: cmd:11 ret:72 segments:0", "mem 11 72",
                            "log 4 Task cmd syn result: cmd:11 ret:35 segments:0", "mem 11 35"));
}

class WorkerTurn : public EngineTest {
protected:
    /// Measures @p names by DAQ and then holds the worker in a read from "b", so that what comes waits.
    void holdsTheWorker(const std::vector<std::string>& names) {
        m_cfgB.supportedCmds = {0xF4};
        configure();
        connected({"a", "b"});
        std::map<std::string, std::vector<mcMeasureVariable>> measured;
        for (const std::string& name : names) {
            measured[name] = {variable()};
        }
        ASSERT_EQ(resultOf(5, [&] { StartMeasurement(measured); }).result, 0);
        m_host.clear();
        m_b.holdsBack();
        MeasureVars("b", {variable()});
        ASSERT_TRUE(support::waitFor([this] { return m_b.count("f4 ..") == 1; }));
    }

    /// Two cycles, of which the second has the first delivered.
    static void sendsCycles(support::ScriptedEcu& ecu) {
        ecu.sends("00 11", 100);
        ecu.sends("00 22", 200);
    }
};

TEST_F(WorkerTurn, PumpsTheEcusBetweenCommandsAndNotWhileOneRuns) {
    offersDaq(m_cfgA);
    holdsTheWorker({"a"});
    sendsCycles(m_a);
    m_b.releases();
    ASSERT_TRUE(shows("measure a 2 [v=11] []"));
    EXPECT_THAT(m_host.journal(),
                ElementsAre("log 2 Measure variables ecu(b)", "snd f4 01 00 00 00 10 00 00",
                            "measure b 0 [v=00] []", "log 1 Task cmd result:(0) Measurement vars success;;",
                            "task 7 0 [Measurement vars success, ]", "measure a 2 [v=11] []"));
    EXPECT_EQ(m_host.measured().back().values.at(0).time, 100U);
}

TEST_F(WorkerTurn, TakesOneCommandAndPumpsTheEcusBeforeTheNext) {
    offersDaq(m_cfgA);
    holdsTheWorker({"a"});
    MeasureVars("ghost", {});
    sendsCycles(m_a);
    m_b.releases();
    ASSERT_TRUE(support::waitFor([this] { return count("task 7 0") == 2; }));
    EXPECT_THAT(m_host.journal(),
                ElementsAre("log 2 Measure variables ecu(b)", "snd f4 01 00 00 00 10 00 00",
                            "measure b 0 [v=00] []", "log 1 Task cmd result:(0) Measurement vars success;;",
                            "task 7 0 [Measurement vars success, ]", "measure a 2 [v=11] []",
                            "log 2 Measure variables ecu(ghost)",
                            "log 1 Task cmd result:(0) Measurement vars success;;",
                            "task 7 0 [Measurement vars success, ]"));
}

TEST_F(WorkerTurn, PumpsTheEcusInTheOrderOfTheirNames) {
    offersDaq(m_cfgA);
    offersDaq(m_cfgB);
    holdsTheWorker({"a", "b"});
    sendsCycles(m_b);
    sendsCycles(m_a);
    m_b.releases();
    ASSERT_TRUE(support::waitFor([this] { return m_host.measured().size() == 3; }));
    EXPECT_EQ(m_host.measured().at(1).ecuName, "a");
    EXPECT_EQ(m_host.measured().at(2).ecuName, "b");
    EXPECT_EQ(m_host.measured().at(2).kind, 2);
}

TEST_F(WorkerTurn, HandlesTheFramesOfAnEcuBeforeItsKeepAliveDropsThem) {
    m_cfgA.xcp.statusPeriodMs = 1;
    configure();
    m_b.holdsBack();
    // "a" has had no keep-alive yet when "b" is connected, so one is due.
    EcuConnect({"a", "b"});
    ASSERT_TRUE(support::waitFor([this] { return m_b.count("ff 00") == 1; }));
    m_a.sends("fd 00");
    m_b.releases();
    ASSERT_TRUE(support::waitFor([this] { return m_a.count("fd") > 0; }));
    EXPECT_THAT(m_host.decoded(), Contains(Field(&support::Decoded::message,
                                                 Field(&mcDecodeMsg::name, "Event EV_RESUME_MODE"))));
}

TEST_F(WorkerTurn, SendsTheKeepAliveOfEveryEcu) {
    m_cfgA.xcp.statusPeriodMs = 1;
    m_cfgB.xcp.statusPeriodMs = 1;
    configure();
    connected({"a", "b"});
    EXPECT_TRUE(support::waitFor([this] { return m_a.count("fd") > 2 && m_b.count("fd") > 2; }));
}

TEST_F(WorkerTurn, ReportsAKeepAliveThatFailed) {
    m_cfgA.xcp.statusPeriodMs = 1;
    configure();
    m_a.answers("fd", {"fe 22"});
    connected();
    EXPECT_TRUE(shows("log 3 Send GetStatus failed."));
}

}  // namespace
