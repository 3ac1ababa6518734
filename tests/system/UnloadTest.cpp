#include "tests/support/TestHost.h"
#include "tests/support/ThreadCount.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#if defined(__linux__)

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <unistd.h>

namespace {

using support::threadCount;
using support::waitFor;

std::atomic<int> g_calls = 0;
std::atomic<int> g_connects = 0;
std::atomic<int> g_polled = 0;
std::atomic<int> g_daqCycles = 0;
std::atomic<int> g_sent = 0;
std::atomic<bool> g_answers = true;
decltype(&recvCanMsg) g_receive = nullptr;

void takeLog(std::uint32_t /*level*/, std::uint64_t /*timeMs*/, const std::string& /*text*/) {
    ++g_calls;
}

/// An ECU that says yes to everything, and sends a DAQ frame with each answer.
std::uint32_t send(std::uint8_t channel, std::uint32_t /*id*/, std::uint8_t /*flags*/,
                   std::uint8_t /*length*/, const std::uint8_t* /*data*/) {
    ++g_calls;
    ++g_sent;
    const std::uint8_t positive[8] = {0xFF};
    const std::uint8_t dto[2] = {0x00, 0x11};
    if (g_answers) {
        g_receive(0, 1, channel, 2, 8, positive);
        g_receive(0, 2, channel, 2, 2, dto);
    }
    return 0;
}

void takeResult(std::uint32_t command, std::uint8_t result, const std::vector<std::string>* /*details*/) {
    ++g_calls;
    g_connects += command == 1 && result == 0;
}

void takeValues(const std::string& /*ecu*/, std::int32_t kind,
                const std::vector<mcMeasureVariableValue>& /*values*/,
                const std::vector<std::string>& /*rejected*/) {
    ++g_calls;
    g_polled += kind == 1;
    g_daqCycles += kind == 2;
}

/// A copy of the library, so that it comes and goes beside the one that this program is linked to.
class UnloadedLibrary : public testing::Test {
protected:
    void SetUp() override {
        m_path = std::filesystem::path(testing::TempDir()) / ("unload_" + std::to_string(getpid()) + ".so");
        std::filesystem::copy_file(TALVEX_LIBRARY_FILE, m_path,
                                   std::filesystem::copy_options::overwrite_existing);
        m_threads = threadCount();
    }

    void TearDown() override { std::filesystem::remove(m_path); }

    void loads() {
        m_library = dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_library, nullptr) << dlerror();
        g_answers = true;
        g_connects = g_polled = g_daqCycles = g_sent = 0;
        g_receive = exported(&recvCanMsg);
    }

    /// @return the copy's form of an export
    template <typename Function>
    Function* exported(Function* linked) {
        Dl_info info{};
        EXPECT_NE(dladdr(reinterpret_cast<void*>(linked), &info), 0);
        void* found = dlsym(m_library, info.dli_sname);
        EXPECT_NE(found, nullptr) << info.dli_sname;
        EXPECT_NE(found, reinterpret_cast<void*>(linked)) << info.dli_sname;
        return reinterpret_cast<Function*>(found);
    }

    /// Gives the callbacks and one ECU, "a", that plans event 1 in one DAQ list.
    void configures(std::int32_t retryCount = 0, std::uint16_t timeoutMs = 60000) {
        CallBackFuns table;
        table.sndFun = send;
        table.taskResultFun = takeResult;
        table.measureFun = takeValues;
        exported (&setLogBackFuns)(takeLog);
        exported (&setCallBackFuns)(table);
        EcuProtoCfg cfg;
        cfg.ecuName = "a";
        cfg.xcp.t1 = timeoutMs;
        cfg.xcp.retryCount = retryCount;
        cfg.xcp.statusPeriodMs = 1;
        cfg.xcp.events[1].maxDaqList = 1;
        cfg.supportedCmds = {0xF4};
        exported (&setProtoCfgs)({cfg});
    }

    void connects() {
        exported (&EcuConnect)({"a"});
        ASSERT_TRUE(waitFor([] { return g_connects == 1; }));
        EXPECT_TRUE(exported(&isConnectEcu)());
    }

    /// Measures one variable by DAQ and polls another.
    void measures() {
        mcMeasureVariable byDaq;
        byDaq.name = "daq";
        byDaq.size = 1;
        byDaq.event = 1;
        mcMeasureVariable byPolling = byDaq;
        byPolling.name = "polled";
        byPolling.period = 1;
        exported (&StartMeasurement)({{"a", {byDaq, byPolling}}});
        ASSERT_TRUE(waitFor([] { return g_polled > 1 && g_daqCycles > 1; }));
        EXPECT_TRUE(exported(&isMeasureing)());
    }

    /// Unloads, and looks for what must be gone then.
    void unloads() {
        ASSERT_EQ(dlclose(m_library), 0) << dlerror();
        const int calls = g_calls;
        EXPECT_EQ(dlopen(m_path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "still loaded";
        EXPECT_TRUE(waitFor([this] { return threadCount() == m_threads; })) << "threads are left";
        EXPECT_EQ(g_calls, calls) << "called behind the end";
    }

    std::filesystem::path m_path;
    std::size_t m_threads = 0;
    void* m_library = nullptr;
};

TEST_F(UnloadedLibrary, IsGoneThoughNothingWasCalled) {
    loads();
    unloads();
}

TEST_F(UnloadedLibrary, OffersItsPlainExportsByTheirBareNames) {
    loads();
    for (const char* name : {"recvCanMsg", "isConnectEcu", "isMeasureing", "stopAllTask", "EcuDisconnect",
                             "StopMeasurement", "ParseMemFileNewBuff", "DeleteMemBuff", "CheckMemory"}) {
        EXPECT_NE(dlsym(m_library, name), nullptr) << name;
    }
    unloads();
}

TEST_F(UnloadedLibrary, IsGoneThoughItIsConnected) {
    loads();
    configures();
    connects();
    unloads();
}

TEST_F(UnloadedLibrary, IsGoneFiftyTimesThoughItMeasures) {
    for (int round = 0; round < 50 && !HasFatalFailure(); ++round) {
        SCOPED_TRACE(round);
        loads();
        configures();
        connects();
        measures();
        unloads();
    }
}

TEST_F(UnloadedLibrary, BeginsAfreshEachTime) {
    loads();
    configures();
    connects();
    unloads();
    loads();
    EXPECT_FALSE(exported(&isConnectEcu)());
    EXPECT_TRUE(exported(&getProtoCfg)().empty());
    unloads();
}

TEST_F(UnloadedLibrary, IsGoneThoughACommandRepeatsWithoutLimit) {
    loads();
    configures(-1, 2);
    g_answers = false;
    exported (&EcuConnect)({"a"});
    ASSERT_TRUE(waitFor([] { return g_sent > 3; }));
    unloads();
}

TEST_F(UnloadedLibrary, IsGoneThoughACommandWaitsAndTheQueueIsFull) {
    loads();
    configures();
    g_answers = false;
    exported (&EcuConnect)({"a"});
    ASSERT_TRUE(waitFor([] { return g_sent == 1; }));
    for (int i = 0; i < 101; ++i) {
        exported (&EcuConnect)({"a"});
    }
    unloads();
}

TEST_F(UnloadedLibrary, IsGoneThoughALinkIsLost) {
    loads();
    configures(0, 50);
    connects();
    measures();
    g_answers = false;
    unloads();
}

}  // namespace

#else

TEST(UnloadedLibrary, NeedsDlopen) {
    GTEST_SKIP() << "no dlopen here";
}

#endif
