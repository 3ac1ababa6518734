#include "tests/engine/EngineTest.h"

#include <gmock/gmock.h>

namespace {

using engine_test::EngineTest;
using engine_test::variable;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> namesOf(const std::list<EcuProtoCfg>& cfgs) {
    std::vector<std::string> names;
    for (const EcuProtoCfg& cfg : cfgs) {
        names.push_back(cfg.ecuName);
    }
    return names;
}

EcuProtoCfg named(const std::string& name, std::uint32_t hostWord = 0) {
    EcuProtoCfg cfg;
    cfg.ecuName = name;
    cfg.hostWord = hostWord;
    return cfg;
}

TEST(Configurations, AreNoneAtFirst) {
    EXPECT_THAT(getProtoCfg(), IsEmpty());
}

TEST(Configurations, SetProtoCfgsReplacesAllInTheOrderOfTheList) {
    setProtoCfgs({named("x")});
    setProtoCfgs({named("c"), named("a"), named("b")});
    EXPECT_THAT(namesOf(getProtoCfg()), ElementsAre("c", "a", "b"));
    setProtoCfgs({});
    EXPECT_THAT(getProtoCfg(), IsEmpty());
}

TEST(Configurations, AreCopiedInAndOut) {
    std::list<EcuProtoCfg> given{named("a")};
    given.front().xcp.events[1].timeCycle = 4;
    setProtoCfgs(given);
    given.front().xcp.events[1].timeCycle = 5;
    std::list<EcuProtoCfg> taken = getProtoCfg();
    taken.front().xcp.events[1].timeCycle = 6;
    EXPECT_EQ(getProtoCfg().front().xcp.events.at(1).timeCycle, 4);
}

TEST(Configurations, SetProtoCfgOverwritesTheWholeRecordItsNameIncluded) {
    setProtoCfgs({named("a", 1), named("b", 2)});
    setProtoCfg("a", named("c", 3));
    EXPECT_THAT(namesOf(getProtoCfg()), ElementsAre("c", "b"));
    EXPECT_EQ(getProtoCfg().front().hostWord, 3U);
}

TEST(Configurations, SetProtoCfgOverwritesTheFirstOfTwoRecordsWithOneName) {
    setProtoCfgs({named("a", 1), named("a", 2)});
    setProtoCfg("a", named("a", 9));
    const std::list<EcuProtoCfg> cfgs = getProtoCfg();
    EXPECT_EQ(cfgs.front().hostWord, 9U);
    EXPECT_EQ(cfgs.back().hostWord, 2U);
}

TEST(Configurations, NamesAreComparedByteForByte) {
    setProtoCfgs({named("Engine", 1)});
    setProtoCfg("engine", named("engine", 2));
    setProtoCfg("Engine ", named("Engine ", 2));
    EXPECT_THAT(namesOf(getProtoCfg()), ElementsAre("Engine"));
    EXPECT_EQ(getProtoCfg().front().hostWord, 1U);
}

using ConfigurationsOfTheEngine = EngineTest;

TEST_F(ConfigurationsOfTheEngine, SetProtoCfgWithAnUnknownNameChangesNothingAndReportsNothing) {
    setProtoCfg("c", named("c"));
    EXPECT_THAT(namesOf(getProtoCfg()), ElementsAre("a", "b"));
    EXPECT_THAT(m_host.journal(), IsEmpty());
}

TEST_F(ConfigurationsOfTheEngine, TakeEffectAtTheNextConnect) {
    connected();
    m_cfgA.canIdMaster = 0x200;
    m_cfgA.canIdSlave = 0x201;
    configure();
    resultOf(2, [] { EcuDisconnect(); });
    EXPECT_EQ(m_a.count("fe"), 1U);
    connected();
    EXPECT_EQ(m_a.count("ff 00"), 1U);
    EXPECT_EQ(m_b.count("ff 00"), 1U);
}

TEST_F(ConfigurationsOfTheEngine, DoNotHoldTheAnswersOfTheEcu) {
    m_a.answers("ff 00", {"ff 1d 40 08 08 00 01 01"});
    connected();
    EXPECT_EQ(getProtoCfg().front().xcp.resource, 0);
    EXPECT_EQ(getProtoCfg().front().xcp.commModeBasic, 0);
}

TEST(EngineState, IsNeitherConnectedNorMeasuringAtFirst) {
    EXPECT_FALSE(isConnectEcu());
    EXPECT_FALSE(isMeasureing());
    EXPECT_FALSE(isEcuConnect(""));
}

TEST_F(ConfigurationsOfTheEngine, ConfiguredEcusAreNotConnectedBeforeEcuConnectRan) {
    EXPECT_FALSE(isEcuConnect("a"));
    EXPECT_FALSE(isConnectEcu());
}

TEST_F(ConfigurationsOfTheEngine, IsEcuConnectKnowsTheConnectedEcusOnly) {
    connected({"a"});
    EXPECT_TRUE(isEcuConnect("a"));
    EXPECT_FALSE(isEcuConnect("b"));
    EXPECT_FALSE(isEcuConnect("A"));
    EXPECT_TRUE(isConnectEcu());
}

TEST_F(ConfigurationsOfTheEngine, IsEcuConnectIsFalseForEveryEcuAfterEcuDisconnect) {
    connected({"a", "b"});
    resultOf(2, [] { EcuDisconnect(); });
    EXPECT_FALSE(isEcuConnect("a"));
    EXPECT_FALSE(isEcuConnect("b"));
    EXPECT_FALSE(isConnectEcu());
}

}  // namespace
