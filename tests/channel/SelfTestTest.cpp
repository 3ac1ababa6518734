// The self-test: the order of its commands on the bus, and its end.
#include "tests/channel/ChannelTestSupport.h"
#include "tests/support/ThreadCount.h"

#include <TalvexSelfTest.h>

#include <chrono>
#include <cstdlib>
#include <sstream>

#if defined(__unix__)
#include <unistd.h>
#endif

using namespace channel_test;

namespace {

/// @return the parts of @p text between its bars
Texts parts(const std::string& text) {
    std::istringstream stream(text);
    Texts found;
    for (std::string part; std::getline(stream, part, '|');) {
        found.push_back(part);
    }
    return found;
}

/// The script up to the start of its DAQ list. Keys and addresses are the test ECU's own.
const Texts kScript = parts(
    "ff 00|fb|f1 7e 00 01 00 00|fd|"
    "f8 00 04|f7 04 ?? ?? ?? ??|f8 00 01|f7 04 ?? ?? ?? ??|fd|"
    "d9|da|"
    "d8 00 00 00|d7 00 00 00|df 00 00 00|f2 fe 00 00|"
    "d8 00 01 00|d7 00 01 00|df 00 01 00|f2 fe 01 00|"
    "d8 00 02 00|d7 00 02 00|df 00 02 00|f2 fe 02 00|"
    "d8 00 03 00|d7 00 03 00|df 00 03 00|f2 fe 03 00|"
    "ea 00 02|eb 03 00 01|"
    "dd 00|e3 00 00 00|e0 0a 00 00 00 00 01 00|de 02 00 00|"
    "e2 00 00 00 00 00|e1 ..|e2 00 00 00 01 00|e1 ..|e2 00 00 00 02 00|e1 ..|"
    "e2 00 00 00 03 00|e1 ..|e2 00 00 00 04 00|e1 ..|"
    "dd 01");

/// Repeated WRITE_DAQ commands count as one: how many entries an ODT has is free.
Texts withoutRepeatedWrites(const Texts& frames) {
    Texts kept;
    for (const std::string& frame : frames) {
        const bool repeated = frame.starts_with("e1 ") && !kept.empty() && kept.back().starts_with("e1 ");
        if (!repeated) {
            kept.push_back(frame);
        }
    }
    return kept;
}

/// Host and ECU live as long as the process: the self-test's thread calls them until the library ends.
class SelfTest : public testing::Test {
protected:
    SelfTest()
        : m_host(*new support::TestHost), m_ecu(*new support::ScriptedEcu(m_host, {2, 0x300, 0x301})) {}

    void SetUp() override { support::TestHost::install(); }

    void begins(std::uint8_t byteOrder = 0) {
        EcuProtoCfg cfg = m_ecu.config(kLongMs);
        cfg.xcp.byteOrder = byteOrder;
        xcpTest(cfg);
    }

    bool hasStarted() {
        return support::waitFor([this] { return m_ecu.count("dd 01") == 1; });
    }

    void followed(const Texts& script) {
        const Texts frames = withoutRepeatedWrites(m_ecu.sentFrames());
        ASSERT_EQ(frames.size(), script.size()) << testing::PrintToString(frames);
        for (std::size_t i = 0; i < script.size(); ++i) {
            EXPECT_TRUE(support::matchesPattern(script[i], frames[i])) << script[i] << " and " << frames[i];
        }
    }

    support::TestHost& m_host;
    support::ScriptedEcu& m_ecu;
};

}  // namespace

TEST_F(SelfTest, RunsItsScriptInOrder) {
    begins();
    ASSERT_TRUE(hasStarted());
    followed(kScript);
    EXPECT_EQ(m_ecu.count("fe"), 0U);
}

TEST_F(SelfTest, GoesOnWhateverTheEcuAnswers) {
    m_ecu.answersByDefault({"fe 20"});
    begins();
    ASSERT_TRUE(hasStarted());
    followed(kScript);
}

TEST_F(SelfTest, TakesTheByteOrder) {
    begins(1);
    ASSERT_TRUE(hasStarted());
    EXPECT_TRUE(m_ecu.showed("d8 00 00 03"));
    EXPECT_TRUE(m_ecu.showed("de 02 00 00"));
}

TEST_F(SelfTest, UsesAChannelAndASlaveOfItsOwn) {
    std::uint16_t channel = 9;
    ASSERT_EQ(xcpInitializeCan(&channel, channelCfg(0)), kSuccess);
    ASSERT_EQ(channel, 0U);
    begins();
    ASSERT_TRUE(hasStarted());
    EXPECT_TRUE(channelRegistry().findChannel(1).has_value());
    EXPECT_NE(channelRegistry().findSlave(0), nullptr);
    EXPECT_EQ(channelRegistry().findSlave(0)->m_cfg.canChannel, 2U);
    EXPECT_EQ(channelRegistry().findSlave(0)->m_cfg.xcp.retryCount, 0);
}

TEST_F(SelfTest, NeitherRepeatsNorPadsWhateverItIsGiven) {
    EcuProtoCfg cfg = m_ecu.config(kLongMs);
    cfg.xcp.retryCount = 3;
    cfg.padFrames = 1;
    cfg.padByte = 0xA5;
    m_ecu.answersByDefault({"fe 20"});
    xcpTest(cfg);
    ASSERT_TRUE(hasStarted());
    followed(kScript);
    const ChannelRegistry::Slave made = channelRegistry().findSlave(0);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->m_cfg.xcp.retryCount, 0);
    EXPECT_EQ(made->m_cfg.padFrames, 0);
    EXPECT_EQ(made->m_cfg.padByte, 0);
}

// Ten seconds of running DAQ lists, then the session is closed and the handles are given back.
TEST_F(SelfTest, ClosesItsSessionAfterTenSecondsAndCanBeginAgain) {
    const std::size_t threads = support::threadCount();
    begins();
    ASSERT_TRUE(hasStarted());
    const auto started = std::chrono::steady_clock::now();
    ASSERT_TRUE(support::waitFor([this] { return m_ecu.count("fe") == 1; }, std::chrono::minutes(2)));
    EXPECT_GT(std::chrono::steady_clock::now() - started, std::chrono::seconds(9));
    EXPECT_TRUE(support::waitFor([] { return !channelRegistry().findChannel(0).has_value(); }));
    EXPECT_EQ(channelRegistry().findSlave(0), nullptr);
    EXPECT_TRUE(support::waitFor([=] { return support::threadCount() == threads; }));
    begins();
    EXPECT_TRUE(support::waitFor([this] { return m_ecu.count("dd 01") == 2; }));
    EXPECT_NE(channelRegistry().findSlave(1), nullptr);
}

#if GTEST_HAS_DEATH_TEST && defined(__unix__)

namespace {

/// A process of its own that ends while the self-test is at work.
class SelfTestEnd : public SelfTest {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    /// Begins a child: it ends by a signal if it has not ended by itself in time.
    void beginsInChild() {
        alarm(120);
        support::TestHost::install();
        begins();
    }

    /// Ends the child, as a return from main does, if @p isAtWork.
    [[noreturn]] static void ends(bool isAtWork) { std::exit(isAtWork ? 0 : 5); }
};

}  // namespace

TEST_F(SelfTestEnd, WhileItsListRunsIsClean) {
    EXPECT_EXIT(
        {
            beginsInChild();
            ends(hasStarted());
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(SelfTestEnd, WhileItsFirstCommandWaitsForALongTimeIsClean) {
    EXPECT_EXIT(
        {
            m_ecu.isSilent();
            beginsInChild();
            ends(support::waitFor([this] { return m_ecu.count("ff 00") == 1; }));
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(SelfTestEnd, RightAfterItsBeginningIsClean) {
    EXPECT_EXIT(
        {
            beginsInChild();
            beginsInChild();
            ends(true);
        },
        testing::ExitedWithCode(0), "");
}

#endif
