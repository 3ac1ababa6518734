// The session functions from any thread.
#include "tests/stress/StressCalls.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace stress {
namespace {

constexpr std::uint32_t kNobodysId = 0x7F0;
constexpr std::uint32_t kResultCodes = 74;

bool isCalm(const Caller& caller) {
    return caller.world.mood == Mood::calm;
}

void askState(Caller& caller) {
    const std::string name = caller.ecu();
    const bool known = name != "nobody";
    const bool taken = isEcuConnect(name);
    if (!known || isCalm(caller)) {
        EXPECT_EQ(taken, known) << name;
    }
}

void handFrame(Caller& caller) {
    const std::vector<std::uint8_t> bytes = caller.someBytes(70);
    const std::uint32_t id = caller.draw.oneOf(
        {caller.world.canOf(kGuest).slaveId, caller.world.canOf(kBench).slaveId, kNobodysId});
    recvCanMsg(caller.draw.below(100), caller.draw.below(100),
               static_cast<std::uint8_t>(caller.draw.below(2)), id, static_cast<std::uint16_t>(bytes.size()),
               bytes.data());
}

void askErrorText(Caller& caller) {
    const std::uint32_t code = caller.draw.below(2 * kResultCodes);
    EXPECT_EQ(getErrorString(static_cast<std::int32_t>(code)) == "未知错误", code >= kResultCodes) << code;
}

void write(Caller& caller) {
    CalibrationVar(caller.ecu(), StressWorld::written(caller.number), caller.someBytes(5));
}

/// What a CCP ECU refuses ends its link, and it refuses to program or clear what is no flash. That is for a
/// rough world, and seldom there: else nothing would ever be measured.
bool maySpoilLinks(Caller& caller) {
    return !isCalm(caller) && caller.draw.oneIn(20);
}

std::string flashed(Caller& caller) {
    return !maySpoilLinks(caller) ? caller.draw.oneOf({"xcp0", "xcp1", "nobody"}) : caller.ecu();
}

void download(Caller& caller) {
    const mcMemOperType type = maySpoilLinks(caller) ? caller.draw.below(8) : mcMemDataWorking;
    DownToEcuMem(caller.ecu(), type, {mem_buf{systemtest::kScratchBase, caller.someBytes(20)}});
}

void check(Caller& caller) {
    CheckEcuMemory(caller.ecu(), {mem_buf{systemtest::kScratchBase, caller.someBytes(20)}},
                   caller.draw.below(8));
}

void measureOnce(Caller& caller) {
    const std::string name =
        caller.draw.oneIn(8) ? "nobody" : caller.draw.oneOf({kMeasured[0], kMeasured[3]});
    MeasureVars(name, {caller.world.onceRead(kMeasured[0])});
}

/// In a rough world the guest too, which may be away: then all are disconnected.
void connect(Caller& caller) {
    if (isCalm(caller)) {
        EcuConnect({"nobody"});
    } else if (caller.draw.oneIn(2)) {
        EcuConnect({caller.ecu()});
    } else {
        EcuConnect({kMeasured.begin(), kMeasured.end()});
    }
}

/// Against an ECU that is not there, which its first command finds out.
void testChannel(Caller& caller) {
    EcuProtoCfg cfg = caller.world.cfgs.back();
    cfg.canIdMaster = kNobodysId + 2;
    cfg.canIdSlave = kNobodysId + 3;
    cfg.xcp.t1 = 20;
    xcpTest(cfg);
}

void askConfigurations(Caller& caller) {
    const std::list<EcuProtoCfg> cfgs = getProtoCfg();
    ASSERT_EQ(cfgs.size(), caller.world.cfgs.size());
    for (auto given = caller.world.cfgs.begin(); const EcuProtoCfg& cfg : cfgs) {
        EXPECT_EQ(cfg.ecuName, (given++)->ecuName);
    }
}

}  // namespace

std::string Caller::ecu() {
    if (draw.oneIn(8)) {
        return "nobody";
    }
    const bool maybeGuest = world.mood == Mood::rough && draw.oneIn(20);
    return maybeGuest ? kGuest : kMeasured.at(draw.below(kMeasured.size()));
}

std::vector<std::uint8_t> Caller::someBytes(std::uint32_t most) {
    return draw.bytes(draw.below(most));
}

std::string Caller::file() const {
    return testing::TempDir() + "stress_" + std::to_string(getpid()) + "_" + std::to_string(number);
}

/// `setLogBackFuns` is not here: it is to be called ahead of everything else, which the host does.
std::vector<Call> sessionCalls() {
    return {
        {"recvCanMsg", Share::often, handFrame},
        {"isConnectEcu", Share::often, [](Caller& c) { EXPECT_TRUE(isConnectEcu() || !isCalm(c)); }},
        {"isMeasureing", Share::often, [](Caller& c) { EXPECT_TRUE(isMeasureing() || !isCalm(c)); }},
        {"isEcuConnect", Share::often, askState},
        {"stopAllTask", Share::disturbs, [](Caller&) { stopAllTask(); }},
        {"EcuDisconnect", Share::disturbs, [](Caller&) { EcuDisconnect(); }},
        {"StopMeasurement", Share::disturbs, [](Caller&) { StopMeasurement(); }},
        {"StartMeasurement", Share::disturbs, [](Caller& c) { StartMeasurement(c.world.variables()); }},
        {"setProtoCfgs", Share::often, [](Caller& c) { setProtoCfgs(c.world.cfgs); }},
        {"setProtoCfg", Share::often,
         [](Caller& c) { setProtoCfg(c.world.cfgs.back().ecuName, c.world.cfgs.back()); }},
        {"getProtoCfg", Share::often, askConfigurations},
        {"setCallBackFuns", Share::often, [](Caller&) { StressWorld::setsCallBacks(); }},
        {"getErrorString", Share::often, askErrorText},
        {"EcuConnect", Share::seldom, connect},
        {"MeasureVars", Share::often, measureOnce},
        {"CalibrationVar", Share::often, write},
        {"SetCalPage", Share::often, [](Caller& c) { SetCalPage(c.ecu(), c.draw.oneIn(2)); }},
        {"UploadFromEcuMem", Share::often, [](Caller& c) { UploadFromEcuMem(c.ecu(), c.draw.below(8)); }},
        {"DownToEcuMem", Share::often, download},
        {"ForceDataDownToEcu", Share::often,
         [](Caller& c) { ForceDataDownToEcu(flashed(c), "no file.hex"); }},
        {"EarseEcu", Share::often, [](Caller& c) { EarseEcu(flashed(c), c.draw.below(8)); }},
        {"CheckEcuMemory", Share::often, check},
        {"EcuCopyRefeToWork", Share::often, [](Caller& c) { EcuCopyRefeToWork(c.ecu()); }},
        {"xcpTest", Share::once, testChannel},
    };
}

}  // namespace stress
