#include "tests/engine/EngineTest.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <thread>

namespace {

using engine_test::offersDaq;
using engine_test::variable;

/// The seed of this run: TALVEX_TEST_SEED, or a new one.
std::uint32_t seedOfRun() {
    const char* given = std::getenv("TALVEX_TEST_SEED");
    return given != nullptr ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10))
                            : std::random_device{}();
}

class EngineUnderStress : public engine_test::EngineTest {
protected:
    /// "a" measures by DAQ, "b" by polling; both time out soon and have segments and pages.
    void SetUp() override {
        EngineTest::SetUp();
        for (EcuProtoCfg* cfg : {&m_cfgA, &m_cfgB}) {
            cfg->xcp.t1 = 20;
            cfg->xcp.statusPeriodMs = 1;
            cfg->supportedCmds = {0xD2, 0xE4, 0xEB, 0xF4};
            cfg->codeSegments = {mcMemoryInfo{}};
            cfg->codeSegments[0].length = 16;
            cfg->codeSegments[0].checksumType = 1;
            cfg->dataSegments = cfg->codeSegments;
        }
        offersDaq(m_cfgA);
        m_cfgB.xcp.pollPeriodMs = 1;
        configure();
    }

    /// One call of a session export, drawn from @p random.
    void call(std::mt19937& random) {
        using Call = void (*)(EngineUnderStress&, const std::string&);
        static constexpr Call kCalls[] = {
            [](EngineUnderStress& t, const std::string&) {
                setProtoCfgs({t.m_cfgA, t.m_cfgB});
            },
            [](EngineUnderStress& t, const std::string& ecu) {
                setProtoCfg(ecu, ecu == "a" ? t.m_cfgA : t.m_cfgB);
            },
            [](EngineUnderStress&, const std::string&) { getProtoCfg(); },
            [](EngineUnderStress&, const std::string&) { isConnectEcu(); },
            [](EngineUnderStress&, const std::string& ecu) { isEcuConnect(ecu); },
            [](EngineUnderStress&, const std::string&) { isMeasureing(); },
            [](EngineUnderStress&, const std::string&) { setCallBackFuns(support::TestHost::callBacks()); },
            [](EngineUnderStress&, const std::string& ecu) { EcuConnect({ecu}); },
            [](EngineUnderStress&, const std::string&) {
                EcuConnect({"a", "b"});
            },
            [](EngineUnderStress&, const std::string&) {
                StartMeasurement({{"a", {variable()}}, {"b", {variable()}}});
            },
            [](EngineUnderStress&, const std::string&) { StopMeasurement(); },
            [](EngineUnderStress&, const std::string& ecu) { MeasureVars(ecu, {variable()}); },
            [](EngineUnderStress&, const std::string& ecu) {
                CalibrationVar(ecu, variable(), {1, 2});
            },
            [](EngineUnderStress&, const std::string& ecu) { SetCalPage(ecu, ecu == "a"); },
            [](EngineUnderStress&, const std::string& ecu) { UploadFromEcuMem(ecu, mcMemCode); },
            [](EngineUnderStress&, const std::string& ecu) {
                DownToEcuMem(ecu, mcMemDataWorking, {{0, {1, 2, 3}}});
            },
            [](EngineUnderStress&, const std::string& ecu) { EarseEcu(ecu, mcMemCode); },
            [](EngineUnderStress&, const std::string& ecu) {
                CheckEcuMemory(ecu, {{0, {1}}}, mcMemCode);
            },
            [](EngineUnderStress&, const std::string& ecu) { ForceDataDownToEcu(ecu, ""); },
            [](EngineUnderStress&, const std::string& ecu) { EcuCopyRefeToWork(ecu); },
            [](EngineUnderStress& t, const std::string&) { t.m_a.sends("00 11", 1); },
            [](EngineUnderStress& t, const std::string&) { t.m_b.sends("fd 00"); },
            [](EngineUnderStress& t, const std::string& ecu) { (ecu == "a" ? t.m_a : t.m_b).isSilent(); },
            [](EngineUnderStress& t, const std::string& ecu) { (ecu == "a" ? t.m_a : t.m_b).speaks(); },
            [](EngineUnderStress&, const std::string&) { EcuDisconnect(); },
            [](EngineUnderStress&, const std::string&) { stopAllTask(); },
        };
        static constexpr const char* kEcus[] = {"a", "b", "ghost"};
        const std::size_t which = random() % std::size(kCalls);
        kCalls[which](*this, kEcus[random() % std::size(kEcus)]);
    }
};

TEST_F(EngineUnderStress, ExportsOfManyThreadsAtRandomLeaveItWorking) {
    const std::uint32_t seed = seedOfRun();
    std::cout << "TALVEX_TEST_SEED=" << seed << '\n';
    SCOPED_TRACE(seed);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    {
        std::vector<std::jthread> hosts;
        for (std::uint32_t host = 0; host < 4; ++host) {
            hosts.emplace_back([this, end, random = std::mt19937(seed + host)]() mutable {
                for (int i = 0; i < 4000 && std::chrono::steady_clock::now() < end; ++i) {
                    call(random);
                    std::this_thread::yield();
                }
            });
        }
    }
    // On a slow machine each call may have come ahead of a stop that drops what is queued.
    std::mt19937 random(seed);
    EXPECT_TRUE(support::waitFor([&] {
        if (count("task") == 0) {
            call(random);
        }
        return count("task") > 0;
    }));
    m_a.speaks();
    m_b.speaks();
    // What is queued runs, then everything goes, then a session works from its beginning.
    EcuDisconnect();
    ASSERT_TRUE(support::waitFor([] { return !isConnectEcu() && !isMeasureing(); }));
    stopAllTask();
    m_cfgA.xcp.t1 = m_cfgB.xcp.t1 = engine_test::kLongMs;
    configure();
    ASSERT_EQ(resultOf(2, [] { EcuDisconnect(); }).result, 0);
    connected({"a", "b"});
    ASSERT_EQ(resultOf(5, [] { StartMeasurement({{"b", {variable()}}}); }).result, 0);
    EXPECT_TRUE(shows("measure b 1 [v=00] []"));
}

}  // namespace
