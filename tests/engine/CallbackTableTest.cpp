#include "tests/engine/EngineTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>

namespace {

using engine_test::EngineTest;
using engine_test::offersDaq;
using engine_test::variable;
using support::TaskResult;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

std::atomic<int> g_otherResults = 0;
std::atomic<int> g_otherMemResults = 0;
std::atomic<int> g_otherValues = 0;
std::atomic<int> g_otherLines = 0;

void countResult(std::uint32_t /*command*/, std::uint8_t /*result*/,
                 const std::vector<std::string>* /*details*/) {
    ++g_otherResults;
}

void countMemResult(std::uint32_t /*command*/, std::uint32_t /*result*/, std::vector<mcMemoryData> /*data*/) {
    ++g_otherMemResults;
}

void countValues(const std::string& /*ecu*/, std::int32_t /*kind*/,
                 const std::vector<mcMeasureVariableValue>& /*values*/,
                 const std::vector<std::string>& /*rejected*/) {
    ++g_otherValues;
}

void countLine(std::uint32_t /*level*/, std::uint64_t /*timeMs*/, const std::string& /*text*/) {
    ++g_otherLines;
}

using CallbackTable = EngineTest;

/// The functions that were set first, behind a second table.
class SecondTable : public EngineTest {
protected:
    using Calls = std::map<std::string, std::size_t>;

    /// Each function is there for one moment of the session that `callsBehind` runs.
    const Calls m_onceEach{{"measureFun", 1},    {"sndFun", 1},       {"msgDecodeFun", 1},
                           {"taskResultFun", 1}, {"memResultFun", 1}, {"xcpSeedLibFun", 1},
                           {"ccpSeedLibFun", 1}, {"daqInfoFun", 1}};

    /// Sets @p second and runs a session of "a" and "c", an ECU that speaks CCP.
    /// @return how often the functions that were set first took their moment
    Calls callsBehind(const CallBackFuns& second) {
        setCallBackFuns(second);
        configureBothProtocols();
        m_host.setSeedFun(
            [](std::uint8_t, std::uint8_t, std::uint8_t*, std::uint8_t*, std::uint8_t*) { return 1; });
        resultOf(9, [] {
            EcuConnect({"a", "c"});
            StartMeasurement({{"a", {variable()}}});
            MeasureVars("a", {variable()});
            EarseEcu("a", 0);
        });
        return {{"measureFun", count("measure a 0")},
                {"sndFun", m_a.count("ff 00")},
                {"msgDecodeFun", decodedConnects()},
                {"taskResultFun", count("task 1 0")},
                {"memResultFun", count("mem 15 0")},
                {"xcpSeedLibFun", count("seed a.dll XCP_ComputeKeyFromSeed")},
                {"ccpSeedLibFun", count("seed c.dll ASAP1A_CCP_ComputeKeyFromSeed")},
                {"daqInfoFun", count("plan a")}};
    }

private:
    void configureBothProtocols() {
        m_cfgA.seedkey_path = "a.dll";
        m_cfgA.supportedCmds = {0xF4, 0xF8};
        offersDaq(m_cfgA);
        auto& c = *new support::ScriptedEcu(m_host, {0, 0x300, 0x301}, false);
        c.answers("1b ..", {"ff 00 @1 02 01"});
        EcuProtoCfg cfgC = c.config(engine_test::kLongMs);
        cfgC.ecuName = "c";
        cfgC.seedkey_path = "c.dll";
        setProtoCfgs({m_cfgA, cfgC});
    }

    /// @return how often CONNECT to "a" was analysed
    std::size_t decodedConnects() {
        const std::vector<support::Decoded> decoded = m_host.decoded();
        const auto isConnect = [](const support::Decoded& entry) {
            return entry.message.canId == 0x100 && entry.message.command == 0xFF;
        };
        return static_cast<std::size_t>(std::count_if(decoded.begin(), decoded.end(), isConnect));
    }
};

TEST_F(SecondTable, ThatIsEmptyReplacesNothing) {
    EXPECT_EQ(callsBehind(CallBackFuns{}), m_onceEach);
}

TEST_F(SecondTable, WithOnePositionReplacesOnlyThatOne) {
    CallBackFuns second;
    second.measureFun = countValues;
    Calls expected = m_onceEach;
    expected["measureFun"] = 0;
    EXPECT_EQ(callsBehind(second), expected);
    EXPECT_EQ(g_otherValues, 1);
}

TEST_F(CallbackTable, TheReservedPointerIsIgnored) {
    CallBackFuns table;
    table.reserved = &table;
    setCallBackFuns(table);
    connected();
}

TEST_F(CallbackTable, AFilledVectorOfLogFunctionsGivesNoLogLines) {
    CallBackFuns table;
    table.logFuns = {countLine};
    setCallBackFuns(table);
    connected();
    EXPECT_EQ(g_otherLines, 0);
}

TEST_F(CallbackTable, IsFrozenInAnEcuUntilItsNextConnect) {
    m_cfgA.supportedCmds = {0xF4};
    configure();
    connected();
    CallBackFuns second;
    second.measureFun = countValues;
    setCallBackFuns(second);
    resultOf(7, [] { MeasureVars("a", {variable()}); });
    EXPECT_EQ(m_host.measured().size(), 1U);
    EXPECT_EQ(g_otherValues, 0);
    connected();
    resultOf(7, [] { MeasureVars("a", {variable()}); });
    EXPECT_THAT(m_host.measured(), IsEmpty());
    EXPECT_EQ(g_otherValues, 1);
}

TEST_F(CallbackTable, TheEnginesOwnResultFunctionsAreReadAtEachUse) {
    connected();
    CallBackFuns second;
    second.taskResultFun = countResult;
    second.memResultFun = countMemResult;
    setCallBackFuns(second);
    EarseEcu("a", 0);
    EXPECT_TRUE(support::waitFor([] { return g_otherResults == 1; }));
    EXPECT_EQ(g_otherMemResults, 1);
    EXPECT_THAT(m_host.taskResults(), IsEmpty());
    EXPECT_THAT(m_host.memResults(), IsEmpty());
}

TEST_F(CallbackTable, AProgressFunctionThatAnEcuFrozeStaysWhenTheEnginesChanges) {
    m_cfgA.codeSegments = {mcMemoryInfo{}};
    m_cfgA.codeSegments[0].length = 4;
    configure();
    connected();
    CallBackFuns second;
    second.memResultFun = countMemResult;
    setCallBackFuns(second);
    resultOf(9, [] { UploadFromEcuMem("a", mcMemCode); });
    EXPECT_EQ(count("mem 10 0 +1"), 1U);
    EXPECT_EQ(g_otherMemResults, 0);
}

TEST(CallbackTableAlone, WithoutResultFunctionsTheLogLinesAreWrittenAllTheSame) {
    static support::TestHost& host = *new support::TestHost;
    setLogBackFuns(support::TestHost::callBacks().logFuns.at(0));
    EarseEcu("a", 0);
    EXPECT_TRUE(support::waitFor([] { return host.logTexts(4).size() == 1; }));
    EXPECT_THAT(host.journal(),
                ElementsAre("log 2 Erase ecu(a)", "log 1 Task cmd syn result: cmd:15 ret:0 segments:0",
                            "log 2 Set calibration page ecu(a)", "log 3 Can't find task ecua)",
                            "log 4 Task cmd result:(2) Set memory page failed;a;"));
}

TEST(CallbackTableAlone, WithoutASendFunctionEveryCommandFailsWithALine) {
    static support::TestHost& host = *new support::TestHost;
    CallBackFuns table = support::TestHost::callBacks();
    table.sndFun = nullptr;
    setLogBackFuns(table.logFuns.at(0));
    setCallBackFuns(table);
    EcuProtoCfg cfg;
    cfg.ecuName = "a";
    cfg.xcp.t1 = 5;
    cfg.xcp.statusPeriodMs = 0;
    setProtoCfgs({cfg});
    EcuConnect({"a"});
    EXPECT_TRUE(support::waitFor([] { return !host.taskResults().empty(); }));
    EXPECT_THAT(host.journal(),
                ElementsAre("log 2 Connecting ecu(a)", "log 3 callback sndFun is nullptr or isStopTransmit",
                            "log 4 Connect error: 3", "log 4 Task cmd result:(3) Connect failed;;",
                            "task 1 3 [Connect failed, ]"));
}

using LogFunctions = EngineTest;

TEST_F(LogFunctions, SetTwiceDeliverEachLineOnce) {
    setLogBackFuns(support::TestHost::callBacks().logFuns.at(0));
    const auto journal = journalOf(1, [] { EcuConnect({"a"}); });
    EXPECT_THAT(
        journal,
        ElementsAre("log 2 Connecting ecu(a)", "snd ff 00",
                    "log 3 seedkey_path or XCP_GET_SEED_CMD not found", "log 2 Connect ecu(a) success",
                    "log 1 Task cmd result:(0) Connect success;;", "task 1 0 [Connect success, ]"));
}

TEST_F(LogFunctions, AllGetEachLine) {
    setLogBackFuns(countLine);
    resultOf(7, [] { MeasureVars("ghost", {}); });
    EXPECT_THAT(m_host.logs(), testing::SizeIs(2));
    EXPECT_EQ(g_otherLines, 2);
}

TEST_F(LogFunctions, ANullOneIsSkipped) {
    setLogBackFuns(nullptr);
    resultOf(7, [] { MeasureVars("ghost", {}); });
    EXPECT_THAT(m_host.logs(), testing::SizeIs(2));
}

TEST_F(LogFunctions, AnEcuKeepsThoseOfItsConnect) {
    connected();
    setLogBackFuns(countLine);
    resultOf(2, [] { EcuDisconnect(); });
    // "Disconnect ecu(a)" and the result come from the engine; the traces of DISCONNECT from the ECU.
    EXPECT_EQ(g_otherLines, 2);
    EXPECT_THAT(m_host.logs(), testing::SizeIs(4));
}

TEST_F(LogFunctions, LinesCarryTheTimeInMillisecondsSince1970) {
    const auto nowMs = [] {
        return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                              std::chrono::system_clock::now().time_since_epoch())
                                              .count());
    };
    const std::uint64_t before = nowMs();
    resultOf(7, [] { MeasureVars("ghost", {}); });
    const std::uint64_t after = nowMs();
    for (const support::LogLine& line : m_host.logs()) {
        EXPECT_GE(line.timeMs, before);
        EXPECT_LE(line.timeMs, after);
    }
}

TEST_F(LogFunctions, TextsArePassedAsTheyAre) {
    resultOf(7, [] { MeasureVars("gh\nost%d", {}); });
    EXPECT_EQ(m_host.logs().at(0).text, "Measure variables ecu(gh\nost%d)");
}

using SeedLoader = EngineTest;

/// Lets "a" offer DAQ and programming, both locked.
void locks(support::ScriptedEcu& ecu) {
    ecu.answers("ff 00", {"ff 14 00 08 08 00 01 01"});
    ecu.answers("fd", {"ff 00 14 00 00 00"});
    ecu.answers("f8 ..", {"ff 02 11 22"});
    ecu.answers("f7 ..", {"ff 00"});
}

TEST_F(SeedLoader, GetsThePathAndTheNameOfTheEntry) {
    m_cfgA.seedkey_path = "C:/keys/engine.dll";
    m_cfgA.supportedCmds = {0xF8};
    configure();
    locks(m_a);
    m_host.setSeedFun([](std::uint8_t, std::uint8_t, std::uint8_t*, std::uint8_t* length, std::uint8_t* key) {
        key[0] = 0x77;
        *length = 1;
        return 1;
    });
    connected();
    // `connected` forgets what came, so once more.
    const auto journal = journalOf(1, [] { EcuConnect({"a"}); });
    EXPECT_THAT(journal, Contains("seed C:/keys/engine.dll XCP_ComputeKeyFromSeed"));
    EXPECT_THAT(m_host.seedLoads(), testing::SizeIs(1));
    EXPECT_TRUE(m_host.seedLoads().at(0).xcp);
    EXPECT_TRUE(m_a.showed("f8 00 04"));
    EXPECT_TRUE(m_a.showed("f7 01 77"));
}

TEST_F(SeedLoader, AnEmptyPathNeverCallsItAndTheConnectGoesOnWithoutUnlocking) {
    m_cfgA.supportedCmds = {0xF8};
    configure();
    locks(m_a);
    const auto journal = journalOf(1, [] { EcuConnect({"a"}); });
    EXPECT_THAT(m_host.seedLoads(), IsEmpty());
    EXPECT_THAT(journal, Contains("task 1 0 [Connect success, ]"));
    EXPECT_EQ(m_a.count("f8 .."), 0U);
}

TEST_F(SeedLoader, AnEmptyFunctionFailsTheConnectWithCode10) {
    m_cfgA.seedkey_path = "missing.dll";
    m_cfgA.supportedCmds = {0xF8};
    configure();
    locks(m_a);
    const auto journal = journalOf(1, [] { EcuConnect({"a"}); });
    EXPECT_THAT(journal, ElementsAre("log 2 Connecting ecu(a)", "snd ff 00", "snd fd",
                                     "seed missing.dll XCP_ComputeKeyFromSeed",
                                     "log 4 SeedKey dll load failed, seedkey_path=missing.dll",
                                     "log 4 Connect error: 10", "log 4 Task cmd result:(10) Connect failed;;",
                                     "task 1 10 [Connect failed, ]"));
    EXPECT_TRUE(isConnectEcu());
}

TEST_F(CallbackTable, TheSendFunctionGetsChannelIdentifierAndFlags) {
    m_cfgB.canChannel = 0;
    m_cfgB.masterExtended = 7;
    m_cfgB.masterFd = 1;
    m_cfgB.masterBrs = 1;
    configure();
    connected({"a", "b"});
    EXPECT_EQ(m_a.sent().at(0).flags, 0);
    EXPECT_EQ(m_a.sent().at(0).id, 0x100U);
    EXPECT_EQ(m_b.sent().at(0).flags, 7);
    EXPECT_EQ(m_b.sent().at(0).id, 0x200U);
}

TEST_F(CallbackTable, TheResultOfTheSendFunctionIsNotTested) {
    m_host.setSndResult(0xFFFFFFFF);
    connected();
    EXPECT_TRUE(isConnectEcu());
}

TEST_F(CallbackTable, TheHostTagOfAFrameComesBackWithItsAnalysis) {
    m_a.setHostTag(0x1122334455667788);
    resultOf(1, [] { EcuConnect({"a"}); });
    ASSERT_THAT(m_host.decoded(), testing::SizeIs(2));
    EXPECT_EQ(m_host.decoded().at(0).hostTag, 0U);
    EXPECT_EQ(m_host.decoded().at(1).hostTag, 0x1122334455667788U);
}

}  // namespace
