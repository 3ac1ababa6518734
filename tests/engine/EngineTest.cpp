#include "tests/engine/EngineTest.h"

#include <algorithm>
#include <iterator>

namespace engine_test {

namespace {

support::TestHost& lastingHost() {
    static auto* host = new support::TestHost;
    return *host;
}

support::ScriptedEcu& lastingEcu(std::uint32_t masterId) {
    static std::map<std::uint32_t, support::ScriptedEcu*>& ecus =
        *new std::map<std::uint32_t, support::ScriptedEcu*>;
    support::ScriptedEcu*& ecu = ecus[masterId];
    if (ecu == nullptr) {
        ecu = new support::ScriptedEcu(lastingHost(), {0, masterId, masterId + 1});
    }
    return *ecu;
}

EcuProtoCfg configOf(const support::ScriptedEcu& ecu, const std::string& name) {
    EcuProtoCfg cfg = ecu.config(kLongMs);
    cfg.ecuName = name;
    cfg.xcp.statusPeriodMs = 0;
    return cfg;
}

bool beginsWith(const std::string& text, const std::string& head) {
    return text.compare(0, head.size(), head) == 0;
}

}  // namespace

EngineTest::EngineTest() : m_host(lastingHost()), m_a(lastingEcu(0x100)), m_b(lastingEcu(0x200)) {
    m_cfgA = configOf(m_a, "a");
    m_cfgB = configOf(m_b, "b");
}

void EngineTest::SetUp() {
    support::TestHost::install();
    configure();
    m_host.clear();
}

void EngineTest::configure() {
    setProtoCfgs({m_cfgA, m_cfgB});
}

void EngineTest::connected(const std::vector<std::string>& names) {
    const support::TaskResult result = resultOf(1, [&] { EcuConnect(names); });
    ASSERT_EQ(result.result, 0);
    m_host.clear();
}

void EngineTest::measuring() {
    polls(m_cfgA);
    configure();
    connected();
    const support::TaskResult result = resultOf(5, [] { StartMeasurement({{"a", {variable()}}}); });
    ASSERT_EQ(result.result, 0);
    m_host.clear();
}

Journal EngineTest::journalOf(std::uint32_t command, const std::function<void()>& action) {
    m_host.clear();
    action();
    const std::string head = "task " + std::to_string(command) + " ";
    EXPECT_TRUE(shows(head));
    Journal journal = m_host.journal();
    const auto result = std::find_if(journal.begin(), journal.end(),
                                     [&](const std::string& entry) { return beginsWith(entry, head); });
    if (result != journal.end()) {
        journal.erase(std::next(result), journal.end());
    }
    return journal;
}

support::TaskResult EngineTest::resultOf(std::uint32_t command, const std::function<void()>& action) {
    journalOf(command, action);
    for (const support::TaskResult& result : m_host.taskResults()) {
        if (result.command == command) {
            return result;
        }
    }
    return {command, 255, {"no result came"}};
}

testing::AssertionResult EngineTest::shows(const std::string& head) {
    if (support::waitFor([&] { return count(head) > 0; })) {
        return testing::AssertionSuccess();
    }
    testing::AssertionResult failure = testing::AssertionFailure() << "no entry " << head << " among:";
    for (const std::string& entry : m_host.journal()) {
        failure << "\n  " << entry;
    }
    return failure;
}

std::size_t EngineTest::count(const std::string& head) {
    const Journal journal = m_host.journal();
    return static_cast<std::size_t>(std::count_if(
        journal.begin(), journal.end(), [&](const std::string& entry) { return beginsWith(entry, head); }));
}

void EngineTest::settles() {
    const std::size_t before = count("task 1 ");
    EcuConnect({});
    EXPECT_TRUE(support::waitFor([&] { return count("task 1 ") > before; }));
}

void EngineTest::passes(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    support::waitFor([end] { return std::chrono::steady_clock::now() > end; });
}

mcMeasureVariable variable(const std::string& name, std::uint32_t size) {
    mcMeasureVariable made;
    made.name = name;
    made.size = size;
    made.address = 0x1000;
    made.event = 1;
    return made;
}

void offersDaq(EcuProtoCfg& cfg) {
    cfg.xcp.events[1].maxDaqList = 1;
    cfg.xcp.events[1].timeCycle = 10;
    cfg.xcp.events[1].timeUnit = 6;
}

void polls(EcuProtoCfg& cfg) {
    cfg.supportedCmds.insert(0xF4);
    cfg.xcp.pollPeriodMs = 1;
}

}  // namespace engine_test
