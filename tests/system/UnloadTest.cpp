#include "tests/support/TestHost.h"
#include "tests/support/ThreadCount.h"
#include "tests/support/YesHost.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#if defined(__linux__)

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include <dlfcn.h>
#include <unistd.h>

namespace {

using support::threadCount;
using support::waitFor;
using support::YesHost;

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
        YesHost::begins(exported(&recvCanMsg));
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
        exported (&setLogBackFuns)(YesHost::takeLog);
        exported (&setCallBackFuns)(YesHost::callBacks());
        exported (&setProtoCfgs)({YesHost::configuration(retryCount, timeoutMs)});
    }

    void connects() {
        exported (&EcuConnect)({"a"});
        ASSERT_TRUE(waitFor([] { return YesHost::counts().connects == 1; }));
        EXPECT_TRUE(exported(&isConnectEcu)());
    }

    /// Measures one variable by DAQ and polls another.
    void measures() {
        exported (&StartMeasurement)({{"a", YesHost::variables(1)}});
        ASSERT_TRUE(waitFor(YesHost::hasMeasured));
        EXPECT_TRUE(exported(&isMeasureing)());
    }

    /// Unloads, and looks for what must be gone then.
    void unloads() {
        ASSERT_EQ(dlclose(m_library), 0) << dlerror();
        const int calls = YesHost::counts().calls;
        EXPECT_EQ(dlopen(m_path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "still loaded";
        EXPECT_TRUE(waitFor([this] { return threadCount() == m_threads; })) << "threads are left";
        EXPECT_EQ(YesHost::counts().calls, calls) << "called behind the end";
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
    YesHost::answers(false);
    exported (&EcuConnect)({"a"});
    ASSERT_TRUE(waitFor([] { return YesHost::counts().sent > 3; }));
    unloads();
}

TEST_F(UnloadedLibrary, IsGoneThoughACommandWaitsAndTheQueueIsFull) {
    loads();
    configures();
    YesHost::answers(false);
    exported (&EcuConnect)({"a"});
    ASSERT_TRUE(waitFor([] { return YesHost::counts().sent == 1; }));
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
    YesHost::answers(false);
    unloads();
}

}  // namespace

#else

TEST(UnloadedLibrary, NeedsDlopen) {
    GTEST_SKIP() << "no dlopen here";
}

#endif
