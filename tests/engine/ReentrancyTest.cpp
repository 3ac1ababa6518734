#include "tests/engine/EngineTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <set>

namespace {

using engine_test::EngineTest;
using engine_test::offersDaq;
using engine_test::variable;
using testing::Each;

/// All exports that act at once, but `stopAllTask`.
void callImmediates() {
    const std::list<EcuProtoCfg> cfgs = getProtoCfg();
    setProtoCfgs(cfgs);
    setProtoCfg("ghost", EcuProtoCfg{});
    isConnectEcu();
    isEcuConnect("a");
    isMeasureing();
    setCallBackFuns(CallBackFuns{});
    setLogBackFuns(support::TestHost::callBacks().logFuns.at(0));
    getErrorString(3);
    const std::uint8_t byte = 0xFD;
    recvCanMsg(0, 0, 7, 0x101, 1, &byte);
    CheckMemory(&byte, 1, 1);
}

/// All command functions, for an ECU that is not there.
void callCommands() {
    const std::string ecu = "ghost";
    EcuConnect({ecu});
    StartMeasurement({{ecu, {variable()}}});
    MeasureVars(ecu, {variable()});
    CalibrationVar(ecu, variable(), {1});
    SetCalPage(ecu, true);
    UploadFromEcuMem(ecu, mcMemCode);
    DownToEcuMem(ecu, mcMemCode, {});
    ForceDataDownToEcu(ecu, "missing.hex");
    EarseEcu(ecu, 0);
    CheckEcuMemory(ecu, {}, mcMemCode);
    EcuCopyRefeToWork(ecu);
    StopMeasurement();
}

void callEverything() {
    callImmediates();
    callCommands();
    stopAllTask();
}

std::atomic<int> g_analysed = 0;

void takeAnalysed(std::uint64_t /*hostTag*/, mcDecodeMsg /*message*/) {
    if (g_analysed++ == 0) {
        callEverything();
    }
}

/// Calls exports from inside the first callback of a kind.
class CallbackThatCallsBack : public EngineTest {
protected:
    /// Calls @p calls in the first callback whose journal entry begins with @p head.
    void callsIn(const std::string& head, void (*calls)() = callEverything) {
        m_host.onEvent([this, head, calls](const std::string& entry) {
            if (entry.compare(0, head.size(), head) == 0 && !m_called.exchange(true)) {
                calls();
                m_returned = true;
            }
        });
    }

    /// The calls came back, and the engine still answers.
    void returned() {
        EXPECT_TRUE(support::waitFor([this] { return m_returned.load(); }));
        m_host.onEvent({});
        EXPECT_EQ(resultOf(2, [] { EcuDisconnect(); }).result, 0);
        settles();
    }

    std::atomic<bool> m_called = false;
    std::atomic<bool> m_returned = false;
};

TEST_F(CallbackThatCallsBack, FromTheSendFunction) {
    callsIn("snd ff 00");
    EcuConnect({"a"});
    returned();
}

TEST_F(CallbackThatCallsBack, FromTheResultFunction) {
    callsIn("task 1");
    EcuConnect({"a"});
    returned();
}

TEST_F(CallbackThatCallsBack, FromTheNotificationOfAStart) {
    callsIn("task 4");
    StartMeasurement({});
    returned();
}

TEST_F(CallbackThatCallsBack, FromTheReportOfALostLink) {
    m_cfgA.xcp.t1 = 10;
    measuring();
    callsIn("task 3");
    m_a.isSilent();
    EXPECT_TRUE(shows("task 2 "));  // the disconnect that follows the report empties the queue
    returned();
}

TEST_F(CallbackThatCallsBack, FromTheMemoryResultFunction) {
    callsIn("mem 15");
    EarseEcu("a", 0);
    returned();
}

TEST_F(CallbackThatCallsBack, FromTheProgressOfAnUpload) {
    m_cfgA.codeSegments = {mcMemoryInfo{}};
    m_cfgA.codeSegments[0].length = 4;
    configure();
    connected();
    callsIn("mem 12");
    UploadFromEcuMem("a", mcMemCode);
    returned();
}

TEST_F(CallbackThatCallsBack, FromValuesThatWereAskedFor) {
    connected();
    callsIn("measure a 0");
    MeasureVars("a", {variable("v", 0)});
    returned();
}

TEST_F(CallbackThatCallsBack, FromPolledValues) {
    callsIn("measure a 1");
    m_cfgA.supportedCmds = {0xF4};
    m_cfgA.xcp.pollPeriodMs = 1;
    configure();
    EcuConnect({"a"});
    StartMeasurement({{"a", {variable()}}});
    returned();
}

TEST_F(CallbackThatCallsBack, FromDaqValues) {
    offersDaq(m_cfgA);
    configure();
    connected();
    ASSERT_EQ(resultOf(5, [] { StartMeasurement({{"a", {variable()}}}); }).result, 0);
    callsIn("measure a 2");
    m_a.sends("00 11", 100);
    m_a.sends("00 22", 200);
    returned();
}

TEST_F(CallbackThatCallsBack, FromAShownPlan) {
    offersDaq(m_cfgA);
    configure();
    connected();
    callsIn("plan a");
    StartMeasurement({{"a", {variable()}}});
    returned();
}

TEST_F(CallbackThatCallsBack, FromTheSeedLoader) {
    m_cfgA.seedkey_path = "keys.dll";
    m_cfgA.supportedCmds = {0xF8};
    configure();
    callsIn("seed keys.dll");
    EcuConnect({"a"});
    returned();
}

TEST_F(CallbackThatCallsBack, FromTheSeedFunction) {
    m_cfgA.seedkey_path = "keys.dll";
    m_cfgA.supportedCmds = {0xF8};
    configure();
    m_a.answers("ff 00", {"ff 10 00 08 08 00 01 01"});
    m_a.answers("fd", {"ff 00 10 00 00 00"});
    m_host.setSeedFun([this](std::uint8_t, std::uint8_t, std::uint8_t*, std::uint8_t* length, std::uint8_t*) {
        callEverything();
        m_returned = true;
        *length = 1;
        return 1;
    });
    EcuConnect({"a"});
    returned();
}

TEST_F(CallbackThatCallsBack, FromTheAnalysisFunction) {
    CallBackFuns table;
    table.msgDecodeFun = takeAnalysed;
    setCallBackFuns(table);
    EcuConnect({"a"});
    EXPECT_TRUE(support::waitFor([] { return g_analysed > 0; }));
    settles();
}

TEST_F(CallbackThatCallsBack, FromALogFunctionOnTheWorkerButForTheCommands) {
    callsIn("log 2 Connecting ecu(a)", callImmediates);
    EcuConnect({"a"});
    returned();
}

TEST_F(CallbackThatCallsBack, FromALogFunctionOfAnEcuButForTheCommands) {
    callsIn("log 3 seedkey_path or", callImmediates);
    EcuConnect({"a"});
    returned();
}

TEST_F(CallbackThatCallsBack, FromALogFunctionOnTheHostsThreadButForTheCommands) {
    callsIn("log 3 stopTaskCmd", callImmediates);
    stopAllTask();
    returned();
}

TEST_F(CallbackThatCallsBack, ACommandQueuedInAResultRunsBehindIt) {
    callsIn("task 1", [] { MeasureVars("ghost", {}); });
    const auto journal = journalOf(7, [] { EcuConnect({}); });
    EXPECT_EQ(journal,
              (engine_test::Journal{"log 1 Task cmd result:(0) Connect success;;",
                                    "task 1 0 [Connect success, ]", "log 2 Measure variables ecu(ghost)",
                                    "log 1 Task cmd result:(0) Measurement vars success;;",
                                    "task 7 0 [Measurement vars success, ]"}));
    returned();
}

}  // namespace
