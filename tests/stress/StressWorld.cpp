#include "tests/stress/StressWorld.h"

#include "tests/stress/ResultRules.h"
#include "tests/stress/Settings.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <shared_mutex>

namespace stress {
namespace {

using support::waitFor;
using systemtest::CcpPair;
using systemtest::EcuPair;
using systemtest::Expected;

constexpr std::uint16_t kPollPeriodMs = 20;
constexpr std::uint32_t kScratchSegment = 0x40;  ///< bytes of it that memory operations know
constexpr std::uint32_t kFirstSlot = systemtest::kScratchBase + 0x80;
constexpr std::uint32_t kSlotSize = 4;
constexpr std::uint16_t kSlaveTimeoutMs = 50;
constexpr std::uint32_t kSuccess = 256;
constexpr int kReadKind = 0;
constexpr int kDaqKind = 2;

/// Held shared during each callback, so that a world never goes under the feet of one.
std::shared_mutex g_gate;
StressWorld* g_world = nullptr;

void addContent(EcuPair& pair) {
    systemtest::addSignals(pair, 0, "fast");
    systemtest::addSignals(pair, 1, "slow");
    systemtest::addCounter(pair, "once", 0);
    systemtest::addCounter(pair, "polled",
                           0);  // the last: a poll between the two commands of a write moves it
    mcMemoryInfo segment;
    segment.address = systemtest::kScratchBase;
    segment.length = kScratchSegment;
    segment.memoryType = 2;
    pair.cfg.codeSegments = pair.cfg.dataSegments = {segment};
    pair.cfg.xcp.statusPeriodMs = pair.cfg.ccp.statusPeriodMs = 20;
    pair.cfg.ccp.queryDaqSizes = 1;  // stops what still runs
}

/// A disturbed command should not hold the others up for long; an undisturbed one has all the time there is.
std::chrono::milliseconds patience(Mood mood) {
    return mood == Mood::rough ? std::chrono::milliseconds(300) : std::chrono::seconds(20);
}

/// With a sanitizer more frames wait behind a command than the library keeps.
bool losesNothing(Mood mood) {
    return mood == Mood::calm && !kSanitized;
}

CcpPair makeCcp(unsigned number, Mood mood) {
    CcpPair pair = systemtest::ccpEcu("ccp" + std::to_string(number), number);
    addContent(pair.twin);
    systemtest::setPatience(pair, patience(mood), 0);
    return pair;
}

EcuPair makeXcp(const std::string& name, unsigned number, Mood mood) {
    EcuPair pair = systemtest::classicEcu(name, number);
    addContent(pair);
    systemtest::setPatience(pair, patience(mood), 0);
    return pair;
}

std::size_t indexOf(const std::string& ecu) {
    return static_cast<std::size_t>(
        std::distance(kMeasured.begin(), std::find(kMeasured.begin(), kMeasured.end(), ecu)));
}

}  // namespace

LooseEcu::LooseEcu(sim::VirtualBus& bus, const EcuPair& pair) : ecu(pair.ecu), m_port(bus.attach(ecu)) {
    comes();
}

LooseEcu::~LooseEcu() {
    goes();
}

std::uint64_t LooseEcu::commands() const {
    const auto counts = ecu.counters().commands;
    return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

StressWorld::StressWorld(Mood theMood)
    : mood(theMood),
      m_ccp{makeCcp(0, theMood), makeCcp(1, theMood)},
      m_xcp{makeXcp("xcp0", 0, theMood), makeXcp("xcp1", 1, theMood)},
      m_guestPair(makeXcp(kGuest, 2, Mood::rough)),
      m_benchPair(makeXcp(kBench, 3, Mood::rough)),
      bus(host.addBus(systemtest::realTimeBus())),
      guest(bus, m_guestPair),
      bench(bus, m_benchPair) {
    for (std::size_t i = 0; i < 2; ++i) {
        m_stations[i] = std::make_unique<systemtest::CcpStation>(host, bus, m_ccp[i]);
        m_xcpEcus[i] = &host.addEcu(m_xcp[i]);
    }
    cfgs = getProtoCfg();
    cfgs.push_back(m_guestPair.cfg);
    cfgs.push_back(m_benchPair.cfg);
    setProtoCfgs(cfgs);
    for (const char* const ecu : kMeasured) {
        host.proofOf(ecu).expect(losesNothing(mood) ? Expected::everyCycle : Expected::losses);
    }
    {
        const std::unique_lock gate(g_gate);
        g_world = this;
    }
    setsCallBacks();
    addSlaves();
}

StressWorld::~StressWorld() {
    const std::unique_lock gate(g_gate);
    g_world = nullptr;
    setCallBackFuns(systemtest::BusHost::callBacks());
}

void StressWorld::setsCallBacks() {
    CallBackFuns table = systemtest::BusHost::callBacks();
    table.measureFun = takeValues;
    table.taskResultFun = takeResult;
    table.memResultFun = takeMemory;
    setCallBackFuns(table);
}

const EcuPair& StressWorld::pairOf(const std::string& ecu) const {
    const std::size_t index = indexOf(ecu);
    return index < 2 ? m_ccp[index].twin : m_xcp.at(index - 2);
}

std::vector<mcMeasureVariable> StressWorld::byDaq(const std::string& ecu) const {
    std::vector<mcMeasureVariable> variables;
    for (const mcMeasureVariable& variable : allVariables(pairOf(ecu))) {
        const bool counts = variable.name == "fast.count" || variable.name == "slow.count";
        const bool other = variable.name == "polled" || variable.name == "once";
        if (counts || (!other && losesNothing(mood))) {
            variables.push_back(variable);
        }
    }
    return variables;
}

systemtest::Variables StressWorld::variables() const {
    systemtest::Variables all;
    for (const char* const ecu : kMeasured) {
        all[ecu] = byDaq(ecu);
        all[ecu].push_back(variableOf(pairOf(ecu), "polled", kPollPeriodMs));
    }
    return all;
}

mcMeasureVariable StressWorld::onceRead(const std::string& ecu) const {
    return variableOf(pairOf(ecu), "once");
}

mcMeasureVariable StressWorld::written(std::uint32_t slot) {
    mcMeasureVariable variable;
    variable.name = "written";
    variable.address = kFirstSlot + slot * kSlotSize;
    variable.size = kSlotSize;
    return variable;
}

std::vector<std::uint8_t> StressWorld::memoryOf(const std::string& ecu, const mcMeasureVariable& written) {
    const std::size_t index = indexOf(ecu);
    return index < 2 ? m_stations[index]->ecu.read(written.address, 0, written.size)
                     : m_xcpEcus.at(index - 2)->read(written.address, 0, written.size);
}

std::uint64_t StressWorld::cycles(const std::string& ecu) const {
    return m_cycles.at(indexOf(ecu));
}

std::uint64_t StressWorld::polls(const std::string& ecu) const {
    return m_polls.at(indexOf(ecu));
}

void StressWorld::becomesPatient() {
    for (EcuProtoCfg& cfg : cfgs) {
        const auto timeout = static_cast<std::uint16_t>(patience(Mood::calm).count());
        XcpCfg& xcp = cfg.xcp;
        xcp.t1 = xcp.t2 = xcp.t3 = xcp.t4 = xcp.t5 = xcp.t6 = xcp.t7 = timeout;
        cfg.ccp.timeoutMs = timeout;
    }
    setProtoCfgs(cfgs);
}

/// A command of a page for an unknown ECU leaves a line in the log; if a disconnect throws it away, the next
/// one follows.
bool StressWorld::isIdle() const {
    const std::string line = "Can't find task ecu-- end of the calls)";
    return waitFor(
        [&] {
            SetCalPage("-- end of the calls", true);
            return waitFor([&] { return host.logCount(3, line) > 0; }, std::chrono::seconds(1));
        },
        systemtest::kPatience);
}

XcpSlaveCanCfg StressWorld::canOf(const char* ecu) const {
    const EcuProtoCfg& cfg = ecu == std::string(kGuest) ? m_guestPair.cfg : m_benchPair.cfg;
    XcpSlaveCanCfg can{};
    can.masterId = cfg.canIdMaster;
    can.slaveId = cfg.canIdSlave;
    return can;
}

XcpSlaveProtoCfg StressWorld::proto() {
    constexpr std::uint16_t t = kSlaveTimeoutMs;
    return {t, t, t, t, t, t, t, 0, 1, 0, 0, 0, {}};
}

/// A channel for each slave: `xcpConfigSlave` looks the channel up by the number of the slave. Connected, as
/// the status of a command that sends nothing is that of the one before it.
void StressWorld::addSlaves() {
    std::array<std::uint8_t, 64> buffer{};
    for (std::uint32_t* const slave : {&m_benchSlave, &m_guestSlave}) {
        std::uint16_t channel = 0;
        const XcpSlaveCanCfg can = canOf(slave == &m_benchSlave ? kBench : kGuest);
        EXPECT_EQ(xcpInitializeCan(&channel, {}), kSuccess);
        EXPECT_EQ(xcpAddSlave(channel, can, proto(), slave), kSuccess);
        EXPECT_TRUE(waitFor([&] {
            xcpConfigSlave(*slave, can, proto());
            return xcpConnect(*slave, 0, buffer.data(), buffer.size()) == kSuccess;
        }));
    }
}

void StressWorld::count(const std::string& ecuName, std::int32_t kind) {
    const std::size_t index = indexOf(ecuName);
    if (kind == kReadKind) {
        ++m_reads;
    } else if (index < kMeasured.size()) {
        ++(kind == kDaqKind ? m_cycles : m_polls).at(index);
    }
}

/// A read that failed has no bytes, which nothing can be held against. In a rough world an ECU is connected
/// anew while it is polled, and either of the two may take the other's answers: only DAQ has to be right
/// there.
void StressWorld::takeValues(const std::string& ecuName, std::int32_t kind,
                             const std::vector<mcMeasureVariableValue>& values,
                             const std::vector<std::string>& rejected) {
    const std::shared_lock gate(g_gate);
    if (g_world == nullptr) {
        return;
    }
    std::vector<mcMeasureVariableValue> read;
    std::copy_if(values.begin(), values.end(), std::back_inserter(read),
                 [](const mcMeasureVariableValue& value) { return !value.data.empty(); });
    if (g_world->mood == Mood::calm) {
        EXPECT_EQ(read.size(), values.size()) << "a read of " << ecuName << " failed";
    }
    EXPECT_TRUE(rejected.empty()) << rejected.front();
    if (!read.empty()) {
        g_world->count(ecuName, kind);
        if (kind == kDaqKind || g_world->mood == Mood::calm) {
            systemtest::BusHost::callBacks().measureFun(ecuName, kind, read, rejected);
        }
    }
}

void StressWorld::takeResult(std::uint32_t command, std::uint8_t result,
                             const std::vector<std::string>* details) {
    EXPECT_TRUE(mayReport(command, result)) << "result " << int{result} << " of command " << command;
    systemtest::BusHost::callBacks().taskResultFun(command, result, details);
}

void StressWorld::takeMemory(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data) {
    EXPECT_TRUE(mayReport(command, result)) << "result " << result << " of command " << command;
    systemtest::BusHost::callBacks().memResultFun(command, result, std::move(data));
}

}  // namespace stress
